// SQLite's C interface, with owners for what it gives.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace BX::range {

// The text is a reason alone.
class DatabaseError : public std::runtime_error {
 public:
  DatabaseError(int code, const std::string& reason) : std::runtime_error(reason), code_(code) {}
  // Whether the same may be done later: when there is room again, or the disk or another program lets go.
  bool mayPass() const { return code_ == SQLITE_FULL || code_ == SQLITE_BUSY || code_ == SQLITE_IOERR; }

 private:
  int code_;  // of SQLite
};

// Used by one thread at a time.
class Database {
 public:
  // `flags` are those of sqlite3_open_v2. Throws DatabaseError, as all does here.
  Database(const std::string& path, int flags);

  // Statements without results.
  void run(const char* sql);
  bool isReadOnly() const { return sqlite3_db_readonly(handle_.get(), "main") == 1; }
  bool isInTransaction() const { return sqlite3_get_autocommit(handle_.get()) == 0; }

 private:
  friend class Statement;

  struct Close {
    void operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }
  };
  void require(int code) const;

  std::unique_ptr<sqlite3, Close> handle_;
};

struct Blob {
  std::string_view bytes;
};

// A prepared statement, to be used again and again.
class Statement {
 public:
  Statement(Database& database, const char* sql);

  // Begins anew, with a value for each parameter.
  template <typename... Values>
  Statement& with(const Values&... values) {
    reset();
    int parameter = 0;
    (bind(++parameter, values), ...);
    return *this;
  }
  // Goes on to the next row, if there is one.
  bool next();
  // To the end, as a statement wants that gives no rows.
  void run();
  // To the end of what is read: a row that is looked at keeps others from putting the log away.
  void reset() { sqlite3_reset(handle_.get()); }

  // Of this row, by columns from 0; texts live until the next step.
  std::int64_t integer(int column) const { return sqlite3_column_int64(handle_.get(), column); }
  bool isNull(int column) const { return sqlite3_column_type(handle_.get(), column) == SQLITE_NULL; }
  std::string text(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* handle) const { sqlite3_finalize(handle); }
  };
  void bind(int parameter, std::int64_t value);
  void bind(int parameter, double value);
  void bind(int parameter, const std::string& text);
  void bind(int parameter, Blob blob);
  void bindNull(int parameter);
  template <typename Value>
  void bind(int parameter, const std::optional<Value>& value) {
    value ? bind(parameter, *value) : bindNull(parameter);
  }

  Database& database_;
  std::unique_ptr<sqlite3_stmt, Finalize> handle_;
};

// What is done while it lives becomes lasting by commit(), and only then.
class Transaction {
 public:
  explicit Transaction(Database& database) : database_(database) { database_.run("BEGIN IMMEDIATE"); }
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void commit() { database_.run("COMMIT"); }

 private:
  Database& database_;
};

}  // namespace BX::range
