#include "platform/serial/Runner.h"

#include <boost/asio/post.hpp>

namespace BX::link {

namespace {

constexpr int requestersShare = 10;

}  // namespace

Runner::Runner(boost::asio::io_context& context, std::chrono::milliseconds resend)
    : context_(context), resend_(resend), work_(boost::asio::make_work_guard(context)) {}

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
    if (!mayRun()) {
      watchGuest(lock);
    } else {
      run(lock, std::nullopt);
      free_.notify_all();
    }
  }
  own_.wait(lock, [this] { return !running_; });
  lock.unlock();
  if (last_) last_();
}

// A guest that stays away for so long, or twice as long at most, is relieved. A listener's records may then have been
// repeated once; the device is far from giving up. A requester has often nothing more to ask.
std::chrono::microseconds Runner::patience() const {
  return guest_ == Guest::Listener ? resend_ : resend_ / requestersShare;
}

// Whether it is the own thread's turn.
bool Runner::mayRun() const { return guest_ == Guest::None && !running_ && coming_ == 0; }

void Runner::watchGuest(Lock& lock) {
  const std::uint64_t seen = turns_;
  own_.wait_for(lock, patience(), [this] { return stopped_ || mayRun(); });
  if (!running_ && coming_ == 0 && turns_ == seen) guest_ = Guest::None;
}

void Runner::run(Lock& lock, std::optional<Time> deadline) noexcept {
  running_ = true;
  lock.unlock();
  if (deadline) {
    context_.run_one_until(*deadline);
  } else {
    context_.run_one();
  }
  lock.lock();
  running_ = false;
  ++turns_;
}

bool Runner::runOne(Guest guest, std::optional<Time> deadline) {
  Lock lock(mutex_);
  if (stopped_ || guest_ > guest) return false;
  if (guest_ == guest && !running_) {
    run(lock, deadline);
    if (stopped_) own_.notify_one();
    if (coming_ > 0) free_.notify_all();
    return true;
  }
  guest_ = guest;
  free_.notify_all();  // one that was coming gives way
  if (running_) nudge();
  ++coming_;
  free_.wait(lock, [&] { return !running_ || stopped_ || guest_ != guest; });
  --coming_;
  if (mayRun()) own_.notify_one();
  return true;
}

void Runner::relieve(Guest guest) {
  const Lock lock(mutex_);
  if (guest_ != guest) return;
  guest_ = Guest::None;
  own_.notify_one();
}

void Runner::nudge() {
  boost::asio::post(context_, [] {});
}

}  // namespace BX::link
