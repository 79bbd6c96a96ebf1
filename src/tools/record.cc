#include "tools/record.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace nvx::TimeSeriesDatabase::Rrd::Tool {
namespace {

constexpr unsigned BITS_OF_BYTE = std::numeric_limits<unsigned char>::digits;

// The offset of a byte of a number, counted from the lowest byte.
std::size_t PlaceOf(std::size_t byte, std::size_t size, ByteOrder order) {
  return order == ByteOrder::HighFirst ? size - 1 - byte : byte;
}

std::uint64_t GetNumberAt(const unsigned char* bytes, const Machine& machine, FieldType type) {
  const std::size_t size = SizeOf(machine, type);
  std::uint64_t number = 0;
  for (std::size_t byte = size; byte-- > 0;) {
    number = number << BITS_OF_BYTE | bytes[PlaceOf(byte, size, machine.order)];
  }
  return number;
}

void PutNumberAt(unsigned char* bytes, const Machine& machine, FieldType type,
                 std::uint64_t number) {
  const std::size_t size = SizeOf(machine, type);
  for (std::size_t byte = 0; byte < size; ++byte) {
    bytes[PlaceOf(byte, size, machine.order)] = static_cast<unsigned char>(number);
    number >>= BITS_OF_BYTE;
  }
}

// A time has a sign.
constexpr std::uint64_t GetLargest(const Machine& machine, FieldType type) {
  const bool isNarrow = SizeOf(machine, type) == sizeof(std::uint32_t);
  const std::uint64_t narrow = type == FieldType::Time ? std::numeric_limits<std::int32_t>::max()
                                                       : std::numeric_limits<std::uint32_t>::max();
  return isNarrow ? narrow : std::numeric_limits<std::uint64_t>::max();
}

// A number, a character or a union, on the machine of origin and on the target.
struct Item {
  const Machine& source;
  const unsigned char* bytes;
  const Machine& target;
  unsigned char* targetBytes;

  // Return whether the number fits.
  bool Convert(FieldType type) const {
    const std::uint64_t number = GetNumberAt(bytes, source, type);
    PutNumberAt(targetBytes, target, type, number);
    return number <= GetLargest(target, type);
  }

  bool ConvertUnion(char kind) const {
    switch (kind) {
      case 'C':
        return Convert(FieldType::Long);
      case 'F':
        std::memcpy(targetBytes, bytes, VALUE_SIZE);
        if (source.order != target.order) {
          std::swap(targetBytes[2], targetBytes[3]);
          std::swap(targetBytes[6], targetBytes[7]);
        }
        return true;
      case 'T':
        std::memcpy(targetBytes, bytes, VALUE_SIZE);
        return true;
      default:
        return Convert(FieldType::Double);
    }
  }

  // What does not fit, and why.
  std::string Describe(const std::string& name, FieldType type) const {
    const bool isTime = type == FieldType::Time;
    const std::uint64_t number = GetNumberAt(bytes, source, isTime ? type : FieldType::Long);
    return name + ", " + std::to_string(number) +
           (isTime ? ", lies after January 2038, the end of the times of "
                   : ", does not fit into a number of ") +
           target.name;
  }
};

bool IsPrintable(char character) { return character >= ' ' && character <= '~'; }

std::string_view GetTextOf(std::string_view field) { return field.substr(0, field.find('\0')); }

bool HasZerosBehindText(std::string_view field) {
  return field.find_first_not_of('\0', GetTextOf(field).size()) == std::string_view::npos;
}

bool IsTerminated(std::string_view field) { return GetTextOf(field).size() < field.size(); }

bool IsPlausible(std::string_view field) {
  const std::string_view text = GetTextOf(field);
  return text.empty() ? HasZerosBehindText(field)
                      : std::all_of(text.begin(), text.end(), IsPrintable);
}

bool IsClean(std::string_view field) {
  return !GetTextOf(field).empty() && HasZerosBehindText(field);
}

}  // namespace

std::uint64_t Record::GetNumber(std::string_view name) const {
  std::uint64_t number = 0;
  VisitFields(machine, structure, [&](const Field& field, std::size_t offset) {
    if (field.name == name) {
      number = GetNumberAt(bytes + offset, machine, field.type);
    }
  });
  return number;
}

std::string_view Record::GetText(std::string_view name) const {
  std::string_view text;
  VisitFields(machine, structure, [&](const Field& field, std::size_t offset) {
    if (field.name == name) {
      text = GetTextOf({reinterpret_cast<const char*>(bytes) + offset, field.count});
    }
  });
  return text;
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

bool Record::AreTextsTerminated() const { return AreAllTexts(IsTerminated); }

bool Record::AreTextsPlausible() const { return AreAllTexts(IsPlausible); }

bool Record::AreTextsClean() const { return AreAllTexts(IsClean); }

std::string Record::ConvertTo(const Machine& target, std::string_view unions,
                              unsigned char* targetBytes) const {
  std::string misfit;
  const auto convert = [&](const Field& field, std::size_t index, const Item& item) {
    const FieldType type = field.type;
    const bool fits =
        type == FieldType::Union ? item.ConvertUnion(unions[index]) : item.Convert(type);
    // unreached: a second number of one record that does not fit
    if (!fits && misfit.empty()) {
      const std::string element = field.count == 1 ? "" : "[" + std::to_string(index) + "]";
      const std::string name = std::string(structure.name) + "." + std::string(field.name);
      misfit = item.Describe(name + element, type);
    }
  };
  VisitFields(machine, structure, [&](const Field& field, std::size_t offset) {
    const unsigned char* const first = bytes + offset;
    unsigned char* const targetFirst = targetBytes + OffsetOf(target, structure, field.name);
    for (std::size_t i = 0; i < field.count; ++i) {
      convert(field, i,
              {machine, first + i * SizeOf(machine, field.type), target,
               targetFirst + i * SizeOf(target, field.type)});
    }
  });
  return misfit;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
