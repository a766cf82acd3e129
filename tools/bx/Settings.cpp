#include "Connection.h"
#include "Documents.h"

namespace BX::tool {

namespace {

struct Arguments {
  std::string port;
  ConfigurationFiles files;
};

void run(Tool& tool, const Arguments& arguments) {
  Configuration configuration = loadConfiguration(tool, arguments.files);
  if (configuration.any()) {
    Connection connection(tool, arguments.port);
    configure(tool, connection, configuration);
  }
  const Connection fresh(tool, arguments.port);
  tool.console.data(fresh.settings().toString());
}

}  // namespace

void addSettings(CLI::App& app, Tool& tool) {
  auto* command = app.add_subcommand("settings", "Write settings and print what the device then reports");
  auto arguments = std::make_shared<Arguments>();
  command->add_option("PORT", arguments->port, "Serial port, such as /dev/ttyUSB0")->required();
  addConfigurationOptions(*command, arguments->files);
  command->callback([&tool, arguments] { tool.run = [&tool, arguments] { run(tool, *arguments); }; });
}

}  // namespace BX::tool
