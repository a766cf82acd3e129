#include "Connection.h"
#include "Interrupt.h"
#include "Progress.h"
#include "Records.h"
#include "Session.h"
#include "morva/KeyedAccess.h"
#include "platform/AtExit.h"

namespace BX::tool {

namespace {

Json downloadHeader(Connection& connection) {
  Json header;
  MORVA::setText(header, "start", timeNow());
  MORVA::setText(header, "port", connection.port());
  MORVA::setDocument(header, "device", connection.settings());
  MORVA::setDocument(header, "session", connection.device().getSessionSettings());
  Json targets(MORVA::JSONType::Array);
  for (const auto& target : connection.device().getAllTargets()) MORVA::appendDocument(targets, target);
  MORVA::setDocument(header, "target", targets);
  return header;
}

}  // namespace

std::vector<Json> downloadSession(Tool& tool, Connection& connection) {
  const Progress progress(tool.console, connection);
  connection.begin();
  auto session = connection.manager().downloadDeviceTrainingSession(connection.port());
  if (connection.failed()) connection.fail("download");
  return session;
}

void runDownload(Tool& tool, const DownloadOptions& options) {
  Records records(tool.console, {options.output, tool.global.overwrite});
  std::vector<Json> session;
  Json header;
  {
    Connection connection(tool, options.port);
    records.open();
    session = downloadSession(tool, connection);
    header = downloadHeader(connection);
  }  // the port is free while a slow reader takes the records
  setLastWords([&] { return "bx: ended at once" + records.kept() + " of " + std::to_string(session.size()); });
  const platform::AtExit forget([] { setLastWords({}); });
  records.begin(header);
  for (const auto& record : session) {
    if (!records.add(record)) break;
  }
  tool.console.note(records.summary());
}

}  // namespace BX::tool
