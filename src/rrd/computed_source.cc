#include "rrd/computed_source.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

constexpr char COMPUTED_TYPE[] = "COMPUTE";

// A step of a formula, which is stored in the parameters of the data source.
struct Step {
  char operation;
  short operand;  // a number or the index of a data source
};

// The operators as files number them, those of a formula that may be computed.
enum Operator : char {
  NUMBER = 0,
  VARIABLE = 1,
  INF = 2,
  NEGINF = 4,
  UNKN = 5,
  NOW = 6,
  ADD = 8,  // MOD, SUB, MUL, DIV, SIN, DUP, EXC, POP, COS, LOG, EXP, LT, LE, GT, GE, EQ, IF, MIN,
            // MAX, LIMIT, FLOOR and CEIL follow
  UN = 31,
  END = 32,
  NE = 34,
  ISINF = 35,
  ATAN = 38,
  SQRT = 39,
  ATAN2 = 44,
  RAD2DEG = 45,
  DEG2RAD = 46,
  ABS = 50,
  ADDNAN = 51,
  MINNAN = 52,
  MAXNAN = 53,
  POW = 69,
};

bool IsSafeOperator(char operation) {
  constexpr Operator OTHERS[] = {NUMBER,  VARIABLE, INF,    NEGINF, UNKN,   NOW,
                                 NE,      ISINF,    ATAN,   SQRT,   ATAN2,  RAD2DEG,
                                 DEG2RAD, ABS,      ADDNAN, MINNAN, MAXNAN, POW};
  return (ADD <= operation && operation <= UN) ||
         std::find(std::begin(OTHERS), std::end(OTHERS), operation) != std::end(OTHERS);
}

}  // namespace

bool IsComputed(const ds_def_t& source) { return std::strcmp(source.dst, COMPUTED_TYPE) == 0; }

bool IsFormulaSafe(const ds_def_t& source, unsigned long index) {
  Step steps[sizeof(source.par) / (sizeof(Step))];
  std::memcpy(steps, source.par, sizeof steps);
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
