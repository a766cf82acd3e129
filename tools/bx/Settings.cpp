#include "Connection.h"
#include "Documents.h"

namespace BX::tool {

void runSettings(Tool& tool, const SettingsOptions& options) {
  Configuration configuration = loadConfiguration(tool, options.files);
  if (configuration.any()) {
    Connection connection(tool, options.port);
    configure(tool, connection, configuration);
  }
  const Connection fresh(tool, options.port);
  tool.console.data(fresh.settings().toString());
}

}  // namespace BX::tool
