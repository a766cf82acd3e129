#include "Range.h"

namespace BX::range {

void runArchive(Tool& /*tool*/, const ArchiveOptions& /*options*/) {
  throw Failure(tool::deviceFailed, "archive: not built yet");
}

}  // namespace BX::range
