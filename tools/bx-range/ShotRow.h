// What the archive's table of shots tells of one shot.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace BX::range {

// What a record does not tell is missing here, too.
struct ShotRow {
  std::optional<std::int64_t> received;  // milliseconds since the start of the session
  std::optional<double> x, y;            // millimetres right and up
  std::optional<std::int64_t> value;     // by the edge of its hole; nothing where the header names no target with rings
  std::optional<std::int64_t> tenths;    // 93 is 9.3
  std::optional<std::int64_t> innerTen;  // 0 or 1
  std::optional<double> aimingTime;      // seconds
};

// At a glance, for nearly every line is none.
bool mayBeShot(std::string_view line);

// Nothing when the line is no shot.
std::optional<ShotRow> shotIn(std::string_view line, const std::string& header);

}  // namespace BX::range
