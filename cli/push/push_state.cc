#include "push/push_state.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

#include "base/command_error.h"
#include "replace/output_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// NOLINTBEGIN(concurrency-mt-unsafe): no thread of the program changes a variable
fs::path FindStateDirectory() {
  const char* const given = std::getenv("XDG_STATE_HOME");
  if (given != nullptr && given[0] == '/') {
    return given;
  }
  const char* const home = std::getenv("HOME");
  if (home == nullptr || home[0] != '/') {
    throw CommandError("--state", "is needed, since the variable HOME names no directory",
                       StatusCode::InvalidArgument);
  }
  return fs::path(home) / ".local/state";
}
// NOLINTEND(concurrency-mt-unsafe)

// So that whoever names the file by a link finds its lock. No name is that of standard output.
std::string ResolveLinks(const std::string& path) {
  std::error_code error;
  const fs::path resolved = fs::weakly_canonical(path, error);
  return error ? path : fs::absolute(resolved, error).string();
}

// The form of the file: server, directory, kind, id, time.
using Kinds = std::map<std::string, std::map<std::string, long long>>;
using Servers = std::map<std::string, std::map<std::string, Kinds>>;

}  // namespace

PushState::PushState(const std::string& statePath, const std::string& server)
    : path(ResolveLinks(statePath)), serverName(server) {
  Lock();
  Read();
}

std::string PushState::FindDefaultPath(const std::string& name) {
  const fs::path directory = FindStateDirectory() / "nvx-timeseries";
  std::error_code error;
  fs::create_directories(directory, error);
  if (error) {
    throw CommandError(directory, "cannot be made: " + error.message(), StatusCode::IoError);
  }
  return directory / (name + ".json");
}

// The file itself is replaced when it is saved, so another one is locked.
void PushState::Lock() {
  const std::string lockPath = path + ".lock";
  lock = FileDescriptor(
      open(lockPath.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!lock.IsOpen()) {
    throw CommandError(lockPath, "cannot be opened: " + std::generic_category().message(errno),
                       StatusCode::IoError);
  }
  if (flock(lock.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    throw CommandError(path, "another push uses it", StatusCode::Unavailable);
  }
}

void PushState::Read() {
  std::error_code error;
  if (!fs::exists(path, error)) {
    return;
  }
  Servers read;
  try {
    std::ifstream file(fs::is_regular_file(path, error) ? path : "");
    read = nlohmann::json::parse(file).get<Servers>();
  } catch (const nlohmann::json::exception&) {
    throw CommandError(path, "is no file that push wrote", StatusCode::InvalidArgument);
  }
  for (const auto& [server, directories] : read) {
    for (const auto& [directory, kinds] : directories) {
      for (const auto& [kind, times] : kinds) {
        for (const auto& [zeltId, time] : times) {
          servers[server][{directory, kind, zeltId}] = time;
        }
      }
    }
  }
}

std::optional<long long> PushState::Find(const PushedSeries& series) const {
  const auto server = servers.find(serverName);
  if (server == servers.end()) {
    return std::nullopt;
  }
  const auto time = server->second.find(series);
  return time == server->second.end() ? std::nullopt : std::optional(time->second);
}

void PushState::Set(const PushedSeries& series, long long time) {
  servers[serverName][series] = time;
  isChanged = true;
}

void PushState::Save() {
  if (!isChanged) {
    return;
  }
  const auto begin = Clock::now();
  Servers written;
  for (const auto& [server, confirmed] : servers) {
    for (const auto& [series, time] : confirmed) {
      written[server][series.directory][series.kind][series.zeltId] = time;
    }
  }
  OutputFile file(path);
  file.Write(nlohmann::json(written).dump(1, ' ', false, nlohmann::json::error_handler_t::replace) +
             '\n');
  file.Finish();
  isChanged = false;
  nextSave = Clock::now() + 9 * (Clock::now() - begin);
}

void PushState::SaveSometimes() {
  if (Clock::now() >= nextSave) {
    Save();
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
