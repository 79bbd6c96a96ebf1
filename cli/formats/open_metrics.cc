#include "formats/open_metrics.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/command_error.h"
#include "base/value_text.h"
#include "formats/utf8_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

bool IsLabelName(const std::string& name) {
  constexpr char CHARACTERS[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
  return name.find_first_not_of(CHARACTERS) == std::string::npos && name.front() > '9' &&
         name.rfind("__", 0) != 0;
}

void AppendEscaped(const std::string& value, std::string& text) {
  for (const char character : value) {
    if (character == '\\' || character == '"' || character == '\n') {
      text += '\\';
    }
    text += character == '\n' ? 'n' : character;
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

OpenMetrics::OpenMetrics(AnswerShape answerShape) : PointWriter(std::move(answerShape)) {
  for (const auto& label : shape.labels) {
    if (!IsLabelName(label.first)) {
      throw UsageError(label.first,
                       "a label's name has letters, digits and '_' in OpenMetrics, and "
                       "begins neither with a digit nor with '__'");
    }
  }
}

void OpenMetrics::Begin(const Series& series, int round, std::string& text) {
  column = static_cast<std::size_t>(round);
  std::string name =
      series.scope + "_" + (column < shape.names.size() ? shape.names[column] : "quality");
  std::replace(name.begin(), name.end(), '.', '_');  // of a percentile
  if (name != family) {
    text += "# TYPE " + name + " gauge\n";
    family = name;
  }
  prefix = name + "{";
  for (const auto& [key, value] : series.labels) {
    if (!IsUtf8(value)) {
      RefuseLabel(series, key, value, "OpenMetrics, which is UTF-8");
    }
    prefix += (prefix.back() == '{' ? "" : ",") + key + "=\"";
    AppendEscaped(value, prefix);
    prefix += '"';
  }
  prefix += "} ";
}

void OpenMetrics::Append(const Piece& piece, std::string& text) {
  for (std::size_t row = 0; row < piece.GetRowCount(); ++row) {
    const Value* const values = piece.GetRow(row);
    const bool isQuality = column == piece.GetColumnCount();
    const bool isThere =
        isQuality ? std::any_of(values, values + column,
                                [](const Value& value) { return !std::isnan(value.number); })
                  : !std::isnan(values[column].number);
    if (!isThere) {
      continue;
    }
    text += prefix;
    AppendNumber(isQuality ? (piece.IsGood(row) ? 1 : 0) : values[column].number, text);
    text += ' ';
    text += std::to_string(piece.GetTime(row));
    text += '\n';
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
