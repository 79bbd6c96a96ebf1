#include "points/selected_files.h"

#include <fnmatch.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>
#include <system_error>

#include "base/command_error.h"
#include "base/directory_names.h"
#include "points/file_tree.h"
#include "points/path_labels.h"
#include "points/window.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// A pattern that no id matches.
class NoMatch : public CommandError {
 public:
  explicit NoMatch(const std::string& pattern)
      : CommandError(pattern, "no data source matches", StatusCode::NotFound) {}
};

// A directory that is missing is told by the status.
std::string DescribeUnreadable(const std::string& directory) {
  const std::string problem = "the directory cannot be read";
  std::error_code error;
  ReadNames(directory, error);
  if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory) {
    return NO_DIRECTORY;
  }
  return error == std::errc::permission_denied ? problem + ": " + error.message() : problem;
}

// An id may have the characters of a pattern.
bool IsPattern(const std::string& argument, const std::string& directory, Context& context) {
  return argument.find_first_of("*?[") != std::string::npos &&
         context.MakeDatabase(directory).HasDataSource(argument) != StatusCode::Success;
}

std::vector<std::string> FindMatches(const std::string& pattern, const std::string& directory,
                                     Context& context) {
  std::vector<std::string> matches;
  for (const std::string& zeltId : ListDataSources(directory, context)) {
    if (fnmatch(pattern.c_str(), zeltId.c_str(), 0) == 0) {
      matches.push_back(zeltId);
    }
  }
  if (matches.empty()) {
    throw NoMatch(pattern);
  }
  return matches;
}

// The ids of one directory, each of them once.
std::vector<std::string> SelectIds(const std::vector<std::string>& arguments,
                                   const std::string& directory, Context& context,
                                   bool& isSeveral) {
  if (arguments.empty()) {
    isSeveral = true;
    return ListDataSources(directory, context);
  }
  std::vector<std::string> selected;
  std::set<std::string> known;
  for (const std::string& argument : arguments) {
    std::vector<std::string> zeltIds{argument};
    if (IsPattern(argument, directory, context)) {
      zeltIds = FindMatches(argument, directory, context);
      isSeveral = true;
    } else {
      context.GetPath(directory, argument);  // which it must have
    }
    std::copy_if(zeltIds.begin(), zeltIds.end(), std::back_inserter(selected),
                 [&known](const std::string& zeltId) { return known.insert(zeltId).second; });
  }
  return selected;
}

bool IsExcluded(const std::string& zeltId, const std::vector<std::string>& patterns) {
  return std::any_of(patterns.begin(), patterns.end(), [&zeltId](const std::string& pattern) {
    return fnmatch(pattern.c_str(), zeltId.c_str(), 0) == 0;
  });
}

// Of several, one that fails is told.
void TellOrThrow(const CommandError& error, bool isSeveral, Context& context) {
  if (!isSeveral) {
    throw;
  }
  context.TellFailure(error);
}

}  // namespace

std::string SelectedFile::GetKey() const {
  if (path.empty()) {
    return zeltId;
  }
  return std::filesystem::path(path).filename();
}

std::string SelectedFile::GetPathOfExisting(Context& context) const {
  if (path.empty()) {
    return context.GetPathOfExisting(directory, zeltId);
  }
  std::error_code error;
  if (!std::filesystem::exists(path, error)) {
    throw CommandError(path, error ? error.message() : "there is no such file",
                       StatusCode::NotFound);
  }
  if (std::filesystem::is_directory(path, error)) {
    throw CommandError(path, "is a directory");
  }
  // The RRD library takes a path such as "cb//x.rrd" for the URL of a server.
  return path[0] == '/' || path.rfind("./", 0) == 0 ? path : "./" + path;
}

std::string SelectedFile::GetPathOfNative(Context& context) const {
  std::string existing = GetPathOfExisting(context);
  Context::RequireNative(existing, zeltId);
  return existing;
}

std::string SelectedFile::GetScope() const {
  return path.empty() ? zeltId.substr(0, zeltId.find(':')) : PATH_SCOPE;
}

Series SelectedFile::MakeSeries(const Labels& more) const {
  Series series{zeltId, more, "", GetScope()};
  for (const auto& label : labels) {
    if (!series.labels.insert(label).second) {
      throw CommandError(zeltId, "the label " + label.first + " is given twice");
    }
  }
  if (path.empty()) {
    series.labels[ID_LABEL] = zeltId.substr(series.scope.size() + 1);
  }
  return series;
}

void Selection::SortByScope() {
  std::stable_sort(files.begin(), files.end(), [](const auto& one, const auto& other) {
    return one.GetScope() < other.GetScope();
  });
}

std::vector<std::string> ListDataSources(const std::string& directory, Context& context) {
  std::set<std::string> zeltIds;
  const StatusCode status = context.MakeDatabase(directory).ListDataSources(zeltIds);
  if (status == StatusCode::Failure) {
    throw CommandError(directory, "none of its files is named after an id", status);
  }
  if (status != StatusCode::Success) {
    throw CommandError(directory, DescribeUnreadable(directory), status);
  }
  return {zeltIds.begin(), zeltIds.end()};
}

