#include "faults/Road.h"

#include <chrono>
#include <exception>
#include <thread>

#include "bx/BXSerialLink.h"
#include "faults/Exchanges.h"

namespace BX::faults {

namespace {

using Manager = BXDeviceManager;
using Port = std::string;

bool train(Manager& manager, const Port& port) {
  constexpr std::size_t wanted = 3;
  manager.startTraining(port);
  std::size_t taken = 0;
  for (bool over = false; !over && taken < wanted;) {
    over = !manager.getDevice(port).getSerialCom().getStreaming();
    taken += manager.getDevice(port).takeTrainingFrames().size();
    std::this_thread::sleep_for(std::chrono::microseconds(100));
  }
  manager.stopTraining(port);
  return taken >= wanted;
}

bool connect(Manager& manager, const Port& port) {
  manager.addDevice(port, "");
  return manager.connectDevice(port, true).toString() != "{}";
}

bool clear(Manager& manager, const Port& port) {
  manager.getDevice(port).setError(false);
  manager.clearTrainingData(port);
  return !manager.getDevice(port).hasError();
}

bool readTargets(Manager& manager, const Port& port) {
  manager.setDeviceMode(port, BXSerialCom::TRANSFER);
  return manager.getDevice(port).downloadRingTarget(1) && manager.getDevice(port).downloadSilhouetteTarget(0);
}

std::string failureOf(const Step& step, Manager& manager, const Port& port) try {
  return step.run(manager, port) ? "" : step.name + ": " + link::lastError(port);
} catch (const std::exception& error) {
  return step.name + ": " + error.what();
}

}  // namespace

const std::vector<Step>& road() {
  static const auto session = fieldMode();
  static const auto settings = example("device-settings.json");
  static auto ring = example("ring-25m-precision-pistol.json");
  static auto torso = example("silhouette-torso.json");
  static const std::vector<Step> steps{
      {"connect", connect},
      {"write settings",
       [](auto& manager, auto& port) {
         return manager.setSessionSettings(port, session) && manager.setupDeviceSettings(port, settings);
       }},
      {"read settings", [](auto& manager, auto& port) { return manager.getDeviceSettings(port).toString() != "{}"; },
       false},
      {"upload ring", [](auto& manager, auto& port) { return manager.createTargetOnDevice(port, "RING", ring); }},
      {"upload silhouette",
       [](auto& manager, auto& port) { return manager.createTargetOnDevice(port, "SILHOUETTE", torso); }, false},
      {"train", train},
      {"download", [](auto& manager, auto& port) { return !manager.downloadDeviceTrainingSession(port).empty(); }},
      {"clear", clear, false},
      {"download targets", readTargets, false},
      {"disconnect", [](auto& manager, auto& port) { return manager.removeDevice(port); }, false}};
  return steps;
}

std::string goTheRoad(Manager& manager, const Port& port, bool whole, int tries) {
  std::string failure;
  for (const Step& step : road()) {
    if ((whole || step.isShort) && failure.empty()) failure = failureOf(step, manager, port);
  }
  return failure.empty() || tries == 1 ? failure : goTheRoad(manager, port, whole, tries - 1);
}

sim::Options roadOptions() {
  sim::Options options = deviceOptions();
  for (std::uint8_t block = 0; block < 7; ++block) options.script.push_back({{0x62, block, 0xFF}, {0x59, 0x62}});
  options.keepTranscript = false;
  return options;
}

}  // namespace BX::faults
