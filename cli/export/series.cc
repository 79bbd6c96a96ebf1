#include "export/series.h"

#include <algorithm>

#include "error/command_error.h"
#include "export/file_list.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

bool IsControl(unsigned char character) { return character < ' ' || character == 127; }

}  // namespace

Labels ReadLabels(const std::vector<std::string>& texts) {
  Labels labels;
  for (const std::string& text : texts) {
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || sign == 0 || sign + 1 == text.size() ||
        std::any_of(text.begin(), text.end(), IsControl)) {
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

ExportedSeries MakeSeries(const std::string& zeltId, const Labels& labels, bool hasQuality) {
  const std::size_t colon = zeltId.find(':');
  ExportedSeries series{zeltId.substr(0, colon), labels, hasQuality};
  series.labels[ID_LABEL] = zeltId.substr(colon + 1);
  return series;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
