#pragma once

// RRD files of version 0001 to 0005 on any machine.
//
// A file is a sequence of the structures of RRDtool's rrd_format.h as the compiler of the machine
// lays them out, followed by the archived values. All of it is in tables: LAYOUTS has the widths of
// the machines, the tables of fields have the structures, and two tables of types say what the
// unions of the structures are. Sizes and offsets are computed as a C compiler does: a number lies
// at a multiple of its alignment, and a structure ends at a multiple of its largest alignment.
//
//   stat_head_t  1
//   ds_def_t     ds_cnt
//   rra_def_t    rra_cnt
//   live_head_t  1                 before version 0003, the time alone
//   pdp_prep_t   ds_cnt
//   cdp_prep_t   ds_cnt * rra_cnt
//   rra_ptr_t    rra_cnt
//   double       ds_cnt * the sum of row_cnt of all archives
//
//                 32bit time32  32bit time64  i386  i386-time64  64bit
//   stat_head_t            120           120   112          112    128
//     float_cookie          16            16    12           12     16
//     ds_cnt                24            24    20           20     24
//   ds_def_t               120           120   120          120    120
//   rra_def_t              112           112   108          108    120
//   live_head_t              8            16     8           12     16
//     before 0003            4             8     4            8      8
//   pdp_prep_t             112           112   112          112    112
//   cdp_prep_t              80            80    80           80     80
//   rra_ptr_t                4             4     4            4      8

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
  ByteOrder order;
  const char* name;
  std::size_t longSize;
  std::size_t timeSize;
  std::size_t doubleAlignment;  // that of every number of eight bytes
};

inline constexpr Machine LAYOUTS[] = {
    {Layout::Arm32Time32, ByteOrder::LowFirst, "arm32-time32", 4, 4, 8},
    {Layout::Arm32Time64, ByteOrder::LowFirst, "arm32-time64", 4, 8, 8},
    {Layout::I386, ByteOrder::LowFirst, "i386", 4, 4, 4},
    {Layout::Bits64, ByteOrder::LowFirst, "64bit", 8, 8, 8},
    {Layout::I386Time64, ByteOrder::LowFirst, "i386-time64", 4, 8, 4},
    {Layout::Bits32HighFirst, ByteOrder::HighFirst, "32bit, high byte first", 4, 4, 8},
    {Layout::Bits32HighFirstTime64, ByteOrder::HighFirst,
     "32bit with 64-bit time_t, high byte first", 4, 8, 8},
    {Layout::Bits64HighFirst, ByteOrder::HighFirst, "64bit, high byte first", 8, 8, 8},
};

// Files are converted from every layout, and to those of the machines that are still built.
constexpr bool IsTarget(const Machine& machine) { return machine.order == ByteOrder::LowFirst; }

enum class FieldType {
  Text,    // bytes, of which the last is NUL
  Long,    // unsigned long
  Time,    // time_t
  Double,  // eight bytes on every machine
  Union,   // of a double and an unsigned long: eight bytes as well
};

struct Field {
  std::string_view name;
  FieldType type;
  std::size_t count = 1;
};

// A name and a view of a table of fields.
struct Structure {
  template <std::size_t Count>
  constexpr Structure(const char* name, const Field (&table)[Count])
      : name(name), fields(table), fieldCount(Count) {}

  constexpr const Field* begin() const { return fields; }
  constexpr const Field* end() const { return fields + fieldCount; }

  const char* name;
  const Field* fields;
  std::size_t fieldCount;
};

inline constexpr Field STAT_HEAD_FIELDS[] = {
    {"cookie", FieldType::Text, 4},      {"version", FieldType::Text, 5},
    {"float_cookie", FieldType::Double},  // FLOAT_COOKIE
    {"ds_cnt", FieldType::Long},          // data sources
    {"rra_cnt", FieldType::Long},         // archives
    {"pdp_step", FieldType::Long},        // seconds
    {"par", FieldType::Union, 10},
};
inline constexpr Field DS_DEF_FIELDS[] = {
    {"ds_nam", FieldType::Text, 20},
    {"dst", FieldType::Text, 20},
    {"par", FieldType::Union, 10},
};
inline constexpr Field RRA_DEF_FIELDS[] = {
    {"cf_nam", FieldType::Text, 20},
    {"row_cnt", FieldType::Long},  // rows, of one value per data source
    {"pdp_cnt", FieldType::Long},  // steps of a row
    {"par", FieldType::Union, 10},
};
inline constexpr Field LIVE_HEAD_FIELDS[] = {
    {"last_up", FieldType::Time},       // seconds since the epoch
    {"last_up_usec", FieldType::Long},  // microseconds
};
inline constexpr Field OLD_LIVE_HEAD_FIELDS[] = {{"last_up", FieldType::Time}};
inline constexpr Field PDP_PREP_FIELDS[] = {
    {"last_ds", FieldType::Text, 30},  // the last reading
    {"scratch", FieldType::Union, 10},
};
inline constexpr Field CDP_PREP_FIELDS[] = {{"scratch", FieldType::Union, 10}};
inline constexpr Field RRA_PTR_FIELDS[] = {{"cur_row", FieldType::Long}};

