#include "TraceWatch.h"

#include <chrono>
#include <utility>

#include "bx/BXSerialLink.h"

namespace BX::tool {

namespace {

constexpr std::chrono::milliseconds interval{50};

}  // namespace

TraceWatch::TraceWatch(Console& console, std::string path) : console_(console), path_(std::move(path)) {
  if (path_.empty()) return;
  thread_ = std::jthread([this](const std::stop_token& stop) { watch(stop); });
}

TraceWatch::~TraceWatch() { isWhole(); }

bool TraceWatch::isWhole() {
  const platform::MutexLock lock(mutex_);
  look();
  return !isTold_;
}

void TraceWatch::watch(const std::stop_token& stop) {
  platform::MutexLock lock(mutex_);
  do {
    look();
    stopped_.wait_for(lock, stop, interval, [] { return false; });
  } while (!stop.stop_requested());
}

void TraceWatch::look() {
  if (isTold_) return;
  const std::string reason = link::traceError();
  isTold_ = !reason.empty();
  if (isTold_) console_.error(path_ + ": " + reason + ": the rest is not traced");
}

}  // namespace BX::tool
