// Ctrl-C (SIGINT) and SIGTERM as a question. A second one ends the program at once.
#pragma once

namespace BX::tool {

// From now on for the rest of the process.
void catchInterrupts();
bool interrupted();

}  // namespace BX::tool
