#include "duckdb.h"

#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>

#include "row.h"

// The functions that we call of DuckDB's C interface. No package has its header.
extern "C" {
struct duckdb_result {
  std::uint64_t unused[3];
  void* unusedColumns;
  char* unusedMessage;
  void* internal;
};
using Handle = void*;
}

namespace Bench {
namespace {

constexpr int SUCCESS = 0;

template <typename Function>
void Load(void* library, const char* name, Function*& function) {
  function = reinterpret_cast<Function*>(dlsym(library, name));
  Require(function != nullptr, name);
}

}  // namespace

struct DuckDb::Library {
  Library() {
    const char* const path = std::getenv("NVX_BENCH_DUCKDB");  // NOLINT(concurrency-mt-unsafe)
    void* const loaded = path == nullptr || *path == '\0' ? nullptr : dlopen(path, RTLD_NOW);
    if (loaded == nullptr) {
      throw NotHere{"no library of DuckDB"};
    }
    Load(loaded, "duckdb_open", open);
    Load(loaded, "duckdb_close", close);
    Load(loaded, "duckdb_connect", connect);
    Load(loaded, "duckdb_disconnect", disconnect);
    Load(loaded, "duckdb_query", query);
    Load(loaded, "duckdb_result_error", resultError);
    Load(loaded, "duckdb_destroy_result", destroyResult);
    Load(loaded, "duckdb_fetch_chunk", fetchChunk);
    Load(loaded, "duckdb_destroy_data_chunk", destroyChunk);
    Load(loaded, "duckdb_data_chunk_get_size", getChunkSize);
    Load(loaded, "duckdb_data_chunk_get_vector", getVector);
    Load(loaded, "duckdb_vector_get_data", getData);
    Load(loaded, "duckdb_appender_create", createAppender);
    Load(loaded, "duckdb_append_int64", appendNumber);
    Load(loaded, "duckdb_append_double", appendDouble);
    Load(loaded, "duckdb_appender_end_row", endRow);
    Load(loaded, "duckdb_appender_destroy", destroyAppender);
  }

  int (*open)(const char* path, Handle* database);
  void (*close)(Handle* database);
  int (*connect)(Handle database, Handle* connection);
  void (*disconnect)(Handle* connection);
  int (*query)(Handle connection, const char* text, duckdb_result* result);
  const char* (*resultError)(duckdb_result* result);
  void (*destroyResult)(duckdb_result* result);
  Handle (*fetchChunk)(duckdb_result result);
  void (*destroyChunk)(Handle* chunk);
  std::uint64_t (*getChunkSize)(Handle chunk);
  Handle (*getVector)(Handle chunk, std::uint64_t column);
  void* (*getData)(Handle vector);
  int (*createAppender)(Handle connection, const char* schema, const char* table, Handle* appender);
  int (*appendNumber)(Handle appender, std::int64_t number);
  int (*appendDouble)(Handle appender, double number);
  int (*endRow)(Handle appender);
  int (*destroyAppender)(Handle* appender);
};

const DuckDb::Library& DuckDb::GetLibrary() {
  static const Library library;
  return library;
}

DuckDb::DuckDb() : library(GetLibrary()) {
  Require(library.open(directory.GetPath("samples.duckdb").c_str(), &database) == SUCCESS &&
              library.connect(database, &connection) == SUCCESS,
          "opening DuckDB");
  Run("SET threads = 1");
}

DuckDb::~DuckDb() {
  library.disconnect(&connection);
  library.close(&database);
}

void DuckDb::Run(const std::string& statement) {
  duckdb_result result = Execute(statement);
  library.destroyResult(&result);
}

duckdb_result DuckDb::Execute(const std::string& statement) {
  duckdb_result result;
  const int status = library.query(connection, statement.c_str(), &result);
  Require(status == SUCCESS, status == SUCCESS ? "" : library.resultError(&result));
  return result;
}

std::vector<Bucket> DuckDb::Query(const std::string& query) {
  duckdb_result result = Execute(query);
  std::vector<Bucket> buckets;
  for (Handle chunk = library.fetchChunk(result); chunk != nullptr;
       chunk = library.fetchChunk(result)) {
    const auto* const starts =
        static_cast<const std::int64_t*>(library.getData(library.getVector(chunk, 0)));
    const auto* const averages =
        static_cast<const double*>(library.getData(library.getVector(chunk, 1)));
    for (std::uint64_t i = 0; i < library.getChunkSize(chunk); ++i) {
      buckets.push_back({starts[i], averages[i]});
    }
    library.destroyChunk(&chunk);
  }
  library.destroyResult(&result);
  return buckets;
}

void DuckDb::Append(const std::string& table, const std::map<long long, double>& samples) {
  Handle appender = nullptr;
  bool isDone = library.createAppender(connection, nullptr, table.c_str(), &appender) == SUCCESS;
  for (const auto& [time, value] : samples) {
    isDone = isDone && library.appendNumber(appender, time) == SUCCESS &&
             library.appendDouble(appender, value) == SUCCESS &&
             library.endRow(appender) == SUCCESS;
  }
  Require(isDone && library.destroyAppender(&appender) == SUCCESS, "filling DuckDB's table");
}

}  // namespace Bench
