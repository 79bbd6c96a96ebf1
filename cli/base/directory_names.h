#pragma once

#include <string>
#include <system_error>
#include <vector>

namespace nvx::TimeSeriesDatabase::CommandLine {

// The names in a directory, in no order, but not "." and "..". They are all that could be read;
// `error` tells why there are no more. std::filesystem ends the process when memory does.
std::vector<std::string> ReadNames(const std::string& directory, std::error_code& error);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
