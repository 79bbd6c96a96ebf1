#pragma once

// RRD files of version 0003 to 0005 on any machine.
//
// A file is a sequence of the structures of RRDtool's rrd_format.h as the compiler of the machine
// lays them out, and then the archived values. Two tables say all of it: LAYOUTS has the widths of
// the machines, and the tables of fields have the structures. Sizes and offsets follow as a C
// compiler finds them: a number lies at a multiple of its alignment, and a structure ends at a
// multiple of its largest.
//
//   stat_head_t  1
//   ds_def_t     ds_cnt
//   rra_def_t    rra_cnt
//   live_head_t  1
//   pdp_prep_t   ds_cnt
//   cdp_prep_t   ds_cnt * rra_cnt
//   rra_ptr_t    rra_cnt
//   double       ds_cnt * the sum of row_cnt of all archives
//
//                 arm32-time32  arm32-time64  i386  64bit
//   stat_head_t            120           120   112    128
//     float_cookie          16            16    12     16
//     ds_cnt                24            24    20     24
//   ds_def_t               120           120   120    120
//   rra_def_t              112           112   108    120
//   live_head_t              8            16     8     16
//   pdp_prep_t             112           112   112    112
//   cdp_prep_t              80            80    80     80
//   rra_ptr_t                4             4     4      8

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "timeseries/rrd/tool/layout.h"
#include "tools/rrd_layout.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

enum class ByteOrder { LowFirst, HighFirst };

struct Machine {
  Layout layout;
  const char* name;
  std::size_t longSize;
  std::size_t timeSize;
  std::size_t doubleAlignment;  // that of every number of eight bytes
  ByteOrder order;
  bool isSource;  // whether its files are converted
  bool isTarget;  // whether files are converted for it
};

inline constexpr Machine LAYOUTS[] = {
    {Layout::Arm32Time32, "arm32-time32", 4, 4, 8, ByteOrder::LowFirst, true, false},
    {Layout::Arm32Time64, "arm32-time64", 4, 8, 8, ByteOrder::LowFirst, true, true},
    {Layout::I386, "i386", 4, 4, 4, ByteOrder::LowFirst, true, false},
    {Layout::Bits64, "64bit", 8, 8, 8, ByteOrder::LowFirst, true, true},
    // Known so that its files are not taken for those of i386 with an unused word.
    {Layout::I386Time64, "i386-time64", 4, 8, 4, ByteOrder::LowFirst, false, false},
    {Layout::Bits32HighFirst, "32bit, high byte first", 4, 4, 8, ByteOrder::HighFirst, false,
     false},
    {Layout::Bits32HighFirstTime64, "32bit with 64-bit time_t, high byte first", 4, 8, 8,
     ByteOrder::HighFirst, false, false},
    {Layout::Bits64HighFirst, "64bit, high byte first", 8, 8, 8, ByteOrder::HighFirst, false,
     false},
};

enum class FieldType {
  Text,   // bytes, of which the last is NUL
  Long,   // unsigned long
  Time,   // time_t
  Eight,  // double, or a union of double and unsigned long: eight bytes on every machine
};

struct Field {
  std::string_view name;
  FieldType type;
  std::size_t count = 1;
};

// A view of a table of fields.
struct Structure {
  template <std::size_t Count>
  constexpr Structure(const Field (&table)[Count])  // NOLINT(google-explicit-constructor)
      : fields(table), fieldCount(Count) {}

  constexpr const Field* begin() const { return fields; }
  constexpr const Field* end() const { return fields + fieldCount; }

  const Field* fields;
  std::size_t fieldCount;
};

inline constexpr Field STAT_HEAD[] = {
    {"cookie", FieldType::Text, 4},     {"version", FieldType::Text, 5},
    {"float_cookie", FieldType::Eight},  // FLOAT_COOKIE
    {"ds_cnt", FieldType::Long},         // data sources
    {"rra_cnt", FieldType::Long},        // archives
    {"pdp_step", FieldType::Long},       // seconds
    {"par", FieldType::Eight, 10},
};
inline constexpr Field DS_DEF[] = {
    {"ds_nam", FieldType::Text, 20},
    {"dst", FieldType::Text, 20},
    {"par", FieldType::Eight, 10},
};
inline constexpr Field RRA_DEF[] = {
    {"cf_nam", FieldType::Text, 20},
    {"row_cnt", FieldType::Long},  // rows, of one value per data source
    {"pdp_cnt", FieldType::Long},  // steps of a row
    {"par", FieldType::Eight, 10},
};
inline constexpr Field LIVE_HEAD[] = {
    {"last_up", FieldType::Time},       // seconds since the epoch
    {"last_up_usec", FieldType::Long},  // microseconds
};
inline constexpr Field PDP_PREP[] = {
    {"last_ds", FieldType::Text, 30},  // the last reading
    {"scratch", FieldType::Eight, 10},
};
inline constexpr Field CDP_PREP[] = {{"scratch", FieldType::Eight, 10}};
inline constexpr Field RRA_PTR[] = {{"cur_row", FieldType::Long}};

