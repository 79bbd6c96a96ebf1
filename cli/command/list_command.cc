#include <iostream>
#include <string>

#include "base/message.h"
#include "command/commands.h"
#include "points/selected_files.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

void List(Context& context) {
  for (const std::string& zeltId : ListDataSources(context.GetDirectory(), context)) {
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
