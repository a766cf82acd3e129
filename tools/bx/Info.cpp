#include "Connection.h"

namespace BX::tool {

void addInfo(CLI::App& app, Tool& tool) {
  auto* command = app.add_subcommand("info", "Connect and print the device's settings");
  auto port = std::make_shared<std::string>();
  command->add_option("PORT", *port, "Serial port, such as /dev/ttyUSB0")->required();
  command->callback([&tool, port] {
    tool.run = [&tool, port] {
      const Connection connection(tool, *port);
      tool.console.data(connection.settings().toString());
    };
  });
}

}  // namespace BX::tool
