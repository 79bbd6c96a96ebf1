#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/layout_table.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

// A structure as a machine laid it out, in memory that is the caller's.
class Record {
 public:
  Record(const Machine& machine, const Structure& structure, const unsigned char* bytes)
      : machine(machine), structure(structure), bytes(bytes) {}

  // Of a long, a time or the bits of a double; 0 for a field that the structure does not have.
  std::uint64_t GetNumber(std::string_view name) const;

  // Up to its NUL or the end of the field.
  std::string_view GetText(std::string_view name) const;

  // Whether each text ends within its field.
  bool AreTextsTerminated() const;

  // Whether each text is printable, and no empty one has anything behind its NUL, as if it began
  // elsewhere.
  bool AreTextsPlausible() const;

  // Whether each text has characters, and nothing but zeros behind them, as RRDtool writes it.
  bool AreTextsClean() const;

  // Fills in a structure of another machine, whose bytes are zero. A number of another width is
  // widened without sign. `unions` tells of what kind the unions are, as in RrdType. Returns what
  // does not fit, or nothing.
  std::string ConvertTo(const Machine& target, std::string_view unions,
                        unsigned char* targetBytes) const;

 private:
  template <typename Predicate>
  bool AreAllTexts(Predicate isRight) const;

  const Machine& machine;
  const Structure& structure;
  const unsigned char* bytes;
};

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
