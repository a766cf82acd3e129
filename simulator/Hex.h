// Hexadecimal text: upper case when written, either case and spaces between digits tolerated when read.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace BX::sim {

std::string toHex(std::span<const std::uint8_t> bytes);
// Throws std::runtime_error with the reason.
std::vector<std::uint8_t> fromHex(std::string_view text);

}  // namespace BX::sim
