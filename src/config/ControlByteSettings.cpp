// The control bytes, from and to the device settings.
#include "bx/BXDevice.h"
#include "config/ControlBytes.h"
#include "config/SettingsKeys.h"
#include "device/DebugLog.h"
#include "morva/KeyedAccess.h"
#include "records/RecordFormat.h"

namespace BX {

namespace key = config::key;

unsigned char BXDevice::createParameterControlByte1() {
  return encode(config::Placement{.mounting = config::mountingOf(getText(deviceSettings, key::mounting)),
                                  .arrowButtonsEnabled = getBoolean(deviceSettings, key::arrowButtonsEnabled)});
}

bool BXDevice::createParameterControlByte2() {
  const bool useZeroing = getBoolean(deviceSettings, key::useZeroing);
  if (useZeroing) {
    log("USE ZEROING");
    log("1");
  }
  return useZeroing;
}

unsigned char BXDevice::createParameterSet1OperatingModeControlByte1() {
  return encode(config::Evaluation{
      .evaluateSilhouette = currentSilhouetteTargetNumber != records::noTarget,
      .countRingScore = currentRingTargetNumber != records::noTarget,
      .registerAllTriggers = getBoolean(deviceSettings, key::registerAllTriggers),
      .targetReceiverHitIndicationBeam = getBoolean(deviceSettings, key::targetReceiverHitIndicationBeam),
      .sleepWakeUp = getBoolean(deviceSettings, key::sleepWakeUp)});
}

unsigned char BXDevice::createParameterSet1OperatingModeControlByte2() {
  return encode(config::Feedback{.graphicDisplay = getBoolean(deviceSettings, key::graphicDisplay),
                                 .hitSoundBuzzer = getBoolean(deviceSettings, key::hitSoundBuzzer)});
}

void BXDevice::processParameterControlByte1(const unsigned char* byte) {
  const config::Placement placement = config::decodePlacement(*byte);
  setText(deviceSettings, key::mounting, textOf(placement.mounting));
  setBoolean(deviceSettings, key::arrowButtonsEnabled, placement.arrowButtonsEnabled);
}

void BXDevice::processParameterSet1OperatingModeControlByte1(const unsigned char* byte) {
  const config::Evaluation evaluation = config::decodeEvaluation(*byte);
  setBoolean(deviceSettings, key::evaluateSilhouette, evaluation.evaluateSilhouette);
  setBoolean(deviceSettings, key::countRingScore, evaluation.countRingScore);
  setBoolean(deviceSettings, key::registerAllTriggers, evaluation.registerAllTriggers);
  setBoolean(deviceSettings, key::targetReceiverHitIndicationBeam, evaluation.targetReceiverHitIndicationBeam);
  setBoolean(deviceSettings, key::sleepWakeUp, evaluation.sleepWakeUp);
}

}  // namespace BX
