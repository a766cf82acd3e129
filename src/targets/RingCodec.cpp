#include "targets/RingCodec.h"

#include <cstddef>
#include <string>

#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"
#include "platform/Numbers.h"

namespace BX::targets::ring {

using platform::bigEndian16;
using platform::lowByte;
using platform::truncateToInt;

namespace {

constexpr std::size_t diametersInPart = 8;

// Where a header reply has its fields.
constexpr std::size_t distanceOffset = 6;
constexpr std::size_t caliberOffset = 8;
constexpr std::size_t highestRingOffset = 10;
constexpr std::size_t minimumRingOffset = 11;
constexpr std::size_t scoreOffset = 12;
constexpr std::size_t widthOffset = 13;
constexpr std::size_t heightOffset = 14;
constexpr std::size_t prismXOffset = 15;
constexpr std::size_t prismYOffset = 17;
constexpr std::size_t headerReplySize = 19;
constexpr std::size_t diameterReplySize = reply::contentOffset + 2 * diametersInPart;

std::string variableKey(int index) { return key::ring::diameterVariable + std::to_string(index); }

// The members of an inner or outer part, in the order in which they travel.
std::array<std::string, diametersInPart> diameterKeys(std::uint8_t part) {
  if (part == innerPart) {
    return {key::ring::diameterInnerWhite,
            key::ring::diameterBlackArea,
            key::ring::hitRingGap,
            key::ring::diameterX,
            key::ring::diameterHighestRing,
            variableKey(1),
            variableKey(2),
            variableKey(3)};
  }
  return {variableKey(4), variableKey(5), variableKey(6),  variableKey(7),
          variableKey(8), variableKey(9), variableKey(10), variableKey(11)};
}

std::int32_t scaled(unsigned value, double factor) { return truncateToInt(static_cast<double>(value) * factor); }

Bytes frameStart(std::int32_t number, Part part) { return {wire::letter::ringUpload, lowByte(number), part}; }

}  // namespace

Header readHeader(const Json& target) {
  Header header;
  header.caliberInMillimetres = isMillimetres(target, key::ring::caliberUnit);
  header.number = getInteger(target, key::ring::ringTargetNumber);
  header.nominalDistance = getInteger(target, key::target::nominalDistance);
  header.caliber = getDouble(target, key::ring::caliber);
  header.hibMinScore = getInteger(target, key::ring::hibMinScore);
  header.highestRing = getInteger(target, key::ring::highestRing);
  header.minimumRing = getInteger(target, key::ring::minimumRing);
  header.targetWidth = getInteger(target, key::target::targetWidth);
  header.targetHeight = getInteger(target, key::target::targetHeight);
  header.prismPlaceX = getInteger(target, key::target::prismPlaceX);
  header.prismPlaceY = getInteger(target, key::target::prismPlaceY);
  return header;
}

int unitFactor(const Json& target) { return scale::ringSize.of(isMillimetres(target, key::target::sizeUnit)); }

std::uint8_t controlByte1(const Json& target) {
  unsigned byte = 0x01;
  if (!isMetres(target)) byte |= control::yards;
  if (!isMillimetres(target, key::ring::caliberUnit)) byte |= control::caliberInInches;
  if (!isMillimetres(target, key::target::sizeUnit)) byte |= control::sizeInInches;
  if (MORVA::getText(target, key::ring::ringGaps) != text::fixed) byte |= control::variableGaps;
  return lowByte(byte);
}

Bytes headerFrame(const Header& header, std::uint8_t control) {
  auto frame = frameStart(header.number, headerPart);
  frame.push_back(control);
  frame.push_back(controlByte2);
  wire::append16(frame, std::int64_t{header.nominalDistance} * scale::nominalDistance);
  wire::append16(frame, truncateToInt(header.caliber * scale::caliber.of(header.caliberInMillimetres)));
  frame.push_back(lowByte(header.highestRing));
  frame.push_back(lowByte(header.minimumRing));
  frame.push_back(lowByte(std::int64_t{header.hibMinScore} * scale::hibMinScore));
  frame.push_back(0x00);
  frame.push_back(lowByte(header.targetWidth));
  frame.push_back(lowByte(header.targetHeight));
  wire::append16(frame, header.prismPlaceX);
  wire::append16(frame, header.prismPlaceY);
  return frame;
}

Bytes diameterFrame(const Json& target, std::int32_t number, Part part) {
  auto frame = frameStart(number, part);
  const auto factor = unitFactor(target);
  for (const auto& member : diameterKeys(part)) {
    wire::append16(frame, std::int64_t{getInteger(target, member)} * factor);
  }
  return frame;
}

Bytes nameFrame(const Json& target, std::int32_t number) {
  auto frame = frameStart(number, namePart);
  const auto name = MORVA::getText(target, key::target::targetName);
  appendName(frame, name.empty() ? text::defaultRingName : name);
  return frame;
}

bool isWhole(std::span<const std::uint8_t> reply) {
  if (reply.size() < reply::contentOffset) return false;
  switch (reply[reply::indexOffset]) {
    case headerPart:
      return reply.size() >= headerReplySize;
    case innerPart:
    case outerPart:
      return reply.size() >= diameterReplySize;
    default:
      return true;
  }
}

double decodingScale(const Json& target) { return scale::inverse(unitFactor(target)); }

std::int32_t distanceOf(std::span<const std::uint8_t> headerReply) {
  return scaled(bigEndian16(headerReply, distanceOffset), scale::inverse(scale::nominalDistance));
}

void writeUnits(std::uint8_t control, Json& target) {
  const auto choose = [control](std::uint8_t bit, const char* set, const char* clear) {
    return (control & bit) != 0 ? set : clear;
  };
  setText(target, key::target::distanceUnit, choose(control::yards, text::yards, text::meters));
  setText(target, key::ring::caliberUnit, choose(control::caliberInInches, text::inches, text::millimeters));
  setText(target, key::target::sizeUnit, choose(control::sizeInInches, text::inches, text::millimeters));
  setText(target, key::ring::ringGaps, choose(control::variableGaps, text::variable, text::fixed));
}

void writeHeader(std::span<const std::uint8_t> headerReply, Json& target) {
  const auto sizeScale = decodingScale(target);
  const auto caliberScale = scale::inverse(scale::caliber.of(isMillimetres(target, key::ring::caliberUnit)));
  setInteger(target, key::target::nominalDistance, distanceOf(headerReply));
  setDouble(target, key::ring::caliber, static_cast<double>(bigEndian16(headerReply, caliberOffset)) * caliberScale);
  setInteger(target, key::ring::highestRing, headerReply[highestRingOffset]);
  setInteger(target, key::ring::minimumRing, headerReply[minimumRingOffset]);
  setInteger(target, key::ring::hibMinScore, scaled(headerReply[scoreOffset], scale::inverse(scale::hibMinScore)));
  setInteger(target, key::target::targetWidth, scaled(headerReply[widthOffset], sizeScale));
  setInteger(target, key::target::targetHeight, scaled(headerReply[heightOffset], sizeScale));
  setInteger(target, key::target::prismPlaceX, bigEndian16(headerReply, prismXOffset));
  setInteger(target, key::target::prismPlaceY, bigEndian16(headerReply, prismYOffset));
}

void writeDiameters(std::span<const std::uint8_t> diameterReply, Json& target) {
  const auto sizeScale = decodingScale(target);
  auto offset = reply::contentOffset;
  for (const auto& member : diameterKeys(diameterReply[reply::indexOffset])) {
    setInteger(target, member, scaled(bigEndian16(diameterReply, offset), sizeScale));
    offset += 2;
  }
}

}  // namespace BX::targets::ring
