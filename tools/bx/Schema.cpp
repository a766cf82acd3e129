#include "Schema.h"

#include "bx/DocumentKeys.h"

namespace BX::tool {

namespace {

constexpr std::int64_t byteField = 0xFF;
constexpr std::int64_t wordField = 0xFFFF;
constexpr std::int64_t highestTargetNumber = noTarget - 1;

Field boolean(std::string key) { return {.key = std::move(key), .type = FieldType::Boolean, .missing = "true"}; }

Field reportedOnly(std::string key) { return {.key = std::move(key), .type = FieldType::Boolean, .sent = false}; }

Field unread(std::string key) { return {.key = std::move(key), .type = FieldType::Any, .sent = false}; }

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
  return {.key = key::target::targetName, .type = FieldType::Name, .missing = std::move(missing)};
}

Field targetNumber(std::string key) {
  return {.key = std::move(key), .type = FieldType::Integer, .highest = highestTargetNumber, .required = true};
}

Field bitmap(std::string key, std::string missing) {
  return {.key = std::move(key), .type = FieldType::Bitmap, .missing = std::move(missing)};
}

Scaling times(std::int64_t factor) { return {.metric = factor, .other = factor}; }

Scaling times(scale::ByUnit factor, std::string unitKey) {
  return {.metric = factor.of(true), .other = factor.of(false), .unitKey = std::move(unitKey)};
}

// The library takes any other text for the longer unit.
const std::vector<std::string> lengthUnits = {text::mm, text::millimeters, "in", text::inches};
// A silhouette's travel tenfold unless they are millimetres.
const std::vector<std::string> silhouetteUnits = {text::mm, text::millimeters, "cm", "Centimeters", "in", text::inches};
const std::vector<std::string> distanceUnits = {text::m, text::meters, text::yd, text::yards};

std::vector<Field> deviceSettings() {
  namespace k = key::settings;
  std::vector<Field> fields = {choice(k::mounting, {text::above, text::below, text::left, text::right}, text::above),
                               boolean(k::arrowButtonsEnabled),
                               boolean(k::useZeroing),
                               boolean(k::registerAllTriggers),
                               boolean(k::targetReceiverHitIndicationBeam),
                               boolean(k::sleepWakeUp),
                               boolean(k::graphicDisplay),
                               boolean(k::hitSoundBuzzer),
                               reportedOnly(k::evaluateSilhouette),
                               reportedOnly(k::countRingScore)};
  for (const char* key :
       {k::serialNumber, k::deviceId, k::program, k::date, k::time, k::angleCheck, k::backgroundReflectionCheck,
        k::localSumming, k::rangeEvaluation, k::storeTracking, k::supplyPowerMonitoring, k::txPowerReduction,
        k::lockArrows, k::sleepEnable, k::hibEnabled, k::soundEnabled, k::displayEnabled}) {
    fields.push_back(unread(key));
  }
  return fields;
}

std::vector<Field> sessionSettings() {
  namespace k = key::session;
  return {boolean(k::isInFieldMode),
          integer(k::numberOfBullets, byteField),
          integer(k::wakeupAngle, byteField),
          integer(k::shotRejectionAngle, byteField),
          integer(k::sleepTimeout, byteField),
          integer(k::triggerSensitivity, byteField),
          number(k::cockingDelay, byteField, times(scale::cockingDelay))};
}

std::vector<Field> ringTarget() {
  namespace k = key::ring;
  std::vector<Field> fields = {targetNumber(k::ringTargetNumber),
                               name('"' + std::string(text::defaultRingName) + '"'),
                               choice(key::target::distanceUnit, distanceUnits, "yards"),
                               integer(key::target::nominalDistance, wordField, times(scale::nominalDistance)),
                               choice(k::caliberUnit, lengthUnits, "inches"),
                               number(k::caliber, wordField, times(scale::caliber, k::caliberUnit)),
                               choice(key::target::sizeUnit, lengthUnits, "inches"),
                               choice(k::ringGaps, {text::fixed, text::variable}, "variable gaps"),
                               integer(k::highestRing, byteField),
                               integer(k::minimumRing, byteField),
                               integer(k::hibMinScore, byteField, times(scale::hibMinScore)),
                               integer(key::target::targetWidth, byteField),
                               integer(key::target::targetHeight, byteField),
                               integer(key::target::prismPlaceX, wordField),
                               integer(key::target::prismPlaceY, wordField),
                               integer(key::target::numberOfPrisms, byteField)};
  const Scaling ringSize = times(scale::ringSize, key::target::sizeUnit);
  for (const char* key :
       {k::diameterInnerWhite, k::diameterBlackArea, k::hitRingGap, k::diameterX, k::diameterHighestRing}) {
    fields.push_back(integer(key, wordField, ringSize));
  }
  constexpr int variableDiameters = 11;
  for (int i = 1; i <= variableDiameters; ++i) {
    fields.push_back(integer(k::diameterVariable + std::to_string(i), wordField, ringSize));
  }
  for (const char* key : {key::target::targetType, k::targetNumber, k::variableRingGaps}) fields.push_back(unread(key));
  return fields;
}

std::vector<Field> silhouetteTarget() {
  namespace k = key::target;
  const Scaling size = times(scale::silhouetteSize, k::sizeUnit);
  return {targetNumber(key::silhouette::silhouetteTargetNumber),
          name("an empty name"),
          choice(k::distanceUnit, distanceUnits, "yards"),
          integer(k::nominalDistance, wordField, times(scale::nominalDistance)),
          choice(k::sizeUnit, silhouetteUnits, "a unit that travels tenfold"),
          integer(k::targetWidth, wordField, size),
          integer(k::targetHeight, wordField, size),
          integer(k::prismPlaceX, wordField),
          integer(k::prismPlaceY, wordField),
          integer(k::numberOfPrisms, byteField),
          bitmap(key::silhouette::bitmap, "no bitmap, and sends none"),
          unread(k::targetType)};
}

}  // namespace

const char* nameOf(DocumentKind kind) {
  switch (kind) {
    case DocumentKind::DeviceSettings:
      return "device settings";
    case DocumentKind::SessionSettings:
      return "session settings";
    case DocumentKind::RingTarget:
      return "ring targets";
    case DocumentKind::SilhouetteTarget:
      break;
  }
  return "silhouette targets";
}

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
