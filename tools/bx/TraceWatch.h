// The trace file of --trace, watched while a command runs.
#pragma once

#include <condition_variable>
#include <stop_token>
#include <string>
#include <thread>

#include "Console.h"

namespace BX::tool {

class TraceWatch {
 public:
  // Tells on the console at once when the file cannot be written any further. Does nothing when `path` is empty.
  TraceWatch(Console& console, std::string path);
  ~TraceWatch();
  TraceWatch(const TraceWatch&) = delete;
  TraceWatch& operator=(const TraceWatch&) = delete;

  // Whether all that was traced so far stands in the file.
  bool isWhole();

 private:
  void watch(const std::stop_token& stop);
  void look() REQUIRES(mutex_);

  Console& console_;
  const std::string path_;
  platform::Mutex mutex_;
  bool isTold_ GUARDED_BY(mutex_) = false;
  std::condition_variable_any stopped_;
  std::jthread thread_;
};

}  // namespace BX::tool
