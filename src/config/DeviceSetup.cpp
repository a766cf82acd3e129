// The settings documents, and the identity items that a freshly connected device is asked for.
#include "bx/BXDevice.h"
#include "platform/DebugLog.h"

namespace BX {

void BXDevice::setDeviceSettings(const Json& settings) {
  log("Device Settings Set");
  deviceSettings = settings;
}

void BXDevice::setSessionSettings(const Json& settings) {
  log("Session Settings Set");
  sessionSettings = settings;
}

bool BXDevice::setupDeviceSettings() {
  const std::function<void()> keepItem = [this] { processDeviceInfo(); };
  serialCom.setCallBackFunction(keepItem);
  for (const auto* item :
       {&BXSerialCom::DEVICE_INFO_SERIAL_NUMBER, &BXSerialCom::DEVICE_INFO_ID, &BXSerialCom::DEVICE_INFO_PROGRAM,
        &BXSerialCom::DEVICE_INFO_DATE, &BXSerialCom::DEVICE_INFO_TIME, &BXSerialCom::DEVICE_INFO_USAGE_INFORMATION,
        &BXSerialCom::DEVICE_INFO_ERROR_COUNTERS}) {
    if (!serialCom.sendDeviceInfoCommand(*item, keepItem)) return false;
  }
  deviceInitialized = true;
  return true;
}

}  // namespace BX
