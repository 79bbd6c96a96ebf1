#include "files/file_attributes.h"

#include "files/file_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

struct stat ReadAttributes(const std::string& path) {
  struct stat status {};
  RequireCall(lstat(path.c_str(), &status) == 0, "it cannot be examined");
  return status;
}

bool IsSameFile(const struct stat& lhs, const struct stat& rhs) {
  return lhs.st_dev == rhs.st_dev && lhs.st_ino == rhs.st_ino;
}

bool IsUnchanged(const struct stat& before, const struct stat& now) {
  return IsSameFile(before, now) && before.st_size == now.st_size &&
         before.st_mtim.tv_sec == now.st_mtim.tv_sec &&
         before.st_mtim.tv_nsec == now.st_mtim.tv_nsec;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
