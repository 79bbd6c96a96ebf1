#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <map>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "arguments/nearest_word.h"
#include "arguments/scope_text.h"
#include "base/command_error.h"
#include "command/commands.h"
#include "command/decimal.h"
#include "command/help_formatter.h"
#include "replace/interruption.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr char DESCRIPTION[] =
    "Store time series in RRD files and query them per calendar interval.";
constexpr char EXIT_HELP[] = "Exit status: 0 done, 1 failed, 2 wrong usage, 3 partial data.";

constexpr char STORE_VARIABLE[] = "NVX_TIMESERIES_METADATA_STORE";

constexpr unsigned int LONGEST_WAIT = 86400;  // seconds

const std::map<std::string, KoraLogLevel> LOG_LEVELS = {
    {"none", KoraLogLevel::None},
    {"error", KoraLogLevel::Error},
    {"info", KoraLogLevel::Information},
    {"trace", KoraLogLevel::Trace},
};

// A data file must never be opened as one of the standard streams: output would spoil it. A closed
// stream gets a descriptor that still fails when it is used.
void OccupyStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) == -1) {
      open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
  }
}

bool HasValue(const char* variable, const std::string& value) {
  const char* const found = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): no threads yet
  return found != nullptr && found == value;
}

void AddGlobalOptions(CLI::App& app, Context& context) {
  app.add_option_function<std::vector<std::string>>(
         "-d,--directory",
         [&context](const std::vector<std::string>& directories) {
           context.directories = directories;
         },
         "Database directory (default: .); export and push take several")
      ->envname("NVX_TIMESERIES_DATABASE")
      ->type_name("DIR")
      ->allow_extra_args(false)
      ->check([](const std::string& text) { return text.empty() ? "empty directory" : ""; });
  app.add_option_function<std::string>(
         "--metadata-store",
         [&context](const std::string& url) {
           std::string problem;
           if (context.store.SetUrl(url, problem) == StatusCode::Success) {
             return;
           }
           if (!HasValue(STORE_VARIABLE, url)) {
             throw CLI::ValidationError("--metadata-store", problem);
           }
           PrintMessage(std::string("the metadata store is not used: ") + STORE_VARIABLE + ": " +
                        problem);
         },
         "Where first timestamps and intervals are looked up before the files: "
         "redis://[:PASSWORD@]HOST:PORT[/DB] or unix:///PATH (default: nowhere)")
      ->envname(STORE_VARIABLE)
      ->type_name("URL")
      ->take_last();
  app.add_option_function<std::string>(
         "--log-level",
         [](const std::string& name) {
           Log::RootLogger::GetInstance().SetLevel(LOG_LEVELS.at(name));
         },
         "none (default), error, info or trace; lines go to standard error")
      ->type_name("LEVEL")
      ->take_last()
      ->check([](const std::string& text) {
        return LOG_LEVELS.count(text) == 0 ? "unknown log level " + text : "";
      });
  TakeDecimal(app.add_option_function<unsigned int>(
                  "--lock-timeout",
                  [&context](unsigned int seconds) {
                    context.rrdClient.SetPatience(std::chrono::seconds(seconds));
                  },
                  "How long to wait for a file that another process uses (default: 10)"))
      ->type_name("SECONDS")
      ->take_last()
      ->check(CLI::Range(0U, LONGEST_WAIT));
  app.set_version_flag("--version", "nvx-timeseries " NVX_TIMESERIES_VERSION);
}

// CLI11 takes an argument in brackets for a list of values. A path of convert may look like that;
// after "./" it is the same path and is taken literally. CLI11 wants the last argument first.
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

// Other users can see the arguments of a program. The text between the scheme and the host of a
// URL, and its parameters, are hidden as soon as they have been read, also in a URL that lacks a
// slash.
void HideCredentials(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    char* const scheme = std::strstr(argv[i], ":/");
    if (scheme == nullptr) {
      continue;
    }
    char* const authority = scheme + 1 + std::strspn(scheme + 1, "/");
    char* const host = std::strrchr(authority, '@');
    if (host != nullptr) {
      std::fill(authority, host, '*');
    }
    char* const query = std::strchr(authority, '?');
    if (query != nullptr) {
      std::fill(query + 1, query + std::strlen(query), '*');
    }
  }
}

std::string DescribeUnexpected(const CLI::App& app, const std::string& word) {
  const std::vector<CLI::App*> commands = app.get_subcommands();
  const bool isOption = word.size() > 1 && word.front() == '-';
  std::vector<std::string> known;
  if (isOption) {
    std::vector<const CLI::App*> levels(commands.begin(), commands.end());
    levels.push_back(&app);
    for (const CLI::App* const level : levels) {
      for (const CLI::Option* const option : level->get_options()) {
        for (const std::string& name : option->get_lnames()) {
          known.push_back("--" + name);
        }
      }
    }
  } else if (commands.empty()) {
    for (const CLI::App* const command : app.get_subcommands(nullptr)) {
      known.push_back(command->get_name());
    }
  }
  const char* const kind =
      isOption ? "unknown option" : (commands.empty() ? "unknown command" : "unexpected argument");
  return std::string(kind) + " '" + word + "'" + SuggestWord(word.substr(0, word.find('=')), known);
}

