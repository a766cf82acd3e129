// The archive's database: sessions, their lines in compressed chunks, and their shots in columns for queries. Its
// statements of CREATE, in Store.cpp, tell what each column is.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include "Sqlite.h"

namespace BX::range {

struct SessionName {
  std::string machine;
  std::string lane;
  std::int64_t number = 0;
  bool operator<(const SessionName& other) const {
    return std::tie(machine, lane, number) < std::tie(other.machine, other.lane, other.number);
  }
};

// What the database has of a session.
struct Kept {
  std::int64_t id = 0;  // 0: nothing
  std::int64_t lines = 0;
  std::int64_t shots = 0;
  bool ended = false;  // and that is all of it
};

// What goes on where the session stands.
struct Addition {
  std::string text;  // lines, each with a line feed
  std::int64_t lines = 0;
  bool ends = false;
};

// A lock on the database that is not SQLite's, which would keep readers out as well. It is a file beside it that stays
// there: to remove it would take it from under another archive.
class StoreLock {
 public:
  explicit StoreLock(const std::string& database);
  ~StoreLock();
  StoreLock(const StoreLock&) = delete;
  StoreLock& operator=(const StoreLock&) = delete;

 private:
  int handle_;
};

// Throws DatabaseError when the database is none of ours, or one of a later version. An empty one is.
void requireOurs(Database& database);

// Used by one thread. All of it throws DatabaseError.
class Store {
 public:
  // Makes the database when there is none.
  explicit Store(const std::string& path);

  Kept find(const SessionName& name);
  Transaction begin() { return Transaction(database_); }
  // Within a transaction. The first line of a session is its header, a JSON object.
  void add(const SessionName& name, Kept kept, const Addition& addition);
  // Deletes the chunks of one session that ended longer ago; its shots stay. False when there is none.
  bool forgetTraces(unsigned days);

 private:
  std::int64_t addSession(const SessionName& name, const std::string& header);
  void addChunk(const Kept& kept, const Addition& addition);
  void addShots(Kept& kept, std::string_view text);

  const StoreLock lock_;
  Database database_;
  Statement find_, header_, addSession_, addChunk_, addShot_, update_, forget_, deleteChunks_;
};

}  // namespace BX::range
