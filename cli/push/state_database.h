#pragma once

#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Why an operation of SQLite failed.
class DatabaseError : public std::runtime_error {
 public:
  DatabaseError(const std::string& reason, int sqliteCode)
      : std::runtime_error(reason), code(sqliteCode) {}

  // Whether the file is damaged or not a SQLite file.
  bool IsOfContent() const;

 private:
  int code;
};

// An open SQLite file. Every operation of these two classes throws DatabaseError.
class StateDatabase {
 public:
  // Makes an empty file where there is none. The path may have no symbolic links.
  explicit StateDatabase(const std::string& path);

  void Run(const char* statements) const;

  sqlite3* Get() const { return handle.get(); }

 private:
  struct Close {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
  };

  std::unique_ptr<sqlite3, Close> handle;
};

// A statement with parameters, numbered from 1, and columns, from 0.
class Statement {
 public:
  Statement(StateDatabase& stateDatabase, const char* text);

  // `bytes` must live until the statement is reset.
  void Bind(int parameter, const std::string& bytes);
  void Bind(int parameter, long long number);

  // Goes to the next row. False after the last one.
  bool Step();

  // Makes it ready to run again.
  void Reset() { sqlite3_reset(handle.get()); }

  std::string GetBytes(int column) const;
  long long GetNumber(int column) const { return sqlite3_column_int64(handle.get(), column); }

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  StateDatabase& database;
  std::unique_ptr<sqlite3_stmt, Finalize> handle;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
