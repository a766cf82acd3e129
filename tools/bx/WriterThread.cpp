#include "WriterThread.h"

#include <chrono>
#include <utility>

namespace BX::tool {

namespace {

constexpr std::chrono::milliseconds idleInterval{200};

}  // namespace

using platform::MutexLock;

WriterThread::WriterThread(std::function<void()> idle) : idle_(std::move(idle)), thread_([this] { run(); }) {}

WriterThread::~WriterThread() { join(); }

void WriterThread::add(Task task) {
  const MutexLock lock(mutex_);
  if (!isOver_) waiting_.push_back(std::move(task));
  changed_.notify_all();
}

std::size_t WriterThread::waiting() const {
  const MutexLock lock(mutex_);
  return waiting_.size();
}

bool WriterThread::isOver() const {
  const MutexLock lock(mutex_);
  return isOver_;
}

void WriterThread::finish() {
  join();
  const MutexLock lock(mutex_);
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

void WriterThread::join() {
  {
    const MutexLock lock(mutex_);
    isFinishing_ = true;
    changed_.notify_all();
  }
  if (thread_.joinable()) thread_.join();
}

void WriterThread::run() {
  MutexLock lock(mutex_);
  while (!isOver_ && !(isFinishing_ && waiting_.empty())) {
    if (!waiting_.empty()) {
      const Task& next =
          waiting_.front();  // adding more leaves it where it is, and it counts as waiting until it is done
      lock.unlock();
      const bool wantsMore = attempt(next);
      lock.lock();
      waiting_.pop_front();
      isOver_ = !wantsMore;
    } else if (changed_.wait_for(lock.native(), idleInterval) == std::cv_status::timeout) {
      lock.unlock();
      idle_();
      lock.lock();
    }
  }
  waiting_.clear();
}

bool WriterThread::attempt(const Task& task) {
  try {
    return task();
  } catch (...) {
    const MutexLock lock(mutex_);
    failure_ = std::current_exception();
    return false;
  }
}

}  // namespace BX::tool
