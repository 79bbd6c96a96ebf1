#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "arguments/time_expression.h"
#include "points/context.h"
#include "points/series.h"

// The files that the arguments of a command select. Every operation throws CommandError.
namespace nvx::TimeSeriesDatabase::CommandLine {

constexpr char PATTERN_HELP[] =
    "An ID with a / or the ending .rrd is the path of a file, whatever its name. One with *, ? or "
    "[...] that is not a data source itself is a shell pattern for ids, in quotes, such as "
    "'topo:Boiler*'.";

// What else a command selects by.
struct SelectionOptions {
  std::vector<std::string> excluded;  // patterns of ids
  std::optional<std::string> tree;    // all files below this directory, in place of ids
  std::string pathLabels;
  bool isDirectoryLabelled = false;  // also where there is one directory
};

struct SelectedFile {
  std::string directory;
  std::string zeltId;  // or what a file is called that was given by its path
  Labels labels;       // of the directory or the path
  std::string path;    // empty for that of an id

  // What messages call it.
  const std::string& GetName() const { return zeltId; }

  // What tells it from others of its directory.
  std::string GetKey() const;

  // The path of the file, which exists and, for the second, was not written by another machine.
  std::string GetPathOfExisting(Context& context) const;
  std::string GetPathOfNative(Context& context) const;

  std::string GetScope() const;

  // What is sent of it, with more labels.
  Series MakeSeries(const Labels& more) const;
};

struct Selection {
  std::vector<SelectedFile> files;
  bool isSeveral = false;  // several were asked for, though it may have become a single one

  // Puts the files of one scope together.
  void SortByScope();
};

// The data sources of a directory, sorted.
std::vector<std::string> ListDataSources(const std::string& directory, Context& context);

// The ids in the order of the arguments, each of them once, those of a pattern sorted, in each of
// the directories. An id need not exist, but a pattern must match one; no argument selects all. Of
// several directories, one without a match is skipped. One that cannot be read is reported, and the
// exit status is EXIT_FAILED.
Selection SelectFiles(const std::vector<std::string>& arguments, Context& context,
                      const SelectionOptions& options = {});

// Calls `work` for each file. When one of several fails, a message says so, the others follow, and
// the exit status is EXIT_FAILED.
void ForEachFile(const Selection& selection, Context& context,
                 const std::function<void(const SelectedFile&)>& work);

// The first and the last sample of an id's file, which is only opened when they are looked for.
FileTimes FindTimes(const std::string& zeltId, Context& context);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
