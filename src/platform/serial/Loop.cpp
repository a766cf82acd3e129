#include "platform/serial/Loop.h"

#include <algorithm>
#include <utility>

namespace BX::link {

namespace {

using namespace std::chrono_literals;
using platform::MutexLock;

// A host that was suspended may find a follower's time over before the leader has read what had come by then.
constexpr auto grace = 50ms;

}  // namespace

Loop::Loop(Engine& engine, platform::Mutex& mutex, std::chrono::milliseconds resend)
    : engine_(engine), mutex_(mutex), interval_(std::clamp(resend * 2 / 5, 1ms, 40ms)) {}

Loop::~Loop() { stop(); }

void Loop::start() {
  thread_ = std::thread([this] { serve(); });
}

void Loop::stop() {
  {
    const MutexLock lock(mutex_);
    stopped_ = true;
    changed();
    ioThread_.notify_one();
  }
  if (thread_.joinable()) thread_.join();
}

void Loop::serve() {
  MutexLock lock(mutex_);
  while (!stopped_) {
    if (leading_ || waiting_ > 0) {
      ioThread_.wait_for(lock.native(), interval_);
    } else {
      lead(lock, std::nullopt);
    }
  }
  while (leading_) ioThread_.wait(lock.native());
}

bool Loop::await(MutexLock& lock, std::optional<Time> until) {
  mutex_.assertHeld();
  if (stopped_) return false;
  ++waiting_;
  if (!leading_) {
    lead(lock, until);
  } else if (!until) {
    changed_.wait(lock.native());
  } else if (changed_.wait_until(lock.native(), *until) == std::cv_status::timeout && !stopped_) {
    changed_.wait_for(lock.native(), grace);
  }
  --waiting_;
  return !stopped_ && (!until || Engine::Clock::now() < *until);
}

void Loop::lead(MutexLock& lock, std::optional<Time> until) noexcept {
  leading_ = true;
  Engine::Orders orders = std::exchange(orders_, Engine::Orders{{}, false, orders_.watches});
  engine_.getReady();
  lock.unlock();
  engine_.runOne(std::move(orders), until);
  lock.lock();
  leading_ = false;
  changed_.notify_all();
  if (stopped_) ioThread_.notify_one();
}

Engine::Orders& Loop::orders() {
  mutex_.assertHeld();
  return orders_;
}

void Loop::changed() {
  mutex_.assertHeld();
  changed_.notify_all();
  if (leading_) engine_.wake();
}

}  // namespace BX::link
