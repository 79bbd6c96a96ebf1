#pragma once

#include <cstdint>
#include <string_view>

#include "tools/layout_table.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

// A structure as a machine laid it out, in memory that is the caller's.
class Record {
 public:
  Record(const Machine& machine, const Structure& structure, const unsigned char* bytes)
      : machine(machine), structure(structure), bytes(bytes) {}

  // Of a long, a time or the bits of a double.
  std::uint64_t GetNumber(std::string_view name) const;

  // Whether each text ends within its field.
  bool AreTextsTerminated() const;

  // Whether each text has characters, all printable, and nothing but zeros behind them, as RRDtool
  // writes it.
  bool AreTextsClean() const;

  // Fills in a structure of another machine, whose bytes are zero. A number of another width is
  // widened without sign. Both machines have the low byte first. Returns the name of the first
  // number that does not fit, or nothing.
  std::string_view ConvertTo(const Machine& target, unsigned char* targetBytes) const;

 private:
  template <typename Predicate>
  bool AreAllTexts(Predicate isRight) const;

  const Machine& machine;
  Structure structure;
  const unsigned char* bytes;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
