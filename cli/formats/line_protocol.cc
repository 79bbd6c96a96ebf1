#include "formats/line_protocol.h"

#include <cmath>
#include <string_view>

#include "base/command_error.h"
#include "base/value_text.h"
#include "formats/utf8_text.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// Characters that end a tag's key or value unless a backslash stands before them.
constexpr std::string_view ENDS = ",= ";

// Whether a text can be written. Not one with a backslash before another one, before one of these
// or at the end, nor one with a control character.
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
  return !text.empty() && IsUtf8(text);
}

void AppendEscaped(const std::string& text, std::string& line) {
  for (const char character : text) {
    if (ENDS.find(character) != std::string_view::npos) {
      line += '\\';
    }
    line += character;
  }
}

}  // namespace

void LineProtocol::Begin(const Series& series, int /*round*/, std::string& /*text*/) {
  prefix = series.scope;
  for (const auto& [key, value] : series.labels) {
    if (!HasForm(key) || !HasForm(value)) {
      RefuseLabel(series, key, value, "line protocol");
    }
    prefix += ',';
    AppendEscaped(key, prefix);
    prefix += '=';
    AppendEscaped(value, prefix);
  }
  prefix += ' ';
}

void LineProtocol::Append(const Piece& piece, std::string& text) {
  for (std::size_t row = 0; row < piece.GetRowCount(); ++row) {
    const std::size_t begin = text.size();
    const char* separator = prefix.c_str();
    for (std::size_t i = 0; i < piece.GetColumnCount(); ++i) {
      const double number = piece.GetRow(row)[i].number;
      if (!std::isfinite(number)) {
        leftOutCount += std::isnan(number) ? 0 : 1;
        continue;
      }
      text += separator;
      text += shape.names[i];
      text += '=';
      text += ShortestText(number).Get();
      separator = ",";
    }
    if (text.size() == begin) {
      continue;
    }
    if (shape.hasQuality) {
      text += piece.IsGood(row) ? ",quality=true" : ",quality=false";
    }
    text += ' ';
    text += std::to_string(piece.GetTime(row));
    text += '\n';
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
