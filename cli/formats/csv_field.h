#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// A field as in RFC 4180. An id may have any character.
inline std::string QuoteCsv(const std::string& text) {
  if (text.find_first_of("\",\r\n") == std::string::npos) {
    return text;
  }
  std::string quoted = "\"";
  for (const char character : text) {
    quoted += character == '"' ? "\"\"" : std::string(1, character);
  }
  return quoted + '"';
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
