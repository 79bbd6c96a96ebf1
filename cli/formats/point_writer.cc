#include "formats/point_writer.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/shortest_text.h"
#include "formats/csv_field.h"
#include "formats/point_row.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// The names of the columns of values.
std::vector<std::string> GetValueNames(const AnswerShape& shape) {
  return shape.functions.size() == 1 ? std::vector<std::string>{"value"} : shape.functions;
}

std::vector<const Points*> GetColumns(const std::vector<Points>& series) {
  std::vector<const Points*> columns(series.size());
  std::transform(series.begin(), series.end(), columns.begin(),
                 [](const Points& points) { return &points; });
  return columns;
}

}  // namespace

void CsvWriter::PrintHeader() {
  if (hasHeader) {
    return;
  }
  hasHeader = true;
  output << "date,timestamp" << (shape.hasIds ? ",id" : "");
  for (const std::string& name : GetValueNames(shape)) {
    output << ',' << name;
  }
  output << ",quality\n";
}

void CsvWriter::Add(const std::string& zeltId, std::vector<Points> series) {
  PrintHeader();
  const std::string id = shape.hasIds ? ',' + QuoteCsv(zeltId) : "";
  ForEachRow(GetColumns(series), [&](const Date::Date& date, const Row& row) {
    output << date.ToText() << ',' << date.timestamp << id;
    for (const NumericalDataPoint* const point : row) {
      output << ',';
      if (point != nullptr) {
        output << ShortestText(point->value).Get();
      }
    }
    output << ',' << GetQualityText(IsGood(row)) << '\n';
  });
}

void JsonWriter::Add(const std::string& zeltId, std::vector<Points> series) {
  const std::vector<std::string> names = GetValueNames(shape);
  ForEachRow(GetColumns(series), [&](const Date::Date& date, const Row& row) {
    nlohmann::ordered_json object = {{"date", date.ToText()}, {"timestamp", date.timestamp}};
    if (shape.hasIds) {
      object["id"] = zeltId;
    }
    for (std::size_t i = 0; i < row.size(); ++i) {
      object[names[i]] = nullptr;
      if (row[i] != nullptr) {
        object[names[i]] = row[i]->value;  // null when it is not finite
      }
    }
    object["quality"] = GetQualityText(IsGood(row));
    output << (hasPoints ? ",\n  " : "[\n  ")
           << object.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
    hasPoints = true;
  });
}

void JsonWriter::Finish() { output << (hasPoints ? "\n]\n" : "[\n]\n"); }

void CollectingWriter::Add(const std::string& zeltId, std::vector<Points> series) {
  for (std::size_t i = 0; i < series.size(); ++i) {
    all.push_back({zeltId, shape.functions[i], std::move(series[i])});
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
