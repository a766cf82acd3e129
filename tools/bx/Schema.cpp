#include "Schema.h"

namespace BX::tool {

namespace {

constexpr std::int64_t byteField = 0xFF;
constexpr std::int64_t wordField = 0xFFFF;
constexpr std::int64_t highestTargetNumber = 254;  // 255 means no target

Field boolean(std::string key) { return {.key = std::move(key), .type = FieldType::Boolean, .missing = "true"}; }

Field reportedOnly(std::string key) { return {.key = std::move(key), .type = FieldType::Boolean, .sent = false}; }

Field integer(std::string key, std::int64_t highest, Scaling scaling = {}) {
  return {.key = std::move(key), .type = FieldType::Integer, .highest = highest, .scaling = std::move(scaling)};
}

Field number(std::string key, std::int64_t highest, Scaling scaling) {
  return {.key = std::move(key), .type = FieldType::Number, .highest = highest, .scaling = std::move(scaling)};
}

Field choice(std::string key, std::vector<std::string> choices, std::string missing) {
  return {
      .key = std::move(key), .type = FieldType::Choice, .missing = std::move(missing), .choices = std::move(choices)};
}

Field name(std::string missing) {
  return {.key = "TargetName", .type = FieldType::Name, .missing = std::move(missing)};
}

Field targetNumber(std::string key) {
  return {.key = std::move(key), .type = FieldType::Integer, .highest = highestTargetNumber, .required = true};
}

Field bitmap(std::string key, std::string missing) {
  return {.key = std::move(key), .type = FieldType::Bitmap, .missing = std::move(missing)};
}

Scaling times(std::int64_t factor) { return {.metric = factor, .other = factor}; }

const std::vector<std::string> lengthUnits = {"mm", "Millimeters", "in", "Inches"};

std::vector<Field> deviceSettings() {
  return {choice("Mounting", {"ABOVE", "BELOW", "LEFT", "RIGHT"}, "ABOVE"),
          boolean("ArrowButtonsEnabled"),
          boolean("UseZeroing"),
          boolean("RegisterAllTriggers"),
          boolean("TargetReceiverHitIndicationBeam"),
          boolean("SleepWakeUp"),
          boolean("GraphicDisplay"),
          boolean("HitSoundBuzzer"),
          reportedOnly("EvaluateSilhouette"),
          reportedOnly("CountRingScore")};
}

std::vector<Field> sessionSettings() {
  return {boolean("isInFieldMode"),
          integer("NumberOfBullets", byteField),
          integer("WakeupAngle", byteField),
          integer("ShotRejectionAngle", byteField),
          integer("SleepTimeout", byteField),
          integer("TriggerSensitivity", byteField),
          number("CockingDelay", byteField, times(10))};
}

std::vector<Field> ringTarget() {
  std::vector<Field> fields = {targetNumber("RingTargetNumber"),
                               name("\"M16 200 yd\""),
                               choice("NominalShootingDistanceUnit", {"m", "Meters", "yd", "Yards"}, "yards"),
                               integer("NominalDistance", wordField, times(10)),
                               choice("CaliberUnit", lengthUnits, "inches"),
                               number("Caliber", wordField, {.metric = 100, .other = 1000, .unitKey = "CaliberUnit"}),
                               choice("RingGapUnitType", lengthUnits, "inches"),
                               choice("RingsGapsUnit", {"Fixed", "Variable"}, "variable gaps"),
                               integer("HighestRing", byteField),
                               integer("MinimumRing", byteField),
                               integer("HIBMinScore", byteField, times(10)),
                               integer("TargetWidth", byteField),
                               integer("TargetHeight", byteField),
                               integer("PrismPlaceX", wordField),
                               integer("PrismPlaceY", wordField),
                               integer("NumberOfPrisms", byteField)};
  const Scaling ringUnit = {.metric = 10, .other = 100, .unitKey = "RingGapUnitType"};
  for (const char* key :
       {"DiameterInnerWhite", "DiameterBlackArea", "HitRingGap", "DiameterX", "DiameterHighestRing"}) {
    fields.push_back(integer(key, wordField, ringUnit));
  }
  constexpr int variableDiameters = 11;
  for (int i = 1; i <= variableDiameters; ++i) {
    fields.push_back(integer("DiameterVariableHminus" + std::to_string(i), wordField, ringUnit));
  }
  return fields;
}

std::vector<Field> silhouetteTarget() {
  const Scaling sizeUnit = {.metric = 1, .other = 10, .unitKey = "RingGapUnitType"};
  return {targetNumber("SilhouetteTargetNumber"),
          name("an empty name"),
          choice("NominalShootingDistanceUnit", {"m", "Meters", "yd", "Yards"}, "yards"),
          integer("NominalDistance", wordField, times(10)),
          choice("RingGapUnitType", lengthUnits, "inches"),
          integer("TargetWidth", wordField, sizeUnit),
          integer("TargetHeight", wordField, sizeUnit),
          integer("PrismPlaceX", wordField),
          integer("PrismPlaceY", wordField),
          integer("NumberOfPrisms", byteField),
          bitmap("SilhouetteTarget", "no bitmap, and sends none")};
}

}  // namespace

const std::vector<Field>& fieldsOf(DocumentKind kind) {
  static const std::vector<Field> device = deviceSettings();
  static const std::vector<Field> session = sessionSettings();
  static const std::vector<Field> ring = ringTarget();
  static const std::vector<Field> silhouette = silhouetteTarget();
  switch (kind) {
    case DocumentKind::DeviceSettings:
      return device;
    case DocumentKind::SessionSettings:
      return session;
    case DocumentKind::RingTarget:
      return ring;
    case DocumentKind::SilhouetteTarget:
      break;
  }
  return silhouette;
}

}  // namespace BX::tool
