#include "Store.h"

#include <zlib.h>

#include <cerrno>
#include <system_error>
#include <vector>

#include "ShotRow.h"
#include "bx/DocumentKeys.h"
#include "morva/MORVADataTypeJSON.h"
#include "platform/Descriptors.h"
#include "platform/Utf8.h"
#include "scoring/Members.h"

namespace BX::range {

namespace {

constexpr std::int64_t applicationId = 0x42585241;  // "BXRA", by which file(1) and we know the file
constexpr std::int64_t version = 1;

// Larger pages than usual waste less beside chunks of some 3 KB.
constexpr auto pageSize = "PRAGMA page_size = 16384";
constexpr auto mode = R"(
PRAGMA journal_mode = WAL;
PRAGMA synchronous = FULL;
PRAGMA journal_size_limit = 67108864;
)";

constexpr auto schema = R"(
BEGIN;
CREATE TABLE sessions (
  id INTEGER PRIMARY KEY,
  machine TEXT NOT NULL,
  lane TEXT NOT NULL,
  session INTEGER NOT NULL,   -- its random number
  start TEXT,                 -- ISO 8601 in UTC by the clock of its machine
  device TEXT,                -- serial number
  header TEXT NOT NULL,       -- line 0: settings and target
  lines INTEGER NOT NULL,     -- that the archive has, the header among them
  shots INTEGER NOT NULL,
  ended TEXT,                 -- when the archive knew that these are all, by its own clock
  tracesDeleted TEXT,         -- when its chunks were deleted
  UNIQUE (machine, lane, session));
CREATE INDEX sessionNumbers ON sessions (session);
CREATE TABLE chunks (
  session INTEGER NOT NULL REFERENCES sessions (id),
  first INTEGER NOT NULL,     -- number of its first line; all chunks in this order are the session file
  lines INTEGER NOT NULL,
  size INTEGER NOT NULL,      -- in bytes
  text BLOB NOT NULL,         -- compressed by zlib
  PRIMARY KEY (session, first));
CREATE TABLE shots (
  session INTEGER NOT NULL REFERENCES sessions (id),
  number INTEGER NOT NULL,    -- in the order of the session, from 1
  line INTEGER NOT NULL,      -- of the session file
  received INTEGER,           -- milliseconds since the start of the session
  x REAL,                     -- millimetres to the right of the centre
  y REAL,                     -- millimetres above it
  value INTEGER,              -- by the edge of its hole; NULL: not scored
  tenths INTEGER,             -- the value with its tenth, in tenths: 93 is 9.3
  innerTen INTEGER,           -- 1 for one
  aimingTime REAL,            -- seconds
  PRIMARY KEY (session, number)) WITHOUT ROWID;
PRAGMA application_id = 0x42585241;
PRAGMA user_version = 1;
COMMIT;
)";

std::int64_t integerOf(Database& database, const char* sql) {
  Statement statement(database, sql);
  return statement.next() ? statement.integer(0) : 0;
}

Database openToWrite(const std::string& path) {
  Database database(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  if (database.isReadOnly()) throw DatabaseError(SQLITE_READONLY, "may not be written to");
  database.run(pageSize);
  const bool isEmpty = integerOf(database, "SELECT count(*) FROM sqlite_schema") == 0 &&
                       integerOf(database, "PRAGMA application_id") == 0;
  if (!isEmpty) requireOurs(database);
  database.run(mode);
  if (isEmpty) database.run(schema);
  return database;
}

std::string compressed(std::string_view text) {
  uLongf size = compressBound(text.size());
  std::string result(size, '\0');
  if (compress(reinterpret_cast<Bytef*>(result.data()), &size, reinterpret_cast<const Bytef*>(text.data()),
               text.size()) != Z_OK) {
    throw std::bad_alloc();  // the only way to fail
  }
  result.resize(size);
  return result;
}

std::optional<std::string> textOf(const rapidjson::Value& document, const char* key) {
  if (!scoring::memberOf(document, key).IsString()) return std::nullopt;
  return scoring::textOf(document, key);
}

}  // namespace

StoreLock::StoreLock(const std::string& database)
    : handle_(platform::openToAppend(platform::pathOf(database + ".lock"))) {
  if (handle_ >= 0) return;
  const int code = errno;
  throw DatabaseError(SQLITE_CANTOPEN,
                      code == EBUSY ? "in use by another archive" : std::generic_category().message(code));
}

StoreLock::~StoreLock() { platform::closeDescriptor(handle_); }

