// A simulated device behind a port name of its own, in this process, with no fixed waits: what most tests stand on.
#pragma once

#include <string>
#include <vector>

#include "bx/BXSerialLink.h"
#include "simulator/LoopbackLine.h"
#include "platform/time/TimeSeam.h"
#include "simulator/Simulator.h"

namespace BX::test {

// As long as one lives, fixed waits take no time.
struct NoWaits {
  NoWaits() {
    platform::replaceTime({[](std::chrono::milliseconds) {}, {}});
  }
  ~NoWaits() { platform::replaceTime({}); }
  NoWaits(const NoWaits&) = delete;
  NoWaits& operator=(const NoWaits&) = delete;
};

class LoopbackDevice {
 public:
  explicit LoopbackDevice(sim::Options options = {}, std::string portName = "loopback")
      : port(std::move(portName)), simulator(std::move(options), line.deviceEnd()) {
    link::setTransport(port, [this](const std::string&) { return line.hostEnd(); });
  }
  ~LoopbackDevice() { link::setTransport(port, {}); }

  // What the host has sent so far, in order: hexadecimal payloads that begin with `prefix` (upper-case hex).
  std::vector<std::string> sent(const std::string& prefix = "") const {
    std::vector<std::string> payloads;
    for (const auto& entry : simulator.transcript()) {
      if (entry.starts_with("> " + prefix)) payloads.push_back(entry.substr(2));
    }
    return payloads;
  }

  const NoWaits noWaits;
  const std::string port;
  sim::LoopbackLine line;
  sim::Simulator simulator;
};

}  // namespace BX::test
