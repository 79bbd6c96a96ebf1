// `push` in nvx-timeseries: another program takes the place of this one, so that no other command
// loads libcurl and SQLite.

#include <unistd.h>
#include <CLI/CLI.hpp>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "base/command_error.h"
#include "command/commands.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;

// GCOVR_EXCL_START: the counts are lost when the other program begins
// The other program, relative to this one, wherever it is installed and however it was started.
fs::path FindPushProgram() {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  return (program.parent_path() / NVX_PUSH_PROGRAM).lexically_normal();
}

[[noreturn]] void BecomePushProgram(std::vector<std::string> arguments) {
  std::vector<char*> texts;
  texts.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) {
    texts.push_back(argument.data());
  }
  texts.push_back(nullptr);
  const fs::path program = FindPushProgram();
  execv(program.c_str(), texts.data());
  throw CommandError("push",
                     program.string() + " cannot be run: " + std::generic_category().message(errno),
                     StatusCode::NotFound);
}
// GCOVR_EXCL_STOP

}  // namespace

void AddPushCommand(CLI::App& app, Context& context) {
  app.add_subcommand("push", PUSH_DESCRIPTION)
      ->preparse_callback([&context](std::size_t /*argumentCount*/) {
        BecomePushProgram(context.programArguments);  // GCOVR_EXCL_LINE: as above
      });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
