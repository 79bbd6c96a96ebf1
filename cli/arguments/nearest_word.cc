#include "arguments/nearest_word.h"

#include <algorithm>
#include <cctype>

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr std::size_t MAXIMUM_SIZE = 64;

char ToLower(char character) {
  return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
}

// How many characters were left out, added, exchanged or swapped with the next one, at least.
std::size_t GetDistance(const std::string& from, const std::string& to) {
  std::vector<std::vector<std::size_t>> distances(from.size() + 1,
                                                  std::vector<std::size_t>(to.size() + 1));
  for (std::size_t i = 0; i <= from.size(); ++i) {
    for (std::size_t j = 0; j <= to.size(); ++j) {
      if (i == 0 || j == 0) {
        distances[i][j] = i + j;
        continue;
      }
      const std::size_t exchange = ToLower(from[i - 1]) == ToLower(to[j - 1]) ? 0 : 1;
      std::size_t& distance = distances[i][j];
      distance = std::min(
          {distances[i - 1][j] + 1, distances[i][j - 1] + 1, distances[i - 1][j - 1] + exchange});
      if (i > 1 && j > 1 && ToLower(from[i - 1]) == ToLower(to[j - 2]) &&
          ToLower(from[i - 2]) == ToLower(to[j - 1])) {
        distance = std::min(distance, distances[i - 2][j - 2] + 1);
      }
    }
  }
  return distances[from.size()][to.size()];
}

}  // namespace

std::string SuggestWord(const std::string& typed, const std::vector<std::string>& knownWords) {
  if (typed.size() > MAXIMUM_SIZE) {
    return "";
  }
  std::size_t least = std::max<std::size_t>(2, typed.size() / 2);  // that is no longer near
  std::string nearest;
  for (const std::string& word : knownWords) {
    const std::size_t distance =
        std::min(GetDistance(typed, word), GetDistance(typed, word.substr(word.rfind('/') + 1)));
    if (distance < least) {
      least = distance;
      nearest = word;
    }
  }
  return nearest.empty() ? "" : "; did you mean '" + nearest + "'?";
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
