// What the tests of devices, of their targets and of their registry share.
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "bx/BXDevice.h"
#include "tests/json/Parsed.h"
#include "tests/support/Event.h"
#include "tests/support/Hex.h"
#include "tests/support/LoopbackDevice.h"

namespace BX::test {

using testing::ElementsAre, testing::HasSubstr, testing::IsEmpty, testing::SizeIs, testing::StartsWith;

// What the simulated device reports of itself when it is connected.
inline const std::string simulatedInformation =
    R"({"SerialNumber":"SIM-000001","DeviceID":"BX-SIM","Program":"V1.00","Date":"21.11.26","Time":"12:00:00")";
inline const std::string simulatedSettings =
    simulatedInformation +
    R"(,"Mounting":"ABOVE","ArrowButtonsEnabled":true,"EvaluateSilhouette":false,"CountRingScore":false,)"
    R"("RegisterAllTriggers":true,"TargetReceiverHitIndicationBeam":true,"SleepWakeUp":true})";

inline sim::ScriptedReply scripted(const std::string& request, const std::string& reply) {
  return {bytesOf(request), bytesOf(reply)};
}

inline sim::Options withScript(std::vector<sim::ScriptedReply> script) {
  sim::Options options;
  options.script = std::move(script);
  return options;
}

// A simulated device that refuses what begins with `request`.
inline sim::Options refusing(const std::string& request) { return withScript({scripted(request, "")}); }

inline sim::Options streaming(const std::vector<std::string>& payloads) {
  sim::Options options;
  options.stream.emplace();
  for (const auto& payload : payloads) options.stream->push_back(bytesOf(payload));
  options.rate = 2000;
  return options;
}

// A device object in front of a simulated device.
struct Connection : LoopbackDevice {
  explicit Connection(sim::Options options = {}) : LoopbackDevice(std::move(options)) { device.setDevicePort(port); }

  bool connect() { return device.connectDevice(true); }
  bool enter(BXSerialCom::DeviceMode mode) { return device.setDeviceMode(mode, false); }
  std::string settings() { return device.getDeviceSettings().toString(); }
  void awaitEndOfStream() {
    await([this] { return !device.getSerialCom().getStreaming(); });
  }
  void stop() {
    enter(BXSerialCom::RESTING);
    device.stopThread();
    awaitEndOfStream();
  }

  BXDevice device;
};

}  // namespace BX::test
