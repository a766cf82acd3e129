// Shots as lines of a table for people.
#pragma once

#include <string>

#include "morva/MORVADataTypeJSON.h"
#include "scoring/Session.h"

namespace BX::tool {

using Json = MORVA::MORVADataTypeJSON;

// The heading, and the line of a shot: number, value, position, distance, aiming time, flags in words.
std::string shotHeading();
std::string shotLine(const Json& shot, const std::string& value);

// Of the last shot of the session, by the edge of its hole: " 9.3", "10.6x" for an inner ten, "  -" when it is not scored.
std::string lastValue(const scoring::Session& session);

}  // namespace BX::tool
