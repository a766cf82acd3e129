// What a host has installed on a link, and what it reads there: kept while ports are opened and closed.
#pragma once

#include <atomic>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "platform/Mutex.h"
#include "platform/serial/HandlerGate.h"
#include "platform/serial/PortBook.h"

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

  // Calls one of them through the gate. Nothing when it has returned, else why it has not; `complaint` stands before
  // what it threw.
  std::optional<Failure> call(HandlerGate::Opening opening, const Bytes& payload, const Handler& handler,
                              const char* complaint) {
    try {
      if (gate.run(opening, payload, handler)) return std::nullopt;
      return failureOf(FailureKind::Closed);
    } catch (const std::exception& reason) {
      return Failure{FailureKind::Handler, {}, std::string(complaint) + ": " + reason.what()};
    } catch (...) {
      return Failure{FailureKind::Handler, {}, complaint};
    }
  }
};

}  // namespace BX::link
