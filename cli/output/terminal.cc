#include "output/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <string_view>

namespace nvx::TimeSeriesDatabase::CommandLine {

unsigned int GetTerminalColumns() {
  winsize size{};
  if (isatty(STDOUT_FILENO) != 0 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) {
    return size.ws_col;
  }
  // NOLINTNEXTLINE(concurrency-mt-unsafe): the program has one thread
  const char* const variable = std::getenv("COLUMNS");
  const std::string_view text = variable == nullptr ? "" : variable;
  unsigned int columns = 0;
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), columns);
  return error == std::errc() && rest == text.data() + text.size() ? columns : 0;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
