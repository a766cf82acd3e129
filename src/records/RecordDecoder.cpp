#include "records/RecordDecoder.h"

#include <cmath>

#include "platform/Numbers.h"

namespace BX::records {

namespace {

constexpr double metresPerYard = 0.9144;
constexpr double metresPerWireUnit = 0.1;
constexpr double sinePerWireUnit = 0.001;
constexpr double distanceOffset = 0.75;                  // metres
constexpr double perDistance = 0.0033333333333333335;    // 1 / 300: raw positions are those at 300 m
constexpr double degreesPerRadian = 57.324840764331206;  // 180 / 3.14: full angles truncate to full degrees

std::int16_t signed16(std::span<const std::uint8_t> frame, std::size_t offset) {
  return static_cast<std::int16_t>(platform::bigEndian16(frame, offset));
}

double nominalMetres(const TargetInUse& target) {
  const double distance = target.nominalDistance;
  return isYards(target.distanceUnit) ? distance * metresPerYard : distance;
}

double measuredMetres(std::span<const std::uint8_t> frame, std::size_t offset) {
  return platform::bigEndian16(frame, offset) * metresPerWireUnit;
}

Aim decodeAim(std::span<const std::uint8_t> frame, double distance, std::uint8_t status) {
  const double scale = distance * perDistance;
  return {.distance = distance,
          .positionX = signed16(frame, positionXOffset) * scale,
          .positionY = signed16(frame, positionYOffset) * scale,
          .tilt = signed16(frame, tiltOffset),
          .rotation = signed16(frame, rotationOffset),
          .status = status};
}

}  // namespace

bool isYards(std::string_view distanceUnit) { return distanceUnit == text::yd || distanceUnit == text::yards; }

std::int32_t toDegrees(std::int16_t sine) {
  double value = sine * sinePerWireUnit;
  if (!(value < 1.0)) {
    value = 1.0;
  } else if (!(value > -1.0)) {
    value = -1.0;
  }
  return platform::truncateToInt(std::asin(value) * degreesPerRadian);
}

Shot decodeShot(std::span<const std::uint8_t> frame, const TargetInUse& target) {
  const double distance = target.ringTargetNumber == noTarget ? measuredMetres(frame, shot::distanceOffset)
                                                              : nominalMetres(target) - distanceOffset;
  const std::uint8_t* const time = &frame[shot::timeOffset];
  return {.aim = decodeAim(frame, distance, frame[shot::statusOffset]),
          .ringTarget = frame[shot::ringTargetOffset],
          .silhouetteTarget = frame[shot::silhouetteTargetOffset],
          .functionMode = frame[shot::functionModeOffset],
          .number = frame[shot::numberOffset],
          .time = time[0] * 65536 + time[1] * 256 + time[2],
          .fsi = signed16(frame, shot::fsiOffset),
          .aimingTime = std::nullopt};
}

Aim decodeMeasurement(std::span<const std::uint8_t> frame, const TargetInUse& target, bool stored) {
  double distance = nominalMetres(target);
  if (target.ringTargetNumber != noTarget) {
    distance -= distanceOffset;
  } else if (!stored) {
    distance = measuredMetres(frame, measurement::distanceOffset);
  }
  return decodeAim(frame, distance, frame[measurement::statusOffset]);
}

}  // namespace BX::records
