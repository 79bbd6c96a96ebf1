#include "base/directory_names.h"

#include <dirent.h>

#include <cerrno>
#include <memory>

namespace nvx::TimeSeriesDatabase::CommandLine {

std::vector<std::string> ReadNames(const std::string& directory, std::error_code& error) {
  error.clear();
  std::vector<std::string> names;
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), closedir);
  if (stream == nullptr) {
    error.assign(errno, std::generic_category());
    return names;
  }
  errno = 0;
  // NOLINTNEXTLINE(concurrency-mt-unsafe): of a stream that nobody else has
  while (const dirent* const entry = readdir(stream.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") {
      names.push_back(name);
    }
    errno = 0;
  }
  error.assign(errno, std::generic_category());
  return names;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
