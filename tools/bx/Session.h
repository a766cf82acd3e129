// The stored session of a device.
#pragma once

#include <vector>

#include "Connection.h"

namespace BX::tool {

// Every stored record, in order, with a progress bar on a terminal. Throws Failure.
std::vector<Json> downloadSession(Tool& tool, Connection& connection);

}  // namespace BX::tool
