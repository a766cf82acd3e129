#include "Connection.h"

namespace BX::tool {

void runInfo(Tool& tool, const std::string& port) {
  const Connection connection(tool, port);
  tool.console.data(connection.settings().toString());
}

}  // namespace BX::tool
