#include "rrd/foreign_file.h"

#include <algorithm>

#include "base/words.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// The path as one word of the shell.
std::string Quote(const std::string& path) {
  constexpr char PLAIN[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_./:,+@%-";
  if (path.find_first_not_of(PLAIN) == std::string::npos) {
    return path;
  }
  std::string quoted = "'";
  for (const char character : path) {
    quoted += character == '\'' ? "'\\''" : std::string(1, character);
  }
  return quoted + "'";
}

}  // namespace

std::string ForeignFile::Describe() const {
  if (isCutOff) {
    return reason;
  }
  return std::string("its file has the layout ") + Rrd::Tool::GetLayoutName(content.layout) +
         ", with " + Count(content.dsCount, "data source") + " and " +
         Count(content.rowCount, "row") + " in " + Count(content.rraCount, "archive") +
         (command.empty() ? "; it cannot be opened here: " + reason
                          : "; to open it here: " + command);
}

std::optional<ForeignFile> FindForeignFile(const std::string& path) {
  Rrd::Tool::LayoutConverter converter;
  ForeignFile file;
  const Rrd::Tool::Layout native = Rrd::Tool::GetNativeLayout();
  if (converter.Recognise(path, file.content) != StatusCode::Success) {
    const std::vector<Rrd::Tool::Layout>& layouts = converter.GetCutOffLayouts();
    file.isCutOff =
        !layouts.empty() && std::find(layouts.begin(), layouts.end(), native) == layouts.end();
    file.reason = converter.GetReason();
    return file.isCutOff ? std::optional(file) : std::nullopt;
  }
  if (file.content.layout == native) {
    return std::nullopt;
  }
  if (converter.Check(path, native) == StatusCode::Success) {
    file.command = "nvx-timeseries convert --to native --in-place " + Quote(path);
  } else {
    file.reason = converter.GetReason();
  }
  return file;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