inline constexpr Structure STAT_HEAD("stat_head", STAT_HEAD_FIELDS);
inline constexpr Structure DS_DEF("ds_def", DS_DEF_FIELDS);
inline constexpr Structure RRA_DEF("rra_def", RRA_DEF_FIELDS);
inline constexpr Structure LIVE_HEAD("live_head", LIVE_HEAD_FIELDS);
inline constexpr Structure OLD_LIVE_HEAD("live_head", OLD_LIVE_HEAD_FIELDS);
inline constexpr Structure PDP_PREP("pdp_prep", PDP_PREP_FIELDS);
inline constexpr Structure CDP_PREP("cdp_prep", CDP_PREP_FIELDS);
inline constexpr Structure RRA_PTR("rra_ptr", RRA_PTR_FIELDS);

inline constexpr char COOKIE[] = "RRD";
inline constexpr double FLOAT_COOKIE = 8.642135E130;

struct Version {
  const char* name;
  Structure liveHead;
};

inline constexpr Version VERSIONS[] = {
    {"0001", OLD_LIVE_HEAD}, {"0002", OLD_LIVE_HEAD}, {"0003", LIVE_HEAD},
    {"0004", LIVE_HEAD},     {"0005", LIVE_HEAD},
};

// The type of a data source or the function of an archive, and what the ten unions are in `par` of
// its definition and in `scratch` of its state. One letter for each union:
//
//   D  a double
//   C  an unsigned long in the first bytes, whatever the byte order; a narrow one does not use the
//      others
//   F  two operations of a formula, each of a char and, in its last two bytes, a short
//   T  characters
//   -  nothing; it is copied like a double
struct RrdType {
  std::string_view name;
  std::string_view par;
  std::string_view scratch;
};

inline constexpr RrdType SOURCE_TYPES[] = {
    // par: heartbeat, minimum, maximum. scratch: unknown seconds, value.
    {"GAUGE", "CDD-------", "CD--------"},    {"COUNTER", "CDD-------", "CD--------"},
    {"DERIVE", "CDD-------", "CD--------"},   {"ABSOLUTE", "CDD-------", "CD--------"},
    {"DCOUNTER", "CDD-------", "CD--------"}, {"DDERIVE", "CDD-------", "CD--------"},
    {"COMPUTE", "FFFFFFFFFF", "CD--------"},
};

inline constexpr RrdType ARCHIVE_TYPES[] = {
    // par: xff.
    {"AVERAGE", "D---------", "DCDDDDCCDD"},
    {"MIN", "D---------", "DCDDDDCCDD"},
    {"MAX", "D---------", "DCDDDDCCDD"},
    {"LAST", "D---------", "DCDDDDCCDD"},
    // par: -, alpha, beta, dependent archive, period.
    {"HWPREDICT", "-DDCD-----", "DCDDDDCCDD"},
    {"MHWPREDICT", "-DDCD-----", "DCDDDDCCDD"},
    // par: -, gamma, smoothing window, dependent archive, smooth index.
    {"SEASONAL", "-DDCC-----", "DCDDDDCCDD"},
    {"DEVSEASONAL", "-DDCC-----", "DCDDDDCCDD"},
    {"DEVPREDICT", "---C------", "DCDDDDCCDD"},
    // par: -, delta above and below, dependent archive, window, threshold. scratch: the history.
    {"FAILURES", "-DDCCC----", "TTTTTTTTDD"},
};

// For the unions of the first structure, and for structures without.
inline constexpr std::string_view NO_UNIONS = "----------";

// Null for a name that is in no row.
template <std::size_t Count>
constexpr const RrdType* FindType(const RrdType (&types)[Count], std::string_view name) {
  for (const RrdType& type : types) {
    if (type.name == name) {
      return &type;
    }
  }
  return nullptr;
}

// Null for a version that is not known.
constexpr const Version* FindVersion(std::string_view name) {
  for (const Version& version : VERSIONS) {
    if (version.name == name) {
      return &version;
    }
  }
  return nullptr;
}

constexpr std::size_t SizeOf(const Machine& machine, FieldType type) {
  switch (type) {
    case FieldType::Long:
      return machine.longSize;
    case FieldType::Time:
      return machine.timeSize;
    case FieldType::Text:
      return 1;
    default:
      return VALUE_SIZE;
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
