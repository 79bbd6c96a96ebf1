#include "export/csv_format.h"

#include <cmath>

#include "export/decimal.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// A field in quotes where it needs them.
void AppendField(const std::string& field, std::string& text) {
  if (field.find_first_of(",\"\r\n") == std::string::npos) {
    text += field;
    return;
  }
  text += '"';
  for (const char character : field) {
    text += character == '"' ? "\"\"" : std::string(1, character);
  }
  text += '"';
}

}  // namespace

void CsvFormat::AppendHeader(const ExportedSeries& first, std::string& text) {
  text += "timestamp,";
  text += ID_LABEL;
  for (const auto& label : first.labels) {
    if (label.first != ID_LABEL) {
      text += ',';
      AppendField(label.first, text);
    }
  }
  text += first.hasQuality ? ",value,quality\n" : ",value\n";
}

void CsvFormat::Begin(const ExportedSeries& series, int /*round*/, std::string& /*text*/) {
  names = ",";
  AppendField(series.scope + ":" + series.labels.at(ID_LABEL), names);
  for (const auto& label : series.labels) {
    if (label.first != ID_LABEL) {
      names += ',';
      AppendField(label.second, names);
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
