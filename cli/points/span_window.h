#pragma once

#include <deque>
#include <optional>

#include "points/question.h"
#include "points/spans.h"
#include "timeseries/time_window.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// From the start to the end of the window that a question means where spans answer, with the rules
// of ResolveWindow. Without a start it begins with the first row that is not missing, and without
// an end it ends with the newest row; what is asked again later ends where all of `parts` have
// rows. Nothing where no row has a value. Throws CommandError.
std::optional<TimeWindow> ResolveSpanWindow(const Question& question, const Source& source,
                                            std::deque<SpanArchives>& parts,
                                            std::optional<long long> confirmed);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
