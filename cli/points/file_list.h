#pragma once

#include <functional>
#include <string>
#include <vector>

#include "points/context.h"
#include "points/series.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// A file of one of the directories that the command was given.
struct ListedFile {
  std::string directory;
  std::string zeltId;
  Labels labels;  // of the directory

  std::string GetScope() const { return zeltId.substr(0, zeltId.find(':')); }
};

struct FileList {
  std::vector<ListedFile> files;
  bool isSeveral = false;  // several were asked for, though it may have become a single one
};

// What the arguments select in each directory, the files of one scope together. Of several
// directories, one without a match is passed over, and one that cannot be read is told; the exit
// status is EXIT_FAILED then. Throws UsageError for two directories of one name.
FileList ListFiles(const std::vector<std::string>& arguments, Context& context);

// Calls `work` for each file, with its directory as that of the context. Of several, one that fails
// is told, and the others are gone on with; the exit status is EXIT_FAILED then.
void ForEachFile(const FileList& list, Context& context,
                 const std::function<void(const ListedFile&)>& work);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
