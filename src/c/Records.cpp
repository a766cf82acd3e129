#include "c/Records.h"

#include <array>
#include <cstring>

#include "bx/DocumentKeys.h"

namespace BX::c {

namespace {

namespace record = key::record;

// Where the value of a key goes: into one of the members, or into the flags.
struct Place {
  const char* key;
  double bx_record::*number = nullptr;
  std::int32_t bx_record::*integer = nullptr;
  std::uint32_t flag = 0;
};

// In the order of a shot's document, so that each key is found next to the last one.
constexpr std::array<Place, 20> places = {{
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
}};

void put(bx_record& to, const Place& place, const rapidjson::Value& value) {
  if (place.number != nullptr) to.*place.number = value.GetDouble();
  if (place.integer != nullptr) to.*place.integer = value.GetInt();
  if (place.flag != 0 && value.GetInt() != 0) to.flags |= place.flag;
}

}  // namespace

bx_record recordOf(const Json& document) {
  bx_record result{};
  std::size_t at = 0;
  for (const auto& member : document.getDocument().GetObject()) {
    const char* const name = member.name.GetString();
    if (std::strcmp(name, record::aimingTime) == 0) {
      result.aiming_time = member.value.GetDouble();
      result.flags |= BX_HAS_AIMING_TIME;
      continue;
    }
    result.kind = result.kind == BX_SHOT || std::strcmp(name, record::shotNumber) == 0 ? BX_SHOT : BX_MEASUREMENT;
    for (std::size_t tried = 0; tried < places.size(); ++tried, at = (at + 1) % places.size()) {
      if (std::strcmp(name, places[at].key) != 0) continue;
      put(result, places[at], member.value);
      break;
    }
  }
  return result;
}

std::string linesOf(const std::vector<Json>& records, std::span<bx_record> structures) {
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
  return {.frames_sent = counted.framesSent,
          .frames_resent = counted.framesResent,
          .frames_received = counted.framesReceived,
          .frames_damaged = counted.framesDamaged,
          .answers_late = counted.answersLate,
          .records = device.recordsReceived,
          .records_dropped = counted.payloadsDropped,
          .flags = flag(device.connected, BX_CONNECTED) | flag(device.streaming, BX_STREAMING) |
                   flag(device.downloading, BX_DOWNLOADING) | flag(device.error, BX_ERROR) |
                   flag(device.hungUp, BX_LOST),
          .records_waiting = static_cast<std::uint32_t>(device.recordsWaiting),
          .pages_done = static_cast<std::uint32_t>(device.progress.pagesDone),
          .pages_total = static_cast<std::uint32_t>(device.progress.pages)};
}

}  // namespace BX::c
