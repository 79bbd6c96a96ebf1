#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "arguments/time_expression.h"
#include "points/point_function.h"
#include "timeseries/query_interval.h"

// What the user asks of any file. Options are added to a command, and read when it runs: what is
// wrong with them is thrown as UsageError or CLI::ParseError.
namespace nvx::TimeSeriesDatabase::CommandLine {

struct WindowOptions {
  std::optional<std::string> from;
  std::optional<std::string> to;
  std::string zoneName = "UTC";
};

// --from, --to and --zone.
void AddWindowOptions(CLI::App& command, WindowOptions& options);

struct PointOptions {
  std::string interval;
  Choices<PointFunction> functions = {ListPointFunctions().front()};
  bool isUnadjusted = false;
  bool isPartial = false;
};

// --interval, which is returned, --function, --no-adjust and --partial.
CLI::Option* AddPointOptions(CLI::App& command, PointOptions& options);

// What the help says of INTERVAL, FUNCTION, TIME and ZONE.
std::string GetQuestionHelp();

struct AskedWindow {
  cctz::time_zone zone;
  std::optional<TimeExpression> from;
  std::optional<TimeExpression> to;
};

AskedWindow ReadWindow(const WindowOptions& options);

struct Question {
  AskedWindow window;
  QueryInterval interval;
  Choices<PointFunction> functions;  // at least one
  bool isUnadjusted;                 // the window is taken as it is
  bool isPartial;                    // the interval that its end cuts is added
};

Question ReadQuestion(const WindowOptions& windowOptions, const PointOptions& pointOptions);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
