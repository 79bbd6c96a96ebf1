#include "push/push_state.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

#include "error/command_error.h"
#include "export/output_file.h"

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

}  // namespace

PushState::PushState(const std::string& statePath, const std::string& server)
    : path(statePath), serverName(server) {
  Lock();
  Read();
}

std::string PushState::FindDefaultPath(const std::string& server) {
  const fs::path directory = FindStateDirectory() / "nvx-timeseries";
  std::error_code error;
  fs::create_directories(directory, error);
  if (error) {
    throw CommandError(directory, "cannot be made: " + error.message(), StatusCode::IoError);
  }
  char* const escaped = curl_easy_escape(nullptr, server.data(), static_cast<int>(server.size()));
  const std::string name = std::string(escaped) + ".json";
  curl_free(escaped);
  return directory / name;
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
  try {
    std::ifstream file(path);
    servers = nlohmann::json::parse(file).get<decltype(servers)>();
  } catch (const nlohmann::json::exception&) {
    throw CommandError(path, "is not what push wrote; without it, all is sent once more",
                       StatusCode::InvalidArgument);
  }
}

std::optional<long long> PushState::Find(const std::string& directory, const std::string& kind,
                                         const std::string& zeltId) const {
  const auto server = servers.find(serverName);
  if (server == servers.end()) {
    return std::nullopt;
  }
  const auto kinds = server->second.find(directory);
  if (kinds == server->second.end()) {
    return std::nullopt;
  }
  const auto times = kinds->second.find(kind);
  if (times == kinds->second.end()) {
    return std::nullopt;
  }
  const auto time = times->second.find(zeltId);
  return time == times->second.end() ? std::nullopt : std::optional(time->second);
}

void PushState::Set(const std::string& directory, const std::string& kind,
                    const std::string& zeltId, long long time) {
  servers[serverName][directory][kind][zeltId] = time;
  isChanged = true;
}

void PushState::Save() {
  if (!isChanged) {
    return;
  }
  const auto begin = Clock::now();
  OutputFile file(path);
  file.Write(nlohmann::json(servers).dump(1, ' ', false, nlohmann::json::error_handler_t::replace) +
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
