#include "nvx/file_system.h"

#include <filesystem>

namespace nvx::Utilities {

using nv::kora::StatusCode;

const std::string FileSystem::FILENAME_EXTENSION_SEPARATOR = ".";

StatusCode FileSystem::CheckFileExist(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error) ? StatusCode::Success : StatusCode::Failure;
}

StatusCode FileSystem::GetFileList(const std::string& directory, const std::string& extension,
                                   std::set<std::string>& fileNames) {
  std::error_code error;
  std::filesystem::directory_iterator entry(directory, error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    std::error_code ignored;  // of a link that leads nowhere
    if (entry->path().extension() == "." + extension && entry->is_regular_file(ignored)) {
      fileNames.insert(entry->path().filename());
    }
  }
  return error ? StatusCode::IoError : StatusCode::Success;
}

}  // namespace nvx::Utilities
