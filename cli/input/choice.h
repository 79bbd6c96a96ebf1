#pragma once

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The words that an option takes, in the order in which it names them, and what they stand for.
template <typename Value>
using Choices = std::vector<std::pair<std::string, Value>>;

// Adds an option that sets `value` to what its word stands for. Any other word is wrong usage.
template <typename Value>
CLI::Option* AddChoice(CLI::App& command, const std::string& name, Value& value,
                       const Choices<Value>& choices, const std::string& help) {
  std::vector<std::string> words;
  for (const auto& choice : choices) {
    words.push_back(choice.first);
  }
  const auto choose = [&value, choices](const std::string& word) {
    value = std::find_if(choices.begin(), choices.end(), [&word](const auto& choice) {
              return choice.first == word;
            })->second;
  };
  return command.add_option_function<std::string>(name, choose, help)->check(CLI::IsMember(words));
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
