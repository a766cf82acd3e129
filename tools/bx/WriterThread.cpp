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
      doNext(lock);
    } else if (changed_.wait_for(lock.native(), idleInterval) == std::cv_status::timeout) {
      lock.unlock();
      idle_();
      lock.lock();
    }
  }
  waiting_.clear();
}

// It counts as waiting until it is done.
void WriterThread::doNext(MutexLock& lock) {
  const Task& next = waiting_.front();  // adding more leaves it where it is
  lock.unlock();
  bool wantsMore = false;
  std::exception_ptr failure;
  try {
    wantsMore = next();
  } catch (...) {
    failure = std::current_exception();
  }
  lock.lock();
  waiting_.pop_front();
  isOver_ = !wantsMore;
  failure_ = failure;
}

}  // namespace BX::tool
