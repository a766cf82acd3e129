#include "Connection.h"
#include "Documents.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

struct Arguments {
  std::string port;
  std::string file;
  std::string type;
  int number = -1;  // below 0: upload
};

void upload(Tool& tool, const Arguments& arguments) {
  TargetFile target = loadTarget(tool, arguments.file, arguments.type);
  Connection connection(tool, arguments.port);
  connection.begin();
  if (!connection.manager().createTargetOnDevice(arguments.port, target.type, target.document)) {
    connection.fail("upload target");
  }
  tool.console.note("Target uploaded.");
}

// The record of the number that was asked for: the only one that a download marks with its type.
const Json* requestedTarget(const std::vector<Json>& targets) {
  for (const auto& target : targets) {
    if (!MORVA::getText(target, "TargetType").empty()) return &target;
  }
  return nullptr;
}

void download(Tool& tool, const Arguments& arguments) {
  Connection connection(tool, arguments.port);
  auto& device = connection.device();
  const bool ring = arguments.type != "SILHOUETTE";
  connection.begin();
  device.setDeviceMode(BXSerialCom::TRANSFER, false);
  const bool complete =
      ring ? device.downloadRingTarget(arguments.number) : device.downloadSilhouetteTarget(arguments.number);
  if (!complete) connection.fail("download target");
  device.setDeviceMode(BXSerialCom::RESTING, false);
  if (!ring && arguments.number != 0) {
    tool.console.warning(arguments.port + ": only slot 0 of the silhouettes downloads completely");
  }
  const auto targets = device.getAllTargets();
  if (const Json* target = requestedTarget(targets)) tool.console.data(target->toString());
}

}  // namespace

void addTarget(CLI::App& app, Tool& tool) {
  auto* command = app.add_subcommand("target", "Upload a target, or download and print one");
  auto arguments = std::make_shared<Arguments>();
  command->add_option("PORT", arguments->port, "Serial port, such as /dev/ttyUSB0")->required();
  auto* file = command->add_option("FILE", arguments->file, "Target to upload, a JSON file");
  auto* get = command->add_option("--get", arguments->number, "Download the target of this number and print it");
  get->check(CLI::Range(0, 255))->excludes(file);
  command->add_option("--type", arguments->type, "RING or SILHOUETTE; by default what the file's \"TargetType\" says")
      ->check(CLI::IsMember({"RING", "SILHOUETTE"}));
  command->callback([&tool, arguments, file, get] {
    if (file->empty() && get->empty()) throw CLI::RequiredError("FILE or --get NUMBER");
    const bool downloads = !get->empty();
    tool.run = [&tool, arguments, downloads] { downloads ? download(tool, *arguments) : upload(tool, *arguments); };
  });
}

}  // namespace BX::tool
