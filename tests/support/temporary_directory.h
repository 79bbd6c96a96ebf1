#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

// A new directory that is removed with all its content.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "nvx-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("no temporary directory");
    }
    path = pattern;
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() { std::filesystem::remove_all(path); }

  std::string GetPath(const std::string& name = "") const {
    return name.empty() ? path : path + "/" + name;
  }

 private:
  std::string path;
};
