#include "formats/csv_format.h"

#include <cmath>

#include "base/shortest_text.h"
#include "formats/csv_field.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

void CsvFormat::AppendHeader(const ExportedSeries& first, std::string& text) {
  text += "timestamp,";
  text += ID_LABEL;
  for (const auto& label : first.labels) {
    if (label.first != ID_LABEL) {
      text += ',';
      text += QuoteCsv(label.first);
    }
  }
  text += first.hasQuality ? ",value,quality\n" : ",value\n";
}

void CsvFormat::Begin(const ExportedSeries& series, int /*round*/, std::string& /*text*/) {
  names = ",";
  names += QuoteCsv(series.scope + ":" + series.labels.at(ID_LABEL));
  for (const auto& label : series.labels) {
    if (label.first != ID_LABEL) {
      names += ',';
      names += QuoteCsv(label.second);
    }
  }
  names += ',';
  hasQuality = series.hasQuality;
}

void CsvFormat::Append(const Piece& piece, std::string& text) {
  for (const StreamedPoint& point : piece) {
    text += std::to_string(point.timestamp);
    text += names;
    if (!std::isnan(point.value)) {
      text += ShortestText(point.value).Get();
    }
    if (hasQuality) {
      text += point.isGood ? ",good" : ",bad";
    }
    text += '\n';
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
