#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <system_error>

#include "base/command_error.h"
#include "command/commands.h"
#include "convert/backup.h"
#include "points/selected_files.h"
#include "replace/file_error.h"
#include "replace/file_replacement.h"
#include "rrd/file_check.h"
#include "rrd/file_recovery.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

struct RecoverOptions {
  std::string zeltId;
  std::optional<std::string> destination;
  bool isInPlace = false;
};

constexpr char BACKUP_SUFFIX[] = ".damaged";

std::vector<LostRows> RecoverTo(const std::string& destination, const OpenedFile& source,
                                const PatientClient& client) {
  std::error_code error;
  RequireArgument(!std::filesystem::is_directory(destination, error),
                  "is a directory; --to names the new file");
  const ResolvedPath resolved = Resolve(destination);
  const Directory directory(resolved.directory);
  LockedDirectory lock(directory);
  FileReplacement replacement(lock, resolved.name);
  replacement.CopyContent(source);
  std::vector<LostRows> losses = RestoreEnd(client, replacement.Get(), replacement.GetPath());
  replacement.ReplaceOrMake(std::nullopt, source.GetStatus().st_mode);
  return losses;
}

std::vector<LostRows> RecoverInPlace(const Directory& directory, const OpenedFile& source,
                                     const PatientClient& client) {
  const std::string backupName = source.GetName() + BACKUP_SUFFIX;
  LockedDirectory lock(directory);
  const Backup backup = FindBackup(directory, source, backupName);
  source.RequireReplaceable(backup == Backup::Link ? 2 : 1);
  FileReplacement replacement(lock, source.GetName());
  replacement.CopyContent(source);
  std::vector<LostRows> losses = RestoreEnd(client, replacement.Get(), replacement.GetPath());
  if (backup == Backup::None) {
    KeepBackup(lock, source, backupName);
  }
  replacement.Replace(source);
  directory.Sync();
  return losses;
}

void PrintLosses(const std::string& zeltId, const std::vector<LostRows>& losses) {
  for (const LostRows& loss : losses) {
    std::cout << WithoutControls(zeltId + ": " + loss.consolidation + " of " +
                                 std::to_string(loss.stepsPerRow) +
                                 (loss.stepsPerRow == 1 ? " step: " : " steps: ") +
                                 std::to_string(loss.lostCount) + " of " +
                                 std::to_string(loss.rowCount) + " rows lost")
              << '\n';
  }
}

void Mend(const RecoverOptions& options, const std::string& path, const PatientClient& client) {
  std::string subject = options.zeltId;
  try {
    const ResolvedPath resolved = Resolve(path);
    const Directory directory(resolved.directory);
    const OpenedFile source(directory, resolved.name);
    const bool isTorn = source.HasPendingJournal();
    subject = options.destination.value_or(subject);
    PrintLosses(options.zeltId, options.isInPlace
                                    ? RecoverInPlace(directory, source, client)
                                    : RecoverTo(*options.destination, source, client));
    if (isTorn) {
      PrintMessage(options.zeltId +
                   ": warning: its last update was interrupted and cannot be undone in what is "
                   "left: times may be wrong by some steps");
    }
  } catch (const FileError& error) {
    throw CommandError(subject, error.what(), error.GetStatus());
  }
}

void Recover(const RecoverOptions& options, Context& context) {
  context.GetDirectory();  // which must be one
  const Selection selection = SelectFiles({options.zeltId}, context);
  if (selection.files.size() > 1) {
    throw UsageError(options.zeltId, "several files match, but the command takes one");
  }
  const std::string path = selection.files.front().GetPathOfExisting(context);
  bool isUndone = false;
  for (const Finding& finding : CheckFile(context.rrdClient, path, options.zeltId)) {
    if (finding.kind == Finding::Kind::IgnoredJournal) {
      continue;
    }
    if (finding.kind == Finding::Kind::Undone) {
      isUndone = true;
      std::cout << WithoutControls(options.zeltId) << ": the interrupted update is undone\n";
    } else if (finding.kind != Finding::Kind::CutOff) {
      throw CommandError(options.zeltId, finding.problem + ": " + finding.advice);
    } else if (options.isInPlace || options.destination) {
      return Mend(options, path, context.rrdClient);
    } else {
      throw CommandError(
          options.zeltId,
          finding.problem +
              ": --to FILE makes a whole one of what is left, --in-place replaces it");
    }
  }
  if (!isUndone) {
    std::cout << WithoutControls(options.zeltId) << ": whole, there is nothing to recover\n";
  }
}

}  // namespace

void AddRecoverCommand(CLI::App& app, Context& context) {
  CLI::App* const command = app.add_subcommand(
      "recover", "Undo an interrupted update; make a whole file of one that has lost its end");
  const auto options = std::make_shared<RecoverOptions>();
  command->add_option("ID", options->zeltId, "Data source, or the path of a file")
      ->required()
      ->type_name("");
  CLI::Option* const destination =
      command->add_option("--to", options->destination, "The new file, which must not exist yet")
          ->type_name("FILE");
  command
      ->add_flag("--in-place", options->isInPlace,
                 "Replace the file; the old one is kept as NAME.damaged")
      ->excludes(destination);
  command->footer("Rows that are lost become missing.");
  command->callback([options, &context] { Recover(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
