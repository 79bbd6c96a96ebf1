#include "points/file_tree.h"

#include <glob.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <system_error>

#include "base/directory_names.h"
#include "base/message.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

constexpr char ENDING[] = ".rrd";

// Adds the files of one directory, and its directories to those that are still to be read.
std::error_code ReadDirectory(const fs::path& root, const fs::path& directory,
                              std::vector<std::string>& files, std::vector<fs::path>& directories) {
  std::error_code error;
  for (const std::string& name : ReadNames(root / directory, error)) {
    std::error_code unknown;  // what has vanished is no file
    const fs::path path = directory / name;
    if (fs::symlink_status(root / path, unknown).type() == fs::file_type::directory) {
      directories.push_back(path);
    } else if (path.extension() == ENDING && !fs::is_directory(root / path, unknown)) {
      files.push_back(path);
    }
  }
  return error;
}

CommandError MakeUnreadable(const std::string& directory, const std::error_code& error) {
  return {directory, "the directory cannot be read: " + error.message(), StatusCode::IoError};
}

}  // namespace

bool IsPath(const std::string& argument) {
  return argument.find('/') != std::string::npos || fs::path("x" + argument).extension() == ENDING;
}

std::vector<std::string> ExpandPath(const std::string& path) {
  std::error_code error;
  const bool isPattern = path.find_first_of("*?[") != std::string::npos;
  if (!isPattern || fs::exists(fs::symlink_status(path, error))) {
    return {path};
  }
  glob_t found{};
  // NOLINTNEXTLINE(concurrency-mt-unsafe): no threads
  const int status = glob(path.c_str(), 0, nullptr, &found);
  const std::unique_ptr<glob_t, decltype(&globfree)> owner(&found, globfree);
  if (status != 0) {
    throw CommandError(path, "no file matches", StatusCode::NotFound);
  }
  return {found.gl_pathv, found.gl_pathv + found.gl_pathc};
}

std::vector<std::string> ListTree(const std::string& directory, Context& context) {
  std::vector<std::string> files;
  std::vector<fs::path> directories = {""};
  while (!directories.empty()) {
    const fs::path next = directories.back();
    directories.pop_back();
    const std::error_code error = ReadDirectory(directory, next, files, directories);
    if (!error) {
      continue;
    }
    if (next.empty()) {
      throw MakeUnreadable(directory, error);
    }
    context.TellFailure(MakeUnreadable(fs::path(directory) / next, error));
  }
  if (files.empty()) {
    throw CommandError(directory, "has no RRD file", StatusCode::NotFound);
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
