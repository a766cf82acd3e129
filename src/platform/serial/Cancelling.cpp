#include "platform/serial/Cancelling.h"

#include <atomic>
#include <condition_variable>
#include <thread>
#include <utility>

#include "platform/Mutex.h"

namespace BX::link {

using platform::MutexLock;

class CancellationState {
 public:
  bool isRequested() const { return requested_; }

  // The wakers are called under the lock, so that none is destroyed meanwhile.
  void request() {
    const MutexLock lock(mutex_);
    requested_ = true;
    changed_.notify_all();
    for (Waker* waker = first_; waker != nullptr; waker = waker->next_) waker->wake_();
  }

  void wait(std::chrono::steady_clock::time_point end) {
    MutexLock lock(mutex_);
    while (!requested_ && changed_.wait_until(lock.native(), end) == std::cv_status::no_timeout) {
    }
  }

  void add(Waker& waker) {
    const MutexLock lock(mutex_);
    waker.next_ = std::exchange(first_, &waker);
  }

  void remove(const Waker& waker) {
    const MutexLock lock(mutex_);
    Waker** place = &first_;
    while (*place != &waker) place = &(*place)->next_;
    *place = waker.next_;
  }

 private:
  platform::Mutex mutex_;
  std::condition_variable changed_;
  std::atomic<bool> requested_ = false;
  Waker* first_ GUARDED_BY(mutex_) = nullptr;
};

namespace {

// A plain pointer: a thread's object with a destructor would keep the library from being unloaded.
thread_local CancellationState* ownState = nullptr;

}  // namespace

bool isCancelled() { return ownState != nullptr && ownState->isRequested(); }

bool wait(std::chrono::milliseconds duration) {
  if (ownState == nullptr) {
    std::this_thread::sleep_for(duration);
  } else {
    ownState->wait(std::chrono::steady_clock::now() + duration);
  }
  return !isCancelled();
}

Waker::Waker(std::function<void()> wake) : wake_(std::move(wake)), state_(ownState) {
  if (state_ != nullptr) state_->add(*this);
}

Waker::~Waker() {
  if (state_ != nullptr) state_->remove(*this);
}

Cancellation::Cancellation() : state_(std::make_shared<CancellationState>()) {}
void Cancellation::request() { state_->request(); }
bool Cancellation::isRequested() const { return state_->isRequested(); }

Cancellation::Scope::Scope(const Cancellation& cancellation)
    : state_(cancellation.state_), outer_(std::exchange(ownState, state_.get())) {}
Cancellation::Scope::~Scope() { ownState = outer_; }

}  // namespace BX::link
