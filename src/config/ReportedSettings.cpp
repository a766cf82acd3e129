// What the parameter-set frames of a device say beyond its device settings.
#include "bx/BXDevice.h"
#include "bx/DocumentKeys.h"
#include "config/ParameterSetFrame.h"
#include "morva/KeyedAccess.h"

namespace BX {

namespace {

// Empty when it was never read.
std::span<const std::uint8_t> frameOf(const std::map<std::int32_t, wire::Bytes>& frames, std::uint8_t number) {
  const auto frame = frames.find(number);
  return frame == frames.end() ? std::span<const std::uint8_t>() : frame->second;
}

}  // namespace

BXDevice::Json BXDevice::reportedSessionSettings() const {
  Json settings;
  if (const auto fieldMode = config::decodeFieldMode(frameOf(deviceFrames, config::deviceFrame))) {
    setBoolean(settings, key::session::isInFieldMode, *fieldMode);
  }
  if (const auto mode = config::decodeOperatingMode(frameOf(deviceFrames, config::classicFrame))) {
    setInteger(settings, key::session::numberOfBullets, mode->numberOfBullets);
    setInteger(settings, key::session::wakeupAngle, mode->wakeupAngle);
    setInteger(settings, key::session::shotRejectionAngle, mode->shotRejectionAngle);
    setInteger(settings, key::session::sleepTimeout, mode->sleepTimeout);
    setInteger(settings, key::session::triggerSensitivity, mode->triggerSensitivity);
    setDouble(settings, key::session::cockingDelay, config::decodeCockingDelay(mode->cockingDelay));
  }
  return settings;
}

BXDevice::TargetNumbers BXDevice::reportedTargets() const {
  const auto mode = config::decodeOperatingMode(frameOf(deviceFrames, config::classicFrame));
  if (!mode) return {};
  return {.ring = mode->ringTargetNumber, .silhouette = mode->silhouetteTargetNumber};
}

}  // namespace BX
