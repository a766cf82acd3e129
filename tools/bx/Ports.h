// How serial ports are shown to a person.
#pragma once

#include <string>
#include <vector>

#include "morva/MORVADataTypeJSON.h"

namespace BX::tool {

// A heading and a row for each port, with a second row for its stable name, where it has one. A port is told by the
// members that `bx ports --json` prints.
std::vector<std::string> portsTable(const std::vector<MORVA::MORVADataTypeJSON>& ports);

}  // namespace BX::tool