// An argument that was not understood is reported first: what is missing may only follow from it.
ExitStatus ExplainUsage(const CLI::App& app, const CLI::ParseError& error) {
  if (error.get_exit_code() == 0) {  // help and version
    app.exit(error);
    return EXIT_DONE;
  }
  const std::vector<std::string> unexpected = app.remaining(true);
  std::string problem = error.what();
  if (!unexpected.empty()) {
    problem = DescribeUnexpected(app, unexpected.front());
  }
  PrintMessage(problem + " (see --help)");
  return EXIT_WRONG_USAGE;
}

// GCOVR_EXCL_START: a process that ends by a signal writes no counts
// Ends by the signal itself, as a shell expects of a command that was interrupted.
[[noreturn]] void EndBySignal(int signal) {
  std::cout.flush();
  PrintMessage("interrupted (" + std::string(sigabbrev_np(signal)) +
               "), no temporary file is left");
  std::signal(signal, SIG_DFL);
  std::raise(signal);
  std::_Exit(EXIT_FAILED);
}
// GCOVR_EXCL_STOP

int Run(int argc, char** argv) {
  Log::RootLogger::GetInstance().SetLevel(KoraLogLevel::None);
  Context context;
  CLI::App app(DESCRIPTION, "nvx-timeseries");
  app.formatter(std::make_shared<HelpFormatter>());  // inherited by the commands
  app.footer(GetIdHelp() + "\n" + EXIT_HELP);
  app.require_subcommand(0, 1);  // an unknown command is named as such, a missing one below
  app.fallthrough();             // inherited by the commands: global options may follow the command
  AddGlobalOptions(app, context);
  AddCommands(app, context);
  try {
    context.programArguments.assign(argv, argv + argc);
    std::vector<std::string> arguments = ReadArguments(argc, argv);
    HideCredentials(argc, argv);
    app.parse(std::move(arguments));
    if (app.get_subcommands().empty()) {
      throw CLI::RequiredError("A command");
    }
  } catch (const CLI::ParseError& error) {
    return ExplainUsage(app, error);
  } catch (const CommandError& error) {
    PrintMessage(error.GetText());
    return error.GetExitStatus();
  } catch (const Interrupted& interrupted) {
    EndBySignal(interrupted.signal);  // GCOVR_EXCL_LINE: as above
  }
  return context.exitStatus;
}

bool IsReaderGone() {
  pollfd output{STDOUT_FILENO, POLLOUT, 0};
  return poll(&output, 1, 0) == 1 && (output.revents & (POLLERR | POLLHUP)) != 0;
}

// Lost output is a failure, whatever the command's status. A reader that has gone wants no more
// output.
int FlushOutput(int exitStatus) {
  if (std::cout.flush()) {
    return exitStatus;
  }
  if (IsReaderGone()) {
    std::signal(SIGPIPE, SIG_DFL);
    std::raise(SIGPIPE);  // GCOVR_EXCL_LINE: as above
  }
  PrintMessage(CommandError("standard output", "cannot be written", StatusCode::IoError).GetText());
  return EXIT_FAILED;
}

int RunAndFlush(int argc, char** argv) {
  try {
    std::ios::sync_with_stdio(false);
    if (access("/proc/self/fd", X_OK) == 0) {
      RrdClient::PinFiles();
    }
    return FlushOutput(Run(argc, argv));
    // GCOVR_EXCL_START: reached by command_allocation_test, which is too slow to be counted
  } catch (const std::bad_alloc&) {
    std::fputs("nvx-timeseries: out of memory\n", stderr);  // which needs none
  } catch (const std::exception& exception) {
    PrintMessage(exception.what());
  }
  return EXIT_FAILED;
}
// GCOVR_EXCL_STOP

}  // namespace
}  // namespace nvx::TimeSeriesDatabase::CommandLine

int main(int argc, char** argv) {
  namespace CommandLine = nvx::TimeSeriesDatabase::CommandLine;
  CommandLine::OccupyStandardStreams();
  std::signal(SIGPIPE, SIG_IGN);  // work on files continues when the reader of the output goes away
  // A file at its limit (ulimit -f) is an error like any other; in tests it stands for a full disk.
  std::signal(SIGXFSZ, SIG_IGN);
  return CommandLine::RunAndFlush(argc, argv);
}
