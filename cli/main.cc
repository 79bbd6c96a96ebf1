#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "command/commands.h"
#include "files/interruption.h"
#include "output/message.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr char DESCRIPTION[] =
    "Store time series in RRD files and query them per calendar interval.";
constexpr char FOOTER[] =
    "ID is a scope, ':' and a name, such as topo:Boiler.\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage, 3 partial data.";

constexpr unsigned int LONGEST_WAIT = 86400;  // seconds

const std::map<std::string, KoraLogLevel> LOG_LEVELS = {
    {"none", KoraLogLevel::None},
    {"error", KoraLogLevel::Error},
    {"info", KoraLogLevel::Information},
    {"trace", KoraLogLevel::Trace},
};

// A data file must never be opened as one of the standard streams, whose output would spoil it.
// What a closed stream gets instead still fails when it is used.
void OccupyStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) == -1) {
      open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
  }
}

void AddGlobalOptions(CLI::App& app, Context& context) {
  app.add_option("-d,--directory", context.directory, "Database directory (default: .)")
      ->envname("NVX_TIMESERIES_DATABASE")
      ->type_name("DIR")
      ->take_last()
      ->check([](const std::string& text) { return text.empty() ? "empty directory" : ""; });
  app.add_option_function<std::string>(
         "--metadata-store",
         [&context](const std::string& url) {
           std::string problem;
           if (context.store.SetUrl(url, problem) != StatusCode::Success) {
             throw CLI::ValidationError("--metadata-store", problem);
           }
         },
         "Where first timestamps and intervals are looked up before the files:\n"
         "redis://[:PASSWORD@]HOST:PORT[/DB] or unix:///PATH (default: nowhere)")
      ->envname("NVX_TIMESERIES_METADATA_STORE")
      ->type_name("URL")
      ->take_last();
  app.add_option_function<std::string>(
         "--log-level",
         [](const std::string& name) {
           Log::RootLogger::GetInstance().SetLevel(LOG_LEVELS.at(name));
         },
         "none, error (default), info or trace; lines go to standard error")
      ->type_name("LEVEL")
      ->take_last()
      ->check([](const std::string& text) {
        return LOG_LEVELS.count(text) == 0 ? "unknown log level " + text : "";
      });
  app.add_option_function<unsigned int>(
         "--lock-timeout",
         [&context](unsigned int seconds) {
           context.rrdClient.SetPatience(std::chrono::seconds(seconds));
         },
         "How long to wait for a file that another process uses (default: 10)")
      ->type_name("SECONDS")
      ->take_last()
      ->check(CLI::Range(0U, LONGEST_WAIT));
  app.set_version_flag("--version", "nvx-timeseries " NVX_TIMESERIES_VERSION);
}

void AddCommands(CLI::App& app, Context& context) {
  AddCreateCommand(app, context);
  AddMigrateCommand(app, context);
  AddUpdateCommand(app, context);
  AddListCommand(app, context);
  AddInfoCommand(app, context);
  AddLastCommand(app, context);
  AddQueryCommand(app, context);
  AddConvertCommand(app, context);
}

// CLI11 takes an argument in brackets for a list of values. A path of convert may look like that;
// behind "./" it is the same path and taken as it is. The last argument comes first, as CLI11
// wants.
std::vector<std::string> ReadArguments(int argc, const char* const* argv) {
  std::vector<std::string> arguments(argv + 1, argv + argc);
  auto argument = std::find(arguments.begin(), arguments.end(), "convert");
  for (; argument != arguments.end(); ++argument) {
    if (!argument->empty() && argument->front() == '[' && argument->back() == ']') {
      argument->insert(0, "./");
    }
  }
  std::reverse(arguments.begin(), arguments.end());
  return arguments;
}

// As a shell expects it of a command that was interrupted: it ends by the signal itself.
[[noreturn]] void EndBySignal(int signal) {
  std::cout.flush();
  PrintMessage("interrupted (" + std::string(sigabbrev_np(signal)) +
               "), no temporary file is left");
  std::signal(signal, SIG_DFL);
  std::raise(signal);
  std::_Exit(EXIT_FAILED);
}

int Run(int argc, const char* const* argv) {
  Context context;
  CLI::App app(DESCRIPTION, "nvx-timeseries");
  app.footer(FOOTER);
  app.require_subcommand(0, 1);  // an unknown command is named as such, a missing one below
  app.fallthrough();             // inherited by the commands: global options may follow the command
  app.failure_message([](const CLI::App*, const CLI::Error& error) {
    return "nvx-timeseries: " + WithoutControls(error.what()) + " (see --help)\n";
  });
  AddGlobalOptions(app, context);
  AddCommands(app, context);
  try {
    app.parse(ReadArguments(argc, argv));
    if (app.get_subcommands().empty()) {
      throw CLI::RequiredError("A command");
    }
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? EXIT_DONE : EXIT_WRONG_USAGE;
  } catch (const CommandError& error) {
    PrintMessage(error.GetText());
    return EXIT_FAILED;
  } catch (const Interrupted& interrupted) {
    EndBySignal(interrupted.signal);
  } catch (const std::exception& exception) {
    PrintMessage(exception.what());
    return EXIT_FAILED;
  }
  return context.exitStatus;
}

// Output that was lost is a failure, whatever the command thought.
int FlushOutput(int exitStatus) {
  if (std::cout.flush()) {
    return exitStatus;
  }
  PrintMessage(CommandError("standard output", "cannot be written", StatusCode::IoError).GetText());
  return EXIT_FAILED;
}

}  // namespace
}  // namespace nvx::TimeSeriesDatabase::CommandLine

int main(int argc, char** argv) {
  namespace CommandLine = nvx::TimeSeriesDatabase::CommandLine;
  CommandLine::OccupyStandardStreams();
  std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is an error of the output like any other
  // So is a file at its limit (ulimit -f), which stands for a full disk in tests.
  std::signal(SIGXFSZ, SIG_IGN);
  std::ios::sync_with_stdio(false);
  return CommandLine::FlushOutput(CommandLine::Run(argc, argv));
}
