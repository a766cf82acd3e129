// The first byte of every payload: the letter of a request, and the marks of an answer.
#pragma once

#include <cstdint>

namespace BX::wire {

// The first byte of every answer; the letter of the request follows it. Alone: the device ends a stream.
inline constexpr std::uint8_t replyMark = 0x59;  // 'Y'
// The first byte of a refusal; the letter of the request follows it.
inline constexpr std::uint8_t refusalMark = 0x4E;  // 'N'

namespace letter {
inline constexpr std::uint8_t storedResults = 0x62;      // 'b', pages and clears
inline constexpr std::uint8_t information = 0x63;        // 'c'
inline constexpr std::uint8_t parameterSet = 0x64;       // 'd', writing a frame
inline constexpr std::uint8_t parameterSetRead = 0x65;   // 'e'
inline constexpr std::uint8_t silhouetteUpload = 0x66;   // 'f'
inline constexpr std::uint8_t silhouetteRequest = 0x67;  // 'g'
inline constexpr std::uint8_t ringUpload = 0x6C;         // 'l'
inline constexpr std::uint8_t ringRequest = 0x6D;        // 'm'
inline constexpr std::uint8_t mode = 0x6F;               // 'o'
inline constexpr std::uint8_t poll = 0x70;               // 'p'
inline constexpr std::uint8_t startup = 0x73;            // 's'
}  // namespace letter

}  // namespace BX::wire