namespace {

SelectedFile MakeFileOfPath(const std::string& path, const std::string& name,
                            const Labels& labels) {
  const std::filesystem::path directory = std::filesystem::path(path).parent_path();
  return {directory.empty() ? "." : directory.string(), name, labels, path};
}

// The files of the arguments that are paths, each of them once.
std::vector<SelectedFile> SelectPaths(const std::vector<std::string>& arguments,
                                      const std::vector<std::string>& excluded, bool& isSeveral) {
  std::vector<SelectedFile> files;
  std::set<std::string> known;
  for (const std::string& argument : arguments) {
    const std::vector<std::string> paths = ExpandPath(argument);
    isSeveral = isSeveral || paths.front() != argument || paths.size() > 1;
    for (const std::string& path : paths) {
      const std::string normal = std::filesystem::path(path).lexically_normal();
      if (!IsExcluded(path, excluded) && known.insert(normal).second) {
        files.push_back(MakeFileOfPath(path, path, {{PATH_LABEL, normal}}));
      }
    }
  }
  return files;
}

Selection SelectTree(const SelectionOptions& options, Context& context) {
  const PathLabels names =
      options.pathLabels.empty() ? PathLabels() : PathLabels(options.pathLabels);
  Selection selection;
  selection.isSeveral = true;
  std::map<Labels, std::string> known;
  for (const std::string& path : ListTree(*options.tree, context)) {
    if (IsExcluded(path, options.excluded)) {
      continue;
    }
    const Labels labels = names.Read(path);
    const auto [other, isNew] = known.emplace(labels, path);
    if (!isNew) {
      throw UsageError(path, "has the same labels as " + other->second);
    }
    const std::filesystem::path whole = std::filesystem::path(*options.tree) / path;
    selection.files.push_back(MakeFileOfPath(whole, path, labels));
  }
  if (selection.files.empty()) {
    throw CommandError("--exclude", "no data source is left", StatusCode::NotFound);
  }
  return selection;
}

// Tells why no file is selected.
[[noreturn]] void RefuseEmpty(const std::vector<std::string>& directories,
                              const SelectionOptions& options) {
  if (!options.excluded.empty()) {
    throw CommandError("--exclude", "no data source is left", StatusCode::NotFound);
  }
  if (directories.size() > 1) {
    throw CommandError("the directories", "none has any of the data sources", StatusCode::NotFound);
  }
  throw CommandError(directories.front(), "has no data source", StatusCode::NotFound);
}

}  // namespace

Selection SelectFiles(const std::vector<std::string>& arguments, Context& context,
                      const SelectionOptions& options) {
  if (options.tree) {
    if (!arguments.empty()) {
      throw UsageError(arguments.front(), "cannot be given beside --tree");
    }
    return SelectTree(options, context);
  }
  std::vector<std::string> ids;
  std::vector<std::string> paths;
  std::partition_copy(arguments.begin(), arguments.end(), std::back_inserter(paths),
                      std::back_inserter(ids), IsPath);
  if (options.isDirectoryLabelled && !paths.empty()) {
    throw UsageError(paths.front(), "a path has no label directory");
  }
  const std::vector<std::string>& directories = context.directories;
  const bool hasSeveral = directories.size() > 1;
  const std::vector<Labels> labels = MakeDirectoryLabels(directories, options.isDirectoryLabelled);
  Selection selection;
  selection.isSeveral = hasSeveral || arguments.size() > 1;
  selection.files = SelectPaths(paths, options.excluded, selection.isSeveral);
  for (std::size_t i = 0; i < directories.size() && (paths.empty() || !ids.empty()); ++i) {
    try {
      for (const std::string& zeltId :
           SelectIds(ids, directories[i], context, selection.isSeveral)) {
        if (!IsExcluded(zeltId, options.excluded)) {
          selection.files.push_back({directories[i], zeltId, labels[i], ""});
        }
      }
    } catch (const UsageError&) {
      throw;
    } catch (const NoMatch&) {
      if (!hasSeveral) {
        throw;
      }
    } catch (const CommandError& error) {
      TellOrThrow(error, hasSeveral, context);
    }
  }
  if (selection.files.empty()) {
    RefuseEmpty(directories, options);
  }
  return selection;
}

void ForEachFile(const Selection& selection, Context& context,
                 const std::function<void(const SelectedFile&)>& work) {
  for (const SelectedFile& file : selection.files) {
    try {
      work(file);
    } catch (const CommandError& error) {
      TellOrThrow(error, selection.isSeveral, context);
    }
  }
}

FileTimes FindTimes(const std::string& zeltId, Context& context) {
  const auto open = [zeltId, &context] {
    return Source({context.GetDirectory(), zeltId, {}, ""}, context);
  };
  return {[open] {
            const Source source = open();
            RowReader rows(source);
            return GetFirstSample(source, rows);
          },
          [open] { return open().file.lastUpdate; }};
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
