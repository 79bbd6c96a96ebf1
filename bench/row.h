#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Bench {

// One of the two ways to do a piece of work.
struct Side {
  std::function<void()> work;
  std::function<void()> prepare = {};  // runs before each time and is not measured
};

struct Contest {
  Side ours;
  Side theirs;
};

// The goal of a row.
struct Goal {
  enum class Kind {
    AtMost,            // this many times their time
    TimesFaster,       // their time at least this many times ours
    NanosecondsAPoint  // at most their time plus this for each point
  };
  Kind kind;
  double limit;
  double pointCount = 1;
};

inline Goal AtMost(double ratio) { return {Goal::Kind::AtMost, ratio}; }
inline Goal TimesFaster(double ratio) { return {Goal::Kind::TimesFaster, ratio}; }
inline Goal NanosecondsAPoint(double limit, double pointCount) {
  return {Goal::Kind::NanosecondsAPoint, limit, pointCount};
}

// A row of the table. `enter` builds what both sides need, and compares their results before
// anything is timed; it throws NotHere when the machine lacks the rival.
struct Row {
  std::string work;
  std::string rival;
  Goal goal;
  std::function<Contest()> enter;
  double rowCount = 0;  // of the answer, where its rate is of interest
};

struct NotHere {
  std::string reason;
};

// Measures a row, and prints it as a line of the table of HEADINGS.
void PrintRow(const Row& row);

extern const char* const HEADINGS;

// Ends the process where a result is not right: a wrong one is not worth timing.
void Require(bool isRight, const char* what);

// Runs a command, which must succeed. Its memory counts for its side.
void RunCommand(const std::vector<std::string>& arguments);

// The rows, by what they compare.
std::vector<Row> ListQueryRows();
std::vector<Row> ListSqlRows();
std::vector<Row> ListStorageRows();
std::vector<Row> ListCatalogueRows();
std::vector<Row> ListCommandRows();

}  // namespace Bench
