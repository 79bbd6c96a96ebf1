#include "base/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

namespace nvx::TimeSeriesDatabase::CommandLine {

namespace {

constexpr unsigned int LARGEST_SIZE = 1000;

std::string_view GetVariable(const char* name) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): the program has one thread
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

// 0 for a text that is no number; at most a size that no terminal exceeds.
unsigned int GetNumber(const char* name) {
  const std::string_view text = GetVariable(name);
  unsigned int number = 0;
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && rest == text.data() + text.size() ? std::min(number, LARGEST_SIZE)
                                                                   : 0;
}

bool IsTerminal() { return isatty(STDOUT_FILENO) != 0; }

std::optional<winsize> GetSize() {
  winsize size{};
  const bool isKnown = IsTerminal() && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
  return isKnown ? std::optional(size) : std::nullopt;
}

}  // namespace

unsigned int GetTerminalColumns() {
  const std::optional<winsize> size = GetSize();
  return size ? size->ws_col : GetNumber("COLUMNS");
}

unsigned int GetTerminalRows() {
  const std::optional<winsize> size = GetSize();
  return size ? size->ws_row : GetNumber("LINES");
}

bool IsUtf8Locale() {
  for (const char* const name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    std::string locale(GetVariable(name));
    if (!locale.empty()) {
      std::transform(locale.begin(), locale.end(), locale.begin(), [](unsigned char character) {
        return static_cast<char>(std::tolower(character));
      });
      return locale.find(".utf-8") != std::string::npos ||
             locale.find(".utf8") != std::string::npos;
    }
  }
  return false;
}

bool HasColours() {
  return IsTerminal() && GetVariable("NO_COLOR").empty() && GetVariable("TERM") != "dumb";
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
