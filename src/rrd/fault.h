#pragma once

#include <string_view>

#include "timeseries/failure.h"

// The faults of a file that a caller of the library can tell apart.
namespace nvx::TimeSeriesDatabase::Rrd {

// The RRD library's words for a file that another process has locked.
inline constexpr char LOCK_FAULT[] = "could not lock RRD";

inline constexpr char CUT_OFF_FAULT[] = "its values are cut off";

inline constexpr char PERMISSION_FAULT[] =
    "an interrupted update is to be undone, which needs write permission";

// Of a journal; an errno may follow the first one.
inline constexpr char JOURNAL_CLOSED_FAULT[] = "its journal cannot be opened";
inline constexpr char JOURNAL_READ_FAULT[] = "its journal cannot be read";
inline constexpr char JOURNAL_SHAPE_FAULT[] = "its journal is no regular file with one name";
inline constexpr char JOURNAL_OWNER_FAULT[] = "its journal belongs to another user";

// The kind of a failure with this fault.
inline FailureKind FindKind(std::string_view fault) {
  constexpr struct {
    std::string_view words;
    FailureKind kind;
  } KNOWN[] = {
      {LOCK_FAULT, FailureKind::Locked},
      {CUT_OFF_FAULT, FailureKind::CutOff},
      {PERMISSION_FAULT, FailureKind::NotUndone},
      {JOURNAL_CLOSED_FAULT, FailureKind::BadJournal},
      {JOURNAL_READ_FAULT, FailureKind::BadJournal},
      {JOURNAL_SHAPE_FAULT, FailureKind::BadJournal},
      {JOURNAL_OWNER_FAULT, FailureKind::BadJournal},
  };
  for (const auto& known : KNOWN) {
    if (fault.substr(0, known.words.size()) == known.words) {
      return known.kind;
    }
  }
  return FailureKind::Other;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
