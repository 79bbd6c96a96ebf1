#include "output/point_format.h"

#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string_view>

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

class ShortestText {
 public:
  explicit ShortestText(double value)
      : size(std::isnan(value) ? 0 : std::to_chars(text, text + sizeof text, value).ptr - text) {}

  std::string_view Get() const {
    return size == 0 ? "nan" : std::string_view(text, static_cast<std::size_t>(size));
  }

 private:
  char text[32];  // the longest is -2.2250738585072014e-308
  std::ptrdiff_t size;
};

}  // namespace

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
