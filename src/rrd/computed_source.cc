#include "rrd/computed_source.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

// One step of a formula. The parameters of the data source hold the formula.
struct Step {
  char operation;
  short operand;  // a number or the index of a data source
};

constexpr char VARIABLE = 1;
constexpr char END = 32;

// Ranges of operator numbers, as files have them: the first and the last.
struct Operators {
  char first;
  char last;
};

constexpr Operators SAFE_OPERATORS[] = {
    {0, 2},    // NUMBER, VARIABLE, INF
    {4, 6},    // NEGINF, UNKN, NOW
    {8, 31},   // ADD to UN: arithmetic, comparisons, DUP, EXC, POP, IF, MIN, MAX, LIMIT
    {34, 35},  // NE, ISINF
    {38, 39},  // ATAN, SQRT
    {44, 46},  // ATAN2, RAD2DEG, DEG2RAD
    {50, 53},  // ABS, ADDNAN, MINNAN, MAXNAN
    {69, 69},  // POW
};

bool IsSafeOperator(char operation) {
  return std::any_of(
      std::begin(SAFE_OPERATORS), std::end(SAFE_OPERATORS),
      [&](const Operators& safe) { return safe.first <= operation && operation <= safe.last; });
}

}  // namespace

bool IsComputed(const ds_def_t& source) { return std::strcmp(source.dst, "COMPUTE") == 0; }

bool IsFormulaSafe(const ds_def_t& source, unsigned long index) {
  constexpr std::size_t SIZE = sizeof source.par;
  Step steps[SIZE / sizeof(Step)];
  std::memcpy(steps, source.par, SIZE);
  if (steps[0].operation == END) {
    return false;
  }
  for (const Step& step : steps) {
    if (step.operation == END) {
      return true;
    }
    const bool isSourceKnown =
        step.operand >= 0 && static_cast<unsigned long>(step.operand) < index;
    if (!IsSafeOperator(step.operation) || (step.operation == VARIABLE && !isSourceKnown)) {
      return false;
    }
  }
  return false;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
