#pragma once

#include <optional>
#include <string>

#include "timeseries/rrd/tool/layout_converter.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// An RRD file that another machine wrote and this one does not read.
struct ForeignFile {
  Rrd::Tool::RecognisedFile content;
  std::string command;    // makes this machine read it; empty when it cannot be converted
  std::string reason;     // why it cannot be converted
  bool isCutOff = false;  // so that there is nothing but the reason

  // All of it in a few words.
  std::string Describe() const;
};

// Nothing for a file that this machine reads, or one that is damaged otherwise than by the loss of
// its end.
std::optional<ForeignFile> FindForeignFile(const std::string& path);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
