// What tests wait for.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace BX::test {

class Event {
 public:
  void set() {
    const std::scoped_lock lock(mutex_);
    set_ = true;
    changed_.notify_all();
  }
  // False when it does not come: long enough for any loaded machine.
  bool wait(std::chrono::seconds bound = std::chrono::seconds(20)) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, bound, [this] { return set_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool set_ = false;
};

// For what tells nobody that it has come.
template <typename Condition>
void await(Condition condition) {
  while (!condition()) std::this_thread::yield();
}

}  // namespace BX::test
