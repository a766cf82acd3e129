// Numbers between documents and the wire.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

namespace BX::platform {

// Towards zero; what does not fit (infinities and not-a-number included) becomes the smallest integer.
constexpr std::int32_t truncateToInt(double value) {
  constexpr double limit = 2147483648.0;
  // Compared so that not-a-number fails too; everything above -limit - 1 truncates to a value that fits.
  if (value > -limit - 1 && value < limit) return static_cast<std::int32_t>(value);
  return std::numeric_limits<std::int32_t>::min();
}

// The low 32 bits, read as signed.
constexpr std::int32_t cutTo32(std::int64_t value) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

// The low 8 bits: how a number becomes a one-byte field.
constexpr std::uint8_t lowByte(std::int64_t value) { return static_cast<std::uint8_t>(value); }

// The big-endian 16-bit field at `offset`, which must lie within `bytes`.
constexpr std::uint16_t bigEndian16(std::span<const std::uint8_t> bytes, std::size_t offset) {
  return static_cast<std::uint16_t>((bytes[offset] << 8) | bytes[offset + 1]);
}

}  // namespace BX::platform
