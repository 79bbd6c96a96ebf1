#include "output/point_format.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "output/shortest_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

const char* GetQualityText(const NumericalDataPoint& point) {
  return point.quality ? "good" : "bad";
}

void PrintCsv(const std::vector<NumericalDataPoint>& points, std::ostream& output) {
  output << "date,timestamp,value,quality\n";
  for (const NumericalDataPoint& point : points) {
    output << point.date.ToText() << ',' << point.date.timestamp << ','
           << ShortestText(point.value).Get() << ',' << GetQualityText(point) << '\n';
  }
}

void PrintJson(const std::vector<NumericalDataPoint>& points, std::ostream& output) {
  output << '[';
  const char* separator = "\n  ";
  for (const NumericalDataPoint& point : points) {
    nlohmann::ordered_json object = {{"date", point.date.ToText()},
                                     {"timestamp", point.date.timestamp},
                                     {"value", point.value},  // null when it is not finite
                                     {"quality", GetQualityText(point)}};
    output << separator << object;
    separator = ",\n  ";
  }
  output << "\n]\n";
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
