#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>

#include "push/state_database.h"
#include "push/state_file.h"

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

// The time of the last sample, or the start of the last interval, that was confirmed of each.
using ConfirmedTimes = std::map<PushedSeries, long long>;

// How far a server has confirmed each series, in a SQLite file that one process has at a time. What
// is wrong with the file never keeps a push from sending: one that is damaged is set aside, and
// what cannot be read or saved is sent again by the next push.
class PushState {
 public:
  // Reads the file of `statePath`, of which there may be none yet. `server` tells its servers
  // apart. Throws CommandError when another push uses it.
  PushState(const std::string& statePath, const std::string& server);
  PushState(const PushState&) = delete;
  PushState& operator=(const PushState&) = delete;

  // The file of that name in the user's state directory, which is made. Throws CommandError when
  // it is not known where that is.
  static std::string FindDefaultPath(const std::string& name);

  // Whether nothing is known of the server.
  bool IsEmpty() const { return confirmed.empty(); }

  std::optional<long long> Find(const PushedSeries& series) const;

  // Saves it at once; if that fails, with what is confirmed next.
  void Confirm(const ConfirmedTimes& times);

  // Throws CommandError unless all is saved that was confirmed.
  void RequireSaved();

 private:
  void Open();
  void Read();
  void TakeOver();
  void Save();

  std::string path;
  std::string serverName;
  std::optional<StateFile> file;
  std::unique_ptr<StateDatabase> database;  // none where the file cannot be used
  ConfirmedTimes confirmed;                 // as it was read
  ConfirmedTimes unsaved;
  std::string problem;  // empty when all is saved
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
