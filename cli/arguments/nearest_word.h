#pragma once

#include <string>
#include <vector>

namespace nvx::TimeSeriesDatabase::CommandLine {

// "; did you mean 'query'?" for the word that is nearest to what was typed, of a known one or of
// what stands behind the last "/" of it; empty when none is near.
std::string SuggestWord(const std::string& typed, const std::vector<std::string>& knownWords);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
