#include "export/csv_format.h"

#include <cmath>

#include "export/decimal.h"
#include "output/csv_field.h"

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
    AppendDecimal(point.timestamp, text);
    text += names;
    if (!std::isnan(point.value)) {
      AppendDecimal(point.value, text);
    }
    if (hasQuality) {
      text += point.isGood ? ",good" : ",bad";
    }
    text += '\n';
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
