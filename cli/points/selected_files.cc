#include "points/selected_files.h"

#include <fnmatch.h>

#include <filesystem>
#include <set>
#include <system_error>

#include "base/last_error.h"
#include "base/message.h"
#include "rrd/described_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// A directory that is missing is told by the status.
std::string DescribeUnreadable(const std::string& directory) {
  const std::string problem = "the directory cannot be read";
  std::error_code error;
  const std::filesystem::directory_iterator entry(directory, error);
  return error == std::errc::permission_denied ? problem + ": " + error.message() : problem;
}

// An id may have the characters of a pattern.
bool IsPattern(const std::string& argument, Context& context) {
  const LastError unseen;  // that there is no such id is no error
  return argument.find_first_of("*?[") != std::string::npos &&
         context.MakeDatabase().HasDataSource(argument) != StatusCode::Success;
}

std::vector<std::string> FindMatches(const std::string& pattern, Context& context) {
  std::vector<std::string> matches;
  for (const std::string& zeltId : ListDataSources(context)) {
    if (fnmatch(pattern.c_str(), zeltId.c_str(), 0) == 0) {
      matches.push_back(zeltId);
    }
  }
  if (matches.empty()) {
    throw NoMatch(pattern);
  }
  return matches;
}

}  // namespace

std::vector<std::string> ListDataSources(Context& context) {
  std::set<std::string> zeltIds;
  const StatusCode status = context.MakeDatabase().ListDataSources(zeltIds);
  Require(status, context.directory,
          status == StatusCode::Failure ? "none of its files is named after an id"
                                        : DescribeUnreadable(context.directory));
  return {zeltIds.begin(), zeltIds.end()};
}

Selection SelectFiles(const std::vector<std::string>& arguments, Context& context) {
  if (arguments.empty()) {
    return {ListDataSources(context), true};
  }
  Selection selection;
  std::set<std::string> known;
  for (const std::string& argument : arguments) {
    std::vector<std::string> zeltIds{argument};
    if (IsPattern(argument, context)) {
      zeltIds = FindMatches(argument, context);
      selection.isSeveral = true;
    } else {
      context.GetPath(argument);  // which it must have
    }
    for (const std::string& zeltId : zeltIds) {
      if (known.insert(zeltId).second) {
        selection.zeltIds.push_back(zeltId);
      }
    }
  }
  selection.isSeveral |= arguments.size() > 1;
  return selection;
}

void ForEachFile(const Selection& selection, Context& context,
                 const std::function<void(const std::string&)>& work) {
  for (const std::string& zeltId : selection.zeltIds) {
    try {
      work(zeltId);
    } catch (const CommandError& error) {
      if (!selection.isSeveral) {
        throw;
      }
      PrintMessage(error.GetText());
      context.exitStatus = EXIT_FAILED;
    }
  }
}

Query OpenQuery(const std::string& zeltId, QueryInterval interval, Context& context) {
  const std::string path = context.GetPathOfNative(zeltId);
  return {zeltId,   path,          DescribeSingleSource(context.rrdClient, path, zeltId),
          interval, context.store, context.rrdClient};
}

FileTimes FindTimes(const std::string& zeltId, Context& context) {
  const auto open = [zeltId, &context] {
    return OpenQuery(zeltId, QueryInterval::FullPeriod, context);
  };
  return {[open] { return GetFileTimes(open()).findFirst(); },
          [open] { return GetFileTimes(open()).findLast(); }};
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
