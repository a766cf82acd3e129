// Session files, as `train` and `download` write them.
#pragma once

#include <string>

#include "Tool.h"
#include "scoring/Session.h"

namespace BX::tool {

// Reads all of it. What is neither shot, measurement nor gap is left out, and lines that are no JSON are told as a
// warning; a number that no double holds counts as missing. Throws Failure: a file that cannot be read, or whose first
// line is no header.
scoring::Session readSession(Tool& tool, const std::string& path);

}  // namespace BX::tool
