#include "export/file_list.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "command/selected_files.h"
#include "output/message.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

std::string GetDirectoryName(const std::string& directory) {
  std::error_code error;
  const std::filesystem::path resolved = std::filesystem::weakly_canonical(directory, error);
  return error ? directory : resolved.filename().string();
}

// No label where there is one directory, since nothing else has to be told from it.
Labels MakeLabels(const std::string& directory, std::map<std::string, std::string>& named,
                  const Context& context) {
  if (context.directories.size() < 2) {
    return {};
  }
  const std::string name = GetDirectoryName(directory);
  const auto [known, isNew] = named.emplace(name, directory);
  if (!isNew) {
    throw UsageError(directory, "has the name " + name + ", as " + known->second + " has");
  }
  return {{DIRECTORY_LABEL, name}};
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
  std::map<std::string, std::string> named;
  for (const std::string& directory : directories) {
    const Labels labels = MakeLabels(directory, named, context);
    context.directory = directory;
    try {
      Append(SelectFiles(arguments, context), directory, labels, list);
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
    throw CommandError("no directory", "has any of the data sources", StatusCode::NotFound);
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
