#include "platform/serial/Runner.h"

#include <boost/asio/post.hpp>
#include <chrono>

namespace BX::link {

namespace {

// A guest that stays away for so long is relieved: after twice the time at most, when the device has just repeated its
// first frame and is far from giving up.
constexpr std::chrono::milliseconds patience{100};

}  // namespace

Runner::Runner(boost::asio::io_context& context) : context_(context), work_(boost::asio::make_work_guard(context)) {}

Runner::~Runner() { stop({}); }

void Runner::start() {
  thread_ = std::thread([this] { serve(); });
}

void Runner::stop(std::function<void()> last) {
  if (!thread_.joinable()) return;
  {
    const Lock lock(mutex_);
    stopped_ = true;
    last_ = std::move(last);
    context_.stop();
    own_.notify_one();
    free_.notify_all();
  }
  thread_.join();
}

void Runner::serve() {
  Lock lock(mutex_);
  while (!stopped_) {
    if (hasGuest_ || running_) {
      watchGuest(lock);
    } else {
      run(lock);
      free_.notify_all();
    }
  }
  own_.wait(lock, [this] { return !running_; });
  lock.unlock();
  if (last_) last_();
}

void Runner::watchGuest(Lock& lock) {
  const std::uint64_t seen = turns_;
  own_.wait_for(lock, patience, [this] { return stopped_ || (!hasGuest_ && !running_); });
  if (!running_ && turns_ == seen) hasGuest_ = false;
}

void Runner::run(Lock& lock) {
  running_ = true;
  ++turns_;
  lock.unlock();
  context_.run_one();
  lock.lock();
  running_ = false;
  ++turns_;
}

void Runner::runOne() {
  Lock lock(mutex_);
  if (stopped_) return;
  if (hasGuest_) {
    run(lock);
    if (stopped_ || !hasGuest_) own_.notify_one();
    return;
  }
  hasGuest_ = true;
  if (running_) nudge();
  free_.wait(lock, [this] { return !running_ || stopped_; });
}

void Runner::relieve() {
  const Lock lock(mutex_);
  hasGuest_ = false;
  own_.notify_one();
}

void Runner::nudge() {
  boost::asio::post(context_, [] {});
}

}  // namespace BX::link
