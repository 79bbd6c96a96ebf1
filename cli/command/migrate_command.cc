#include <CLI/CLI.hpp>
#include <memory>

#include "arguments/zone_text.h"
#include "base/time_text.h"
#include "command/commands.h"
#include "points/selected_files.h"
#include "replace/file_error.h"
#include "rrd/data_file.h"
#include "rrd/described_file.h"
#include "rrd/file_definition.h"
#include "rrd/file_shape.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// What was not given is as it is in the file.
FileDefinition Complete(FileDefinition definition, const Rrd::FileDescription& file) {
  const Rrd::DataSourceDescription& source = file.dataSources.front();
  definition.step = definition.step.value_or(static_cast<long long>(file.step));
  definition.rowCount =
      definition.rowCount.value_or(static_cast<long long>(file.archives.front().rowCount));
  definition.minimum = definition.minimum.value_or(source.minimum);
  definition.maximum = definition.maximum.value_or(source.maximum);
  const std::string problem = FindProblem(definition);
  if (!problem.empty()) {
    throw CommandError(definition.zeltId, problem, StatusCode::InvalidArgument);
  }
  return definition;
}

void Migrate(const FileDefinition& given, Context& context) {
  const std::string path = context.GetPath(given.zeltId);
  const std::string problem = FindProblem(given);
  if (!problem.empty()) {
    throw UsageError(given.zeltId, problem);
  }
  const std::optional<TimeExpression> givenStart = ReadStart(given);
  context.GetPathOfNative(given.zeltId);
  const Rrd::FileDescription file = DescribeFile(context.rrdClient, path, given.zeltId);
  if (!file.HasShapeOfCreate()) {
    throw CommandError(given.zeltId, "its shape is not of this library: " + DescribeShape(file),
                       StatusCode::InvalidArgument);
  }
  const FileDefinition definition = Complete(given, file);
  const long long last = file.lastUpdate;
  const long long start =
      givenStart ? ResolveStart(*givenStart, FindTimes(given.zeltId, context), given.zeltId) : last;
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
                       {"default: those of the file", "the last update", "that of the file",
                        "Accept that samples are lost"});
  command->footer(std::string(TIME_HELP) + "\n" + ZONE_HELP);
  command->callback([definition, &context] { Migrate(*definition, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
