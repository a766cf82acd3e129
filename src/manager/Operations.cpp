// The operations that a host does with a registered device. Whether a mode change was granted is never examined: what
// follows fails by itself when it was not.
#include <chrono>
#include <thread>
#include <utility>

#include "bx/DocumentKeys.h"
#include "manager/Registry.h"

namespace BX {

namespace {

// How long stopTraining keeps other operations out while the last payloads are handled.
constexpr std::chrono::seconds handlerPatience{1};

void useTransferMode(BXDevice& device) { device.setDeviceMode(BXSerialCom::TRANSFER, false); }
void rest(BXDevice& device) { device.setDeviceMode(BXSerialCom::RESTING, false); }

}  // namespace

MORVA::MORVADataTypeJSON BXDeviceManager::getDeviceSettings(const std::string& port) {
  const LockedDevice device = registry->lock(port);
  if (!device) return {};
  device->getParameterSetFrames();
  return device->getDeviceSettings();
}

void BXDeviceManager::setDeviceSettings(const std::string& port, const Json& settings) {
  const LockedDevice device = registry->lock(port);
  if (!device) return;
  device->setDeviceSettings(settings);
  useTransferMode(*device);
  device->setParameterSetFrames();
  rest(*device);
}

bool BXDeviceManager::setupDeviceSettings(const std::string& port, const Json& settings) {
  const LockedDevice device = registry->lock(port);
  if (!device) return false;
  useTransferMode(*device);
  device->setDeviceSettings(settings);
  const bool written = device->setParameterSetFrames();
  rest(*device);
  return written;
}

bool BXDeviceManager::setSessionSettings(const std::string& port, const Json& settings) {
  const LockedDevice device = registry->lock(port);
  if (device) device->setSessionSettings(settings);
  return static_cast<bool>(device);
}

void BXDeviceManager::setDeviceMode(const std::string& port, BXSerialCom::DeviceMode mode) {
  if (const LockedDevice device = registry->lock(port)) device->setDeviceMode(mode, false);
}

void BXDeviceManager::setCallBackFunction(const std::string& port, std::function<void()> callBack) {
  if (const LockedDevice device = registry->lock(port)) device->setCallBackFunction(std::move(callBack));
}

void BXDeviceManager::startTraining(const std::string& port) {
  const LockedDevice device = registry->lock(port);
  if (!device) return;
  ++device.entry().starts;
  device->startThread();
}

// Every way out of the listening thread clears the flag, and none of them needs this lock, but for a stream handler of
// the host's own that has called this manager and waits for it: the lock is given back then. A training that is started
// from then on is none of this call's business.
void BXDeviceManager::stopTraining(const std::string& port) {
  LockedDevice device = registry->lock(port);
  if (!device) return;
  device->setDeviceMode(BXSerialCom::RESTING, true);
  device->stopThread();
  const auto patienceEnds = std::chrono::steady_clock::now() + handlerPatience;
  const unsigned starts = device.entry().starts;
  while (device->getSerialCom().getStreaming() && device.entry().starts == starts) {
    if (device.owns() && std::chrono::steady_clock::now() >= patienceEnds) device.unlock();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void BXDeviceManager::stopTraining() {
  for (const auto& port : registry->ports()) stopTraining(port);
}

bool BXDeviceManager::createTargetOnDevice(const std::string& port, const std::string& targetType, Json& target) try {
  const LockedDevice device = registry->lock(port);
  if (!device) return false;
  useTransferMode(*device);
  device->setTarget(target);
  const bool uploaded =
      targetType == text::ring ? device->uploadRingTarget(target) : device->uploadSilhouetteTarget(target);
  rest(*device);
  return uploaded;
} catch (...) {
  return false;
}

bool BXDeviceManager::downloadTarget(const std::string& port, const std::string& targetType, std::int32_t number,
                                     Json& target) {
  const LockedDevice device = registry->lock(port);
  if (!device) return false;
  const bool isRing = targetType == text::ring;
  useTransferMode(*device);
  const bool fetched = isRing ? device->downloadRingTarget(number) : device->downloadSilhouetteTarget(number);
  rest(*device);
  auto& targets = isRing ? device->ringTargets : device->silhouetteTargets;
  const auto found = targets.find(number);
  if (!fetched || found == targets.end()) return false;
  target = found->second;
  return true;
}

std::vector<MORVA::MORVADataTypeJSON> BXDeviceManager::getTargets(const std::string& port) {
  const LockedDevice device = registry->lock(port);
  return device ? device->getAllTargets() : std::vector<Json>();
}

void BXDeviceManager::clearTargetData(const std::string& port) {
  if (const LockedDevice device = registry->lock(port)) device->clearTargetData();
}

std::vector<MORVA::MORVADataTypeJSON> BXDeviceManager::downloadDeviceTrainingSession(const std::string& port) {
  const LockedDevice device = registry->lock(port);
  if (!device) return {};
  const RecordsInUse bracket(device.entry());
  useTransferMode(*device);
  device->sendDownloadFrame();
  std::vector<Json> records = device->getTrainingFrames();
  rest(*device);
  return records;
}

void BXDeviceManager::clearTrainingData(const std::string& port) {
  const LockedDevice device = registry->lock(port);
  if (!device) return;
  const RecordsInUse bracket(device.entry());
  useTransferMode(*device);
  device->clearTrainingDataOnDevice();
  rest(*device);
}

}  // namespace BX
