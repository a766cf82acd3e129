#include "Connection.h"
#include "Documents.h"
#include "Progress.h"
#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

void upload(Tool& tool, const TargetOptions& options) {
  TargetFile target = loadTarget(tool, options.file, options.type);
  Connection connection(tool, options.port);
  connection.begin();
  {
    const Progress progress(tool.console, connection);
    if (!connection.manager().createTargetOnDevice(options.port, target.type, target.document)) {
      connection.fail("upload target");
    }
  }
  tool.console.note("Target uploaded.");
}

// The record of the number that was asked for: the only one that a download marks with its type.
const Json* requestedTarget(const std::vector<Json>& targets) {
  for (const auto& target : targets) {
    if (!MORVA::getText(target, key::target::targetType).empty()) return &target;
  }
  return nullptr;
}

bool fetch(Tool& tool, Connection& connection, int number, bool ring) {
  const Progress progress(tool.console, connection);
  auto& device = connection.device();
  device.setDeviceMode(BXSerialCom::TRANSFER, false);
  const bool complete = ring ? device.downloadRingTarget(number) : device.downloadSilhouetteTarget(number);
  device.setDeviceMode(BXSerialCom::RESTING, false);
  return complete;
}

void download(Tool& tool, const TargetOptions& options) {
  Connection connection(tool, options.port);
  const bool ring = options.type != text::silhouette;
  connection.begin();
  if (!fetch(tool, connection, options.number, ring)) connection.fail("download target");
  if (!ring && options.number != 0) {
    tool.console.warning(options.port + ": only slot 0 of the silhouettes downloads completely");
  }
  const auto targets = connection.device().getAllTargets();
  if (const Json* target = requestedTarget(targets)) tool.console.data(target->toString());
}

}  // namespace

void runTarget(Tool& tool, const TargetOptions& options) {
  options.file.empty() ? download(tool, options) : upload(tool, options);
}

}  // namespace BX::tool
