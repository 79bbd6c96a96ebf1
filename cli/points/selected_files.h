#pragma once

#include <functional>
#include <string>
#include <vector>

#include "arguments/time_expression.h"
#include "points/context.h"
#include "points/query.h"

// The files that the arguments of a command select. Every operation throws CommandError.
namespace nvx::TimeSeriesDatabase::CommandLine {

constexpr char PATTERN_HELP[] =
    "An ID with *, ? or [...] that is no data source itself is a pattern of the shell, in quotes,\n"
    "such as 'topo:Boiler*'.";

// A pattern that no id matches.
class NoMatch : public CommandError {
 public:
  explicit NoMatch(const std::string& pattern)
      : CommandError(pattern, "no data source matches", StatusCode::NotFound) {}
};

struct Selection {
  std::vector<std::string> zeltIds;
  bool isSeveral = false;  // several were asked for, though it may have become a single one
};

// The data sources of a directory, sorted.
std::vector<std::string> ListDataSources(Context& context);

// The ids in the order of the arguments, each of them once, those of a pattern sorted. An id need
// not exist; a pattern that matches none throws
// NoMatch. No argument selects all of the directory.
Selection SelectFiles(const std::vector<std::string>& arguments, Context& context);

// Calls `work` for each id. Of several, one that fails is told on standard error, and the others
// are gone on with; the exit status is EXIT_FAILED then.
void ForEachFile(const Selection& selection, Context& context,
                 const std::function<void(const std::string&)>& work);

// Opens the file of an id, which has a single data source.
Query OpenQuery(const std::string& zeltId, QueryInterval interval, Context& context);

// The first and the last sample of an id's file, which is only opened when they are looked for.
FileTimes FindTimes(const std::string& zeltId, Context& context);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
