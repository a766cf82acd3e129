// Shot and measurement records: bytes to plain structs, and these to the documents that a host reads. No I/O here.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "bx/DocumentKeys.h"
#include "morva/MORVADataTypeJSON.h"
#include "records/RecordFormat.h"

namespace BX::records {

// What the device object knows of the target in use when a record arrives.
struct TargetInUse {
  std::int32_t nominalDistance = 0;          // in whole units
  std::string_view distanceUnit;             // "Yards" or "yd"; anything else is metres
  std::int32_t ringTargetNumber = noTarget;  // as it was before the record
};

// Where the weapon pointed, as both kinds of record tell it.
struct Aim {
  double distance = 0;        // metres
  double positionX = 0;       // raw position times distance / 300
  double positionY = 0;       // raw position times distance / 300
  std::int16_t tilt = 0;      // sine times 1000
  std::int16_t rotation = 0;  // sine times 1000
  std::uint8_t status = 0;    // not 0: the signal was faulty
};

struct Shot {
  Aim aim;
  std::uint8_t ringTarget = noTarget;
  std::uint8_t silhouetteTarget = noTarget;
  std::uint8_t functionMode = 0;
  std::uint8_t number = 0;
  std::int32_t time = 0;  // device units, never negative
  std::int16_t fsi = 0;
  std::optional<double> aimingTime;  // seconds; no part of the record
};

bool isYards(std::string_view distanceUnit);

// The angle whose sine times 1000 is given, in whole degrees towards zero; beyond +-1000 it is +-90.
std::int32_t toDegrees(std::int16_t sine);

// The distance of a shot is the nominal one less the device's offset, or, without a ring target, what the record says.
// The target that the record itself names has no say in it. `frame` must be decodable.
Shot decodeShot(std::span<const std::uint8_t> frame, const TargetInUse& target);

// As for a shot; but a stored record without a ring target counts with the nominal distance, without the offset.
Aim decodeMeasurement(std::span<const std::uint8_t> frame, const TargetInUse& target, bool stored);

// Members and their order are always the same; "aimingTime", the last one of a shot, is there when it has a value.
MORVA::MORVADataTypeJSON shotDocument(const Shot& shot);
MORVA::MORVADataTypeJSON measurementDocument(const Aim& aim);

}  // namespace BX::records
