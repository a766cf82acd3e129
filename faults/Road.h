// Everything that a host does with a device, by the registry: what is done again and again while something fails.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "bx/BXDeviceManager.h"
#include "simulator/Simulator.h"

namespace BX::faults {

struct Step {
  std::string name;
  // Reports whether it worked; may throw.
  std::function<bool(BXDeviceManager& manager, const std::string& port)> run;
  bool isShort = true;  // a few exchanges
};

// Connecting first.
const std::vector<Step>& road();
// Goes the short steps or all, until they work or `tries` are over: a machine may be busy elsewhere. Which step did not
// work, and why; or empty.
std::string goTheRoad(BXDeviceManager& manager, const std::string& port, bool whole, int tries = 3);

// A device that has results stored, and keeps them when they are cleared.
sim::Options roadOptions();

}  // namespace BX::faults
