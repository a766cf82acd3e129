// Silhouette targets: document to upload frames, and download replies back to a document. No I/O here.
//
// Bitmap rows travel under the slot 0x40 + number when they go up and are asked for under 0x40 alone, and a settings
// or name reply is known by slot 0 only: so slot 0 comes back whole, any other slot's replies all read as rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "targets/TargetWire.h"

namespace BX::targets::silhouette {

inline constexpr std::uint8_t settingsPart = 0x00;
inline constexpr std::uint8_t namePart = 0x01;
inline constexpr std::size_t partsBeforeRows = 2;
// Added to the target number for bitmap rows; in place of it when rows are asked for.
inline constexpr std::uint8_t rowSlot = 0x40;
inline constexpr std::uint8_t lastRow = 63;
inline constexpr std::uint8_t lastRowMark = 0x80;

inline constexpr std::uint8_t controlByte2 = 0x00;

// ---- Upload. Frames lack their sum byte.

// What the settings frame carries, in the document's units.
struct Settings {
  std::int32_t number = 0;
  std::int32_t nominalDistance = 0;
  std::int32_t targetWidth = 0;
  std::int32_t targetHeight = 0;
  bool inMillimetres = false;
  std::int32_t prismPlaceX = 0;
  std::int32_t prismPlaceY = 0;

  std::int64_t wireDistance() const;
  // The larger of width and height; any unit but millimetres is taken tenfold.
  std::int64_t wireSize() const;
};
Settings readSettings(const Json& target);

std::uint8_t controlByte1(const Json& target);

Bytes settingsFrame(const Settings& settings, std::uint8_t control);
Bytes nameFrame(const Json& target, std::int32_t number);
// The array of rows; null when the target has none.
const rapidjson::Value* rowsOf(const Json& target);
// Four pixels to a byte, the first one highest. Pixels are not masked; a row that ends within a byte is filled with
// zeros; a row that is no array is empty.
Bytes rowFrame(const rapidjson::Value& row, std::int32_t number, std::size_t index);

// ---- Download. A reply must be whole (isWhole).

enum class Reply { Settings, Name, Row };
Reply kindOf(std::span<const std::uint8_t> reply);
// Whether `reply` has every byte that its kind needs; a name or row may be shorter than its field.
bool isWhole(std::span<const std::uint8_t> reply);

std::int32_t distanceOf(std::span<const std::uint8_t> settingsReply);
// The two unit members.
void writeUnits(std::uint8_t control, Json& target);
// All other members of the settings, scaled by the unit that `target` already has.
void writeSettings(std::span<const std::uint8_t> settingsReply, Json& target);
// The number of the target that a row belongs to.
std::int32_t rowTargetOf(std::span<const std::uint8_t> rowReply);
// Appends a row of 64 pixels to the bitmap of `target`, which becomes its last member; row 0 begins a new bitmap.
void appendRow(std::span<const std::uint8_t> rowReply, Json& target);

}  // namespace BX::targets::silhouette
