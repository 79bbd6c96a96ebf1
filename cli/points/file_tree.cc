#include "points/file_tree.h"

#include <glob.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <system_error>

#include "base/command_error.h"
#include "replace/tree_walk.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

constexpr char ENDING[] = ".rrd";

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
  const fs::path root = directory;
  const auto take = [&](const fs::path& path) {
    std::error_code unknown;  // what has vanished is no file
    const bool isTree = fs::symlink_status(root / path, unknown).type() == fs::file_type::directory;
    if (!isTree && path.extension() == ENDING && !fs::is_directory(root / path, unknown)) {
      files.push_back(path);
    }
    return isTree;
  };
  const auto refuse = [&](const fs::path& path, const std::error_code& error) {
    if (path.empty()) {
      throw MakeUnreadable(directory, error);
    }
    context.TellFailure(MakeUnreadable(root / path, error));
  };
  WalkTree(root, take, refuse);
  if (files.empty()) {
    throw CommandError(directory, "has no RRD file", StatusCode::NotFound);
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
