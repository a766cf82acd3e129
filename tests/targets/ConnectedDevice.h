// A device object in transfer mode, in front of a simulated device, with the log texts of what it does from then on.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "bx/BXDevice.h"
#include "device/DebugLog.h"
#include "tests/support/LoopbackDevice.h"
#include "tests/targets/TargetTesting.h"

namespace BX::test {

class ConnectedDevice {
 public:
  explicit ConnectedDevice(sim::Options options = {}) : far(std::move(options)) {
    device.setDevicePort(far.port);
    if (!device.getSerialCom().openPort() || !device.setDeviceMode(BXSerialCom::TRANSFER, false)) {
      throw std::runtime_error("no connection");
    }
    texts().clear();
    previous_ = std::exchange(debugFunction, [](const char* text) { texts().emplace_back(text); });
  }
  ~ConnectedDevice() { debugFunction = previous_; }
  ConnectedDevice(const ConnectedDevice&) = delete;
  ConnectedDevice& operator=(const ConnectedDevice&) = delete;

  static std::vector<std::string>& texts() {
    static std::vector<std::string> texts;
    return texts;
  }
  static bool logged(const std::string& text) { return std::count(texts().begin(), texts().end(), text) > 0; }

  // The bytes of the payload that tell the device which targets are in use: ring, silhouette, prisms.
  std::string targetsInUse() {
    if (!device.setParameterSetFrames()) throw std::runtime_error("settings refused");
    return far.sent("6401").back().substr(2 * 4, 2 * 3);
  }

  LoopbackDevice far;
  BXDevice device;

 private:
  void (*previous_)(const char*) = nullptr;
};

// A simulated device that refuses what begins with `request`.
inline sim::Options refusing(const std::string& request) {
  sim::Options options;
  options.script.push_back({fromHex(request), {}});
  return options;
}

}  // namespace BX::test
