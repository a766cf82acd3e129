// A device object and a simulated device on one line in memory, with short time-outs and no fixed waits: what every
// cell of the matrix, and the soak, runs on.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "bx/BXDevice.h"
#include "bx/BXSerialLink.h"
#include "simulator/LoopbackLine.h"
#include "simulator/Simulator.h"

namespace BX::faults {

inline constexpr std::chrono::milliseconds resendTime{5};

inline constexpr std::chrono::milliseconds replyTime{250};

// For every rig of the process, from now on.
void useTimeouts(const link::Options& options = {
                     .baud = 0, .resend = resendTime, .sends = 5, .reply = replyTime, .keepAlive = replyTime});

// Measurement number `index` of a stream or memory; its document tells the index again.
sim::Bytes measurement(std::size_t index);
std::size_t indexOf(const MORVA::MORVADataTypeJSON& document);

class Rig {
 public:
  explicit Rig(sim::Options options);
  ~Rig();

  // The device is there again after its line was cut, without faults.
  void powerOn();
  const std::string& port() const { return port_; }
  BXSerialCom& com() { return device.getSerialCom(); }
  // Why the last exchange failed; empty without an error.
  std::string error();
  // What the device was asked, since this was last called.
  std::vector<std::string> newRequests();

  BXDevice device;
  std::unique_ptr<sim::Simulator> simulator;
  std::vector<MORVA::MORVADataTypeJSON> streamed;  // what an exchange has taken from the stream

 private:
  sim::Options options_;
  sim::LoopbackLine line_;
  const std::string port_;
  std::size_t transcriptRead_ = 0;
};

}  // namespace BX::faults
