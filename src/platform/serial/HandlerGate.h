// Through this gate every call into a user's handler goes. Once it is shut no handler starts any more.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

#include "platform/Mutex.h"
#include "platform/codec/Frame.h"

namespace BX::link {

class HandlerGate {
 public:
  // A handler belongs to the opening of the port during which it was asked for.
  using Opening = std::uint64_t;

  Opening open() {
    const platform::MutexLock lock(mutex_);
    isOpen_ = true;
    return ++opening_;
  }

  void shut() {
    const platform::MutexLock lock(mutex_);
    isOpen_ = false;
  }

  // Calls `handler`, for `payload`, unless it is empty or the gate was shut since `opening`; what it throws passes
  // through. False when the gate was shut.
  bool run(Opening opening, const Bytes& payload, const std::function<void()>& handler) {
    Call call{std::this_thread::get_id(), 0, &payload};
    {
      const platform::MutexLock lock(mutex_);
      if (!isOpen_ || opening != opening_) return false;
      call.number = ++calls_;
      running_.push_back(call);
    }
    const Leave leave{*this, call.number};
    if (handler) handler();
    return true;
  }

  // The payload that the handler on this thread is called for, the innermost one; null outside any.
  const Bytes* current() const {
    const platform::MutexLock lock(mutex_);
    const auto own = std::find_if(running_.rbegin(), running_.rend(),
                                  [](const Call& call) { return call.thread == std::this_thread::get_id(); });
    return own == running_.rend() ? nullptr : own->payload;
  }

  // Waits for the handlers that run now. Not inside one.
  void awaitRunning() {
    platform::MutexLock lock(mutex_);
    const std::uint64_t last = calls_;
    while (!running_.empty() && running_.front().number <= last) ended_.wait(lock.native());
  }

 private:
  struct Call {
    std::thread::id thread;
    std::uint64_t number;
    const Bytes* payload;
  };
  struct Leave {
    HandlerGate& gate;
    std::uint64_t number;
    ~Leave() {
      const platform::MutexLock lock(gate.mutex_);
      std::erase_if(gate.running_, [this](const Call& call) { return call.number == number; });
      gate.ended_.notify_all();
    }
  };

  mutable platform::Mutex mutex_;
  std::condition_variable ended_;
  std::vector<Call> running_ GUARDED_BY(mutex_);  // in the order of their beginning
  std::uint64_t calls_ GUARDED_BY(mutex_) = 0;
  Opening opening_ GUARDED_BY(mutex_) = 0;
  bool isOpen_ GUARDED_BY(mutex_) = false;
};

}  // namespace BX::link
