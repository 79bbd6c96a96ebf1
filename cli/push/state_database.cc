#include "push/state_database.h"

#include <string_view>

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// How long to wait for another program that reads the file.
constexpr int LOCK_MILLISECONDS = 2000;

void Require(int wanted, sqlite3* database, int code) {
  if (code != wanted) {
    throw DatabaseError(sqlite3_errmsg(database), code);
  }
}

void RequireDone(sqlite3* database, int code) { Require(SQLITE_OK, database, code); }

}  // namespace

bool DatabaseError::IsOfContent() const {
  switch (code & 0xff) {  // without the bits of extended codes
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_ERROR:  // other tables than ours
    case SQLITE_MISMATCH:
      return true;
    default:
      return false;
  }
}

StateDatabase::StateDatabase(const std::string& path) {
  sqlite3* opened = nullptr;
  const int code =
      sqlite3_open_v2(path.c_str(), &opened,
                      SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOFOLLOW, nullptr);
  handle.reset(opened);
  RequireDone(opened, code);
  sqlite3_busy_timeout(opened, LOCK_MILLISECONDS);
}

void StateDatabase::Run(const char* statements) const {
  RequireDone(Get(), sqlite3_exec(Get(), statements, nullptr, nullptr, nullptr));
}

Statement::Statement(StateDatabase& stateDatabase, const char* text) : database(stateDatabase) {
  sqlite3_stmt* prepared = nullptr;
  const int code = sqlite3_prepare_v2(database.Get(), text, -1, &prepared, nullptr);
  handle.reset(prepared);
  RequireDone(database.Get(), code);
}

void Statement::Bind(int parameter, const std::string& bytes) {
  RequireDone(database.Get(), sqlite3_bind_blob64(handle.get(), parameter, bytes.data(),
                                                  bytes.size(), SQLITE_STATIC));
}

void Statement::Bind(int parameter, long long number) {
  RequireDone(database.Get(), sqlite3_bind_int64(handle.get(), parameter, number));
}

bool Statement::Step() {
  const int code = sqlite3_step(handle.get());
  if (code == SQLITE_ROW) {
    return true;
  }
  Require(SQLITE_DONE, database.Get(), code);
  return false;
}

std::string Statement::GetBytes(int column) const {
  const auto* const bytes = static_cast<const char*>(sqlite3_column_blob(handle.get(), column));
  const int size = sqlite3_column_bytes(handle.get(), column);
  return std::string(std::string_view(bytes, static_cast<std::size_t>(size)));
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
