#include "Range.h"

namespace BX::range {

void runGate(Tool& /*tool*/, const std::string& /*config*/) {
  throw Failure(tool::deviceFailed, "gate: not built yet");
}

}  // namespace BX::range
