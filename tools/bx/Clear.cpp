#include "Connection.h"

namespace BX::tool {

void runClear(Tool& tool, const std::string& port) {
  Connection connection(tool, port);
  connection.begin();
  connection.manager().clearTrainingData(port);
  if (connection.failed()) connection.fail("clear");
  tool.console.note("Stored results cleared.");
}

}  // namespace BX::tool
