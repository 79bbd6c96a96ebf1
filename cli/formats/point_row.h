#pragma once

#include <algorithm>
#include <vector>

#include "points/points.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// "good" or "bad".
inline const char* GetQualityText(bool quality) { return quality ? "good" : "bad"; }

// The points of one date, one for each column; null where a column has none.
using Row = std::vector<const NumericalDataPoint*>;

// Calls `work` with each date and its row, in the order of the dates.
template <typename Work>
void ForEachRow(const std::vector<const Points*>& columns, Work work) {
  std::vector<std::size_t> positions(columns.size());
  Row row(columns.size());
  for (;;) {
    const Date::Date* date = nullptr;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      row[i] = positions[i] < columns[i]->size() ? &(*columns[i])[positions[i]] : nullptr;
      if (row[i] != nullptr && (date == nullptr || row[i]->date.timestamp < date->timestamp)) {
        date = &row[i]->date;
      }
    }
    if (date == nullptr) {
      return;
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (row[i] != nullptr && row[i]->date.timestamp == date->timestamp) {
        ++positions[i];
      } else {
        row[i] = nullptr;
      }
    }
    work(*date, row);
  }
}

// Whether every point of a row is good.
inline bool IsGood(const Row& row) {
  return std::all_of(row.begin(), row.end(),
                     [](const auto* point) { return point == nullptr || point->quality; });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
