// The control bytes, from and to the device settings.
#include "bx/BXDevice.h"
#include "bx/DocumentKeys.h"
#include "config/ControlBytes.h"
#include "morva/KeyedAccess.h"
#include "platform/DebugLog.h"

namespace BX {

unsigned char BXDevice::createParameterControlByte1() {
  return encode(
      config::Placement{.mounting = config::mountingOf(getText(deviceSettings, key::settings::mounting)),
                        .arrowButtonsEnabled = getBoolean(deviceSettings, key::settings::arrowButtonsEnabled)});
}

bool BXDevice::createParameterControlByte2() {
  const bool useZeroing = getBoolean(deviceSettings, key::settings::useZeroing);
  if (useZeroing) {
    log("USE ZEROING");
    log("1");
  }
  return useZeroing;
}

unsigned char BXDevice::createParameterSet1OperatingModeControlByte1() {
  return encode(config::Evaluation{
      .evaluateSilhouette = currentSilhouetteTargetNumber != noTarget,
      .countRingScore = currentRingTargetNumber != noTarget,
      .registerAllTriggers = getBoolean(deviceSettings, key::settings::registerAllTriggers),
      .targetReceiverHitIndicationBeam = getBoolean(deviceSettings, key::settings::targetReceiverHitIndicationBeam),
      .sleepWakeUp = getBoolean(deviceSettings, key::settings::sleepWakeUp)});
}

unsigned char BXDevice::createParameterSet1OperatingModeControlByte2() {
  return encode(config::Feedback{.graphicDisplay = getBoolean(deviceSettings, key::settings::graphicDisplay),
                                 .hitSoundBuzzer = getBoolean(deviceSettings, key::settings::hitSoundBuzzer)});
}

void BXDevice::processParameterControlByte1(const unsigned char* byte) {
  const config::Placement placement = config::decodePlacement(*byte);
  setText(deviceSettings, key::settings::mounting, textOf(placement.mounting));
  setBoolean(deviceSettings, key::settings::arrowButtonsEnabled, placement.arrowButtonsEnabled);
}

void BXDevice::processParameterSet1OperatingModeControlByte1(const unsigned char* byte) {
  const config::Evaluation evaluation = config::decodeEvaluation(*byte);
  setBoolean(deviceSettings, key::settings::evaluateSilhouette, evaluation.evaluateSilhouette);
  setBoolean(deviceSettings, key::settings::countRingScore, evaluation.countRingScore);
  setBoolean(deviceSettings, key::settings::registerAllTriggers, evaluation.registerAllTriggers);
  setBoolean(deviceSettings, key::settings::targetReceiverHitIndicationBeam,
             evaluation.targetReceiverHitIndicationBeam);
  setBoolean(deviceSettings, key::settings::sleepWakeUp, evaluation.sleepWakeUp);
}

}  // namespace BX
