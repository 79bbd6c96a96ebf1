#include "command/file_definition.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <limits>

#include "arguments/zone_text.h"
#include "base/command_error.h"
#include "base/time_text.h"
#include "command/decimal.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// The RRD library holds all rows of a new file in memory.
constexpr long long MAXIMUM_ROW_COUNT = 1LL << 25;

// More than the seconds between the first and the last TIME.
constexpr long long MAXIMUM_SPAN = 10'000LL * 366 * 86400;

constexpr double NO_BOUND = std::numeric_limits<double>::quiet_NaN();

}  // namespace

CLI::Option* AddDefinitionOptions(CLI::App& command, FileDefinition& definition,
                                  const DefinitionHelp& help) {
  command.add_option("ID", definition.zeltId, "Data source")->required()->type_name("");
  CLI::Option* const step = TakeDecimal(command.add_option("--step", definition.step,
                                                           "Seconds from one sample to the next"))
                                ->type_name("S");
  TakeDecimal(command.add_option("--rows", definition.rowCount,
                                 "How many steps the file keeps (" + help.rowsDefault + ")"))
      ->type_name("N");
  command
      .add_option("--start", definition.startText,
                  "Only later samples can be stored (default: " + help.startDefault + ")")
      ->type_name("TIME");
  command.add_option("--zone", definition.zoneName, "Time zone of TIME (default: UTC)")
      ->type_name("ZONE");
  TakeNumber(
      command.add_option("--min", definition.minimum,
                         "Lower values are stored as missing (default: " + help.boundDefault + ")"))
      ->type_name("X");
  TakeNumber(command.add_option(
                 "--max", definition.maximum,
                 "Higher values are stored as missing (default: " + help.boundDefault + ")"))
      ->type_name("Y");
  command.add_flag("--force", definition.isForced, help.force);
  return step;
}

std::string FindProblem(const FileDefinition& definition) {
  const long long rowCount = definition.rowCount.value_or(1);
  const long long step = definition.step.value_or(1);
  const double minimum = definition.minimum.value_or(NO_BOUND);
  const double maximum = definition.maximum.value_or(NO_BOUND);
  if (rowCount < 1 || rowCount > MAXIMUM_ROW_COUNT) {
    return "rows must be from 1 to " + std::to_string(MAXIMUM_ROW_COUNT);
  }
  if (step < 1 || step > MAXIMUM_SPAN / rowCount) {
    return "step must be from 1 second to " + std::to_string(MAXIMUM_SPAN / rowCount) +
           " with so many rows";
  }
  if (std::isinf(minimum) || std::isinf(maximum)) {
    return "a bound must be finite; nan means no bound";
  }
  return minimum >= maximum ? "min must be less than max" : "";
}

long long GetRowCountToGrow(long long neededCount, long long step) {
  constexpr long long SECONDS_A_YEAR = 366LL * 86400;
  constexpr long long MAXIMUM_YEAR = 1'000'000;
  const long long wanted = std::max(2 * neededCount, std::min(SECONDS_A_YEAR / step, MAXIMUM_YEAR));
  return std::max(neededCount, std::min({wanted, MAXIMUM_ROW_COUNT, MAXIMUM_SPAN / step}));
}

DataFileDefinition MakeDataFileDefinition(const FileDefinition& definition, long long start) {
  return {definition.step.value(), start, definition.minimum.value_or(NO_BOUND),
          definition.maximum.value_or(NO_BOUND),
          static_cast<unsigned int>(definition.rowCount.value())};
}

std::optional<TimeExpression> ReadStart(const FileDefinition& definition) {
  const cctz::time_zone zone = LoadZone(definition.zoneName);
  return definition.startText ? std::optional(TimeExpression(*definition.startText, zone))
                              : std::nullopt;
}

long long ResolveStart(const TimeExpression& start, const FileTimes& file,
                       const std::string& zeltId) {
  const long long time = start.Resolve(file);
  if (time < 1) {  // 0 and -1 stand for the present time in the RRD library
    throw UsageError(zeltId, "start must be later than " + FormatUtc(0));
  }
  return time;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
