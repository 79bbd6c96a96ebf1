#include "command/context.h"

#include "files/foreign_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

std::string Context::GetPath(const std::string& zeltId) {
  std::string path;
  Require(MakeDatabase().GetPathToRrdFile(zeltId, path), zeltId,
          "not an id, which is a known scope, ':' and a name");
  const std::size_t fileName = directory.size() + 1;
  if (path.find('/', fileName) != std::string::npos) {
    throw CommandError(zeltId, "an id with '/' would leave the directory",
                       StatusCode::InvalidArgument);
  }
  return path;
}

std::string Context::GetPathOfExisting(const std::string& zeltId) {
  std::string path = GetPath(zeltId);
  Require(Utilities::FileSystem::CheckFileExist(path), zeltId, "no such data source");
  return path;
}

std::string Context::GetPathOfNative(const std::string& zeltId) {
  std::string path = GetPathOfExisting(zeltId);
  const std::optional<ForeignFile> foreign = FindForeignFile(path);
  if (foreign) {
    throw CommandError(zeltId, foreign->Describe(), StatusCode::InvalidArgument);
  }
  return path;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
