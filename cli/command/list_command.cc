#include <filesystem>
#include <iostream>
#include <set>
#include <string>
#include <system_error>

#include "command/commands.h"
#include "output/message.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// A directory that is missing is told by the status.
std::string DescribeUnreadable(const std::string& directory) {
  const std::string problem = "the directory cannot be read";
  std::error_code error;
  const std::filesystem::directory_iterator entry(directory, error);
  return error == std::errc::permission_denied ? problem + ": " + error.message() : problem;
}

void List(Context& context) {
  std::set<std::string> zeltIds;
  const StatusCode status = context.MakeDatabase().ListDataSources(zeltIds);
  Require(status, context.directory,
          status == StatusCode::Failure ? "none of its files is named after an id"
                                        : DescribeUnreadable(context.directory));
  for (const std::string& zeltId : zeltIds) {
    std::cout << WithoutControls(zeltId) << '\n';
  }
}

}  // namespace

void AddListCommand(CLI::App& app, Context& context) {
  app.add_subcommand("list", "Print the ids of the data sources, one a line")->callback([&context] {
    List(context);
  });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
