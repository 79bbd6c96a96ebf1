#include <CLI/CLI.hpp>
#include <algorithm>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <memory>

#include "arguments/csv_file.h"
#include "arguments/csv_reader.h"
#include "arguments/zone_text.h"
#include "base/command_error.h"
#include "base/round_up.h"
#include "base/time_text.h"
#include "command/commands.h"
#include "command/file_definition.h"
#include "command/shared_options.h"
#include "points/file_tree.h"
#include "replace/file_error.h"
#include "rrd/data_file.h"
#include "rrd/sample_writer.h"
#include "timeseries/rrd/file_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// How far back a new file begins by default, so that a sample of now is later than its start.
constexpr long long DEFAULT_LEAD = 10;

// All samples of a new file are held in memory.
constexpr std::size_t MAXIMUM_SAMPLE_COUNT = 1 << 25;

struct CreateOptions {
  FileDefinition definition;
  CsvOptions csv;
};

using Samples = std::vector<std::pair<long long, double>>;

// Some ids share a file name with another id, and are listed as that one.
void WarnIfListedOtherwise(const std::string& zeltId, const std::string& path) {
  const std::string fileName = std::filesystem::path(path).filename().string();
  std::string listed;
  if (Rrd::FileHelper::ComputeZeltIdFromFileName(fileName, listed) != StatusCode::Success) {
    PrintMessage(zeltId + ": warning: its file " + fileName + " cannot be listed");
  } else if (listed != zeltId) {
    PrintMessage(zeltId + ": warning: its file " + fileName + " is listed as " + listed);
  } else if (IsPath(zeltId)) {
    PrintMessage(zeltId +
                 ": warning: commands that read, such as query, take this id for a path: " +
                 "give them " + path);
  }
}

// All samples of the CSV file, in the order of their times.
Samples ReadSamples(const CreateOptions& options) {
  CsvFile file(*options.csv.path);
  CsvReader reader(file.GetStream(), file.GetName(), options.csv.column,
                   LoadZone(options.definition.zoneName));
  Samples samples;
  while (const auto sample = reader.Read()) {
    if (samples.size() == MAXIMUM_SAMPLE_COUNT) {
      reader.Refuse("too many samples for one file");  // GCOVR_EXCL_LINE: takes a gigabyte
    }
    samples.push_back(*sample);
  }
  if (samples.empty()) {
    throw CommandError(file.GetName(), "no sample in it");
  }
  std::sort(samples.begin(), samples.end(),
            [](const auto& one, const auto& other) { return one.first < other.first; });
  const auto twice = std::adjacent_find(
      samples.begin(), samples.end(),
      [](const auto& one, const auto& other) { return one.first == other.first; });
  if (twice != samples.end()) {
    throw CommandError(file.GetName(), "the time " + FormatUtc(twice->first) + " occurs twice");
  }
  return samples;
}

// A file that begins one step before the samples, with a row for each step and `freeRowCount` for
// later ones, unless the rows are given.
FileDefinition FitToSamples(FileDefinition definition, std::optional<long long>& start,
                            long long& freeRowCount, const Samples& samples) {
  const long long first = samples.front().first;
  const long long step = definition.step.value();
  start = start.value_or(first - step);
  if (*start < 1 || *start >= first) {
    throw CommandError(definition.zeltId,
                       "the first sample, of " + FormatUtc(first) + ", is too early for the start");
  }
  if (!definition.rowCount) {
    const long long needed =
        (RoundUp(samples.back().first, step) - RoundUp(first, step)) / step + 1;
    definition.rowCount = GetRowCountToGrow(needed, step);
    freeRowCount = *definition.rowCount - needed;
    const std::string problem = FindProblem(definition);
    if (!problem.empty()) {
      throw CommandError(definition.zeltId,
                         problem + "; the samples need " + std::to_string(needed));
    }
  }
  return definition;
}

void StoreSamples(const Samples& samples, SampleWriter& writer) {
  for (const auto& sample : samples) {
    if (writer.IsBatchFull()) {
      writer.StoreBatch();
    }
    writer.Add(sample);
  }
  writer.StoreBatch();
}

std::string DescribeRoom(long long freeRowCount) {
  return freeRowCount == 0
             ? ""
             : "; the file has room for " + std::to_string(freeRowCount) + " more, see --rows";
}

std::optional<long long> ReadStartOfNewFile(const FileDefinition& definition) {
  const std::optional<TimeExpression> start = ReadStart(definition);
  if (start && start->IsOfFile()) {
    throw UsageError(*definition.startText, "a new file has no first and no last sample yet");
  }
  return start ? std::optional(ResolveStart(*start, {}, definition.zeltId)) : std::nullopt;
}

void Create(const CreateOptions& options, Context& context) {
  FileDefinition definition = options.definition;
  const std::string path = context.GetPath(definition.zeltId);
  const std::string problem = FindProblem(definition);
  if (!problem.empty()) {
    throw UsageError(definition.zeltId, problem);
  }
  if (!definition.rowCount && !options.csv.path) {
    throw CLI::RequiredError("--rows or --csv");
  }
  std::optional<long long> start = ReadStartOfNewFile(definition);
  if (!std::filesystem::is_directory(std::filesystem::path(path).parent_path())) {
    throw CommandError(context.GetDirectory(), NO_DIRECTORY, StatusCode::NotFound);
  }
  if (!definition.isForced && Utilities::FileSystem::CheckFileExist(path) == StatusCode::Success) {
    throw CommandError(definition.zeltId, path + " exists; --force replaces it");
  }
  Samples samples;
  long long freeRowCount = 0;
  if (options.csv.path) {
    samples = ReadSamples(options);
    definition = FitToSamples(definition, start, freeRowCount, samples);
  }
  std::string summary;
  const auto fill = [&](const std::string& newPath) {
    if (!samples.empty()) {
      SampleWriter writer(context.rrdClient, newPath, definition.zeltId,
                          {false, definition.isForced});
      StoreSamples(samples, writer);
      summary = writer.Describe() + DescribeRoom(freeRowCount) + '\n';
    }
  };
  WithSubject(definition.zeltId, path + " cannot be created: ", [&] {
    CreateDataFile(
        path, MakeDataFileDefinition(definition, start.value_or(std::time(nullptr) - DEFAULT_LEAD)),
        definition.isForced, context.rrdClient, fill);
  });
  std::cout << summary;
  WarnIfListedOtherwise(definition.zeltId, path);
}

}  // namespace

void AddCreateCommand(CLI::App& app, Context& context) {
  CLI::App* const command = app.add_subcommand(
      "create", "Create the file of a data source, with --csv including samples");
  const auto options = std::make_shared<CreateOptions>();
  AddDefinitionOptions(
      *command, options->definition,
      {"with --csv by default twice what its samples need, and a year",
       "10 seconds ago, with --csv one step before its first sample", "no bound",
       "Replace an existing file, and store samples of more than a day in the future"})
      ->required();
  AddCsvOptions(*command, options->csv,
                "File of samples, all of which are stored or none, or '-' for standard input");
  command->footer(std::string(CSV_HELP) + "\n" + TIME_HELP + "\n" + ZONE_HELP);
  command->callback([options, &context] { Create(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
