// The link's side of a cancellation: who waits, and how it is woken.
#pragma once

#include <functional>

#include "bx/BXSerialLink.h"

namespace BX::link {

// Whether the cancellation of the calling thread was requested. False when it has none.
bool isCancelled();

// As long as one lives, a request of the calling thread's cancellation calls `wake`, on the thread that makes it. Made
// and destroyed without any lock that `wake` takes.
class Waker {
 public:
  explicit Waker(std::function<void()> wake);
  ~Waker();
  Waker(const Waker&) = delete;
  Waker& operator=(const Waker&) = delete;

 private:
  friend class CancellationState;
  const std::function<void()> wake_;
  CancellationState* const state_;  // null: nobody can cancel this thread
  Waker* next_ = nullptr;           // of those with the same cancellation
};

}  // namespace BX::link
