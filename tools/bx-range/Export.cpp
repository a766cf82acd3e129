// A session out of the archive, byte for byte as its gate wrote it.
#include <algorithm>
#include <cerrno>
#include <system_error>

#include "Range.h"
#include "StoreReader.h"
#include "platform/Descriptors.h"
#include "tools/bx/Records.h"
#include "tools/bx/System.h"

namespace BX::range {

namespace {

using Session = StoreReader::Session;

std::string told(const Session& session) {
  std::string text = tool::counted(static_cast<std::size_t>(session.kept.lines), "line") + ", " +
                     tool::counted(static_cast<std::size_t>(session.kept.shots), "shot");
  if (!session.kept.ended) text += ", not ended";
  if (!session.hasTraces) text += ", shots alone";
  return text;
}

// False when nobody reads standard output any more.
bool write(std::string_view bytes) {
  const int code = platform::writeAll(tool::system::standardOutput, bytes);
  if (code != 0 && code != EPIPE) {
    throw Failure(tool::deviceFailed, "standard output: write: " + std::generic_category().message(code));
  }
  return code == 0;
}

void list(Tool& tool, const std::vector<Session>& sessions) {
  for (const Session& session : sessions) {
    if (!tool.console.data(nameOf(session.name) + "  " + session.start + "  " + told(session))) return;
  }
}

// By its number, or by its whole name where several lanes drew the same one.
const Session& choose(const ExportOptions& options, const std::vector<Session>& sessions) {
  std::vector<const Session*> found;
  std::string names;
  for (const Session& session : sessions) {
    const std::string name = nameOf(session.name);
    if (name != options.session && std::to_string(session.name.number) != options.session) continue;
    found.push_back(&session);
    names += ' ' + name;
  }
  if (found.size() == 1) return *found.front();
  throw Failure(tool::wrongUsage,
                options.database + ": export: " +
                    (found.empty() ? "no session " + options.session + " (without SESSION they are listed)"
                                   : "choose one of:" + names));
}

void write(Tool& tool, StoreReader& reader, const ExportOptions& options, const Session& session) {
  const std::string place = options.database + ": export: ";
  if (!session.hasTraces) {
    throw Failure(tool::deviceFailed, place + "the traces of " + nameOf(session.name) +
                                          " were deleted; the table \"shots\" has its " +
                                          tool::counted(static_cast<std::size_t>(session.kept.shots), "shot"));
  }
  reader.read(session, [](std::string_view text) { return write(text); });
  if (!session.kept.ended) {
    tool.console.warning(place + nameOf(session.name) + " has not ended: " +
                         tool::counted(static_cast<std::size_t>(session.kept.lines), "line") + " so far");
  }
}

}  // namespace

void runExport(Tool& tool, const ExportOptions& options) try {
  StoreReader reader(options.database);
  const auto sessions = reader.sessions();
  if (options.session.empty()) return list(tool, sessions);
  write(tool, reader, options, choose(options, sessions));
} catch (const DatabaseError& error) {
  throw Failure(tool::deviceFailed, options.database + ": export: " + error.what());
}

}  // namespace BX::range
