#include "formats/utf8_text.h"

#include <string_view>

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

bool IsBetween(unsigned char byte, unsigned char least, unsigned char greatest) {
  return least <= byte && byte <= greatest;
}

// The length of the character at the beginning of the text; 0 when there is none.
std::size_t MeasureCharacter(std::string_view text) {
  const auto byte = [text](std::size_t i) {
    return static_cast<unsigned char>(i < text.size() ? text[i] : '\0');
  };
  const unsigned char first = byte(0);
  if (first < 0x80) {
    return 1;
  }
  if (IsBetween(first, 0xc2, 0xdf)) {
    return IsBetween(byte(1), 0x80, 0xbf) ? 2 : 0;
  }
  if (!IsBetween(byte(2), 0x80, 0xbf)) {
    return 0;
  }
  if (IsBetween(first, 0xe0, 0xef)) {
    return IsBetween(byte(1), first == 0xe0 ? 0xa0 : 0x80, first == 0xed ? 0x9f : 0xbf) ? 3 : 0;
  }
  return IsBetween(first, 0xf0, 0xf4) && IsBetween(byte(3), 0x80, 0xbf) &&
                 IsBetween(byte(1), first == 0xf0 ? 0x90 : 0x80, first == 0xf4 ? 0x8f : 0xbf)
             ? 4
             : 0;
}

}  // namespace

bool IsUtf8(const std::string& text) {
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t size = MeasureCharacter(rest);
    if (size == 0) {
      return false;
    }
    rest.remove_prefix(size);
  }
  return true;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
