#pragma once

#include <set>
#include <string>

#include "status_code.h"

namespace nvx::Utilities {
class FileSystem {
 public:
  static const std::string FILENAME_EXTENSION_SEPARATOR;
  virtual ~FileSystem() = default;
  static nv::kora::StatusCode CheckFileExist(const std::string& path);
  virtual nv::kora::StatusCode GetFileList(const std::string& directory,
                                           const std::string& extension,
                                           std::set<std::string>& fileNames);
};
}  // namespace nvx::Utilities
