#pragma once

#include <map>
#include <string>
#include <vector>

#include "samples.h"

struct duckdb_result;

namespace Bench {

// A database of DuckDB in a file, computing with one thread. Its library is loaded from the path in
// the environment variable NVX_BENCH_DUCKDB; without it, a DuckDb throws NotHere.
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

  static const Library& GetLibrary();
  duckdb_result Execute(const std::string& statement);

  Directory directory;
  const Library& library;
  void* database = nullptr;
  void* connection = nullptr;
};

}  // namespace Bench
