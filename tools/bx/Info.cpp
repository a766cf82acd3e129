#include "Connection.h"

namespace BX::tool {

void runInfo(Tool& tool, const InfoOptions& options) {
  const Connection connection(tool, options.port);
  tool.console.data(connection.settings().toString());
}

}  // namespace BX::tool
