#pragma once

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// What an id is, with the scopes of the library, for the help.
std::string GetIdHelp();

// "; the scopes are ...", and the nearest one to that of a wrong id.
std::string SuggestScope(const std::string& wrongId);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
