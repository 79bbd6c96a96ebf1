#include "input/file_definition.h"

#include <cmath>

#include "error/command_error.h"
#include "input/time_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// The rows of a new file lie in memory as a whole.
constexpr long long MAXIMUM_ROW_COUNT = 1LL << 25;

// More than what lies between the first and the last TIME.
constexpr long long MAXIMUM_SPAN = 10'000LL * 366 * 86400;

void Refuse(const FileDefinition& definition, const std::string& problem) {
  throw CommandError(definition.zeltId, problem, StatusCode::InvalidArgument);
}

}  // namespace

void AddDefinitionOptions(CLI::App& command, FileDefinition& definition,
                          const std::string& startHelp, const std::string& forceHelp) {
  command.add_option("ID", definition.zeltId, "Data source")->required()->type_name("");
  command.add_option("--step", definition.step, "Seconds from one sample to the next")
      ->required()
      ->type_name("S");
  command.add_option("--rows", definition.rowCount, "How many steps the file keeps")
      ->required()
      ->type_name("N");
  command.add_option("--start", definition.startText, startHelp)->type_name("TIME");
  command.add_option("--zone", definition.zoneName, "Time zone of TIME (default: UTC)")
      ->type_name("ZONE");
  command
      .add_option("--min", definition.minimum,
                  "Lower values are stored as missing (default: no bound)")
      ->type_name("X");
  command
      .add_option("--max", definition.maximum,
                  "Higher values are stored as missing (default: no bound)")
      ->type_name("Y");
  command.add_flag("--force", definition.isForced, forceHelp);
  command.footer(TIME_HELP);
}

void CheckDefinition(const FileDefinition& definition) {
  if (definition.rowCount < 1 || definition.rowCount > MAXIMUM_ROW_COUNT) {
    Refuse(definition, "rows must be from 1 to " + std::to_string(MAXIMUM_ROW_COUNT));
  }
  if (definition.step < 1 || definition.step > MAXIMUM_SPAN / definition.rowCount) {
    Refuse(definition, "step must be from 1 second to " +
                           std::to_string(MAXIMUM_SPAN / definition.rowCount) +
                           " with so many rows");
  }
  if (std::isinf(definition.minimum) || std::isinf(definition.maximum)) {
    Refuse(definition, "a bound must be finite; leave it out for none");
  }
  if (definition.minimum >= definition.maximum) {
    Refuse(definition, "min must be less than max");
  }
}

DataFileDefinition MakeDataFileDefinition(const FileDefinition& definition, long long start) {
  return {definition.step, start, definition.minimum, definition.maximum,
          static_cast<unsigned int>(definition.rowCount)};
}

std::optional<long long> ReadStart(const FileDefinition& definition) {
  const cctz::time_zone zone = LoadZone(definition.zoneName);
  if (!definition.startText) {
    return std::nullopt;
  }
  const long long start = ReadTime(*definition.startText, zone);
  if (start < 1) {  // 0 and -1 stand for the present time in the RRD library
    Refuse(definition, "start must be later than " + FormatUtc(0));
  }
  return start;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
