// Long runs on a line that loses, doubles or damages one frame in a hundred in each direction.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace BX::faults {

struct SoakResult {
  std::string wrong;          // empty when nothing is
  std::size_t records = 0;    // that arrived, each once and in order
  std::size_t downloads = 0;  // that were whole
  std::chrono::duration<double> time{};
  std::size_t residentEarly = 0;  // bytes, when a tenth was done
  std::size_t residentLate = 0;   // at the end
  std::uint64_t framesReceived = 0;
  std::uint64_t framesResent = 0;   // by the host
  std::uint64_t framesDamaged = 0;  // that reached the host
};

inline constexpr unsigned noiseEvery = 100;
inline constexpr std::size_t recordsInMemory = std::size_t{6} * 255 * 13;

SoakResult soakStream(std::size_t records);
SoakResult soakDownloads(std::size_t downloads);

}  // namespace BX::faults
