#include "platform/time/TimeSeam.h"

#include <thread>
#include <utility>

namespace BX::platform {

namespace {

Time& replacement() {
  static Time time;
  return time;
}

}  // namespace

void wait(std::chrono::milliseconds duration) {
  if (const auto& replaced = replacement().wait) {
    replaced(duration);
  } else {
    std::this_thread::sleep_for(duration);
  }
}

std::uint32_t tick() {
  if (const auto& replaced = replacement().tick) return replaced();
  const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(sinceStart).count());
}

void replaceTime(Time time) { replacement() = std::move(time); }

}  // namespace BX::platform
