#include "push/push_state.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>
#include <vector>

#include "base/command_error.h"
#include "base/words.h"
#include "replace/file_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

// SQLite finds most damage, but not a changed time, with which samples would be skipped.
constexpr char TABLE[] =
    "CREATE TABLE confirmed (server BLOB, directory BLOB, kind BLOB, id BLOB, time INTEGER, "
    "checksum INTEGER, PRIMARY KEY (server, directory, kind, id)) WITHOUT ROWID";

// NOLINTBEGIN(concurrency-mt-unsafe): no thread of the program changes a variable
fs::path FindStateDirectory() {
  const char* const given = std::getenv("XDG_STATE_HOME");
  if (given != nullptr && given[0] == '/') {
    return given;
  }
  const char* const home = std::getenv("HOME");
  if (home == nullptr || home[0] != '/') {
    throw CommandError("--state", "is needed, since the variable HOME names no directory");
  }
  return fs::path(home) / ".local/state";
}
// NOLINTEND(concurrency-mt-unsafe)

using ConfirmedByServer = std::map<std::string, ConfirmedTimes>;

// Server, directory, kind, id, time.
using Kinds = std::map<std::string, std::map<std::string, long long>>;
using Servers = std::map<std::string, std::map<std::string, Kinds>>;

// In such a state, bytes that are not UTF-8 were replaced, so that several series may have become
// one, and URL parameters that may be secret had a number in place of their value.
constexpr char REPLACEMENT[] = "\xef\xbf\xbd";

// Reads a state in the older format, JSON. Throws for any other file.
ConfirmedByServer ReadJsonState(const std::string& path) {
  std::ifstream stream(path);
  const auto servers = nlohmann::json::parse(stream).get<Servers>();
  ConfirmedByServer all;
  for (const auto& [server, directories] : servers) {
    for (const auto& [directory, kinds] : directories) {
      for (const auto& [kind, times] : kinds) {
        for (const auto& [zeltId, time] : times) {
          const std::string key = Join(std::vector<std::string>{server, directory, kind, zeltId});
          if (key.find(REPLACEMENT) == std::string::npos &&
              server.find("=*") == std::string::npos) {
            all[server][{directory, kind, zeltId}] = time;
          }
        }
      }
    }
  }
  return all;
}

long long ComputeChecksum(const std::string& server, const PushedSeries& series, long long time) {
  std::string row;
  for (const auto* field : {&server, &series.directory, &series.kind, &series.zeltId}) {
    row += std::to_string(field->size()) + ' ' + *field;
  }
  row += std::to_string(time);
  return static_cast<long long>(
      crc32(0, reinterpret_cast<const Bytef*>(row.data()), static_cast<uInt>(row.size())));
}

// Makes the table in an empty file.
void RequireTable(StateDatabase& database) {
  Statement schema(database,
                   "SELECT group_concat(sql) FROM sqlite_master WHERE name NOT LIKE 'sqlite_%'");
  schema.Step();
  const std::string tables = schema.GetBytes(0);
  if (tables.empty()) {
    schema.Reset();
    database.Run(TABLE);
  } else if (tables != TABLE) {
    throw DatabaseError("it has other tables", SQLITE_NOTADB);
  }
}

void Write(const std::string& server, const ConfirmedTimes& times, StateDatabase& database) {
  Statement replace(database, "REPLACE INTO confirmed VALUES (?, ?, ?, ?, ?, ?)");
  for (const auto& [series, time] : times) {
    replace.Bind(1, server);
    replace.Bind(2, series.directory);
    replace.Bind(3, series.kind);
    replace.Bind(4, series.zeltId);
    replace.Bind(5, time);
    replace.Bind(6, ComputeChecksum(server, series, time));
    replace.Step();
    replace.Reset();
  }
}

void RequireSound(StateDatabase& database) {
  Statement check(database, "PRAGMA quick_check(1)");
  check.Step();
  if (check.GetBytes(0) != "ok") {
    throw DatabaseError("it is damaged", SQLITE_CORRUPT);
  }
}

