#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <set>

#include "arguments/csv_file.h"
#include "arguments/csv_reader.h"
#include "arguments/sample_text.h"
#include "arguments/time_expression.h"
#include "arguments/zone_text.h"
#include "base/command_error.h"
#include "base/progress_bar.h"
#include "base/words.h"
#include "command/commands.h"
#include "command/shared_options.h"
#include "points/selected_files.h"
#include "rrd/sample_writer.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

struct UpdateOptions {
  std::string zeltId;
  std::vector<std::string> samples;
  CsvOptions csv;
  std::string zoneName = "UTC";
  SamplePolicy policy;
};

constexpr char BATCH_HELP[] =
    "Lines are stored in batches of 10000, each as a whole or not at all, even when the command is "
    "killed. A line that cannot be read keeps its whole batch out.";

using Samples = std::vector<std::pair<TimeExpression, double>>;

Samples ReadArguments(const std::vector<std::string>& texts, const cctz::time_zone& zone) {
  Samples samples;
  for (const std::string& text : texts) {
    samples.push_back(ReadSample(text, zone));
  }
  return samples;
}

void AddArguments(const UpdateOptions& options, const Samples& samples, const FileTimes& times,
                  SampleWriter& writer) {
  std::set<long long> known;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const long long time = samples[i].first.Resolve(times);
    if (!known.insert(time).second) {
      throw UsageError(options.samples[i], "its time occurs twice");
    }
    writer.Add({time, samples[i].second});
  }
}

void StoreLines(CsvReader& reader, CsvFile& file, SampleWriter& writer) {
  ProgressBar progress;
  while (const auto sample = reader.Read()) {
    if (writer.IsBatchFull()) {
      writer.StoreBatch();
      if (const auto share = file.GetReadShare()) {
        progress.Show(*share);
      }
    }
    if (!writer.Add(*sample)) {
      reader.Refuse("its time occurs twice");
    }
  }
  writer.StoreBatch();
}

void StoreCsv(const UpdateOptions& options, const cctz::time_zone& zone, SampleWriter& writer) {
  CsvFile file(*options.csv.path);
  CsvReader reader(file.GetStream(), file.GetName(), options.csv.column, zone);
  try {
    StoreLines(reader, file, writer);
  } catch (CommandError& error) {
    if (writer.GetStoredCount() > 0) {
      error.AddNote("; " + Count(writer.GetStoredCount(), "sample") + " before this batch stored");
    }
    throw;
  }
  if (!writer.HasSamples()) {
    throw CommandError(file.GetName(), "no sample in it");
  }
}

void Update(const UpdateOptions& options, Context& context) {
  if (options.samples.empty() && !options.csv.path) {
    throw CLI::RequiredError("TIME:VALUE or --csv");
  }
  const cctz::time_zone zone = LoadZone(options.zoneName);
  const Samples samples = ReadArguments(options.samples, zone);
  const std::string path = context.GetPathOfNative(options.zeltId);
  SampleWriter writer(context.rrdClient, path, options.zeltId, options.policy);
  if (options.csv.path) {
    StoreCsv(options, zone, writer);
  }
  AddArguments(options, samples, FindTimes(options.zeltId, context), writer);
  writer.StoreBatch();
  std::cout << WithoutControls(writer.Describe()) << '\n';
}

}  // namespace

void AddUpdateCommand(CLI::App& app, Context& context) {
  CLI::App* const command =
      app.add_subcommand("update", "Store samples that are later than those in the file");
  const auto options = std::make_shared<UpdateOptions>();
  command->add_option("ID", options->zeltId, "Data source")->required()->type_name("");
  CLI::Option* const samples =
      command
          ->add_option("SAMPLES", options->samples,
                       "The samples, each TIME:VALUE; nan or no value is a missing sample")
          ->type_name("");
  AddCsvOptions(*command, options->csv, "File of samples, or '-' for standard input")
      ->excludes(samples);
  command->add_option("--zone", options->zoneName, "Time zone of TIME (default: UTC)")
      ->type_name("ZONE");
  command->add_flag("--skip-past", options->policy.mayBePast,
                    "Leave out samples that are not later than the file's last update");
  command->add_flag("--force", options->policy.mayBeFuture,
                    "Store samples of more than a day in the future");
  command->add_flag_callback(
      "--sync", [options] { options->policy.durability = Rrd::Durability::Power; },
      "Store what survives a loss of power, too: three syncs a batch");
  command->footer(std::string(CSV_HELP) + "\n" + BATCH_HELP + "\n" + TIME_HELP + "\n" + ZONE_HELP);
  command->callback([options, &context] { Update(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
