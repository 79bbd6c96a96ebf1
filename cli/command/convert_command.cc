#include <filesystem>
#include <memory>

#include "command/choice.h"
#include "command/commands.h"
#include "convert/conversion_plan.h"
#include "convert/conversion_to_file.h"
#include "convert/in_place_conversion.h"
#include "replace/interruption.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

namespace fs = std::filesystem;
using Rrd::Tool::Layout;

enum class SummaryFormat { Text, Json };

struct ConvertOptions {
  std::vector<std::string> paths;
  bool isInPlace = false;
  InPlaceOptions inPlace;
  SummaryFormat format = SummaryFormat::Text;
};

void ConvertFilesInPlace(const ConvertOptions& options, Context& context) {
  const ConversionSummary summary = ConvertInPlace(options.paths, options.inPlace);
  options.format == SummaryFormat::Json ? summary.PrintJson() : summary.PrintText();
  if (!summary.AreAllConverted()) {
    context.exitStatus = EXIT_FAILED;
  }
  InterruptionGuard::Check();
}

void Convert(const ConvertOptions& options, Context& context) {
  if (options.isInPlace) {
    ConvertFilesInPlace(options, context);
  } else if (options.paths.size() == 2) {
    ConvertToFile(options.paths.front(), options.paths.back(), options.inPlace.target);
  } else {
    throw CLI::ValidationError("convert", "takes SOURCE and DESTINATION, or --in-place and paths");
  }
}

// A backup must lie beside its file, and a later run must not convert it.
std::string CheckSuffix(const std::string& suffix) {
  const bool isExtension = fs::path("name" + suffix).extension() == RRD_EXTENSION;
  return suffix.empty() || suffix.find('/') != std::string::npos || isExtension
             ? "not a suffix for backups: '" + suffix + "'"
             : "";
}

}  // namespace

void AddConvertCommand(CLI::App& app, Context& context) {
  CLI::App* const command = app.add_subcommand(
      "convert",
      "Convert RRD files with a 32-bit time_t (32-bit ARM) to a 64-bit time_t, or with --to files "
      "of any machine");
  const auto options = std::make_shared<ConvertOptions>();
  command
      ->add_option("PATHS", options->paths,
                   "SOURCE and DESTINATION, or with --in-place any number of files and of "
                   "directories, whose trees are searched for *.rrd files")
      ->required()
      ->type_name("PATH");
  CLI::Option* const inPlace =
      command->add_flag("--in-place", options->isInPlace, "Replace the files themselves");
  AddChoice(*command, "--to", options->inPlace.target,
            {{"native", Rrd::Tool::GetNativeLayout()},
             {GetLayoutName(Layout::Bits64), Layout::Bits64},
             {GetLayoutName(Layout::Arm32Time64), Layout::Arm32Time64},
             {GetLayoutName(Layout::Arm32Time32), Layout::Arm32Time32},
             {GetLayoutName(Layout::I386), Layout::I386},
             {GetLayoutName(Layout::I386Time64), Layout::I386Time64}},
            "Convert files of any layout to that of this machine (native), of every 64-bit one "
            "(64bit), or of 32-bit ARM or x86 with a time_t of 32 or 64 bits (arm32-time64, "
            "arm32-time32, i386, i386-time64)")
      ->type_name("LAYOUT");
  command
      ->add_option("--backup", options->inPlace.backupSuffix,
                   "Keep each old file under its name with SUFFIX appended")
      ->type_name("SUFFIX")
      ->check(CheckSuffix)
      ->needs(inPlace);
  command->add_flag("--dry-run", options->inPlace.isDryRun, "Only print what would be done")
      ->needs(inPlace);
  AddChoice(*command, "--format", options->format,
            {{"text", SummaryFormat::Text}, {"json", SummaryFormat::Json}},
            "Summary as text (default) or json")
      ->type_name("FORMAT")
      ->needs(inPlace);
  command->footer(
      "With --in-place the exit status is 0 when every file is in the new layout afterwards.");
  command->callback([options, &context] { Convert(*options, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
