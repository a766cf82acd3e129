// Through this gate every call into a user's handler goes. Closing it makes sure that no handler starts any more and,
// outside a handler, that none is running.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace BX::link {

class HandlerGate {
 public:
  // A handler belongs to the opening during which it was asked for.
  using Opening = std::uint64_t;
  static constexpr Opening closed = 0;

  Opening open() {
    const std::scoped_lock lock(mutex_);
    isOpen_ = true;
    return ++opening_;
  }

  // Calls `handler` unless it is empty or the gate was closed since `opening`; what it throws passes through.
  // False when the gate was closed.
  bool run(Opening opening, const std::function<void()>& handler) {
    {
      const std::scoped_lock lock(mutex_);
      if (!isOpen_ || opening != opening_) return false;
      running_.push_back(std::this_thread::get_id());
    }
    const Leave leave{*this};
    if (handler) handler();
    return true;
  }

  // Whether the calling thread is inside a handler.
  bool inside() const {
    const std::scoped_lock lock(mutex_);
    return insideLocked();
  }

  void close() {
    std::unique_lock lock(mutex_);
    isOpen_ = false;
    if (!insideLocked()) idle_.wait(lock, [this] { return running_.empty(); });
  }

 private:
  struct Leave {
    HandlerGate& gate;
    ~Leave() {
      const std::scoped_lock lock(gate.mutex_);
      gate.running_.erase(std::find(gate.running_.begin(), gate.running_.end(), std::this_thread::get_id()));
      gate.idle_.notify_all();
    }
  };
  bool insideLocked() const {
    return std::find(running_.begin(), running_.end(), std::this_thread::get_id()) != running_.end();
  }

  mutable std::mutex mutex_;
  std::condition_variable idle_;
  std::vector<std::thread::id> running_;
  Opening opening_ = closed;
  bool isOpen_ = false;
};

}  // namespace BX::link
