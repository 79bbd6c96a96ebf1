#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <tuple>

#include "replace/file_descriptor.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// What is sent of a file: `kind` tells samples and points of intervals apart, and their labels.
struct PushedSeries {
  std::string directory;
  std::string kind;
  std::string zeltId;

  bool operator<(const PushedSeries& other) const {
    return std::tie(directory, kind, zeltId) < std::tie(other.directory, other.kind, other.zeltId);
  }
  bool operator!=(const PushedSeries& other) const { return *this < other || other < *this; }
};

// How far a server has confirmed each series, in a file that one process has at a time. Every
// operation throws CommandError.
class PushState {
 public:
  // Reads the file of `statePath`, of which there may be none yet. `server` tells its servers
  // apart.
  PushState(const std::string& statePath, const std::string& server);
  PushState(const PushState&) = delete;
  PushState& operator=(const PushState&) = delete;

  // The file of that name in the user's state directory, which is made.
  static std::string FindDefaultPath(const std::string& name);

  // The time of the last sample, or the start of the last interval, that was confirmed.
  std::optional<long long> Find(const PushedSeries& series) const;

  void Set(const PushedSeries& series, long long time);

  // Replaces the file, if anything was set since it was saved.
  void Save();

  // The same, but only when no more than a tenth of the time is spent with it: the file of many
  // series is large. What is not saved is sent once more.
  void SaveSometimes();

 private:
  using Confirmed = std::map<PushedSeries, long long>;

  void Lock();
  void Read();

  std::string path;
  std::string serverName;
  FileDescriptor lock;
  std::map<std::string, Confirmed> servers;
  bool isChanged = false;
  std::chrono::steady_clock::time_point nextSave;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
