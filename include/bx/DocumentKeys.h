// The keys of the documents that a host gives and gets, the texts that they are compared with, and how their numbers
// travel: what the library itself reads and writes by. docs/documents.md tells types, units and what is missing.
#pragma once

#include <cstdint>

namespace BX {

namespace key {

namespace settings {
// Written to the device, and read back from it unless said otherwise.
inline constexpr auto mounting = "Mounting";  // one of the texts below
inline constexpr auto arrowButtonsEnabled = "ArrowButtonsEnabled";
inline constexpr auto registerAllTriggers = "RegisterAllTriggers";
inline constexpr auto targetReceiverHitIndicationBeam = "TargetReceiverHitIndicationBeam";
inline constexpr auto sleepWakeUp = "SleepWakeUp";
inline constexpr auto useZeroing = "UseZeroing";          // never read back
inline constexpr auto graphicDisplay = "GraphicDisplay";  // never read back
inline constexpr auto hitSoundBuzzer = "HitSoundBuzzer";  // never read back
// Only read back: what is sent there follows from the targets in use.
inline constexpr auto evaluateSilhouette = "EvaluateSilhouette";
inline constexpr auto countRingScore = "CountRingScore";
// From the device information, each a text.
inline constexpr auto serialNumber = "SerialNumber";
inline constexpr auto deviceId = "DeviceID";
inline constexpr auto program = "Program";
inline constexpr auto date = "Date";
inline constexpr auto time = "Time";
// Without any effect: a document may carry them.
inline constexpr auto angleCheck = "AngleCheck";
inline constexpr auto backgroundReflectionCheck = "BackgroundReflectionCheck";
inline constexpr auto localSumming = "LocalSumming";
inline constexpr auto rangeEvaluation = "RangeEvaluation";
inline constexpr auto storeTracking = "StoreTracking";
inline constexpr auto supplyPowerMonitoring = "SupplyPowerMonitoring";
inline constexpr auto txPowerReduction = "TXPowerReduction";
inline constexpr auto lockArrows = "LockArrows";
inline constexpr auto sleepEnable = "SleepEnable";
inline constexpr auto hibEnabled = "HIBEnabled";
inline constexpr auto soundEnabled = "SoundEnabled";
inline constexpr auto displayEnabled = "DisplayEnabled";
}  // namespace settings

namespace session {
inline constexpr auto isInFieldMode = "isInFieldMode";
inline constexpr auto numberOfBullets = "NumberOfBullets";
inline constexpr auto wakeupAngle = "WakeupAngle";
inline constexpr auto shotRejectionAngle = "ShotRejectionAngle";
inline constexpr auto sleepTimeout = "SleepTimeout";
inline constexpr auto triggerSensitivity = "TriggerSensitivity";
inline constexpr auto cockingDelay = "CockingDelay";  // seconds
}  // namespace session

// What ring and silhouette targets share.
namespace target {
inline constexpr auto targetName = "TargetName";
inline constexpr auto targetType = "TargetType";
inline constexpr auto distanceUnit = "NominalShootingDistanceUnit";
inline constexpr auto nominalDistance = "NominalDistance";
inline constexpr auto sizeUnit = "RingGapUnitType";
inline constexpr auto targetWidth = "TargetWidth";
inline constexpr auto targetHeight = "TargetHeight";
inline constexpr auto prismPlaceX = "PrismPlaceX";
inline constexpr auto prismPlaceY = "PrismPlaceY";
inline constexpr auto numberOfPrisms = "NumberOfPrisms";
}  // namespace target

namespace ring {
inline constexpr auto ringTargetNumber = "RingTargetNumber";
inline constexpr auto caliberUnit = "CaliberUnit";
inline constexpr auto caliber = "Caliber";
inline constexpr auto ringGaps = "RingsGapsUnit";
inline constexpr auto highestRing = "HighestRing";
inline constexpr auto minimumRing = "MinimumRing";
inline constexpr auto hibMinScore = "HIBMinScore";
inline constexpr auto diameterInnerWhite = "DiameterInnerWhite";
inline constexpr auto diameterBlackArea = "DiameterBlackArea";
inline constexpr auto hitRingGap = "HitRingGap";
inline constexpr auto diameterX = "DiameterX";
inline constexpr auto diameterHighestRing = "DiameterHighestRing";
inline constexpr auto diameterVariable = "DiameterVariableHminus";  // followed by 1 to 11
// Without any effect: a document may carry them.
inline constexpr auto targetNumber = "TargetNumber";
inline constexpr auto variableRingGaps = "VariableRingGaps";
}  // namespace ring

namespace silhouette {
inline constexpr auto silhouetteTargetNumber = "SilhouetteTargetNumber";
inline constexpr auto bitmap = "SilhouetteTarget";
}  // namespace silhouette

// Shots have all of them, measurements some; those of targets stand above.
namespace record {
inline constexpr auto functionMode = "FunctionMode";
inline constexpr auto shotNumber = "ShotNumber";
inline constexpr auto positionX = "PositionX";
inline constexpr auto positionY = "PositionY";
inline constexpr auto tilt = "Tilt";
inline constexpr auto rotation = "Rotation";
inline constexpr auto distance = "Distance";
inline constexpr auto rotationInDegrees = "RotationInDegrees";
inline constexpr auto tiltInDegrees = "TiltInDegrees";
inline constexpr auto time = "Time";
inline constexpr auto fsi = "FSI";
inline constexpr auto resultX = "ResultX";
inline constexpr auto resultY = "ResultY";
inline constexpr auto lowSignal = "LowSignal";
inline constexpr auto highSignal = "HighSignal";
inline constexpr auto measureError = "MeasureError";
inline constexpr auto angleError = "AngleError";
inline constexpr auto fsiError = "FSIError";
inline constexpr auto aimingTime = "aimingTime";
}  // namespace record

}  // namespace key

// Compared exactly. Of units, both the short and the long text are understood, and the long one is written.
namespace text {
inline constexpr auto ring = "RING";
inline constexpr auto silhouette = "SILHOUETTE";
inline constexpr auto above = "ABOVE";
inline constexpr auto below = "BELOW";
inline constexpr auto left = "LEFT";
inline constexpr auto right = "RIGHT";
inline constexpr auto m = "m";
inline constexpr auto meters = "Meters";
inline constexpr auto yd = "yd";
inline constexpr auto yards = "Yards";
inline constexpr auto mm = "mm";
inline constexpr auto millimeters = "Millimeters";
inline constexpr auto inches = "Inches";
inline constexpr auto fixed = "Fixed";
inline constexpr auto variable = "Variable";
inline constexpr auto defaultRingName = "M16 200 yd";  // the name of a ring target without one
}  // namespace text

// How many units of the wire one unit of a document is. What goes up is multiplied and cut to a whole number.
namespace scale {
struct ByUnit {
  int millimetres;
  int otherwise;
  constexpr int of(bool isInMillimetres) const { return isInMillimetres ? millimetres : otherwise; }
};
inline constexpr int cockingDelay = 10;
inline constexpr int nominalDistance = 10;
inline constexpr int hibMinScore = 10;
inline constexpr ByUnit caliber = {100, 1000};     // by `caliberUnit`
inline constexpr ByUnit ringSize = {10, 100};      // by `sizeUnit`; width and height only on the way down
inline constexpr ByUnit silhouetteSize = {1, 10};  // by `sizeUnit`
// For what comes down: multiplied, and cut. The nearest double to the tenth, hundredth or thousandth.
constexpr double inverse(int factor) { return 1.0 / factor; }
}  // namespace scale

// A target number that names no target.
inline constexpr std::uint8_t noTarget = 255;
// So many bytes of a target's name come down; longer names go up whole.
inline constexpr int longestTargetName = 10;
// A bitmap is square.
inline constexpr int bitmapRows = 64;
inline constexpr int highestPixel = 3;

}  // namespace BX
