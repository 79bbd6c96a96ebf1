#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "rrd/foreign_file.h"
#include "timeseries/query_interval.h"
#include "timeseries/rrd/file_description.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// What `info` prints about a file that this machine reads.
struct FileReport {
  std::string path;
  unsigned long step = 0;
  std::optional<QueryInterval> interval;  // of one step
  long long first = 0;
  Rrd::FileDescription file;

  // Where step and first timestamp came from, when there is a store; all else comes from the file.
  bool hasOrigins = false;
  bool isStepStored = false;
  bool isFirstStored = false;
};

// An instant as "2021-03-28T01:00:00.000+00:00 (1616893200)".
std::string FormatInstant(long long timestamp);

// A line for each property, and for each data source and archive.
void PrintText(const FileReport& report, std::ostream& output);
void PrintText(const ForeignFile& file, const std::string& path, std::ostream& output);

// One object with the same content; null for a bound that is not set and for a missing reading.
void PrintJson(const FileReport& report, std::ostream& output);
void PrintJson(const ForeignFile& file, const std::string& path, std::ostream& output);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
