#pragma once

#include <map>
#include <optional>
#include <string>

#include "support/random.h"

namespace nvx::TimeSeriesDatabase::Simulation {

// The bytes of a file; none where there is no file.
std::optional<std::string> ReadBytes(const std::string& path);

// Changes a file in place: it stays the same file.
void OverwriteBytes(const std::string& path, const std::string& bytes);

// What the disk has of a file and its journal while a child process writes them: all that was
// synced, and any sectors of the rest. The program's syncs go here while it lives.
class Disk {
 public:
  // Both are on the disk as they are now.
  Disk(const std::string& file, const std::string& journal);
  Disk(const Disk&) = delete;
  Disk& operator=(const Disk&) = delete;
  ~Disk();

  // Once the child has ended: leaves the files as they are when the machine starts again.
  void LosePower(Random& random) const;

 private:
  std::map<std::string, std::optional<std::string>> before;  // by path
};

}  // namespace nvx::TimeSeriesDatabase::Simulation
