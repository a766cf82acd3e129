// What the demonstration shows of shots.
#pragma once

#include <string>
#include <vector>

#include "morva/MORVADataTypeJSON.h"

namespace BX::tool {

using Json = MORVA::MORVADataTypeJSON;

// The hits around the centre of the target, drawn with letters; each hit is the last digit of its shot number.
std::vector<std::string> drawHits(const std::vector<Json>& shots);

// Whether both are the same records in the same order. The aiming time is left out: the library measures it itself,
// when it decodes.
bool areSameRecords(const std::vector<Json>& streamed, const std::vector<Json>& stored);

}  // namespace BX::tool
