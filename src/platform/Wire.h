// What the payloads of all subsystems have in common, as bytes. No I/O here.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/Letters.h"
#include "platform/Numbers.h"

namespace BX::wire {

using Bytes = std::vector<std::uint8_t>;

// Whether `bytes` is an answer that names `letter`, as most answers do.
constexpr bool isReply(std::span<const std::uint8_t> bytes, std::uint8_t letter) {
  return bytes.size() >= 2 && bytes[0] == replyMark && bytes[1] == letter;
}

// The low 16 bits, most significant byte first.
inline void append16(Bytes& frame, std::int64_t value) {
  frame.push_back(platform::lowByte(value >> 8));
  frame.push_back(platform::lowByte(value));
}

}  // namespace BX::wire
