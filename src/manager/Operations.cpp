// The operations that a host does with a registered device. Whether a mode change was granted is never examined: what
// follows fails by itself when it was not.
#include <chrono>
#include <thread>
#include <utility>

#include "bx/DocumentKeys.h"
#include "manager/Entry.h"

namespace BX {

namespace {

void useTransferMode(BXDevice& device) { device.setDeviceMode(BXSerialCom::TRANSFER, false); }
void rest(BXDevice& device) { device.setDeviceMode(BXSerialCom::RESTING, false); }

}  // namespace

MORVA::MORVADataTypeJSON BXDeviceManager::getDeviceSettings(const std::string& port) {
  const Turn device = take(port);
  if (!device) return {};
  device->getParameterSetFrames();
  return device->getDeviceSettings();
}

void BXDeviceManager::setDeviceSettings(const std::string& port, const Json& settings) {
  const Turn device = take(port);
  if (!device) return;
  device->setDeviceSettings(settings);
  useTransferMode(*device);
  device->setParameterSetFrames();
  rest(*device);
}

bool BXDeviceManager::setupDeviceSettings(const std::string& port, const Json& settings) {
  const Turn device = take(port);
  if (!device) return false;
  useTransferMode(*device);
  device->setDeviceSettings(settings);
  const bool written = device->setParameterSetFrames();
  rest(*device);
  return written;
}

bool BXDeviceManager::setSessionSettings(const std::string& port, const Json& settings) {
  const Turn device = take(port);
  if (device) device->setSessionSettings(settings);
  return static_cast<bool>(device);
}

void BXDeviceManager::setDeviceMode(const std::string& port, BXSerialCom::DeviceMode mode) {
  if (const Turn device = take(port)) device->setDeviceMode(mode, false);
}

void BXDeviceManager::setCallBackFunction(const std::string& port, std::function<void()> callBack) {
  if (const Turn device = take(port)) device->setCallBackFunction(std::move(callBack));
}

void BXDeviceManager::startTraining(const std::string& port) {
  if (const Turn device = take(port)) device->startThread();
}

void BXDeviceManager::stopTraining(const std::string& port) {
  const Turn device = take(port);
  if (!device) return;
  device->setDeviceMode(BXSerialCom::RESTING, true);
  device->stopThread();
  // Every way out of the listening thread clears the flag, and none of them needs this turn.
  while (device->getSerialCom().getStreaming()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void BXDeviceManager::stopTraining() {
  for (const auto& port : ports()) stopTraining(port);
}

bool BXDeviceManager::createTargetOnDevice(const std::string& port, const std::string& targetType, Json& target) try {
  const Turn device = take(port);
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

void BXDeviceManager::clearTargetData(const std::string& port) {
  if (const Turn device = take(port)) device->clearTargetData();
}

std::vector<MORVA::MORVADataTypeJSON> BXDeviceManager::downloadDeviceTrainingSession(const std::string& port) {
  const Turn device = take(port);
  if (!device) return {};
  useTransferMode(*device);
  device->sendDownloadFrame();
  std::vector<Json> records = device->getTrainingFrames();
  rest(*device);
  return records;
}

void BXDeviceManager::clearTrainingData(const std::string& port) {
  const Turn device = take(port);
  if (!device) return;
  useTransferMode(*device);
  device->clearTrainingDataOnDevice();
  rest(*device);
}

}  // namespace BX
