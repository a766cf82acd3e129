#include "targets/SilhouetteCodec.h"

#include <algorithm>
#include <utility>

#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"
#include "platform/Numbers.h"

namespace BX::targets::silhouette {

using platform::bigEndian16;
using platform::lowByte;
using platform::truncateToInt;
using rapidjson::SizeType;
using rapidjson::Value;

namespace {

constexpr std::uint8_t constantByte4 = 1;
constexpr std::size_t zerosAfterDistance = 6;
constexpr SizeType pixelsInByte = 4;
constexpr unsigned pixelBits = 2;
constexpr unsigned pixelMask = 0x03;

// Where a settings reply has its fields.
constexpr std::size_t distanceOffset = 6;
constexpr std::size_t sizeOffset = 14;
constexpr std::size_t prismXOffset = 16;
constexpr std::size_t prismYOffset = 18;
constexpr std::size_t settingsReplySize = 20;
constexpr SizeType rowBytes = 16;

Bytes frameStart(std::int64_t slot, std::uint8_t index) {
  return {wire::letter::silhouetteUpload, lowByte(slot), index};
}

// As the document's integers are read; only the low bits count.
unsigned pixelOf(const Value& value) {
  if (value.IsBool()) return value.GetBool() ? 1 : 0;
  if (value.IsUint64()) return lowByte(static_cast<std::int64_t>(value.GetUint64()));
  if (value.IsInt64()) return lowByte(value.GetInt64());
  if (value.IsNumber()) return lowByte(truncateToInt(value.GetDouble()));
  return lowByte(MORVA::missingInteger);
}

// A row of as many pixels as a row asked for has; bytes that `packed` lacks are zero.
Value unpacked(std::span<const std::uint8_t> packed, rapidjson::Document::AllocatorType& pool) {
  Value row(rapidjson::kArrayType);
  row.Reserve(rowBytes * pixelsInByte, pool);
  for (SizeType i = 0; i < rowBytes; ++i) {
    const unsigned byte = i < packed.size() ? packed[i] : 0;
    for (unsigned shift = 8; shift > 0; shift -= pixelBits) {
      row.PushBack((byte >> (shift - pixelBits)) & pixelMask, pool);
    }
  }
  return row;
}

}  // namespace

std::int64_t Settings::wireDistance() const { return std::int64_t{nominalDistance} * scale::nominalDistance; }

std::int64_t Settings::wireSize() const {
  return std::int64_t{std::max(targetWidth, targetHeight)} * scale::silhouetteSize.of(inMillimetres);
}

Settings readSettings(const Json& target) {
  Settings settings;
  settings.inMillimetres = isMillimetres(target, key::target::sizeUnit);
  settings.number = getInteger(target, key::silhouette::silhouetteTargetNumber);
  settings.nominalDistance = getInteger(target, key::target::nominalDistance);
  settings.targetHeight = getInteger(target, key::target::targetHeight);
  settings.targetWidth = getInteger(target, key::target::targetWidth);
  settings.prismPlaceX = getInteger(target, key::target::prismPlaceX);
  settings.prismPlaceY = getInteger(target, key::target::prismPlaceY);
  return settings;
}

std::uint8_t controlByte1(const Json& target) {
  unsigned byte = 0;
  if (!isMetres(target)) byte |= control::yards;
  if (!isMillimetres(target, key::target::sizeUnit)) byte |= control::sizeInInches;
  return lowByte(byte);
}

Bytes settingsFrame(const Settings& settings, std::uint8_t control) {
  auto frame = frameStart(settings.number, settingsPart);
  frame.push_back(control);
  frame.push_back(constantByte4);
  wire::append16(frame, settings.wireDistance());
  frame.insert(frame.end(), zerosAfterDistance, 0);
  wire::append16(frame, settings.wireSize());
  wire::append16(frame, settings.prismPlaceX);
  wire::append16(frame, settings.prismPlaceY);
  return frame;
}

Bytes nameFrame(const Json& target, std::int32_t number) {
  auto frame = frameStart(number, namePart);
  appendName(frame, MORVA::getText(target, key::target::targetName));
  return frame;
}

const Value* rowsOf(const Json& target) {
  const auto& root = target.getDocument();
  if (!root.IsObject()) return nullptr;
  const auto member = root.FindMember(key::silhouette::bitmap);
  return member != root.MemberEnd() && member->value.IsArray() ? &member->value : nullptr;
}

Bytes rowFrame(const Value& row, std::int32_t number, std::size_t index) {
  const auto mark = index == lastRow ? lastRowMark : 0;
  auto frame = frameStart(std::int64_t{number} + rowSlot, lowByte(static_cast<std::int64_t>(index) | mark));
  const SizeType pixels = row.IsArray() ? row.Size() : 0;
  for (SizeType first = 0; first < pixels; first += pixelsInByte) {
    unsigned packed = 0;
    for (SizeType i = first; i < first + pixelsInByte; ++i) {
      packed = (packed << pixelBits) | (i < pixels ? pixelOf(row[i]) : 0);
    }
    frame.push_back(lowByte(packed));
  }
  return frame;
}

Reply kindOf(std::span<const std::uint8_t> reply) {
  if (reply[reply::numberOffset] != 0) return Reply::Row;
  if (reply[reply::indexOffset] == settingsPart) return Reply::Settings;
  return reply[reply::indexOffset] == namePart ? Reply::Name : Reply::Row;
}

bool isWhole(std::span<const std::uint8_t> reply) {
  if (reply.size() < reply::contentOffset) return false;
  return kindOf(reply) != Reply::Settings || reply.size() >= settingsReplySize;
}

std::int32_t distanceOf(std::span<const std::uint8_t> settingsReply) {
  return truncateToInt(static_cast<double>(bigEndian16(settingsReply, distanceOffset)) *
                       scale::inverse(scale::nominalDistance));
}

void writeUnits(std::uint8_t control, Json& target) {
  setText(target, key::target::distanceUnit, (control & control::yards) != 0 ? text::yards : text::meters);
  setText(target, key::target::sizeUnit, (control & control::sizeInInches) != 0 ? text::inches : text::millimeters);
}

void writeSettings(std::span<const std::uint8_t> settingsReply, Json& target) {
  const auto sizeScale = scale::inverse(scale::silhouetteSize.of(isMillimetres(target, key::target::sizeUnit)));
  const auto size = truncateToInt(static_cast<double>(bigEndian16(settingsReply, sizeOffset)) * sizeScale);
  setInteger(target, key::target::nominalDistance, distanceOf(settingsReply));
  setInteger(target, key::target::targetWidth, size);
  setInteger(target, key::target::targetHeight, size);
  setInteger(target, key::target::prismPlaceX, bigEndian16(settingsReply, prismXOffset));
  setInteger(target, key::target::prismPlaceY, bigEndian16(settingsReply, prismYOffset));
}

std::int32_t rowTargetOf(std::span<const std::uint8_t> rowReply) { return rowSlot - rowReply[reply::numberOffset]; }

void appendRow(std::span<const std::uint8_t> rowReply, Json& target) {
  auto& root = target.getDocument();
  if (!root.IsObject()) return;
  auto& pool = root.GetAllocator();
  auto name = Value();
  auto rows = Value(rapidjson::kArrayType);
  if (root.HasMember(key::silhouette::bitmap)) {
    const auto old = root.FindMember(key::silhouette::bitmap);
    name = std::move(old->name);
    if (old->value.IsArray() && rowReply[reply::indexOffset] != 0) rows = std::move(old->value);
    root.EraseMember(old);
  } else {
    name = target.copyStringToValue(key::silhouette::bitmap);
  }
  if (rows.Empty()) rows.Reserve(bitmapRows, pool);
  rows.PushBack(unpacked(rowReply.subspan(reply::contentOffset), pool), pool);
  root.AddMember(name, rows, pool);
}

}  // namespace BX::targets::silhouette
