#include "points/series.h"

#include <algorithm>
#include <filesystem>

#include "base/command_error.h"
#include "replace/directory.h"
#include "replace/file_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

// Cuts off what all paths end with, as each device's files may lie in a directory of the same name.
void RemoveCommonEnd(std::vector<fs::path>& paths) {
  const auto endsAsFirst = [&paths](const fs::path& path) {
    return path.parent_path().has_relative_path() && path.filename() == paths.front().filename();
  };
  while (std::all_of(paths.begin(), paths.end(), endsAsFirst)) {
    for (fs::path& path : paths) {
      path = path.parent_path();
    }
  }
}

}  // namespace

Labels ReadLabels(const std::vector<std::string>& texts) {
  Labels labels;
  for (const std::string& text : texts) {
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || sign == 0 || sign + 1 == text.size() ||
        WithoutControls(text) != text) {
      throw UsageError(text, "a label is KEY=VALUE, neither of them empty, on one line");
    }
    const std::string key = text.substr(0, sign);
    if (key == ID_LABEL || key == DIRECTORY_LABEL) {
      throw UsageError(text, "the label " + key + " is given by the command itself");
    }
    if (!labels.emplace(key, text.substr(sign + 1)).second) {
      throw UsageError(text, "the label " + key + " is given twice");
    }
  }
  return labels;
}

std::vector<Labels> MakeDirectoryLabels(const std::vector<std::string>& directories,
                                        bool isAlways) {
  if (directories.size() < 2 && !isAlways) {
    return {{}};
  }
  std::vector<fs::path> paths(directories.size());
  std::transform(directories.begin(), directories.end(), paths.begin(), ResolvePath);
  if (!isAlways) {
    RemoveCommonEnd(paths);
  }
  std::vector<Labels> labels;
  std::map<std::string, std::string> named;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    const std::string name = paths[i].filename();
    const auto [known, isNew] = named.emplace(name, directories[i]);
    if (!isNew) {
      throw UsageError(directories[i], "its label would be that of " + known->second);
    }
    labels.push_back({{DIRECTORY_LABEL, name}});
  }
  return labels;
}

std::string ResolvePath(const std::string& path) {
  try {
    return Resolve(path).GetPath();
  } catch (const FileError&) {
    return path;
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
