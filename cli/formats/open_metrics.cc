#include "formats/open_metrics.h"

#include <cctype>
#include <cmath>

#include "base/command_error.h"
#include "base/shortest_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

bool IsLabelName(const std::string& name) {
  constexpr char FIRST[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
  return name.find_first_not_of(std::string(FIRST) + "0123456789") == std::string::npos &&
         std::isdigit(static_cast<unsigned char>(name.front())) == 0 && name.rfind("__", 0) != 0;
}

void AppendEscaped(const std::string& value, std::string& text) {
  for (const char character : value) {
    if (character == '\\' || character == '"') {
      text += '\\';
    }
    text += character == '\n' ? "\\n" : std::string(1, character);
  }
}

void AppendNumber(double number, std::string& text) {
  if (std::isinf(number)) {
    text += number < 0 ? "-Inf" : "+Inf";
  } else {
    text += ShortestText(number).Get();
  }
}

}  // namespace

OpenMetrics::OpenMetrics(const Labels& labels) {
  for (const auto& label : labels) {
    if (!IsLabelName(label.first)) {
      throw UsageError(label.first,
                       "a label's name has letters, digits and '_' in OpenMetrics, and "
                       "begins neither with a digit nor with '__'");
    }
  }
}

void OpenMetrics::Begin(const ExportedSeries& series, int round, std::string& text) {
  isQuality = round == 1;
  const std::string name = series.scope + (isQuality ? "_quality" : "_value");
  if (name != family) {
    text += "# TYPE " + name + " gauge\n";
    family = name;
  }
  prefix = name + "{";
  for (const auto& [key, value] : series.labels) {
    prefix += (prefix.back() == '{' ? "" : ",") + key + "=\"";
    AppendEscaped(value, prefix);
    prefix += '"';
  }
  prefix += "} ";
}

void OpenMetrics::Append(const Piece& piece, std::string& text) {
  for (const StreamedPoint& point : piece) {
    if (std::isnan(point.value)) {
      continue;
    }
    text += prefix;
    AppendNumber(isQuality ? (point.isGood ? 1 : 0) : point.value, text);
    text += ' ';
    text += std::to_string(point.timestamp);
    text += '\n';
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
