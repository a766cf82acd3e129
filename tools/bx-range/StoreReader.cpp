#include "StoreReader.h"

#include <zlib.h>

namespace BX::range {

namespace {

std::string uncompressed(std::string_view bytes, std::int64_t size) {
  std::string text(static_cast<std::size_t>(size), '\0');
  uLongf length = text.size();
  const int code = uncompress(reinterpret_cast<Bytef*>(text.data()), &length,
                              reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
  if (code != Z_OK || length != text.size()) throw DatabaseError(SQLITE_CORRUPT, "a damaged chunk of lines");
  return text;
}

}  // namespace

// SQLite reads a file that may not be written to all the same; who may write it takes the log away behind itself, which
// would be in the way of an archive of another user.
StoreReader::StoreReader(const std::string& path) : database_(path, SQLITE_OPEN_READWRITE) { requireOurs(database_); }

std::vector<StoreReader::Session> StoreReader::sessions() {
  Statement row(database_,
                "SELECT machine, lane, session, id, lines, shots, ended IS NOT NULL, start, tracesDeleted IS NULL "
                "FROM sessions ORDER BY start, id");
  std::vector<Session> sessions;
  while (row.next()) {
    sessions.push_back({{row.text(0), row.text(1), row.integer(2)},
                        {row.integer(3), row.integer(4), row.integer(5), row.integer(6) != 0},
                        row.text(7),
                        row.integer(8) != 0});
  }
  return sessions;
}

// Chunk by chunk, with no transaction that lasts: a reader that stands still would keep the archive's log growing.
void StoreReader::read(const Session& session, const std::function<bool(std::string_view)>& take) {
  Statement chunk(database_, "SELECT lines, size, text FROM chunks WHERE session = ? AND first = ?");
  for (std::int64_t line = 0; line < session.kept.lines;) {
    if (!chunk.with(session.kept.id, line).next()) {
      throw DatabaseError(SQLITE_CORRUPT, "line " + std::to_string(line) + " is not there any more");
    }
    const std::string text = uncompressed(chunk.text(2), chunk.integer(1));
    line += chunk.integer(0);
    chunk.reset();
    if (!take(text)) return;
  }
}

std::string nameOf(const SessionName& name) {
  return name.machine + '/' + name.lane + '/' + std::to_string(name.number);
}

}  // namespace BX::range
