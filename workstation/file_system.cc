#include "nvx/file_system.h"

#include <filesystem>
#include <system_error>

namespace nvx::Utilities {

using nv::kora::StatusCode;

namespace {

// Of most files the directory has told the type; only a symbolic link is followed.
bool IsFile(const std::filesystem::directory_entry& entry) {
  std::error_code error;
  return entry.exists(error) && !entry.is_directory(error);
}

}  // namespace

const std::string FileSystem::FILENAME_EXTENSION_SEPARATOR = ".";

StatusCode FileSystem::CheckFileExist(const std::string& path) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  const bool isFile = std::filesystem::exists(status) && !std::filesystem::is_directory(status);
  return isFile ? StatusCode::Success : StatusCode::NotFound;
}

StatusCode FileSystem::GetFileList(const std::string& directory, const std::string& extension,
                                   std::set<std::string>& fileNames) {
  std::error_code error;
  std::filesystem::directory_iterator entry(directory, error);
  if (error) {
    const bool isMissing =
        error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
    return isMissing ? StatusCode::NotFound : StatusCode::IoError;
  }

  const std::string suffix = FILENAME_EXTENSION_SEPARATOR + extension;
  std::set<std::string> found;
  while (entry != std::filesystem::directory_iterator()) {
    const std::filesystem::path& path = entry->path();
    if (path.extension() == suffix && IsFile(*entry)) {
      found.insert(path.filename().string());
    }
    entry.increment(error);
    if (error) {
      return StatusCode::IoError;
    }
  }
  fileNames.merge(found);
  return StatusCode::Success;
}

}  // namespace nvx::Utilities
