// What a host has installed on a link, and what it reads there: kept while ports are opened and closed.
#pragma once

#include <atomic>
#include <functional>
#include <utility>

#include "platform/Mutex.h"
#include "platform/serial/Frame.h"
#include "platform/serial/HandlerGate.h"

namespace BX::link {

using Handler = std::function<void()>;
using RemoveHandler = std::function<bool(const char*)>;

// A value that several threads replace and copy. What was replaced is destroyed without the lock.
template <typename Value>
class Shared {
 public:
  void set(Value value) {
    const platform::MutexLock lock(mutex_);
    std::swap(value_, value);
  }
  Value get() const {
    const platform::MutexLock lock(mutex_);
    return value_;
  }

 private:
  mutable platform::Mutex mutex_;
  Value value_ GUARDED_BY(mutex_);
};

struct Handlers {
  HandlerGate gate;
  Shared<Handler> reply;
  Shared<Handler> stream;
  Shared<RemoveHandler> removed;
  Shared<Bytes> lastReply;  // what the last reply handler was given
  std::atomic<bool> error = false;
};

// A payload in the hands of a handler on this thread, which may make exchanges of its own.
class Delivery {
 public:
  Delivery(const Handlers& owner, const Bytes& payload) : owner_(owner), payload_(payload), outer_(innermost) {
    innermost = this;
  }
  ~Delivery() { innermost = outer_; }
  Delivery(const Delivery&) = delete;
  Delivery& operator=(const Delivery&) = delete;

  // The payload that the innermost handler of `owner` on this thread is called for; null outside any.
  static const Bytes* current(const Handlers& owner) {
    const Delivery* delivery = innermost;
    while (delivery != nullptr && &delivery->owner_ != &owner) delivery = delivery->outer_;
    return delivery == nullptr ? nullptr : &delivery->payload_;
  }

 private:
  const Handlers& owner_;
  const Bytes& payload_;
  const Delivery* outer_;
  static inline thread_local const Delivery* innermost = nullptr;
};

}  // namespace BX::link
