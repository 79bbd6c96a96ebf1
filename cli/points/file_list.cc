#include "points/file_list.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "base/message.h"
#include "points/selected_files.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

fs::path ResolveDirectory(const std::string& directory) {
  std::error_code error;
  const fs::path resolved = fs::weakly_canonical(directory, error);
  return error ? fs::path(directory) : resolved;
}

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

// The label of each directory. None where there is one, since nothing has to be told from it.
std::vector<Labels> MakeLabels(const std::vector<std::string>& directories) {
  if (directories.size() < 2) {
    return {{}};
  }
  std::vector<fs::path> paths(directories.size());
  std::transform(directories.begin(), directories.end(), paths.begin(), ResolveDirectory);
  RemoveCommonEnd(paths);
  std::vector<Labels> labels;
  std::map<std::string, std::string> named;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    const std::string name = paths[i].filename();
    const auto [known, isNew] = named.emplace(name, directories[i]);
    if (!isNew) {
      throw UsageError(directories[i], "cannot be told from " + known->second + " by its name");
    }
    labels.push_back({{DIRECTORY_LABEL, name}});
  }
  return labels;
}

void Append(const Selection& selection, const std::string& directory, const Labels& labels,
            FileList& list) {
  for (const std::string& zeltId : selection.zeltIds) {
    list.files.push_back({directory, zeltId, labels});
  }
  list.isSeveral |= selection.isSeveral;
}

}  // namespace

FileList ListFiles(const std::vector<std::string>& arguments, Context& context) {
  const std::vector<std::string> directories = context.directories;
  FileList list;
  list.isSeveral = directories.size() > 1;
  const std::vector<Labels> labels = MakeLabels(directories);
  for (std::size_t i = 0; i < directories.size(); ++i) {
    context.directory = directories[i];
    try {
      Append(SelectFiles(arguments, context), directories[i], labels[i], list);
    } catch (const UsageError&) {
      throw;
    } catch (const NoMatch&) {
      if (!list.isSeveral) {
        throw;
      }
    } catch (const CommandError& error) {
      if (!list.isSeveral) {
        throw;
      }
      PrintMessage(error.GetText());
      context.exitStatus = EXIT_FAILED;
    }
  }
  if (list.files.empty()) {
    throw list.isSeveral
        ? CommandError("no directory", "has any of the data sources", StatusCode::NotFound)
        : CommandError(directories.front(), "has no data source", StatusCode::NotFound);
  }
  std::stable_sort(list.files.begin(), list.files.end(), [](const auto& one, const auto& other) {
    return one.GetScope() < other.GetScope();
  });
  return list;
}

void ForEachFile(const FileList& list, Context& context,
                 const std::function<void(const ListedFile&)>& work) {
  for (const ListedFile& file : list.files) {
    context.directory = file.directory;
    ForEachFile(Selection{{file.zeltId}, list.isSeveral}, context,
                [&](const std::string& /*zeltId*/) { work(file); });
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
