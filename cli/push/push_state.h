#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>

#include "push/state_database.h"
#include "push/state_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// A series that is sent of a file: `kind` has the interval, the function and the labels.
struct PushedSeries {
  std::string directory;
  std::string kind;
  std::string zeltId;

  bool operator<(const PushedSeries& other) const {
    return std::tie(directory, kind, zeltId) < std::tie(other.directory, other.kind, other.zeltId);
  }
  bool operator!=(const PushedSeries& other) const { return *this < other || other < *this; }
};

// The time of the last confirmed sample, or the start of the last confirmed interval, of each.
using ConfirmedTimes = std::map<PushedSeries, long long>;

// How far a server has confirmed each series, in a SQLite file that one process uses at a time. No
// fault of the file keeps a push from sending: a damaged file is set aside, and what cannot be read
// or saved is sent again by the next push.
class PushState {
 public:
  // Reads the file `statePath`, which need not exist yet. `server` is the key of the server's rows.
  // Throws CommandError when another push uses it.
  PushState(const std::string& statePath, const std::string& server);
  PushState(const PushState&) = delete;
  PushState& operator=(const PushState&) = delete;

  // The path of that file in the user's state directory, which is made if need be. Throws
  // CommandError when the directory is not known.
  static std::string FindDefaultPath(const std::string& name);

  // Whether nothing is known of the server.
  bool IsEmpty() const { return confirmed.empty(); }

  std::optional<long long> Find(const PushedSeries& series) const;

  // Saves the times at once or, if that fails, together with the next ones.
  void Confirm(const ConfirmedTimes& times);

  // Throws CommandError unless everything that was confirmed is saved.
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
  ConfirmedTimes confirmed;                 // as they were read
  ConfirmedTimes unsaved;
  std::string problem;  // empty when all is saved
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
