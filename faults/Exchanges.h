// The exchanges of the matrix: how each is led up to, what it does, and what must have come of it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "faults/Rig.h"
#include "simulator/FaultRule.h"

namespace BX::faults {

// That the exchange "stream" waits for.
inline constexpr std::size_t streamedRecords = 60;

inline std::string nothing(Rig&) { return ""; }

struct Exchange {
  std::string name;
  sim::FrameKind kind;
  // Brings device and host to where the exchange begins; the port is open.
  std::function<bool(Rig&)> prepare;
  // What it reports.
  std::function<bool(Rig&)> run;
  // What it brought, to be compared with what it brings without a fault.
  std::function<std::string(Rig&)> result = nothing;
  // What is wrong with the device object after a failure; empty when nothing is.
  std::function<std::string(Rig&)> stateAfterFailure = nothing;
};

const std::vector<Exchange>& exchanges();

// Session settings of a field stream, and a document of examples/.
MORVA::MORVADataTypeJSON fieldMode();
MORVA::MORVADataTypeJSON example(const std::string& name);

// The memory and the stream of the device that they talk to.
sim::Options deviceOptions();

}  // namespace BX::faults
