#pragma once

#include <cstddef>
#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// "1 row" or "2 rows".
inline std::string Count(unsigned long long count, const std::string& thing) {
  const char* const ending = count == 1 ? "" : "s";
  return std::to_string(count) + ' ' + thing + ending;
}

// Texts with the separator between them.
template <typename Texts>
std::string Join(const Texts& texts, const std::string& separator = ", ") {
  std::string joined;
  for (const std::string& text : texts) {
    joined += separator + text;
  }
  joined.erase(0, separator.size());
  return joined;
}

// "a, b and c", the names of items.
template <typename Items, typename Name>
std::string JoinNames(const Items& items, Name name) {
  std::string text;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const char* const separator = i == 0 ? "" : i + 1 == items.size() ? " and " : ", ";
    text += separator + name(items[i]);
  }
  return text;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
