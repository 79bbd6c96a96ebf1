#pragma once

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>
#include <vector>

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

// Why not every word of a list with commas is a different one of `known`; empty when they are.
inline std::string FindProblem(const std::string& words, const std::vector<std::string>& known) {
  std::vector<std::string> seen;
  for (const std::string& word : CLI::detail::split(words, ',')) {
    if (std::find(known.begin(), known.end(), word) == known.end()) {
      return word + " not in {" + CLI::detail::join(known, ",") + "}";
    }
    if (std::find(seen.begin(), seen.end(), word) != seen.end()) {
      return word + " is given twice";
    }
    seen.push_back(word);
  }
  return "";
}

// The same for several words with commas between them, whose choices become `chosen`.
template <typename Value>
CLI::Option* AddChoiceOfSeveral(CLI::App& command, const std::string& name, Choices<Value>& chosen,
                                const Choices<Value>& choices, const std::string& help) {
  const std::vector<std::string> known = GetNames(choices);
  const auto choose = [&chosen, choices](const std::string& words) {
    chosen.clear();
    for (const std::string& word : CLI::detail::split(words, ',')) {
      chosen.push_back(*std::find_if(choices.begin(), choices.end(),
                                     [&word](const auto& choice) { return choice.first == word; }));
    }
  };
  const auto check = [known](const std::string& words) { return FindProblem(words, known); };
  return command.add_option_function<std::string>(name, choose, help)
      ->check(CLI::Validator(check, "{" + CLI::detail::join(known, ",") + "}"));
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
