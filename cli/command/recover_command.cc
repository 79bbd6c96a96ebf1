#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>

#include "base/message.h"
#include "command/commands.h"
#include "convert/backup.h"
#include "points/context.h"
#include "replace/file_error.h"
#include "replace/file_replacement.h"
#include "rrd/file_recovery.h"
#include "timeseries/failure.h"

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
  const ResolvedPath resolved = Resolve(destination);
  const Directory directory(resolved.directory);
  LockedDirectory lock(directory);
  FileReplacement replacement(lock, resolved.name);
  replacement.CopyContent(source);
  std::vector<LostRows> losses = RestoreEnd(client, replacement.Get(), replacement.GetPath());
  replacement.ReplaceOrMake(std::nullopt);
  directory.Sync();
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

void Mend(const RecoverOptions& options, const std::string& path, const PatientClient& client) {
  std::vector<LostRows> losses;
  try {
    const ResolvedPath resolved = Resolve(path);
    const Directory directory(resolved.directory);
    const OpenedFile source(directory, resolved.name);
    losses = options.isInPlace ? RecoverInPlace(directory, source, client)
                               : RecoverTo(*options.destination, source, client);
  } catch (const FileError& error) {
    throw CommandError(options.zeltId, error.what(), error.GetStatus());
  }
  for (const LostRows& loss : losses) {
    std::cout << WithoutControls(options.zeltId + ": " + loss.consolidation + " of " +
                                 std::to_string(loss.stepsPerRow) +
                                 " steps: " + std::to_string(loss.lostCount) + " of " +
                                 std::to_string(loss.rowCount) + " rows lost")
              << '\n';
  }
}

void Recover(const RecoverOptions& options, Context& context) {
  const std::string path = context.GetPathOfExisting(options.zeltId);
  const std::string journal = path + "-journal";
  const bool hadJournal = std::filesystem::exists(journal);
  Rrd::FileDescription file;
  if (context.rrdClient.Describe(path, file) == StatusCode::Success) {
    const bool isUndone = hadJournal && !std::filesystem::exists(journal);
    std::cout << options.zeltId
              << (isUndone ? ": the interrupted update is undone\n"
                           : ": whole, there is nothing to recover\n");
    return;
  }
  if (!options.isInPlace && !options.destination) {
    throw CommandError(options.zeltId,
                       std::string(Failure::GetReason()) +
                           "; --to FILE makes a whole one of what is left, --in-place replaces it",
                       StatusCode::InvalidArgument);
  }
  Mend(options, path, context.rrdClient);
}

}  // namespace

void AddRecoverCommand(CLI::App& app, Context& context) {
  CLI::App* const command = app.add_subcommand(
      "recover", "Undo an interrupted update; make a whole file of one that has lost its end");
  const auto options = std::make_shared<RecoverOptions>();
  command->add_option("ID", options->zeltId, "Data source")->required()->type_name("");
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
