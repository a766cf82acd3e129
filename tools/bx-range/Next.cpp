#include "Range.h"

namespace BX::range {

void runNext(Tool& /*tool*/, const NextOptions& /*options*/) {
  throw Failure(tool::deviceFailed, "next: not built yet");
}

}  // namespace BX::range
