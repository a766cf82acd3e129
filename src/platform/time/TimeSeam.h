// The one place where the device library waits or reads a clock; tests put their own time in.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace BX::platform {

// Blocks the calling thread, as the host wants it (Waiting.h).
void wait(std::chrono::milliseconds duration);

// A monotonic clock in milliseconds, modulo 2^32.
std::uint32_t tick();

// Milliseconds from `start` to `end`: the difference is taken unsigned and read as signed.
constexpr std::int32_t ticksBetween(std::uint32_t start, std::uint32_t end) {
  return static_cast<std::int32_t>(end - start);
}

// Replaces wait() and tick(); an empty function brings the real one back. Not while another thread waits or reads.
struct Time {
  std::function<void(std::chrono::milliseconds)> wait;
  std::function<std::uint32_t()> tick;
};
void replaceTime(Time time);

}  // namespace BX::platform
