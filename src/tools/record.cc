#include "tools/record.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace nvx::TimeSeriesDatabase::Rrd::Tool {
namespace {

constexpr unsigned BITS_OF_BYTE = std::numeric_limits<unsigned char>::digits;

std::uint64_t GetNumberAt(const unsigned char* bytes, std::size_t size, ByteOrder order) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < size; ++i) {
    const std::size_t next = order == ByteOrder::HighFirst ? i : size - 1 - i;
    number = number << BITS_OF_BYTE | bytes[next];
  }
  return number;
}

bool IsPrintable(char character) { return character >= ' ' && character <= '~'; }

bool IsClean(std::string_view field) {
  const std::string_view text = field.substr(0, field.find('\0'));
  return !text.empty() && std::all_of(text.begin(), text.end(), IsPrintable) &&
         field.find_first_not_of('\0', text.size()) == std::string_view::npos;
}

}  // namespace

std::uint64_t Record::GetNumber(std::string_view name) const {
  std::uint64_t number = 0;
  VisitFields(machine, structure, [&](const Field& field, std::size_t offset) {
    if (field.name == name) {
      number = GetNumberAt(bytes + offset, SizeOf(machine, field.type), machine.order);
    }
  });
  return number;
}

template <typename Predicate>
bool Record::AreAllTexts(Predicate isRight) const {
  bool areRight = true;
  VisitFields(machine, structure, [&](const Field& field, std::size_t offset) {
    const std::string_view content(reinterpret_cast<const char*>(bytes) + offset, field.count);
    areRight = areRight && (field.type != FieldType::Text || isRight(content));
  });
  return areRight;
}

bool Record::AreTextsTerminated() const {
  return AreAllTexts(
      [](std::string_view field) { return field.find('\0') != std::string_view::npos; });
}

bool Record::AreTextsClean() const { return AreAllTexts(IsClean); }

std::string_view Record::ConvertTo(const Machine& target, unsigned char* targetBytes) const {
  std::string_view misfit;
  VisitFields(machine, structure, [&](const Field& field, std::size_t offset) {
    const std::size_t targetOffset = OffsetOf(target, structure, field.name);
    const std::size_t size = SizeOf(machine, field.type) * field.count;
    const std::size_t targetSize = SizeOf(target, field.type) * field.count;
    // A number's low bytes come first: what a narrow field cannot take lies behind them.
    const std::size_t commonSize = std::min(size, targetSize);
    std::memcpy(targetBytes + targetOffset, bytes + offset, commonSize);
    const unsigned char* const rest = bytes + offset + commonSize;
    const bool fits = std::all_of(rest, bytes + offset + size, [](auto byte) { return byte == 0; });
    misfit = fits || !misfit.empty() ? misfit : field.name;
  });
  return misfit;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
