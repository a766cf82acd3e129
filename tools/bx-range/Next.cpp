#include "Config.h"
#include "Control.h"
#include "Range.h"

namespace BX::range {

void runNext(Tool& /*tool*/, const NextOptions& options) {
  const Config config = readConfig(options.config, Role::Next);
  const std::string reason = askGate(config.spool, options.lane);
  if (!reason.empty()) throw Failure(tool::deviceFailed, "lane " + options.lane + ": next: " + reason);
}

}  // namespace BX::range
