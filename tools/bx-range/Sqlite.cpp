#include "Sqlite.h"

#include <system_error>

namespace BX::range {

namespace {

constexpr int patience = 10'000;  // milliseconds, for others that hold the file

// SQLite says only that it cannot open a file, where the system tells why; and not that it has a log to write.
std::string reasonOf(sqlite3* handle, int code) {
  if (handle == nullptr) return sqlite3_errstr(code);
  const int system = sqlite3_system_errno(handle);
  if ((code & 0xFF) == SQLITE_CANTOPEN && system != 0) return std::generic_category().message(system);
  if ((code & 0xFF) == SQLITE_READONLY) return "it or its folder may not be written to, which readers need, too";
  return sqlite3_errmsg(handle);
}

}  // namespace

Database::Database(const std::string& path, int flags) {
  sqlite3* handle = nullptr;
  const int code = sqlite3_open_v2(path.c_str(), &handle, flags, nullptr);
  handle_.reset(handle);
  require(code);
  sqlite3_busy_timeout(handle, patience);
}

void Database::run(const char* sql) { require(sqlite3_exec(handle_.get(), sql, nullptr, nullptr, nullptr)); }

void Database::require(int code) const {
  if (code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE) {
    throw DatabaseError(code & 0xFF, reasonOf(handle_.get(), code));
  }
}

Statement::Statement(Database& database, const char* sql) : database_(database) {
  sqlite3_stmt* handle = nullptr;
  database.require(sqlite3_prepare_v3(database.handle_.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &handle, nullptr));
  handle_.reset(handle);
}

bool Statement::next() {
  const int code = sqlite3_step(handle_.get());
  if (code != SQLITE_ROW) reset();
  database_.require(code);
  return code == SQLITE_ROW;
}

void Statement::run() {
  while (next()) {
  }
}

std::string Statement::text(int column) const {
  const void* const bytes = sqlite3_column_blob(handle_.get(), column);
  if (bytes == nullptr) return {};
  return {static_cast<const char*>(bytes), static_cast<std::size_t>(sqlite3_column_bytes(handle_.get(), column))};
}

void Statement::bind(int parameter, std::int64_t value) {
  database_.require(sqlite3_bind_int64(handle_.get(), parameter, value));
}

void Statement::bind(int parameter, double value) {
  database_.require(sqlite3_bind_double(handle_.get(), parameter, value));
}

void Statement::bind(int parameter, const std::string& text) {
  database_.require(
      sqlite3_bind_text64(handle_.get(), parameter, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
}

void Statement::bind(int parameter, Blob blob) {
  database_.require(
      sqlite3_bind_blob64(handle_.get(), parameter, blob.bytes.data(), blob.bytes.size(), SQLITE_TRANSIENT));
}

void Statement::bindNull(int parameter) { database_.require(sqlite3_bind_null(handle_.get(), parameter)); }

Transaction::~Transaction() {
  if (!database_.isInTransaction()) return;
  try {
    database_.run("ROLLBACK");
  } catch (const DatabaseError&) {  // what failed before has done so by itself
  }
}

}  // namespace BX::range