void requireOurs(Database& database) {
  if (integerOf(database, "PRAGMA application_id") != applicationId) {
    throw DatabaseError(SQLITE_NOTADB, "a database of another program");
  }
  const std::int64_t found = integerOf(database, "PRAGMA user_version");
  if (found != version) {
    throw DatabaseError(SQLITE_NOTADB, "an archive of version " + std::to_string(found) + ", and not of version " +
                                           std::to_string(version));
  }
}

Store::Store(const std::string& path)
    : lock_(path),
      database_(openToWrite(path)),
      find_(database_,
            "SELECT id, lines, shots, ended IS NOT NULL FROM sessions WHERE machine = ? AND lane = ? AND session = ?"),
      header_(database_, "SELECT header FROM sessions WHERE id = ?"),
      addSession_(database_,
                  "INSERT INTO sessions (machine, lane, session, start, device, header, lines, shots) "
                  "VALUES (?, ?, ?, ?, ?, ?, 0, 0) RETURNING id"),
      addChunk_(database_, "INSERT INTO chunks (session, first, lines, size, text) VALUES (?, ?, ?, ?, ?)"),
      addShot_(database_,
               "INSERT INTO shots (session, number, line, received, x, y, value, tenths, innerTen, aimingTime) "
               "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
      update_(database_,
              "UPDATE sessions SET lines = ?, shots = ?, "
              "ended = coalesce(ended, iif(?, strftime('%Y-%m-%dT%H:%M:%SZ'), NULL)) WHERE id = ?"),
      forget_(database_,
              "UPDATE sessions SET tracesDeleted = strftime('%Y-%m-%dT%H:%M:%SZ') "
              "WHERE id = (SELECT id FROM sessions WHERE tracesDeleted IS NULL "
              "AND ended < strftime('%Y-%m-%dT%H:%M:%SZ', 'now', '-' || ? || ' days') LIMIT 1) RETURNING id"),
      deleteChunks_(database_, "DELETE FROM chunks WHERE session = ?") {}

Kept Store::find(const SessionName& name) {
  Kept kept;
  if (find_.with(name.machine, name.lane, name.number).next()) {
    kept = {find_.integer(0), find_.integer(1), find_.integer(2), find_.integer(3) != 0};
  }
  find_.reset();
  return kept;
}

void Store::add(const SessionName& name, Kept kept, const Addition& addition) {
  if (kept.id == 0) kept.id = addSession(name, addition.text.substr(0, addition.text.find('\n')));
  if (addition.lines > 0) addChunk(kept, addition);
  addShots(kept, addition.text);
  update_.with(kept.lines + addition.lines, kept.shots, std::int64_t{addition.ends}, kept.id).run();
}

std::int64_t Store::addSession(const SessionName& name, const std::string& header) {
  MORVA::MORVADataTypeJSON document;
  document.parseString(header);
  const auto& told = document.getDocument();
  addSession_.with(name.machine, name.lane, name.number, textOf(told, "start"),
                   textOf(scoring::memberOf(told, "device"), key::settings::serialNumber), header);
  addSession_.next();
  const std::int64_t id = addSession_.integer(0);
  addSession_.reset();
  return id;
}

void Store::addChunk(const Kept& kept, const Addition& addition) {
  const auto size = static_cast<std::int64_t>(addition.text.size());
  const std::string text = compressed(addition.text);
  addChunk_.with(kept.id, kept.lines, addition.lines, size, Blob{text}).run();
}

void Store::addShots(Kept& kept, std::string_view text) {
  std::optional<std::string> header;
  for (std::int64_t line = kept.lines; !text.empty(); ++line) {
    const auto end = text.find('\n');
    const std::string_view record = text.substr(0, end);
    text.remove_prefix(end + 1);
    if (line == 0 || !mayBeShot(record)) continue;
    if (!header) {
      header_.with(kept.id).next();
      header = header_.text(0);
      header_.reset();
    }
    const auto shot = shotIn(record, *header);
    if (!shot) continue;
    addShot_
        .with(kept.id, ++kept.shots, line, shot->received, shot->x, shot->y, shot->value, shot->tenths, shot->innerTen,
              shot->aimingTime)
        .run();
  }
}

bool Store::forgetTraces(unsigned days) {
  Transaction transaction(database_);
  if (!forget_.with(std::int64_t{days}).next()) return false;
  const std::int64_t id = forget_.integer(0);
  forget_.reset();
  deleteChunks_.with(id).run();
  transaction.commit();
  return true;
}

}  // namespace BX::range
