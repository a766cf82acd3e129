#include "Connection.h"
#include "Progress.h"
#include "Records.h"
#include "Session.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

struct Arguments {
  std::string port;
  std::string output;
};

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

void run(Tool& tool, const Arguments& arguments) {
  Records records(tool.console, arguments.output);
  Connection connection(tool, arguments.port);
  const auto session = downloadSession(tool, connection);
  records.begin(downloadHeader(connection));
  for (const auto& record : session) {
    if (!records.add(record)) return;
  }
  tool.console.note(records.summary());
}

}  // namespace

std::vector<Json> downloadSession(Tool& tool, Connection& connection) {
  const DownloadProgress progress(tool.console, connection);
  connection.begin();
  auto session = connection.manager().downloadDeviceTrainingSession(connection.port());
  if (connection.failed()) connection.fail("download");
  return session;
}

void addDownload(CLI::App& app, Tool& tool) {
  auto* command = app.add_subcommand("download", "Download the stored session, one JSON line a record");
  auto arguments = std::make_shared<Arguments>();
  command->add_option("PORT", arguments->port, "Serial port, such as /dev/ttyUSB0")->required();
  command->add_option("--output", arguments->output, "Write a session file and print no records");
  command->callback([&tool, arguments] { tool.run = [&tool, arguments] { run(tool, *arguments); }; });
}

}  // namespace BX::tool
