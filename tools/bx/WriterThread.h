// A thread that writes what another one gives it: a reader that is slow, or stands still, keeps nobody from the device.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <thread>

#include "platform/Mutex.h"

namespace BX::tool {

class WriterThread {
 public:
  // Writes something, and gives whether more is wanted.
  using Task = std::function<bool()>;

  // `idle` is called a few times a second while there is nothing to write.
  explicit WriterThread(std::function<void()> idle);
  // Waits as finish() does.
  ~WriterThread();
  WriterThread(const WriterThread&) = delete;
  WriterThread& operator=(const WriterThread&) = delete;

  // Tasks are done in order. Dropped when it is over.
  void add(Task task);
  // Tasks that are not done yet.
  std::size_t waiting() const;
  // Whether nothing is written any more: a task wanted no more, or has thrown.
  bool isOver() const;
  // Blocks until all is done or over, and throws what a task has thrown. Nothing may be added afterwards.
  void finish();

 private:
  void run();
  bool attempt(const Task& task) EXCLUDES(mutex_);
  void join();

  const std::function<void()> idle_;
  mutable platform::Mutex mutex_;
  std::condition_variable changed_;
  std::deque<Task> waiting_ GUARDED_BY(mutex_);
  bool isOver_ GUARDED_BY(mutex_) = false;
  bool isFinishing_ GUARDED_BY(mutex_) = false;
  std::exception_ptr failure_ GUARDED_BY(mutex_);
  std::thread thread_;
};

}  // namespace BX::tool
