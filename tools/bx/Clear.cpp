#include "Connection.h"

namespace BX::tool {

void addClear(CLI::App& app, Tool& tool) {
  auto* command = app.add_subcommand("clear", "Clear the stored results of a device");
  auto port = std::make_shared<std::string>();
  command->add_option("PORT", *port, "Serial port, such as /dev/ttyUSB0")->required();
  command->callback([&tool, port] {
    tool.run = [&tool, port] {
      Connection connection(tool, *port);
      connection.begin();
      connection.manager().clearTrainingData(*port);
      if (connection.failed()) connection.fail("clear");
      tool.console.note("Stored results cleared.");
    };
  });
}

}  // namespace BX::tool
