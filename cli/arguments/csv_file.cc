#include "arguments/csv_file.h"

#include <cerrno>
#include <filesystem>
#include <iostream>
#include <system_error>

#include "base/command_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr char STANDARD_INPUT[] = "-";

}  // namespace

CsvFile::CsvFile(const std::string& path)
    : isStandardInput(path == STANDARD_INPUT), name(isStandardInput ? "standard input" : path) {
  if (isStandardInput) {
    return;
  }
  file.open(path);
  if (!file) {
    throw CommandError(path, "cannot be opened: " + std::generic_category().message(errno),
                       StatusCode::CannotOpen);
  }
  std::error_code error;
  if (std::filesystem::is_regular_file(path, error)) {
    size = static_cast<double>(std::filesystem::file_size(path, error));
  }
}

std::optional<double> CsvFile::GetReadShare() {
  return size > 0 ? std::optional(static_cast<double>(file.tellg()) / size) : std::nullopt;
}

std::istream& CsvFile::GetStandardInput() { return std::cin; }

}  // namespace nvx::TimeSeriesDatabase::CommandLine
