#include "points/context.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "arguments/nearest_word.h"
#include "arguments/scope_text.h"
#include "base/command_error.h"
#include "base/directory_names.h"
#include "rrd/foreign_file.h"
#include "timeseries/rrd/file_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

// The id of a data source's file; empty for any other file.
std::string FindId(const fs::path& path) {
  std::string id;
  const bool isFound =
      path.extension() == ".rrd" &&
      Rrd::FileHelper::ComputeZeltIdFromFileName(path.filename(), id) == StatusCode::Success;
  return isFound ? id : "";
}

// The ids of the files of a directory; none where it cannot be read.
std::vector<std::string> ListIds(const fs::path& directory) {
  std::vector<std::string> ids;
  std::error_code ignored;
  for (const std::string& name : ReadNames(directory, ignored)) {
    if (fs::exists(directory / name, ignored)) {
      ids.push_back(FindId(name));
    }
  }
  std::sort(ids.begin(), ids.end());
  return ids;
}

// Tells why there is no file at the path of an id.
[[noreturn]] void RefuseAbsent(const std::string& zeltId, const fs::path& path) {
  std::error_code error;
  if (fs::is_directory(path, error)) {
    throw CommandError(zeltId, path.string() + " is a directory");
  }
  if (error && error != std::errc::no_such_file_or_directory) {
    throw CommandError(zeltId, path.string() + ": " + error.message(), StatusCode::IoError);
  }
  const fs::path directory = path.parent_path();
  if (!fs::exists(directory, error)) {
    throw CommandError(directory.string(), NO_DIRECTORY, StatusCode::NotFound);
  }
  const std::string suggested = SuggestWord(zeltId, ListIds(directory));
  throw CommandError(
      zeltId,
      "no such data source: there is no file " + path.string() +
          (suggested.empty() ? "; list prints the ids, and -d names another directory" : suggested),
      StatusCode::NotFound);
}

// The directory as the library gets it. The RRD library takes a path such as "cb//x.rrd" for the
// URL of a server, but not one that begins with "/" or "./".
std::string GetDirectoryPath(const std::string& directory) {
  const bool isPlain = directory == "." || directory[0] == '/' || directory.rfind("./", 0) == 0;
  return isPlain ? directory : "./" + directory;
}

}  // namespace

void Context::TellFailure(const CommandError& error) {
  PrintMessage(error.GetText());
  exitStatus = EXIT_FAILED;
}

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
    const std::string id = FindId(zeltId);  // of a file that is given instead
    throw UsageError(zeltId, "not an id, which is a scope, ':' and a name" +
                                 (id.empty() ? SuggestScope(zeltId) : "; its id is " + id));
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
  RequireNative(path, zeltId);
  return path;
}

void Context::RequireNative(const std::string& path, const std::string& name) {
  const std::optional<ForeignFile> foreign = FindForeignFile(path);
  if (foreign) {
    throw CommandError(name, foreign->Describe());
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
