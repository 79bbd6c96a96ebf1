#pragma once

#include <string>
#include <utility>
#include <vector>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The words that an option takes, in the order in which it names them, and what they stand for.
template <typename Value>
using Choices = std::vector<std::pair<std::string, Value>>;

template <typename Value>
std::vector<std::string> GetNames(const Choices<Value>& choices) {
  std::vector<std::string> names;
  for (const auto& choice : choices) {
    names.push_back(choice.first);
  }
  return names;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
