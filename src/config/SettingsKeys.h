// The keys of the settings documents.
#pragma once

namespace BX::config::key {

// Device settings that are written to the device, and read back from it unless said otherwise.
inline constexpr auto mounting = "Mounting";
inline constexpr auto arrowButtonsEnabled = "ArrowButtonsEnabled";
inline constexpr auto registerAllTriggers = "RegisterAllTriggers";
inline constexpr auto targetReceiverHitIndicationBeam = "TargetReceiverHitIndicationBeam";
inline constexpr auto sleepWakeUp = "SleepWakeUp";
inline constexpr auto useZeroing = "UseZeroing";          // never read back
inline constexpr auto graphicDisplay = "GraphicDisplay";  // never read back
inline constexpr auto hitSoundBuzzer = "HitSoundBuzzer";  // never read back

// Device settings that are only read back: what is sent there follows from the targets in use.
inline constexpr auto evaluateSilhouette = "EvaluateSilhouette";
inline constexpr auto countRingScore = "CountRingScore";

// Device settings that come from the device information.
inline constexpr auto serialNumber = "SerialNumber";
inline constexpr auto deviceId = "DeviceID";
inline constexpr auto program = "Program";
inline constexpr auto date = "Date";
inline constexpr auto time = "Time";

// Session settings.
inline constexpr auto isInFieldMode = "isInFieldMode";
inline constexpr auto numberOfBullets = "NumberOfBullets";
inline constexpr auto wakeupAngle = "WakeupAngle";
inline constexpr auto shotRejectionAngle = "ShotRejectionAngle";
inline constexpr auto sleepTimeout = "SleepTimeout";
inline constexpr auto triggerSensitivity = "TriggerSensitivity";
inline constexpr auto cockingDelay = "CockingDelay";  // seconds; travels in tenths

// Device settings that a document may carry without any effect.
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

}  // namespace BX::config::key