// Makes a SQLite file that only its owner may read.
void WriteNew(const std::string& path, const ConfirmedByServer& known) {
  unlink(path.c_str());  // left by a push that was killed
  const FileDescriptor made(
      open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
  RequireCall(made.IsOpen(), "no other file can be made beside it");
  StateDatabase database(path);
  RequireTable(database);
  database.Run("BEGIN");
  for (const auto& [server, times] : known) {
    Write(server, times, database);
  }
  database.Run("COMMIT");
}

void SetAside(const std::string& path) {
  const std::string name = SetStateAside(path);
  PrintMessage(path + ": is damaged, or no state of push; it is now " + name +
               ", and all is sent again");
}

}  // namespace

std::string PushState::FindDefaultPath(const std::string& name) {
  const fs::path directory = FindStateDirectory() / "nvx-timeseries";
  std::error_code error;
  fs::create_directories(directory, error);  // a failure is told when it is saved
  const fs::path path = directory / (name + ".db");
  if (!fs::exists(path, error)) {
    fs::rename(directory / (name + ".json"), path, error);  // as it was named before
    fs::remove(directory / (name + ".json.lock"), error);
  }
  return path;
}

PushState::PushState(const std::string& statePath, const std::string& server)
    : path(statePath), serverName(server) {
  try {
    Open();
  } catch (const std::runtime_error& error) {  // of the file or of SQLite
    problem = error.what();
    database.reset();
  }
}

void PushState::Open() {
  std::error_code error;
  const fs::path named = path;
  if (fs::is_directory(named, error) && fs::is_empty(named, error)) {
    SetAside(path);
  }
  for (;;) {
    file.emplace(path);
    try {
      return Read();
    } catch (const DatabaseError& damage) {
      if (!damage.IsOfContent()) {
        throw;
      }
    }
    database.reset();
    TakeOver();
  }
}

void PushState::Read() {
  confirmed.clear();
  database = std::make_unique<StateDatabase>(file->GetPath());
  RequireTable(*database);
  RequireSound(*database);
  Statement rows(*database, "SELECT server, directory, kind, id, time, checksum FROM confirmed");
  while (rows.Step()) {
    const std::string server = rows.GetBytes(0);
    const PushedSeries series{rows.GetBytes(1), rows.GetBytes(2), rows.GetBytes(3)};
    const long long time = rows.GetNumber(4);
    if (rows.GetNumber(5) != ComputeChecksum(server, series, time)) {
      throw DatabaseError("it is damaged", SQLITE_CORRUPT);
    }
    if (server == serverName) {
      confirmed[series] = time;
    }
  }
}

// Replaces a file that SQLite cannot read by a SQLite file, unless it was set aside.
void PushState::TakeOver() {
  const std::string found = file->GetPath();
  ConfirmedByServer known;
  try {
    known = ReadJsonState(file->GetDescriptorPath());
  } catch (const std::exception&) {
    confirmed.clear();
    return SetAside(found);
  }
  confirmed = known[serverName];
  const std::string made = found + ".new";
  WriteNew(made, known);
  RequireCall(std::rename(made.c_str(), found.c_str()) == 0, "it cannot be replaced");
  unlink((found + ".lock").c_str());  // a JSON state had one
}

std::optional<long long> PushState::Find(const PushedSeries& series) const {
  const auto time = confirmed.find(series);
  return time == confirmed.end() ? std::nullopt : std::optional(time->second);
}

void PushState::Confirm(const ConfirmedTimes& times) {
  for (const auto& [series, time] : times) {
    unsaved[series] = time;
  }
  Save();
}

void PushState::Save() {
  if (database == nullptr || unsaved.empty()) {
    return;
  }
  try {
    database->Run("BEGIN IMMEDIATE");
    Write(serverName, unsaved, *database);
    database->Run("COMMIT");
    unsaved.clear();
    problem.clear();
  } catch (const DatabaseError& error) {
    problem = error.what();
    sqlite3_exec(database->Get(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

void PushState::RequireSaved() {
  Save();
  if (!problem.empty()) {
    throw CommandError(
        path, "the state cannot be read or saved: " + problem + "; what was sent is sent again",
        StatusCode::IoError);
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
