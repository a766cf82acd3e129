// How the answers of a device begin.
#pragma once

#include <cstdint>
#include <span>

namespace BX::platform {

inline constexpr std::uint8_t accepted = 0x59;  // 'Y': the first byte of an answer; alone, it ends a stream

// Whether `bytes` is an answer that names `letter`, as most answers do.
constexpr bool isReply(std::span<const std::uint8_t> bytes, std::uint8_t letter) {
  return bytes.size() >= 2 && bytes[0] == accepted && bytes[1] == letter;
}

}  // namespace BX::platform
