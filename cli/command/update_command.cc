#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <system_error>

#include "command/commands.h"
#include "files/sample_writer.h"
#include "input/csv_reader.h"
#include "input/sample_text.h"
#include "input/time_text.h"
#include "output/message.h"
#include "output/progress_bar.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

struct UpdateOptions {
  std::string zeltId;
  std::vector<std::string> samples;
  std::optional<std::string> csvPath;
  std::optional<std::string> column;
  std::string zoneName = "UTC";
  bool isForced = false;
};

constexpr char CSV_HELP[] =
    "FILE has a header line, then lines of a time, a comma, and the values of the columns. They "
    "are\n"
    "stored in batches of 10000; a line that cannot be read keeps its whole batch out of the file.";
constexpr char STANDARD_INPUT[] = "-";

std::string CountSamples(unsigned long long count) {
  return std::to_string(count) + (count == 1 ? " sample" : " samples");
}

void StoreArguments(const std::vector<std::string>& samples, const cctz::time_zone& zone,
                    SampleWriter& writer) {
  for (const std::string& text : samples) {
    if (!writer.Add(ReadSample(text, zone))) {
      throw CommandError(text, "its time occurs twice", StatusCode::InvalidArgument);
    }
  }
  writer.StoreBatch();
}

// `size` of the whole input is 0 when it is not known.
void StoreLines(CsvReader& reader, std::istream& input, double size, SampleWriter& writer) {
  ProgressBar progress;
  while (const auto sample = reader.Read()) {
    if (writer.IsBatchFull()) {
      writer.StoreBatch();
      if (size > 0) {
        progress.Show(static_cast<double>(input.tellg()) / size);
      }
    }
    if (!writer.Add(*sample)) {
      reader.Refuse("its time occurs twice");
    }
  }
  writer.StoreBatch();
}

void StoreCsv(std::istream& input, double size, const std::string& name,
              const UpdateOptions& options, const cctz::time_zone& zone, SampleWriter& writer) {
  CsvReader reader(input, name, options.column, zone);
  try {
    StoreLines(reader, input, size, writer);
  } catch (CommandError& error) {
    if (writer.GetStoredCount() > 0) {
      error.AddNote("; " + CountSamples(writer.GetStoredCount()) + " before this batch stored");
    }
    throw;
  }
}

void StoreCsvFile(const UpdateOptions& options, const cctz::time_zone& zone, SampleWriter& writer) {
  const std::string& path = *options.csvPath;
  if (path == STANDARD_INPUT) {
    StoreCsv(std::cin, 0, "standard input", options, zone, writer);
    return;
  }
  std::ifstream input(path);
  if (!input) {
    throw CommandError(path, "cannot be opened", StatusCode::CannotOpen);
  }
  std::error_code error;
  const bool isRegular = std::filesystem::is_regular_file(path, error);
  const double size = isRegular ? static_cast<double>(std::filesystem::file_size(path, error)) : 0;
  StoreCsv(input, size, path, options, zone, writer);
}

void Update(const UpdateOptions& options, Context& context) {
  if (options.samples.empty() && !options.csvPath) {
    throw CLI::RequiredError("TIME:VALUE or --csv");
  }
  const std::string path = context.GetPathOfNative(options.zeltId);
  const cctz::time_zone zone = LoadZone(options.zoneName);
  SampleWriter writer(context.rrdClient, path, options.zeltId, options.isForced);
  if (options.csvPath) {
    StoreCsvFile(options, zone, writer);
  } else {
    StoreArguments(options.samples, zone, writer);
  }
  std::cout << WithoutControls(options.zeltId) << ": " << CountSamples(writer.GetStoredCount())
            << " stored\n";
}

}  // namespace

void AddUpdateCommand(CLI::App& app, Context& context) {
  CLI::App* const command = app.add_subcommand(
      "update", "Store samples, later than those of the file, with six digits after the point");
  const auto options = std::make_shared<UpdateOptions>();
  command->add_option("ID", options->zeltId, "Data source")->required()->type_name("");
  CLI::Option* const samples =
      command
          ->add_option("SAMPLES", options->samples,
                       "The samples, each TIME:VALUE; nan or no value is a missing sample")
          ->type_name("");
  CLI::Option* const csv =
      command->add_option("--csv", options->csvPath, "File of them, or '-' for standard input")
          ->type_name("FILE")
          ->excludes(samples);
  command->add_option("--column", options->column, "Column of the value (default: the second)")
      ->type_name("NAME")
      ->needs(csv);
  command->add_option("--zone", options->zoneName, "Time zone of TIME (default: UTC)")
      ->type_name("ZONE");
  command->add_flag("--force", options->isForced, "Store samples of more than a day in the future");
  command->footer(std::string(CSV_HELP) + "\n" + TIME_HELP);
  command->callback([options, &context] { Update(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
