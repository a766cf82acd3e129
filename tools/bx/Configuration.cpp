#include "Connection.h"
#include "Documents.h"

namespace BX::tool {

Configuration loadConfiguration(Tool& tool, const ConfigurationFiles& files) {
  Configuration configuration;
  if (!files.session.empty()) {
    configuration.session = loadDocument(tool, files.session, DocumentKind::SessionSettings);
  } else if (files.any()) {
    warnAbout(tool, "no --session file", Json(), DocumentKind::SessionSettings);
  }
  if (!files.target.empty()) configuration.target = loadTarget(tool, files.target, "");
  if (!files.device.empty()) configuration.device = loadDocument(tool, files.device, DocumentKind::DeviceSettings);
  return configuration;
}

void configure(Tool& tool, Connection& connection, Configuration& configuration) {
  if (!configuration.any()) return;
  auto& manager = connection.manager();
  const auto& port = connection.port();
  connection.begin();
  if (configuration.session) manager.setSessionSettings(port, *configuration.session);
  if (auto& target = configuration.target) {
    if (!manager.createTargetOnDevice(port, target->type, target->document)) connection.fail("upload target");
  }
  if (!configuration.device) {
    warnAbout(tool, port + ": settings written back", connection.settings(), DocumentKind::DeviceSettings);
  }
  if (!manager.setupDeviceSettings(port, configuration.device.value_or(connection.settings()))) {
    connection.fail("write settings");
  }
}

}  // namespace BX::tool
