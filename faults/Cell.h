// One cell of the matrix: one exchange, one fault at one place, and the exchange once more.
#pragma once

#include <array>
#include <chrono>
#include <string>
#include <vector>

#include "faults/Exchanges.h"
#include "simulator/FaultRule.h"

namespace BX::faults {

using Milliseconds = std::chrono::duration<double, std::milli>;

inline constexpr std::array effects{sim::FaultEffect::Drop,   sim::FaultEffect::Duplicate, sim::FaultEffect::Corrupt,
                                    sim::FaultEffect::Cut,    sim::FaultEffect::Delay,     sim::FaultEffect::Bytewise,
                                    sim::FaultEffect::Refuse, sim::FaultEffect::Restart,   sim::FaultEffect::HangUp};

// What an exchange brings without a fault, and where it can be struck.
struct Expected {
  std::string result;
  std::vector<std::string> requests;
  std::vector<sim::FaultRule> rules;  // every effect at the first, middle and last frame of each kind and direction
};

// What must come of a fault, and what has.
enum class Outcome {
  Recovered,  // reported done, with the very same result
  Failed,     // reported failed, with the reason of this fault and the device object in the state that the rules name
  Either,     // demanded where timing decides whether the fault strikes before the exchange's end
  Wrong,      // anything else; also a fault that never struck
};
Outcome demanded(const sim::FaultRule& rule);

struct Cell {
  const Exchange* exchange = nullptr;
  sim::FaultRule rule;
  Outcome outcome = Outcome::Wrong;
  std::string wrong;    // what is, or the reason of the failure
  Milliseconds time{};  // of the exchange under the fault
  int tries = 1;  // until the next exchange worked; 2 when the fault struck after the first had been reported done
  bool lapsed = false;  // a busy machine may have outlasted the short time-outs; after the first time it is run again
  bool struck = false;  // the fault's place came
};

// Throws std::runtime_error when the exchange does not work even without a fault.
Expected expectedOf(const Exchange& exchange);

Cell runCell(const Exchange& exchange, const Expected& expected, const sim::FaultRule& rule);

}  // namespace BX::faults
