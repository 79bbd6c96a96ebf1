#include <memory>

#include "command/commands.h"
#include "files/data_file.h"
#include "files/file_error.h"
#include "input/file_definition.h"
#include "input/time_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

void Migrate(const FileDefinition& definition, Context& context) {
  const std::string path = context.GetPathOfNative(definition.zeltId);
  CheckDefinition(definition);
  const std::optional<long long> givenStart = ReadStart(definition);
  long long last = 0;
  Require(context.rrdClient.GetLastTimestamp(path, last), definition.zeltId,
          path + " cannot be read");
  const long long start = givenStart.value_or(last);
  if (start < last && !definition.isForced) {
    throw CommandError(
        definition.zeltId,
        "the samples from then to " + FormatUtc(last) + " would be lost; --force drops them",
        StatusCode::InvalidArgument);
  }
  try {
    MigrateDataFile(path, MakeDataFileDefinition(definition, start), definition.isForced,
                    context.rrdClient);
  } catch (const FileError& error) {
    throw CommandError(definition.zeltId, path + " cannot be migrated: " + error.what(),
                       error.GetStatus());
  }
}

}  // namespace

void AddMigrateCommand(CLI::App& app, Context& context) {
  CLI::App* const command = app.add_subcommand(
      "migrate",
      "Make a data source's file anew with its samples; fewer rows keep the newest ones");
  const auto definition = std::make_shared<FileDefinition>();
  AddDefinitionOptions(*command, *definition,
                       "Only later samples can be stored (default: the last update)",
                       "Drop samples later than the start");
  command->callback([definition, &context] { Migrate(*definition, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
