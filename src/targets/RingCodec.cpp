#include "targets/RingCodec.h"

#include <cstddef>
#include <string>

#include "morva/KeyedAccess.h"
#include "platform/Numbers.h"
#include "targets/TargetKeys.h"

namespace BX::targets::ring {

using platform::bigEndian16;
using platform::lowByte;
using platform::truncateToInt;

namespace {

constexpr int distanceFactor = 10;
constexpr int scoreFactor = 10;
constexpr double tenth = 0.1;
constexpr double hundredth = 0.01;
constexpr double thousandth = 0.001;

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

std::string variableKey(int index) { return key::diameterVariable + std::to_string(index); }

// The members of an inner or outer part, in the order in which they travel.
std::array<std::string, diametersInPart> diameterKeys(std::uint8_t part) {
  if (part == innerPart) {
    return {key::diameterInnerWhite,  key::diameterBlackArea, key::hitRingGap, key::diameterX,
            key::diameterHighestRing, variableKey(1),         variableKey(2),  variableKey(3)};
  }
  return {variableKey(4), variableKey(5), variableKey(6),  variableKey(7),
          variableKey(8), variableKey(9), variableKey(10), variableKey(11)};
}

std::int32_t scaled(unsigned value, double scale) { return truncateToInt(static_cast<double>(value) * scale); }

Bytes frameStart(std::int32_t number, Part part) { return {wire::letter::ringUpload, lowByte(number), part}; }

}  // namespace

Header readHeader(const Json& target) {
  Header header;
  header.caliberInMillimetres = isMillimetres(target, key::caliberUnit);
  header.number = getInteger(target, key::ringTargetNumber);
  header.nominalDistance = getInteger(target, key::nominalDistance);
  header.caliber = getDouble(target, key::caliber);
  header.hibMinScore = getInteger(target, key::hibMinScore);
  header.highestRing = getInteger(target, key::highestRing);
  header.minimumRing = getInteger(target, key::minimumRing);
  header.targetWidth = getInteger(target, key::targetWidth);
  header.targetHeight = getInteger(target, key::targetHeight);
  header.prismPlaceX = getInteger(target, key::prismPlaceX);
  header.prismPlaceY = getInteger(target, key::prismPlaceY);
  return header;
}

int unitFactor(const Json& target) { return isMillimetres(target, key::sizeUnit) ? 10 : 100; }

std::uint8_t controlByte1(const Json& target) {
  unsigned byte = 0x01;
  if (!isMetres(target)) byte |= control::yards;
  if (!isMillimetres(target, key::caliberUnit)) byte |= control::caliberInInches;
  if (!isMillimetres(target, key::sizeUnit)) byte |= control::sizeInInches;
  if (MORVA::getText(target, key::ringGaps) != text::fixed) byte |= control::variableGaps;
  return lowByte(byte);
}

Bytes headerFrame(const Header& header, std::uint8_t control) {
  auto frame = frameStart(header.number, headerPart);
  frame.push_back(control);
  frame.push_back(controlByte2);
  wire::append16(frame, std::int64_t{header.nominalDistance} * distanceFactor);
  wire::append16(frame, truncateToInt(header.caliber * (header.caliberInMillimetres ? 100.0 : 1000.0)));
  frame.push_back(lowByte(header.highestRing));
  frame.push_back(lowByte(header.minimumRing));
  frame.push_back(lowByte(std::int64_t{header.hibMinScore} * scoreFactor));
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
  const auto name = MORVA::getText(target, key::targetName);
  appendName(frame, name.empty() ? defaultName : name);
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

double decodingScale(const Json& target) { return isMillimetres(target, key::sizeUnit) ? tenth : hundredth; }

std::int32_t distanceOf(std::span<const std::uint8_t> headerReply) {
  return scaled(bigEndian16(headerReply, distanceOffset), tenth);
}

void writeUnits(std::uint8_t control, Json& target) {
  const auto choose = [control](std::uint8_t bit, const char* set, const char* clear) {
    return (control & bit) != 0 ? set : clear;
  };
  setText(target, key::distanceUnit, choose(control::yards, text::yards, text::meters));
  setText(target, key::caliberUnit, choose(control::caliberInInches, text::inches, text::millimeters));
  setText(target, key::sizeUnit, choose(control::sizeInInches, text::inches, text::millimeters));
  setText(target, key::ringGaps, choose(control::variableGaps, text::variable, text::fixed));
}

void writeHeader(std::span<const std::uint8_t> headerReply, Json& target) {
  const auto scale = decodingScale(target);
  const auto caliberScale = isMillimetres(target, key::caliberUnit) ? hundredth : thousandth;
  setInteger(target, key::nominalDistance, distanceOf(headerReply));
  setDouble(target, key::caliber, static_cast<double>(bigEndian16(headerReply, caliberOffset)) * caliberScale);
  setInteger(target, key::highestRing, headerReply[highestRingOffset]);
  setInteger(target, key::minimumRing, headerReply[minimumRingOffset]);
  setInteger(target, key::hibMinScore, scaled(headerReply[scoreOffset], tenth));
  setInteger(target, key::targetWidth, scaled(headerReply[widthOffset], scale));
  setInteger(target, key::targetHeight, scaled(headerReply[heightOffset], scale));
  setInteger(target, key::prismPlaceX, bigEndian16(headerReply, prismXOffset));
  setInteger(target, key::prismPlaceY, bigEndian16(headerReply, prismYOffset));
}

void writeDiameters(std::span<const std::uint8_t> diameterReply, Json& target) {
  const auto scale = decodingScale(target);
  auto offset = reply::contentOffset;
  for (const auto& member : diameterKeys(diameterReply[reply::indexOffset])) {
    setInteger(target, member, scaled(bigEndian16(diameterReply, offset), scale));
    offset += 2;
  }
}

}  // namespace BX::targets::ring
