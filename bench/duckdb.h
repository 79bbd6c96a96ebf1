#pragma once

#include <memory>
#include <string>
#include <vector>

#include "samples.h"

namespace Bench {

// A database of DuckDB in a file, computing with one thread. Its library is loaded from the path in
// the environment variable NVX_BENCH_DUCKDB; throws NotHere without it.
class DuckDb {
 public:
  DuckDb();
  DuckDb(const DuckDb&) = delete;
  DuckDb& operator=(const DuckDb&) = delete;
  ~DuckDb();

  void Run(const std::string& statement);

  // The answer's first column, whole numbers of 64 bits, and second, doubles.
  std::vector<Bucket> Query(const std::string& query);

  // Appends a row to a table of a column of whole numbers of 64 bits and one of doubles.
  void Append(const std::string& table, const std::map<long long, double>& samples);

 private:
  struct Library;
  struct State;

  Directory directory;
  const Library& library;
  std::unique_ptr<State> state;
};

}  // namespace Bench
