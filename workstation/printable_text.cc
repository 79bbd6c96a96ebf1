#include "nvx/workstation/printable_text.h"

#include <algorithm>
#include <string_view>

namespace nvx::Workstation {
namespace {

unsigned char ToByte(char character) { return static_cast<unsigned char>(character); }

bool IsContinuation(char character) { return (ToByte(character) & 0xc0) == 0x80; }

// Whether `second` may follow `first` in UTF-8. Otherwise the character would be overlong, which
// can hide a control character.
bool IsShortest(unsigned char first, unsigned char second) {
  return (first != 0xe0 || second >= 0xa0) && (first != 0xf0 || second >= 0x90);
}

// The length of the character at the beginning of the text; 1 where that is not UTF-8.
std::size_t GetLength(std::string_view text) {
  const unsigned char first = ToByte(text.front());
  const std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : first >= 0xc2 ? 2 : 1;
  const std::string_view rest = text.substr(1, length - 1);
  const bool isWhole = length > 1 && first < 0xf5 && rest.size() == length - 1 &&
                       IsShortest(first, ToByte(rest.front())) &&
                       std::all_of(rest.begin(), rest.end(), IsContinuation);
  return isWhole ? length : 1;
}

bool IsControl(std::string_view character) {
  const unsigned char first = ToByte(character.front());
  switch (character.size()) {
    case 1:
      return first < ' ' || (first >= 0x7f && first < 0xa0);
    case 2:
      return first == 0xc2 && ToByte(character[1]) < 0xa0;
    default:
      return character == "\u2028" || character == "\u2029";
  }
}

}  // namespace

std::string WithoutControls(const std::string& text) {
  std::string printable;
  printable.reserve(text.size());
  for (std::string_view rest = text; !rest.empty();) {
    const std::string_view character = rest.substr(0, GetLength(rest));
    printable += IsControl(character) ? "?" : character;
    rest.remove_prefix(character.size());
  }
  return printable;
}

}  // namespace nvx::Workstation