inline constexpr char COOKIE[] = "RRD";
inline constexpr double FLOAT_COOKIE = 8.642135E130;
inline constexpr const char* VERSIONS[] = {"0003", "0004", "0005"};

constexpr std::size_t SizeOf(const Machine& machine, FieldType type) {
  switch (type) {
    case FieldType::Long:
      return machine.longSize;
    case FieldType::Time:
      return machine.timeSize;
    case FieldType::Eight:
      return VALUE_SIZE;
    default:
      return 1;
  }
}

constexpr std::size_t AlignmentOf(const Machine& machine, FieldType type) {
  return std::min(SizeOf(machine, type), machine.doubleAlignment);
}

constexpr std::size_t RoundUp(std::size_t size, std::size_t alignment) {
  return (size + alignment - 1) / alignment * alignment;
}

// Calls visit(field, offset) for each field of a structure and returns the size of the structure.
template <typename Visitor>
constexpr std::size_t VisitFields(const Machine& machine, const Structure& structure,
                                  Visitor visit) {
  std::size_t offset = 0;
  std::size_t alignment = 1;
  for (const Field& field : structure) {
    const std::size_t fieldAlignment = AlignmentOf(machine, field.type);
    offset = RoundUp(offset, fieldAlignment);
    visit(field, offset);
    offset += field.count * SizeOf(machine, field.type);
    alignment = std::max(alignment, fieldAlignment);
  }
  return RoundUp(offset, alignment);
}

constexpr std::size_t SizeOf(const Machine& machine, const Structure& structure) {
  return VisitFields(machine, structure, [](const Field&, std::size_t) {});
}

constexpr std::size_t OffsetOf(const Machine& machine, const Structure& structure,
                               std::string_view name) {
  std::size_t found = 0;
  VisitFields(machine, structure, [&](const Field& field, std::size_t offset) {
    found = field.name == name ? offset : found;
  });
  return found;
}

constexpr std::size_t MAX_STRUCTURE_SIZE = 128;

constexpr const Machine& GetMachine(Layout layout) {
  const Machine* machine = LAYOUTS;
  while (machine->layout != layout) {
    ++machine;
  }
  return *machine;
}

// The sizes and offsets of rrd_layout.h, which are measured.
constexpr bool MatchesArm(const Machine& machine, std::size_t liveHeadSize) {
  return SizeOf(machine, STAT_HEAD) == sizeof(stat_head_t) &&
         OffsetOf(machine, STAT_HEAD, "version") == offsetof(stat_head_t, version) &&
         OffsetOf(machine, STAT_HEAD, "float_cookie") == offsetof(stat_head_t, float_cookie) &&
         OffsetOf(machine, STAT_HEAD, "ds_cnt") == offsetof(stat_head_t, ds_cnt) &&
         OffsetOf(machine, STAT_HEAD, "rra_cnt") == offsetof(stat_head_t, rra_cnt) &&
         OffsetOf(machine, STAT_HEAD, "pdp_step") == offsetof(stat_head_t, pdp_step) &&
         OffsetOf(machine, STAT_HEAD, "par") == offsetof(stat_head_t, par) &&
         SizeOf(machine, DS_DEF) == sizeof(ds_def_t) &&
         SizeOf(machine, RRA_DEF) == sizeof(rra_def_t) &&
         OffsetOf(machine, RRA_DEF, "row_cnt") == offsetof(rra_def_t, row_cnt) &&
         OffsetOf(machine, RRA_DEF, "pdp_cnt") == offsetof(rra_def_t, pdp_cnt) &&
         OffsetOf(machine, RRA_DEF, "par") == offsetof(rra_def_t, par) &&
         SizeOf(machine, LIVE_HEAD) == liveHeadSize &&
         SizeOf(machine, PDP_PREP) == sizeof(pdp_prep_t) &&
         SizeOf(machine, CDP_PREP) == sizeof(cdp_prep_t) &&
         SizeOf(machine, RRA_PTR) == sizeof(rra_ptr_t);
}
static_assert(MatchesArm(GetMachine(Layout::Arm32Time32), sizeof(legacy_live_head_t)));
static_assert(MatchesArm(GetMachine(Layout::Arm32Time64), sizeof(live_head_t)));
static_assert(OffsetOf(GetMachine(Layout::Arm32Time32), LIVE_HEAD, "last_up_usec") ==
              offsetof(legacy_live_head_t, last_up_usec));
static_assert(OffsetOf(GetMachine(Layout::Arm32Time64), LIVE_HEAD, "last_up_usec") ==
              offsetof(live_head_t, last_up_usec));
static_assert(SizeOf(GetMachine(Layout::Bits64), STAT_HEAD) == MAX_STRUCTURE_SIZE);

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
