#include "Range.h"

namespace BX::range {

void runBoard(Tool& /*tool*/, const BoardOptions& /*options*/) {
  throw Failure(tool::deviceFailed, "board: not built yet");
}

}  // namespace BX::range
