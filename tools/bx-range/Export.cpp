#include "Range.h"

namespace BX::range {

void runExport(Tool& /*tool*/, const ExportOptions& /*options*/) {
  throw Failure(tool::deviceFailed, "export: not built yet");
}

}  // namespace BX::range
