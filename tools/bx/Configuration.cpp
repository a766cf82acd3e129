#include <utility>

#include "Connection.h"
#include "Documents.h"
#include "Progress.h"

namespace BX::tool {

Configuration loadConfiguration(Tool& tool, const ConfigurationFiles& files) {
  Configuration configuration;
  Review review(tool.global.force);
  if (!files.session.empty()) {
    configuration.session = loadDocument(review, files.session, DocumentKind::SessionSettings);
  } else if (files.any()) {
    review.add("no --session file", warningsAbout(Json(), DocumentKind::SessionSettings));
  }
  if (!files.target.empty()) configuration.target = loadTarget(review, files.target, "");
  if (!files.device.empty()) configuration.device = loadDocument(review, files.device, DocumentKind::DeviceSettings);
  review.tell(tool.console);
  return configuration;
}

void configure(Tool& tool, Connection& connection, Configuration& configuration) {
  if (!configuration.any()) return;
  auto& manager = connection.manager();
  const auto& port = connection.port();
  connection.begin();
  if (configuration.session) manager.setSessionSettings(port, *configuration.session);
  if (auto& target = configuration.target) {
    const Progress progress(tool.console, connection);
    if (!manager.createTargetOnDevice(port, target->type, target->document)) connection.fail("upload target");
  }
  if (!configuration.device && !std::exchange(configuration.isToldOf, true)) {
    Review review(tool.global.force);
    review.add(port + ": settings written back", warningsAbout(connection.settings(), DocumentKind::DeviceSettings));
    review.tell(tool.console);
  }
  if (!manager.setupDeviceSettings(port, configuration.device.value_or(connection.settings()))) {
    connection.fail("write settings");
  }
}

}  // namespace BX::tool
