#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "base/command_error.h"
#include "command/commands.h"
#include "command/decimal.h"
#include "command/question_options.h"
#include "command/shared_options.h"
#include "points/selected_files.h"
#include "push/pusher.h"
#include "replace/interruption.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

struct PushCommandOptions {
  std::string url;
  std::vector<std::string> zeltIds;
  QuestionOptions question;
  SelectionOptions selection;
  std::vector<std::string> sources;
  std::optional<std::string> statePath;
  Secrets secrets;
  SendOptions send;
};

constexpr unsigned int LONGEST_TIME = 86400;  // seconds

Question ReadPushQuestion(const QuestionOptions& options) {
  if (options.isPartial || options.isUnadjusted) {
    throw CLI::ValidationError(options.isPartial ? "--partial" : "--no-adjust",
                               "what was sent is not sent again, so only complete intervals are");
  }
  Question question = ReadQuestion(options);
  if (question.interval && question.interval->IsWhole()) {
    throw CLI::ValidationError("--interval", "the interval all is never complete");
  }
  question.isResumable = true;
  return question;
}

void Push(const PushCommandOptions& options, Context& context) {
  const Question question = ReadPushQuestion(options.question);
  const WriteAddress address = ReadWriteAddress(options.url, options.secrets);
  const InterruptionGuard guard;
  const Selection selection = SelectFiles(options.zeltIds, context, options.selection);
  PushState state(
      options.statePath ? *options.statePath : PushState::FindDefaultPath(address.fileName),
      address.name);
  if (address.hasHiddenParameters && !options.statePath && state.IsEmpty()) {
    PrintMessage(address.name +
                 ": an address that differs only in what * stands for has the same "
                 "state; --state gives it another");
  }
  HttpSender sender(address, options.send);
  Pusher pusher(question, options.sources, sender, state, context);
  try {
    pusher.Push(selection);
  } catch (const SendError& error) {
    throw CommandError(address.name, error.what(), error.GetStatus());
  }
  std::cout << pusher.GetPointCount() << " points sent in " << sender.GetByteCount() << " bytes\n";
  if (pusher.GetLeftOutCount() > 0) {
    PrintMessage(std::to_string(pusher.GetLeftOutCount()) +
                 " infinite values left out, which line protocol cannot express");
  }
  context.rowTally.Tell();
  state.RequireSaved();
}

void AddSecondsOption(CLI::App& command, const std::string& name, std::chrono::seconds& value,
                      unsigned int least, const std::string& help) {
  TakeDecimal(
      command.add_option_function<unsigned int>(
          name, [&value](unsigned int seconds) { value = std::chrono::seconds(seconds); }, help))
      ->type_name("SECONDS")
      ->check(CLI::Range(least, LONGEST_TIME));
}

constexpr char PUSH_HELP[] =
    "URL is the write address of a server that takes InfluxDB's line protocol, such as "
    "http://127.0.0.1:8428/write or http://127.0.0.1:8086/write?db=home. It may have "
    "USER:PASSWORD@ before the host. The command remembers what the server has confirmed, and the "
    "same command, given again, continues from there. Nothing is lost, and a point that is sent "
    "twice is the same point.";

}  // namespace

void AddPushCommand(CLI::App& app, Context& context) {
  CLI::App* const command = app.add_subcommand("push", PUSH_DESCRIPTION);
  const auto options = std::make_shared<PushCommandOptions>();
  command->add_option("URL", options->url, "Where the server takes line protocol")
      ->required()
      ->type_name("");
  command
      ->add_option("ID", options->zeltIds, "Data sources, or patterns of their ids (default: all)")
      ->type_name("");
  AddSourceOption(*command, options->sources);
  AddQuestionOptions(*command, options->question);
  AddLabelOption(*command, options->question);
  AddSelectionOptions(*command, options->selection);
  command
      ->add_option("--state", options->statePath,
                   "What the server has confirmed (default: a file for the URL in "
                   "~/.local/state/nvx-timeseries)")
      ->type_name("FILE");
  CLI::Option* const userFile = command
                                    ->add_option("--user-file", options->secrets.userFile,
                                                 "File whose first line is USER:PASSWORD")
                                    ->type_name("FILE");
  command
      ->add_option("--token-file", options->secrets.tokenFile,
                   "File whose first line is a token, or a scheme, a blank and a token "
                   "(default scheme: Token)")
      ->type_name("FILE")
      ->excludes(userFile);
  command
      ->add_option("--ca-file", options->send.authorityFile,
                   "Certificates of the authorities to trust (default: the system's)")
      ->type_name("FILE");
  AddSecondsOption(*command, "--timeout", options->send.timeout, 1,
                   "How long a request may take (default: 60)");
  AddSecondsOption(*command, "--retry-for", options->send.retryTime, 0,
                   "How long a request is repeated while the server is away, overloaded or "
                   "failing (default: 60)");
  command->footer(std::string(PUSH_HELP) + "\n" + PATTERN_HELP + "\n" + GetQuestionHelp());
  command->callback([options, &context] { Push(*options, context); });
}

void AddCommands(CLI::App& app, Context& context) { AddPushCommand(app, context); }

}  // namespace nvx::TimeSeriesDatabase::CommandLine
