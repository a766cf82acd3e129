#include "c/Border.h"

#include <array>
#include <cstring>

#include "bx/DocumentKeys.h"

namespace BX::c {

namespace {

namespace record = key::record;

// Where the value of a key goes: into one of the members, the flags, or both.
struct Place {
  const char* key;
  double bx_record::*number = nullptr;
  std::int32_t bx_record::*integer = nullptr;
  std::uint32_t flag = 0;
};

// In the order of a shot's document, so that each key is found next to the last one.
constexpr std::array<Place, 21> places = {{
    {.key = key::ring::ringTargetNumber, .integer = &bx_record::ring_target},
    {.key = key::silhouette::silhouetteTargetNumber, .integer = &bx_record::silhouette_target},
    {.key = record::functionMode, .integer = &bx_record::function_mode},
    {.key = record::shotNumber, .integer = &bx_record::shot_number},
    {.key = record::positionX, .number = &bx_record::position_x},
    {.key = record::positionY, .number = &bx_record::position_y},
    {.key = record::tilt, .integer = &bx_record::tilt},
    {.key = record::rotation, .integer = &bx_record::rotation},
    {.key = record::distance, .number = &bx_record::distance},
    {.key = record::rotationInDegrees, .integer = &bx_record::rotation_degrees},
    {.key = record::tiltInDegrees, .integer = &bx_record::tilt_degrees},
    {.key = record::time, .integer = &bx_record::time},
    {.key = record::fsi, .integer = &bx_record::fsi},
    {.key = record::resultX, .number = &bx_record::result_x},
    {.key = record::resultY, .number = &bx_record::result_y},
    {.key = record::lowSignal, .flag = BX_LOW_SIGNAL},
    {.key = record::highSignal, .flag = BX_HIGH_SIGNAL},
    {.key = record::measureError, .flag = BX_MEASURE_ERROR},
    {.key = record::angleError, .flag = BX_ANGLE_ERROR},
    {.key = record::fsiError, .flag = BX_FSI_ERROR},
    {.key = record::aimingTime, .number = &bx_record::aiming_time, .flag = BX_HAS_AIMING_TIME},
}};

}  // namespace

bx_record recordOf(const Json& document) {
  bx_record result{};
  std::size_t at = 0;
  for (const auto& member : document.getDocument().GetObject()) {
    const char* const name = member.name.GetString();
    result.kind = result.kind == BX_SHOT || std::strcmp(name, record::shotNumber) == 0 ? BX_SHOT : BX_MEASUREMENT;
    for (std::size_t tried = 0; tried < places.size() && std::strcmp(name, places[at].key) != 0; ++tried) {
      at = (at + 1) % places.size();
    }
    const Place& place = places[at];
    if (std::strcmp(name, place.key) != 0) continue;
    if (place.number != nullptr) result.*place.number = member.value.GetDouble();
    if (place.integer != nullptr) result.*place.integer = member.value.GetInt();
    if (place.number != nullptr || member.value.GetInt() != 0) result.flags |= place.flag;
  }
  return result;
}

std::string linesOf(const std::vector<Json>& records, bx_record* structures) {
  std::string lines;
  for (std::size_t i = 0; i < records.size(); ++i) {
    structures[i].json_offset = static_cast<std::uint32_t>(lines.size());
    lines += records[i].toString();
    structures[i].json_length = static_cast<std::uint32_t>(lines.size()) - structures[i].json_offset;
    lines += '\n';
  }
  return lines;
}

bx_state stateOf(const BXDeviceManager::DeviceState& device, const link::Statistics& counted) {
  const auto flag = [](bool is, int bit) { return is ? static_cast<std::uint32_t>(bit) : 0U; };
  const std::uint32_t flags = flag(device.connected, BX_CONNECTED) | flag(device.streaming, BX_STREAMING) |
                              flag(device.downloading, BX_DOWNLOADING) | flag(device.error, BX_ERROR) |
                              flag(device.hungUp, BX_LOST);
  const auto cut = [](std::size_t count) { return static_cast<std::uint32_t>(count); };
  return {counted.framesSent,         counted.framesResent,           counted.framesReceived,    counted.framesDamaged,
          counted.answersLate,        device.recordsReceived,         counted.payloadsDropped,   flags,
          cut(device.recordsWaiting), cut(device.progress.pagesDone), cut(device.progress.pages)};
}

}  // namespace BX::c
