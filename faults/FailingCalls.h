// A preloaded library (CallsLibrary.cpp) lets one system call of a process fail; the sweep tries each call of the road.
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace BX::faults {

// What came of the road with a failing call: done, or failed, and done when it was gone again; or anything else.
// WakeUpLost: it hangs after a call on the descriptor that Boost.Asio alone wakes its threads up with.
enum class CallOutcome { Done, Failed, WakeUpLost, Broken };

struct CallsResult {
  // By the call's name, counted by CallOutcome.
  std::map<std::string, std::array<std::size_t, 4>> outcomes;
  std::vector<std::string> broken;  // the call, its error, and what happened
};

// Lets each system call of the road fail once with each of its errors, in another process of this program; the device
// is simulated here, on a pseudo-terminal.
CallsResult failEachCall();

// That process: goes on from call number `first` with the error number `variant`, and tells on standard output.
int runFailingCalls(const std::string& port, std::size_t first, std::size_t variant);

}  // namespace BX::faults
