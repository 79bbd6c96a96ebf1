#pragma once

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>

#include "arguments/choices.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Adds an option that sets `value` to what its word stands for. Any other word is wrong usage.
template <typename Value>
CLI::Option* AddChoice(CLI::App& command, const std::string& name, Value& value,
                       const Choices<Value>& choices, const std::string& help) {
  const auto choose = [&value, choices](const std::string& word) {
    value = std::find_if(choices.begin(), choices.end(), [&word](const auto& choice) {
              return choice.first == word;
            })->second;
  };
  return command.add_option_function<std::string>(name, choose, help)
      ->check(CLI::IsMember(GetNames(choices)));
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
