#pragma once

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// A whole number of an option is read by its decimal digits: CLI11 alone takes 010 for 8, 0x10 for
// 16, and leaves a number as it is where the text is empty.
inline CLI::Option* TakeDecimal(CLI::Option* option) {
  return option->transform([option](const std::string& text) {
    const bool hasSign = !text.empty() && (text[0] == '-' || text[0] == '+');
    std::string digits = text.substr(hasSign ? 1 : 0);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
      throw CLI::ConversionError("Could not convert: " + option->get_name() + " = " + text);
    }
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    return (text[0] == '-' ? "-" : "") + digits;
  });
}

// The same for a number of an optional<double>, which only an empty text leaves as it is.
inline CLI::Option* TakeNumber(CLI::Option* option) {
  return option->check([option](const std::string& text) {
    return text.empty()
               ? throw CLI::ConversionError("Could not convert: " + option->get_name() + " = ")
               : std::string();
  });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
