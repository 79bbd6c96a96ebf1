#include "points/context.h"

#include <filesystem>
#include <system_error>

#include "arguments/scope_text.h"
#include "rrd/foreign_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

// Tells why there is no file at the path of an id.
[[noreturn]] void RefuseAbsent(const std::string& zeltId, const fs::path& path) {
  std::error_code error;
  if (fs::is_directory(path, error)) {
    throw CommandError(zeltId, path.string() + " is a directory", StatusCode::InvalidArgument);
  }
  if (error && error != std::errc::no_such_file_or_directory) {
    throw CommandError(zeltId, path.string() + ": " + error.message(), StatusCode::IoError);
  }
  const fs::path directory = path.parent_path();
  const bool isThere = fs::exists(directory, error);
  throw CommandError(
      zeltId, isThere ? "no such data source" : "there is no directory " + directory.string(),
      StatusCode::NotFound);
}

// The directory as it is handed over. The RRD library takes a path such as "cb//x.rrd" for the
// URL of a server, but not one that begins with "/" or "./".
std::string GetDirectoryPath(const std::string& directory) {
  const bool isPlain = directory == "." || directory[0] == '/' || directory.rfind("./", 0) == 0;
  return isPlain ? directory : "./" + directory;
}

}  // namespace

const std::string& Context::GetDirectory() const {
  if (directories.size() > 1) {
    throw UsageError(directories[1], "a second directory, but the command takes one");
  }
  return directories.front();
}

Rrd::Database Context::MakeDatabase(const std::string& directory) {
  return {GetDirectoryPath(directory), fileSystem, store, rrdClient.GetForDataSources()};
}

std::string Context::GetPath(const std::string& directory, const std::string& zeltId) {
  std::string path;
  if (MakeDatabase(directory).GetPathToRrdFile(zeltId, path) != StatusCode::Success) {
    throw UsageError(zeltId, "not an id, which is a scope, ':' and a name" + SuggestScope(zeltId));
  }
  const std::size_t fileName = GetDirectoryPath(directory).size() + 1;
  if (path.find('/', fileName) != std::string::npos) {
    throw UsageError(zeltId, "an id with '/' would leave the directory");
  }
  return path;
}

std::string Context::GetPathOfExisting(const std::string& directory, const std::string& zeltId) {
  std::string path = GetPath(directory, zeltId);
  if (Utilities::FileSystem::CheckFileExist(path) != StatusCode::Success) {
    RefuseAbsent(zeltId, path);
  }
  return path;
}

std::string Context::GetPathOfNative(const std::string& directory, const std::string& zeltId) {
  std::string path = GetPathOfExisting(directory, zeltId);
  const std::optional<ForeignFile> foreign = FindForeignFile(path);
  if (foreign) {
    throw CommandError(zeltId, foreign->Describe(), StatusCode::InvalidArgument);
  }
  return path;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
