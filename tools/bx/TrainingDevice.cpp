#include "TrainingDevice.h"

#include "Records.h"
#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

void TrainingDevice::connect() {
  connection_.emplace(tool_, port_);
  if (targetNumber_) useStoredTarget(*targetNumber_);
  if (configuration_.target) target_ = configuration_.target->document;
  configure(tool_, *connection_, configuration_);
}

Json TrainingDevice::header() const {
  Json header;
  MORVA::setText(header, "start", timeNow());
  MORVA::setText(header, "port", port_);
  MORVA::setDocument(header, "device", settingsNow());
  MORVA::setDocument(header, "session", configuration_.session.value_or(Json()));
  return header;
}

// What the device has reported, as far as it has not been written since.
Json TrainingDevice::settingsNow() const {
  Json settings = connection_->settings();
  if (!configuration_.device) return settings;
  auto& root = settings.getDocument();
  for (const auto& written : configuration_.device->getDocument().GetObject()) {
    if (root.HasMember(written.name)) root[written.name].CopyFrom(written.value, root.GetAllocator());
  }
  return settings;
}

void TrainingDevice::keepSettings() {
  if (configuration_.any() && !configuration_.device) configuration_.device = connection_->settings();
}

std::string TrainingDevice::targetAdvice(const TargetWords& words) {
  if (configuration_.target || (targetNumber_ && configuration_.any())) return {};
  const auto inUse = connection_->device().reportedTargets();
  const std::string ring = std::to_string(inUse.ring);
  if (targetNumber_) {
    if (inUse.ring == *targetNumber_) return {};
    return "the device tells of " + (inUse.ring == noTarget ? "no ring target" : "ring target " + ring) +
           " in use, not of " + std::to_string(*targetNumber_);
  }
  if (configuration_.any()) {
    return "no target is given, so none is in use from now on: " + words.file + " or " + words.number +
           "N puts one in use";
  }
  if (inUse.ring != noTarget) {
    return "no target is given, but the device has ring target " + ring +
           " in use: positions and distances are wrong from the second shot on; " + words.number + ring + " or " +
           words.file + " tells it";
  }
  if (inUse.silhouette != noTarget) {
    return "no target is given, but the device has silhouette target " + std::to_string(inUse.silhouette) +
           " in use: the session does not tell it; " + words.file + " does";
  }
  return "no target is given, and the device tells of none in use: " + words.file + " uploads one";
}

// Changes nothing on the device.
void TrainingDevice::useStoredTarget(int number) {
  auto& device = connection_->device();
  connection_->begin();
  device.setDeviceMode(BXSerialCom::TRANSFER, false);
  const bool complete = device.downloadRingTarget(number);
  device.setDeviceMode(BXSerialCom::RESTING, false);
  if (!complete) connection_->fail("download target");
  target_ = device.getAllTargets().front();
  if (MORVA::getInteger(*target_, key::ring::ringTargetNumber) != number) {
    throw Failure(deviceFailed, port_ + ": download target: the device's answer is no ring target");
  }
  device.setTargetInUse(text::ring, number);
}

}  // namespace BX::tool
