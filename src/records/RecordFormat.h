// What a shot and a measurement record look like on the wire: the one home of their constants.
// Multi-byte fields are big-endian. No I/O here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace BX::records {

inline constexpr std::uint8_t recordStart = 0xCA;
inline constexpr std::uint8_t shotKind = 0x6A;         // 'j'
inline constexpr std::uint8_t measurementKind = 0x65;  // 'e'

enum class RecordKind { Shot, Measurement, Other };

// By the first two bytes alone; the record may still be too short to decode.
constexpr RecordKind kindOf(std::span<const std::uint8_t> frame) {
  if (frame.size() < 2 || frame[0] != recordStart) return RecordKind::Other;
  if (frame[1] == shotKind) return RecordKind::Shot;
  return frame[1] == measurementKind ? RecordKind::Measurement : RecordKind::Other;
}

inline constexpr std::size_t shotLength = 30;         // at least
inline constexpr std::size_t measurementLength = 17;  // at least

// Whether a frame has every byte that the decoder of its kind reads. Other frames are never decoded.
constexpr bool isDecodable(std::span<const std::uint8_t> frame) {
  switch (kindOf(frame)) {
    case RecordKind::Shot:
      return frame.size() >= shotLength;
    case RecordKind::Measurement:
      return frame.size() >= measurementLength;
    case RecordKind::Other:
      break;
  }
  return false;
}

// Offsets that shots and measurements share.
inline constexpr std::size_t positionXOffset = 4;  // signed, 2 bytes
inline constexpr std::size_t positionYOffset = 6;  // signed, 2 bytes
inline constexpr std::size_t tiltOffset = 8;       // sine times 1000, signed, 2 bytes
inline constexpr std::size_t rotationOffset = 10;  // sine times 1000, signed, 2 bytes

namespace shot {
inline constexpr std::size_t numberOffset = 2;
inline constexpr std::size_t ringTargetOffset = 14;        // noTarget: none
inline constexpr std::size_t silhouetteTargetOffset = 15;  // noTarget: none
inline constexpr std::size_t functionModeOffset = 16;
inline constexpr std::size_t timeOffset = 18;      // unsigned, 3 bytes
inline constexpr std::size_t fsiOffset = 22;       // signed, 2 bytes
inline constexpr std::size_t statusOffset = 27;    // bits of `status`
inline constexpr std::size_t distanceOffset = 28;  // tenths of a metre, unsigned, 2 bytes
}  // namespace shot

namespace measurement {
inline constexpr std::size_t distanceOffset = 14;  // tenths of a metre, unsigned, 2 bytes
inline constexpr std::size_t statusOffset = 16;    // bits of `status`
}  // namespace measurement

// Bits of the status byte that have a member of their own. Any other bit that is set counts as a fault, too.
namespace status {
inline constexpr std::uint8_t lowSignal = 1U << 0U;
inline constexpr std::uint8_t highSignal = 1U << 1U;
inline constexpr std::uint8_t measureError = 1U << 4U;
inline constexpr std::uint8_t angleError = 1U << 5U;
inline constexpr std::uint8_t fsiError = 1U << 6U;
}  // namespace status

}  // namespace BX::records
