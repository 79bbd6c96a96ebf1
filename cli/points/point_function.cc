#include "points/point_function.h"

#include <algorithm>
#include <optional>
#include <sstream>

#include "base/command_error.h"
#include "base/words.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr std::size_t DECIMALS = 3;  // of a percentage

PointFunction MakePercentile(unsigned int thousandths) {
  PointFunction function;
  Require(DataFunctions::MakePercentile(thousandths, function.compute), "--function",
          "no percentile");
  return function;
}

// Whether a word is "p" and a number, or would be.
bool IsPercentile(const std::string& word) {
  return word[0] == 'p' && word.find_first_not_of("0123456789.", 1) == std::string::npos;
}

// The percentile "p99.9" with its shortest name; nothing where there is no such percentage.
std::optional<Choices<PointFunction>::value_type> FindPercentile(const std::string& word) {
  constexpr std::size_t MOST_DIGITS = 3;
  constexpr unsigned int WHOLE = 100000;
  const std::size_t point = std::min(word.find('.'), word.size());
  const std::string digits = word.substr(1, point - 1);
  std::string decimals = word.substr(std::min(point + 1, word.size()));
  const bool isNumber = !digits.empty() && digits.size() <= MOST_DIGITS &&
                        decimals.empty() == (point == word.size()) && decimals.size() <= DECIMALS &&
                        decimals.find('.') == std::string::npos;
  if (!isNumber) {
    return std::nullopt;
  }
  decimals.resize(DECIMALS, '0');
  const auto thousandths = static_cast<unsigned int>(std::stoul(digits + decimals));
  if (thousandths == 0 || thousandths > WHOLE) {
    return std::nullopt;
  }
  decimals.erase(decimals.find_last_not_of('0') + 1);
  const std::string name = "p" + std::to_string(std::stoul(digits));
  return std::pair(decimals.empty() ? name : name + '.' + decimals, MakePercentile(thousandths));
}

// Also the empty words, which are no functions.
std::vector<std::string> SplitAtCommas(const std::string& names) {
  std::vector<std::string> words;
  std::istringstream rest(names + ',');
  for (std::string word; std::getline(rest, word, ',');) {
    words.push_back(word);
  }
  return words;
}

std::optional<Choices<PointFunction>::value_type> FindFunction(const std::string& word) {
  const auto& known = ListPointFunctions();
  const auto found = std::find_if(known.begin(), known.end(),
                                  [&word](const auto& choice) { return choice.first == word; });
  if (found != known.end()) {
    return *found;
  }
  return IsPercentile(word) ? FindPercentile(word) : std::nullopt;
}

}  // namespace

const Choices<PointFunction>& ListPointFunctions() {
  static const Choices<PointFunction> FUNCTIONS = {
      {"average", {DataFunctions::ComputeAverageIgnoringNan}},
      {"minimum", {DataFunctions::ComputeMinimum}},
      {"maximum", {DataFunctions::ComputeMaximum}},
      {"sum", {DataFunctions::ComputeSum, false, true}},
      {"count", {DataFunctions::ComputeCount, false, true}},
      {"increase", {DataFunctions::ComputeIncrease}},
      {"delta", {DataFunctions::ComputeDelta, true}},
      {"median", MakePercentile(DataFunctions::MEDIAN)},
      {"first", {DataFunctions::ComputeFirst}},
      {"last", {DataFunctions::ComputeLast}},
      {"deviation", {DataFunctions::ComputeDeviation}},
      {"integral", {nullptr, false, false, true}},
  };
  return FUNCTIONS;
}

std::string FindFunctionProblem(const std::string& names) {
  std::vector<std::string> seen;
  for (const std::string& word : SplitAtCommas(names)) {
    const auto function = FindFunction(word);
    if (!function) {
      return IsPercentile(word) ? word + " is no percentile from p0.001 to p100, with " +
                                      std::to_string(DECIMALS) + " digits behind the point at most"
                                : word + " not in {" + Join(GetNames(ListPointFunctions()), ",") +
                                      "}, and no percentile such as p95";
    }
    if (std::find(seen.begin(), seen.end(), function->first) != seen.end()) {
      return word + " is given twice";
    }
    seen.push_back(function->first);
  }
  return "";
}

Choices<PointFunction> ReadPointFunctions(const std::string& names) {
  Choices<PointFunction> functions;
  for (const std::string& word : SplitAtCommas(names)) {
    functions.push_back(FindFunction(word).value());
  }
  return functions;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
