#include "bx/BXDevice.h"

#include <chrono>
#include <functional>
#include <optional>
#include <utility>

#include "device/InformationReply.h"
#include "morva/KeyedAccess.h"
#include "platform/DebugLog.h"
#include "platform/time/TimeSeam.h"

namespace BX {

namespace {

using std::chrono::milliseconds;

constexpr int openTries = 3;
constexpr milliseconds startupDelay{2000};  // before the startup command
constexpr milliseconds settleDelay{500};    // before the first mode command, and before a device is destroyed

}  // namespace

BXDevice::BXDevice() : aimTimerStart(platform::tick()) {}

BXDevice::BXDevice(const BXDevice& other)
    : portName(other.portName),
      deviceInitialized(other.deviceInitialized),
      downloadingTrainingData(other.downloadingTrainingData.load()),
      serialCom(other.serialCom),
      deviceSettings(other.deviceSettings),
      target(other.target),
      sessionSettings(other.target),  // crossed on purpose
      aimTimerStart(platform::tick()),
      ringTargets(other.ringTargets),
      silhouetteTargets(other.silhouetteTargets) {
  // A device that streams changes these on the listening thread.
  const boost::unique_lock<boost::mutex> lock(other.trainingFramesMutex);
  currentRingTargetNumber = other.currentRingTargetNumber;
  currentSilhouetteTargetNumber = other.currentSilhouetteTargetNumber;
}

// The link would close itself, but only after the members that the stream handler uses are gone.
BXDevice::~BXDevice() {
  try {
    platform::wait(settleDelay);
    serialCom.closePort();
  } catch (...) {  // a link that fails to close its port must not end the process
  }
}

bool BXDevice::connectDevice(bool skipStartup) {
  if (serialCom.isConnected()) return true;
  int tries = 1;
  while (!serialCom.openPort()) {
    if (++tries > openTries || removing) return false;
  }
  clearTrainingFrames();
  {
    const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);
    receivedFrames = 0;
  }
  if (!skipStartup) {
    log("Send Startup Command");
    platform::wait(startupDelay);
    if (serialCom.sendStartupCommand()) log("Startup Success!!!");
  }
  platform::wait(settleDelay);
  if (!setDeviceMode(BXSerialCom::INFORMATION, false) || !setupDeviceSettings()) {
    disconnectDevice();
    return false;
  }
  serialCom.setIsStartup(true);
  return true;
}

void BXDevice::disconnectDevice() {
  serialCom.closePort();
  deviceSettings = Json(MORVA::JSONType::Object);
  target = Json(MORVA::JSONType::Object);
  clearTargetData();
  storedShotFrames.clear();
  storedDataFrames.clear();
  clearTrainingFrames();
  unityCallback = nullptr;
}

bool BXDevice::setDeviceMode(const BXSerialCom::DeviceMode& mode, bool flag) {
  if (serialCom.currentDeviceMode == mode) return true;
  log("SET DEVICE MODE STARTED");
  if (!serialCom.setDeviceMode(mode, flag)) return false;
  serialCom.currentDeviceMode = mode;
  return true;
}

void BXDevice::processDeviceInfo() {
  if (const auto item = device::decodeInformation(serialCom.getReceivedBytes())) {
    if (const auto setting = device::settingOf(*item)) setText(deviceSettings, setting->key, setting->value);
  }
  serialCom.setReadyToSend(true);
}

bool BXDevice::requestInformation(const std::string& item, std::string& text) {
  std::optional<device::InformationItem> received;
  const std::function<void()> keepItem = [this, &received] {
    received = device::decodeInformation(serialCom.getReceivedBytes());
    serialCom.setReadyToSend(true);
  };
  const bool answered = serialCom.sendDeviceInfoCommand(item, keepItem);
  if (!answered || !received) return false;
  text = std::move(received->text);
  return true;
}

bool BXDevice::isDeviceInitialized() const { return deviceInitialized; }

bool BXDevice::isDownloading() const { return downloadingTrainingData || downloadingTarget; }

bool BXDevice::hasError() const { return serialCom.getError(); }

void BXDevice::setError(bool error) { serialCom.setError(error); }

BXSerialCom& BXDevice::getSerialCom() { return serialCom; }

BXDevice::Json& BXDevice::getDeviceSettings() { return deviceSettings; }

BXDevice::Json& BXDevice::getSessionSettings() { return sessionSettings; }

BXDevice::Json& BXDevice::getTarget() { return target; }

const std::string& BXDevice::getTargetType() const { return targetType; }

// A link whose port is open keeps its name, and so does the device. What the link returns otherwise counts for nothing.
void BXDevice::setDevicePort(const std::string& port) {
  if (!serialCom.isConnected()) portName = port;
  serialCom.initializePort(port);
}

void BXDevice::setTarget(const Json& newTarget) { target = newTarget; }

void BXDevice::setCallBackFunction(std::function<void()> newCallBack) { callBack = std::move(newCallBack); }

void BXDevice::setRemoveDeviceCallback(std::function<bool(const char*)> callback) {
  serialCom.setRemoveDeviceCallback(std::move(callback));
}

void BXDevice::setUnityCallback(void (*callback)(const char*)) { unityCallback = callback; }

void BXDevice::stop() {}

}  // namespace BX
