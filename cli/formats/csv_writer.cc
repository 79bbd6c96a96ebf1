#include "formats/csv_writer.h"

#include <cmath>

#include "base/time_text.h"
#include "base/value_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

void CsvWriter::AppendHeader(std::string& text) {
  if (hasHeader) {
    return;
  }
  hasHeader = true;
  text += shape.isForSeries ? "timestamp" : "date,timestamp";
  text += shape.isForSeries || shape.isSeveral ? ",id" : "";
  text += !shape.isForSeries && shape.hasSources ? ",source" : "";
  for (const auto& label : shape.isForSeries ? shape.labels : Labels()) {
    if (label.first != ID_LABEL) {
      text += ',' + QuoteCsv(label.first);
    }
  }
  for (const std::string& name : shape.names) {
    text += "," + name;
  }
  text += shape.hasQuality ? ",quality\n" : "\n";
}

void CsvWriter::Begin(const Series& series, int /*round*/, std::string& text) {
  AppendHeader(text);
  names = shape.isForSeries || shape.isSeveral ? "," + QuoteCsv(series.zeltId) : "";
  names += !shape.isForSeries && shape.hasSources ? "," + QuoteCsv(series.source) : "";
  for (const auto& label : shape.isForSeries ? shape.labels : Labels()) {
    if (label.first != ID_LABEL) {
      const auto own = series.labels.find(label.first);
      names += ',' + QuoteCsv(own == series.labels.end() ? std::string() : own->second);
    }
  }
}

void CsvWriter::Append(const Piece& piece, std::string& text) {
  for (std::size_t row = 0; row < piece.GetRowCount(); ++row) {
    const long long time = piece.GetTime(row);
    if (!shape.isForSeries) {
      text += FormatTime(time, shape.zone);
      text += ',';
    }
    text += std::to_string(time);
    text += names;
    for (std::size_t i = 0; i < piece.GetColumnCount(); ++i) {
      const Value& value = piece.GetRow(row)[i];
      text += ',';
      if (value.isAsked && !(shape.isForSeries && std::isnan(value.number))) {
        text += ShortestText(value.number).Get();
      }
    }
    if (shape.hasQuality) {
      text += ',';
      text += GetQualityText(piece.IsGood(row));
    }
    text += '\n';
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
