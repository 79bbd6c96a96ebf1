#include "formats/line_protocol.h"

#include <cmath>
#include <string_view>

#include "base/command_error.h"
#include "base/shortest_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// What ends a tag's key or value unless a backslash stands before it.
constexpr std::string_view ENDS = ",= ";

// A backslash itself cannot be written before one of these, nor at the end, nor a control character
// anywhere.
bool HasForm(const std::string& text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto character = static_cast<unsigned char>(text[i]);
    const bool isLast = i + 1 == text.size();
    if (character < ' ' || character == 127 ||
        (character == '\\' &&
         (isLast || text[i + 1] == '\\' || ENDS.find(text[i + 1]) != std::string_view::npos))) {
      return false;
    }
  }
  return !text.empty();
}

void AppendEscaped(const std::string& text, std::string& line) {
  if (!HasForm(text)) {
    throw CommandError(text, "cannot be written in line protocol", StatusCode::InvalidArgument);
  }
  for (const char character : text) {
    if (ENDS.find(character) != std::string_view::npos) {
      line += '\\';
    }
    line += character;
  }
}

}  // namespace

void LineProtocol::Begin(const ExportedSeries& series, int /*round*/, std::string& /*text*/) {
  std::string line = series.scope;
  for (const auto& [key, value] : series.labels) {
    line += ',';
    AppendEscaped(key, line);
    line += '=';
    AppendEscaped(value, line);
  }
  prefix = line + " value=";
  hasQuality = series.hasQuality;
}

void LineProtocol::Append(const Piece& piece, std::string& text) {
  for (const StreamedPoint& point : piece) {
    if (!std::isfinite(point.value)) {
      leftOutCount += std::isnan(point.value) ? 0 : 1;
      continue;
    }
    text += prefix;
    text += ShortestText(point.value).Get();
    if (hasQuality) {
      text += point.isGood ? ",quality=true" : ",quality=false";
    }
    text += ' ';
    text += std::to_string(point.timestamp);
    text += '\n';
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
