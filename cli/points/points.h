#pragma once

#include <functional>
#include <limits>
#include <vector>

namespace nvx::TimeSeriesDatabase::CommandLine {

// What a function makes of an interval, or a sample itself.
struct Value {
  double number = std::numeric_limits<double>::quiet_NaN();  // NaN when it is missing
  bool isGood = false;
  bool isAsked = true;  // false where only other functions have a point of this date
};

// Some of the points of an answer, in the order of their times; those of one time are a row. Memory
// is bounded by the length of a piece, however long the answer is.
class Piece {
 public:
  explicit Piece(std::size_t functionCount) : columnCount(functionCount) {}

  // At least one, where a piece is handed over.
  std::size_t GetRowCount() const { return times.size(); }
  std::size_t GetColumnCount() const { return columnCount; }

  // Seconds since the epoch, of a sample or of the start of an interval.
  long long GetTime(std::size_t row) const { return times[row]; }

  // A value for each function, in their order.
  const Value* GetRow(std::size_t row) const { return values.data() + row * columnCount; }

  // Whether every value of a row is good.
  bool IsGood(std::size_t row) const {
    for (std::size_t i = 0; i < columnCount; ++i) {
      const Value& value = GetRow(row)[i];
      if (value.isAsked && !value.isGood) {
        return false;
      }
    }
    return true;
  }

  void AddTime(long long time) { times.push_back(time); }
  void AddValue(const Value& value) { values.push_back(value); }

  void SetAllBad() {
    for (Value& value : values) {
      value.isGood = false;
    }
  }

 private:
  std::size_t columnCount;
  std::vector<long long> times;
  std::vector<Value> values;  // row by row
};

// Takes the pieces in the order of their times; false when it wants no more of them.
using PieceConsumer = std::function<bool(const Piece&)>;

}  // namespace nvx::TimeSeriesDatabase::CommandLine
