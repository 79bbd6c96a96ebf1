#pragma once

#include <set>
#include <string>

#include "nvx/status_code.h"

namespace nvx::Utilities {

// The platform's view of files.
class __attribute__((visibility("default"))) FileSystem {
 public:
  // The one character between a file's base name and its extension.
  static const std::string FILENAME_EXTENSION_SEPARATOR;

  virtual ~FileSystem() = default;

  // Success when a file that is no directory exists at `path`, NotFound otherwise.
  static nv::kora::StatusCode CheckFileExist(const std::string& path);

  // Adds to `fileNames` the bare names, extension included, of the files of `directory` whose
  // extension is `extension` (given without its separator). NotFound when there is no such
  // directory, IoError when it cannot be read; `fileNames` is unchanged then.
  virtual nv::kora::StatusCode GetFileList(const std::string& directory,
                                           const std::string& extension,
                                           std::set<std::string>& fileNames);
};

}  // namespace nvx::Utilities
