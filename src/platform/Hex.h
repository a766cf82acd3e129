// Bytes as hexadecimal text, and back. No I/O here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace BX::platform {

// Upper case, with `separator` between two bytes. Of more than `limit` bytes only the first, and then " ...".
std::string hexOf(std::span<const std::uint8_t> bytes, std::string_view separator = {},
                  std::size_t limit = std::numeric_limits<std::size_t>::max());

// Either case; spaces, tabs and carriage returns are skipped. Throws std::runtime_error with the reason when something
// else is there, or half a byte.
std::vector<std::uint8_t> bytesOf(std::string_view hex);

}  // namespace BX::platform
