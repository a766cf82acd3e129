// What a host may do with a manager, from any thread at any time, on a port that the device of a test is at.
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "morva/KeyedAccess.h"
#include "tests/lifetimes/Lifetimes.h"

namespace BX::test {

inline constexpr auto port = "loopback";

using Doing = std::function<void(BXDeviceManager&)>;

inline Doing upload(const std::string& type, const std::string& document) {
  return [=](BXDeviceManager& manager) {
    MORVA::MORVADataTypeJSON target;
    target.parseString(document);
    manager.createTargetOnDevice(port, type, target);
  };
}

inline void train(BXDeviceManager& manager) {
  manager.startTraining(port);
  manager.stopTraining();
}

struct Operation {
  const char* name;
  bool isConnected;  // before it begins
  Doing run;

  friend void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }
};

inline const std::vector<Operation> operations = {
    {"Connect", false, [](auto& manager) { manager.connectDevice(port, true); }},
    {"ReadSettings", true, [](auto& manager) { manager.getDeviceSettings(port); }},
    {"WriteSettings", true, [](auto& manager) { manager.setupDeviceSettings(port, {}); }},
    {"RingTarget", true, upload("RING", R"({"RingTargetNumber":1})")},
    {"Silhouette", true, upload("SILHOUETTE", R"({"SilhouetteTargetNumber":2,"SilhouetteTarget":[[1],[0,1],[1]]})")},
    {"Download", true, [](auto& manager) { manager.downloadDeviceTrainingSession(port); }},
    {"Clear", true, [](auto& manager) { manager.clearTrainingData(port); }},
    {"Train", true, train},
    {"ConnectAll", true, [](auto& manager) { manager.connectDevices(); }},
    {"Start", true, [](auto& manager) { manager.startTraining(port); }},
    {"Mode", true, [](auto& manager) { manager.setDeviceMode(port, BXSerialCom::INFORMATION); }},
    {"Stop", true, [](auto& manager) { manager.stopTraining(port); }},
    {"Take", true, [](auto& manager) { manager.takeTrainingFrames(port); }},
    {"Copy", true, [](auto& manager) { const BXDeviceManager copy(manager); }},
    {"Forget", true, [](auto& manager) { manager.clearTargetData(port); }},
    {"Session", true, [](auto& manager) { manager.setSessionSettings(port, {}); }},
    {"Remove", true, [](auto& manager) { manager.removeDevice(port); }},
    {"RemoveAll", true, [](auto& manager) { manager.disconnectDevices(); }},
    {"RemoveAndAdd", true,
     [](auto& manager) {
       manager.removeDevice(port);
       manager.addDevice(port, "");
     }},
};

}  // namespace BX::test
