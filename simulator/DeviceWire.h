// The device's own view of the payloads: letters, modes and layouts. Deliberately apart from the library's constants,
// so that a mistake there does not repeat itself here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>

namespace BX::sim::wire {

// First byte of an answer.
inline constexpr std::uint8_t accepted = 0x59;  // 'Y'
inline constexpr std::uint8_t refused = 0x4E;   // 'N'

// First byte of a request.
inline constexpr std::uint8_t startup = 0x73;             // 's'
inline constexpr std::uint8_t setMode = 0x6F;             // 'o'
inline constexpr std::uint8_t information = 0x63;         // 'c'
inline constexpr std::uint8_t readParameters = 0x65;      // 'e'
inline constexpr std::uint8_t writeParameters = 0x64;     // 'd'
inline constexpr std::uint8_t poll = 0x70;                // 'p'
inline constexpr std::uint8_t storedPage = 0x62;          // 'b'
inline constexpr std::uint8_t uploadRing = 0x6C;          // 'l'
inline constexpr std::uint8_t downloadRing = 0x6D;        // 'm'
inline constexpr std::uint8_t uploadSilhouette = 0x66;    // 'f'
inline constexpr std::uint8_t downloadSilhouette = 0x67;  // 'g'

enum class Mode : std::uint8_t { ClassicStream = 1, Information = 2, FieldStream = 3, Resting = 4, Transfer = 6 };

// Information items.
inline constexpr std::uint8_t itemSerialNumber = 0;
inline constexpr std::uint8_t itemUsage = 1;
inline constexpr std::uint8_t itemId = 2;
inline constexpr std::uint8_t itemProgram = 3;
inline constexpr std::uint8_t itemDate = 4;
inline constexpr std::uint8_t itemTime = 5;
inline constexpr std::uint8_t itemErrorCounters = 6;
inline constexpr std::uint8_t itemStoredResults = 0x20;

// Stored results: six blocks hold pages; a seventh can be cleared only.
inline constexpr std::uint8_t storedBlocks = 6;
inline constexpr std::uint8_t clearableBlocks = 7;
inline constexpr std::uint8_t maxPages = 255;
inline constexpr std::uint8_t clearPage = 0xFF;

// Records.
inline constexpr std::uint8_t record = 0xCA;
inline constexpr std::uint8_t shotRecord = 0x6A;         // 'j'
inline constexpr std::uint8_t measurementRecord = 0x65;  // 'e'

inline constexpr std::uint8_t noTarget = 255;

// What the last byte of every request must be: the sum of the bytes before it.
inline std::uint8_t sumOf(std::span<const std::uint8_t> bytes) {
  return static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0U));
}

}  // namespace BX::sim::wire
