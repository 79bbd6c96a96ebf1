#include "nvx/file_system.h"

#include <dirent.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <string_view>

namespace nvx::Utilities {

using nv::kora::StatusCode;

namespace {

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

// The directory tells the type of most files; only symbolic links need a look at the target.
bool IsFile(DIR* directory, const dirent& entry) {
  if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) {
    return entry.d_type != DT_DIR;
  }
  struct stat status {};
  return fstatat(dirfd(directory), entry.d_name, &status, 0) == 0 && !S_ISDIR(status.st_mode);
}

// A name whose only dot is its first character has no extension.
bool HasSuffix(std::string_view name, std::string_view suffix) {
  return name.size() > suffix.size() && name.substr(name.size() - suffix.size()) == suffix;
}

}  // namespace

const std::string FileSystem::FILENAME_EXTENSION_SEPARATOR = ".";

StatusCode FileSystem::CheckFileExist(const std::string& path) {
  struct stat status {};
  const bool isFile = stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
  return isFile ? StatusCode::Success : StatusCode::NotFound;
}

StatusCode FileSystem::GetFileList(const std::string& directory, const std::string& extension,
                                   std::set<std::string>& fileNames) {
  // Not with std::filesystem, which ends the process when there is no memory left.
  const Directory opened(opendir(directory.c_str()));
  if (opened == nullptr) {
    return errno == ENOENT || errno == ENOTDIR ? StatusCode::NotFound : StatusCode::IoError;
  }

  const std::string suffix = FILENAME_EXTENSION_SEPARATOR + extension;
  std::set<std::string> found;
  errno = 0;
  // NOLINTNEXTLINE(concurrency-mt-unsafe): of a directory of its own
  while (const dirent* const entry = readdir(opened.get())) {
    if (HasSuffix(entry->d_name, suffix) && IsFile(opened.get(), *entry)) {
      found.insert(entry->d_name);
    }
    errno = 0;
  }
  if (errno != 0) {
    return StatusCode::IoError;
  }
  fileNames.merge(found);
  return StatusCode::Success;
}

}  // namespace nvx::Utilities
