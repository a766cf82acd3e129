// The exchanges that read and write a device's parameter-set frames.
#include <iostream>

#include "bx/BXDevice.h"
#include "bx/DocumentKeys.h"
#include "config/ParameterSetFrame.h"
#include "morva/KeyedAccess.h"
#include "platform/DebugLog.h"
#include "platform/Exchange.h"
#include "platform/Numbers.h"
#include "platform/Wire.h"

namespace BX {

namespace {

using platform::lowByte;

struct OperatingModeLabels {
  const char* ring;
  const char* silhouette;
  const char* prisms;
};

constexpr OperatingModeLabels classicLabels = {
    "CLASSIC - RING NUM:", "CLASSIC - SILHOUETTE NUM:", "Number of Prisms - classic:"};
constexpr OperatingModeLabels dynamicLabels = {
    "Dynamic - RING NUM:", "Dynamic - SIL NUM:", "Number of Prisms - dynamic:"};

std::uint8_t logged(const char* label, std::int32_t number) {
  log(label);
  log(std::to_string(number));
  return lowByte(number);
}

}  // namespace

bool BXDevice::getParameterSetFrames() {
  serialCom.setCallBackFunction([this] { processGetParameterSetFrames(); });
  for (const std::uint8_t frame : config::framesToRead) {
    if (!serialCom.getParameterSetFrame(frame)) return false;
  }
  processDeviceFrames();
  serialCom.setCallBackFunction({});
  return true;
}

void BXDevice::processGetParameterSetFrames() {
  Bytes reply = serialCom.getReceivedBytes();
  if (const auto number = config::frameNumber(reply)) {
    deviceFrames.try_emplace(*number, std::move(reply));  // the first answer counts for the life of the device
  } else {
    const std::string text = config::describeUnexpected(reply);
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size()));
  }
  serialCom.setReadyToSend(true);
}

// A frame that was never received becomes an empty entry, which counts as its first answer.
void BXDevice::processDeviceFrames() {
  if (const auto byte = config::controlByte(deviceFrames[config::deviceFrame])) processParameterControlByte1(&*byte);
  if (const auto byte = config::controlByte(deviceFrames[config::classicFrame])) {
    processParameterSet1OperatingModeControlByte1(&*byte);
  }
}

bool BXDevice::setParameterSetFrames() {
  const auto operatingMode = [this](std::uint8_t frame, const OperatingModeLabels& labels) {
    const auto setting = [this](const char* key) { return lowByte(getInteger(sessionSettings, key)); };
    return config::encode(
        frame, {.controlByte1 = createParameterSet1OperatingModeControlByte1(),
                .controlByte2 = createParameterSet1OperatingModeControlByte2(),
                .ringTargetNumber = logged(labels.ring, currentRingTargetNumber),
                .silhouetteTargetNumber = logged(labels.silhouette, currentSilhouetteTargetNumber),
                .numberOfPrisms = logged(labels.prisms, numberOfPrisms),
                .numberOfBullets = setting(key::session::numberOfBullets),
                .wakeupAngle = setting(key::session::wakeupAngle),
                .shotRejectionAngle = setting(key::session::shotRejectionAngle),
                .sleepTimeout = setting(key::session::sleepTimeout),
                .triggerSensitivity = setting(key::session::triggerSensitivity),
                .cockingDelay = config::encodeCockingDelay(getDouble(sessionSettings, key::session::cockingDelay))});
  };

  const config::DeviceParameters parameters = {.controlByte1 = createParameterControlByte1(),
                                               .controlByte2 = createParameterControlByte2(),
                                               .fieldMode = getBoolean(sessionSettings, key::session::isInFieldMode)};
  log(parameters.fieldMode ? "SET PARAM SET FRAMESE STARTUP FUNC - 0x02" : "SET PARAM SET FRAMESE STARTUP FUNC - 0x01");
  if (!wire::sendForAcknowledgement(serialCom, config::encode(parameters))) return false;
  if (!wire::sendForAcknowledgement(serialCom, operatingMode(config::classicFrame, classicLabels))) return false;
  if (!wire::sendForAcknowledgement(serialCom, operatingMode(config::dynamicFrame, dynamicLabels))) return false;

  log("Set Param Frame 3");
  if (!wire::sendForAcknowledgement(serialCom, config::encodeClosingFrame())) return false;
  log("Set Param Frame 3 - success");
  return true;
}

}  // namespace BX
