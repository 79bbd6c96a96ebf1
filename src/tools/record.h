#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/layout_table.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {

// A structure as a machine laid it out, in the caller's memory.
class Record {
 public:
  Record(const Machine& machine, const Structure& structure, const unsigned char* bytes)
      : machine(machine), structure(structure), bytes(bytes) {}

  // The value of a long or a time, or the bits of a double; 0 where the structure lacks the field.
  std::uint64_t GetNumber(std::string_view name) const;

  // The text up to its NUL or the end of the field.
  std::string_view GetText(std::string_view name) const;

  // Whether each text ends within its field.
  bool AreTextsTerminated() const;

  // Whether each text is printable, and no empty one has bytes after its NUL: such a text would
  // begin elsewhere.
  bool AreTextsPlausible() const;

  // Whether each text has characters, followed by zeros alone, as RRDtool writes it.
  bool AreTextsClean() const;

  // Fills in a structure of another machine, whose bytes are zero. Numbers are widened without
  // sign. `unions` has the kinds of the unions, as in RrdType. Returns what does not fit, or
  // nothing.
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
