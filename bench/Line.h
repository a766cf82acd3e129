// Simulated devices on lines, and what their frames cost.
#pragma once

#include <sched.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "bx/BXDevice.h"
#include "morva/KeyedAccess.h"
#include "platform/codec/Frame.h"
#include "simulator/Simulator.h"

namespace BX::bench {

inline constexpr unsigned lineBaud = 115200;

// How many bytes travel for a payload of one frame.
inline std::size_t framed(const sim::Bytes& payload) {
  constexpr std::size_t headerSize = 2;
  sim::Bytes content(headerSize, 0);
  content.insert(content.end(), payload.begin(), payload.end());
  return link::encodeFrame(content).size();
}

// Seconds that bytes take on a line of ten bits a byte.
inline double secondsOnLine(std::size_t bytes) { return static_cast<double>(bytes) * 10 / lineBaud; }

inline sim::Options paced(std::chrono::milliseconds latency) {
  sim::Options options;
  options.baud = lineBaud;
  options.latency = latency;
  return options;
}

// A simulated device at the far end of a new pseudo-terminal.
class PtyDevice {
 public:
  explicit PtyDevice(sim::Options options) : PtyDevice(std::move(options), std::make_unique<sim::PtyLine>()) {}
  const std::string& name() const { return name_; }

 private:
  PtyDevice(sim::Options options, std::unique_ptr<sim::PtyLine> line)
      : name_(line->name()), simulator_(quiet(std::move(options)), std::move(line)) {}
  static sim::Options quiet(sim::Options options) {
    options.keepTranscript = false;
    return options;
  }

  std::string name_;
  sim::Simulator simulator_;
};

// Opens the port and puts the device in transfer mode, to train in the field later; throws when that fails.
inline void connect(BXDevice& device, const std::string& port) {
  BXDevice::Json session;
  MORVA::setBoolean(session, "isInFieldMode", true);
  device.setSessionSettings(session);
  device.setDevicePort(port);
  if (!device.getSerialCom().openPort() || !device.setDeviceMode(BXSerialCom::TRANSFER, false)) {
    throw std::runtime_error(port + ": " + link::lastError(port));
  }
}

template <typename Condition>
void spinUntil(const Condition& condition) {
  while (!condition()) ::sched_yield();
}

// Ends a stream.
inline void stop(BXDevice& device) {
  device.setDeviceMode(BXSerialCom::RESTING, true);
  device.stopThread();
  spinUntil([&] { return !device.getSerialCom().getStreaming(); });
}

}  // namespace BX::bench
