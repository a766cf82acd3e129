// Records as structures and as JSON lines, and the state of a device as a structure.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "bx/BXDeviceManager.h"
#include "bx/bx_c.h"
#include "c/Border.h"

namespace BX::c {

bx_record recordOf(const Json& document);

// The records as lines; `structures`, of the same records, learn where each line stands.
std::string linesOf(const std::vector<Json>& records, std::span<bx_record> structures);

bx_state stateOf(const BXDeviceManager::DeviceState& device, const link::Statistics& counted);

}  // namespace BX::c
