#pragma once

#include <set>
#include <string>

#include "status_code.h"

namespace nvx::Utilities {
class FileSystem {
 public:
  inline static const std::string FILENAME_EXTENSION_SEPARATOR = ".";
  virtual ~FileSystem() = default;
  static nv::kora::StatusCode CheckFileExist(const std::string&) {
    return nv::kora::StatusCode::Success;
  }
  virtual nv::kora::StatusCode GetFileList(const std::string&, const std::string&,
                                           std::set<std::string>&) = 0;
};
}  // namespace nvx::Utilities
