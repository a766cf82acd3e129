// Shots as lines of a table for people.
#pragma once

#include <string>

#include "morva/MORVADataTypeJSON.h"

namespace BX::tool {

using Json = MORVA::MORVADataTypeJSON;

// The heading, and the line of a shot: number, position, distance, aiming time, flags in words.
std::string shotHeading();
std::string shotLine(const Json& shot);

}  // namespace BX::tool
