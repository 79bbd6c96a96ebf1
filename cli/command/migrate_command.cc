#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "arguments/zone_text.h"
#include "base/command_error.h"
#include "base/words.h"
#include "command/commands.h"
#include "command/file_definition.h"
#include "points/selected_files.h"
#include "replace/file_error.h"
#include "rrd/data_file.h"
#include "rrd/described_file.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// What was not given is taken from the file.
FileDefinition Complete(FileDefinition definition, const Rrd::FileDescription& file) {
  const Rrd::DataSourceDescription& source = file.dataSources.front();
  definition.step = definition.step.value_or(static_cast<long long>(file.step));
  definition.rowCount =
      definition.rowCount.value_or(static_cast<long long>(file.archives.front().rowCount));
  definition.minimum = definition.minimum.value_or(source.minimum);
  definition.maximum = definition.maximum.value_or(source.maximum);
  const std::string problem = FindProblem(definition);
  if (!problem.empty()) {
    throw CommandError(definition.zeltId, problem);
  }
  return definition;
}

void PrintSummary(const FileDefinition& definition, const ComparedSamples& samples) {
  std::cout << WithoutControls(definition.zeltId) << ": now "
            << Count(static_cast<unsigned long long>(*definition.rowCount), "row") << " of "
            << *definition.step << " s; " << Count(samples.keptCount, "sample") << " kept, "
            << samples.lostCount << " lost\n";
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
    throw CommandError(given.zeltId, "it is not a file that create makes: " + DescribeShape(file));
  }
  const FileDefinition definition = Complete(given, file);
  const long long last = file.lastUpdate;
  const long long start =
      givenStart ? ResolveStart(*givenStart, FindTimes(given.zeltId, context), given.zeltId) : last;
  PrintSummary(definition, WithSubject(definition.zeltId, path + " cannot be migrated: ", [&] {
                 return MigrateDataFile(path, MakeDataFileDefinition(definition, start),
                                        definition.isForced, context.rrdClient);
               }));
}

}  // namespace

void AddMigrateCommand(CLI::App& app, Context& context) {
  CLI::App* const command =
      app.add_subcommand("migrate", "Change the definition of a file and keep its samples");
  const auto definition = std::make_shared<FileDefinition>();
  AddDefinitionOptions(*command, *definition,
                       {"default: those of the file", "the last update", "that of the file",
                        "Accept the loss of samples, as by fewer rows or a longer step"});
  command->footer(std::string(TIME_HELP) + "\n" + ZONE_HELP);
  command->callback([definition, &context] { Migrate(*definition, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
