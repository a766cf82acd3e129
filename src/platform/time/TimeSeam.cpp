#include "platform/time/TimeSeam.h"

#include <memory>
#include <thread>
#include <utility>

#include "bx/Waiting.h"
#include "platform/Mutex.h"

namespace BX::platform {

namespace {

Time& replacement() {
  static Time time;
  return time;
}

using WaitFunction = std::function<void(std::chrono::milliseconds)>;

// What the host has installed. Never destroyed: devices may outlive the static objects of the process.
struct HostsWait {
  Mutex mutex;
  std::shared_ptr<const WaitFunction> function GUARDED_BY(mutex);
};

HostsWait& hostsWait() {
  static HostsWait& instance = *new HostsWait;
  return instance;
}

std::shared_ptr<const WaitFunction> installedWait() {
  const MutexLock lock(hostsWait().mutex);
  return hostsWait().function;
}

}  // namespace

void wait(std::chrono::milliseconds duration) {
  if (const auto& replaced = replacement().wait) {
    replaced(duration);
  } else if (const auto installed = installedWait()) {
    (*installed)(duration);
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

namespace BX {

void setWaitFunction(std::function<void(std::chrono::milliseconds)> wait) {
  using namespace platform;
  auto function = wait ? std::make_shared<const WaitFunction>(std::move(wait)) : nullptr;
  const MutexLock lock(hostsWait().mutex);
  hostsWait().function.swap(function);  // what was replaced is destroyed without the lock
}

}  // namespace BX
