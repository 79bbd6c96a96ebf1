#include "points/series.h"

#include "base/command_error.h"
#include "base/message.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

Labels ReadLabels(const std::vector<std::string>& texts) {
  Labels labels;
  for (const std::string& text : texts) {
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || sign == 0 || sign + 1 == text.size() ||
        WithoutControls(text) != text) {
      throw UsageError(text, "a label is KEY=VALUE, neither of them empty, on one line");
    }
    const std::string key = text.substr(0, sign);
    if (key == ID_LABEL || key == DIRECTORY_LABEL) {
      throw UsageError(text, "the label " + key + " is given by the command itself");
    }
    if (!labels.emplace(key, text.substr(sign + 1)).second) {
      throw UsageError(text, "the label " + key + " is given twice");
    }
  }
  return labels;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
