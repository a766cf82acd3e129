// Ring targets: document to upload frames, and download replies back to a document. No I/O here.
//
// Going up and coming down are no inverses: width and height go up as they are and come down scaled, and the upload's
// header has a zero byte before the width where the reply has none.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "targets/TargetWire.h"

namespace BX::targets::ring {

// The four parts of a target. The last one carries the last-frame bit.
enum Part : std::uint8_t { headerPart = 0x00, innerPart = 0x01, outerPart = 0x02, namePart = 0x83 };
inline constexpr std::array parts{headerPart, innerPart, outerPart, namePart};

inline constexpr std::uint8_t controlByte2 = 0x02;

// ---- Upload. Frames lack their sum byte. Lengths take their units' factors here and are cut to the field's width.

// What the header carries, in the document's units.
struct Header {
  std::int32_t number = 0;
  std::int32_t nominalDistance = 0;
  double caliber = 0;
  bool caliberInMillimetres = false;
  std::int32_t hibMinScore = 0;
  std::int32_t highestRing = 0;
  std::int32_t minimumRing = 0;
  std::int32_t targetWidth = 0;
  std::int32_t targetHeight = 0;
  std::int32_t prismPlaceX = 0;
  std::int32_t prismPlaceY = 0;
};
Header readHeader(const Json& target);

// Wire units in one unit of a ring dimension: tenths of a millimetre or hundredths of an inch.
int unitFactor(const Json& target);
std::uint8_t controlByte1(const Json& target);

Bytes headerFrame(const Header& header, std::uint8_t control);
// The inner or the outer part: eight diameters.
Bytes diameterFrame(const Json& target, std::int32_t number, Part part);
Bytes nameFrame(const Json& target, std::int32_t number);

// ---- Download. A reply must be whole (isWhole).

// Whether `reply` has every byte that its part is read from. True for a part that is not known.
bool isWhole(std::span<const std::uint8_t> reply);
// Units of a ring dimension in one wire unit, by the document's own unit.
double decodingScale(const Json& target);
std::int32_t distanceOf(std::span<const std::uint8_t> headerReply);
// The four unit members.
void writeUnits(std::uint8_t control, Json& target);
// All other members of a header, scaled by the units that `target` already has.
void writeHeader(std::span<const std::uint8_t> headerReply, Json& target);
// The eight diameters of an inner or outer part, scaled by the unit of `target`.
void writeDiameters(std::span<const std::uint8_t> diameterReply, Json& target);

}  // namespace BX::targets::ring
