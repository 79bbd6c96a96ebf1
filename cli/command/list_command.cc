#include <iostream>
#include <set>
#include <string>

#include "command/commands.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

void List(Context& context) {
  std::set<std::string> zeltIds;
  const StatusCode status = context.MakeDatabase().ListDataSources(zeltIds);
  Require(status, context.directory,
          status == StatusCode::Failure ? "none of its files is named after an id"
                                        : "the directory cannot be read");
  for (const std::string& zeltId : zeltIds) {
    std::cout << zeltId << '\n';
  }
}

}  // namespace

void AddListCommand(CLI::App& app, Context& context) {
  app.add_subcommand("list", "Print the ids of the data sources, one a line")->callback([&context] {
    List(context);
  });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
