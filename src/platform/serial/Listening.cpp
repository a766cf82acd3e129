#include "platform/serial/Listening.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/codec/Payload.h"

namespace BX::link {

using platform::MutexLock;

// The thread itself may hold the last reference to what this belongs to.
Listening::~Listening() NO_THREAD_SAFETY_ANALYSIS {
  if (!thread_.joinable()) return;
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

bool Listening::add(Bytes payload) {
  mutex_.assertHeld();
  const std::size_t size = payload.size() + sizeof(Item);
  const bool wanted = active_ || keepsForNext_;
  if (!wanted || queuedBytes_ + size > maxWaitingBytes) {
    ++counters_.payloadsDropped;
    if (wanted && isEndOfStream(payload)) moreMayCome_ = false;
    return !wanted || std::exchange(full_, true);
  }
  queue_.push_back({std::move(payload)});
  queuedBytes_ += size;
  return true;
}

std::uint64_t Listening::addEnd(Bytes answer, bool streamFollows) {
  mutex_.assertHeld();
  keepsForNext_ = moreMayCome_ = streamFollows;
  full_ = false;
  if (!active_) {
    drop(queue_.size());  // what an earlier stream has left is no part of the next one
    return 0;
  }
  const std::size_t size = answer.size() + sizeof(Item);
  queue_.push_back({std::move(answer), endsAdded_ + 1});
  queuedBytes_ += size;
  return ++endsAdded_;
}

bool Listening::endInput() {
  mutex_.assertHeld();
  return std::exchange(moreMayCome_, false) && (active_ || keepsForNext_);
}

void Listening::start(bool up, std::function<bool(const Bytes&)> handle, std::function<void()> ended) {
  mutex_.assertHeld();
  // Of an earlier stream: it has ended, or runs a callback of the host that may wait for this caller.
  if (thread_.joinable()) thread_.detach();
  thread_ = std::thread([this, handle = std::move(handle), ended = std::move(ended)] {
    run(handle);
    ended();
    auto own = std::this_thread::get_id();
    id_.compare_exchange_strong(own, std::thread::id());  // unless another stream has begun meanwhile
  });
  id_ = thread_.get_id();
  active_ = running_ = streaming = true;
  if (!keepsForNext_) moreMayCome_ = up;  // else it is known since the mode's answer
  toDrain_ = 0;
  loop_.orders().watches = true;
  loop_.changed();
}

void Listening::setRunning(bool running) {
  const MutexLock lock(mutex_);
  if (!running && isOwnThread()) {
    toDrain_ = 0;
    streaming = false;
  } else if (!running && running_) {
    toDrain_ = queue_.size();
  }
  running_ = running;
  loop_.changed();
}

void Listening::join() {
  std::thread ended;
  {
    const MutexLock lock(mutex_);
    if (isOwnThread()) return;
    ended.swap(thread_);
  }
  if (ended.joinable()) ended.join();
}

void Listening::run(const std::function<bool(const Bytes&)>& handle) {
  bool byEnd = false;
  while (auto item = next()) {
    const bool goesOn = handle(item->payload);
    byEnd = item->end != 0;
    if (byEnd || !goesOn || isEndOfStream(item->payload)) break;
  }
  const MutexLock lock(mutex_);
  finish(byEnd);
}

// Waits for the next payload; none when the stream is over.
std::optional<Listening::Item> Listening::next() {
  MutexLock lock(mutex_);
  while (queue_.empty() && running_ && moreMayCome_) loop_.await(lock, std::nullopt);
  if (queue_.empty() || (!running_ && toDrain_ == 0)) return std::nullopt;
  if (!running_) --toDrain_;
  return takeFirst();
}

// What came behind the last end belongs to the next stream, if one follows. All else that waits is dropped.
void Listening::finish(bool byEnd) {
  mutex_.assertHeld();
  const auto last = std::find_if(queue_.rbegin(), queue_.rend(), [](const Item& item) { return item.end != 0; });
  if (!byEnd && last == queue_.rend()) keepsForNext_ = false;
  drop(keepsForNext_ ? static_cast<std::size_t>(std::distance(last, queue_.rend())) : queue_.size());
  endsPassed_ = endsAdded_;
  active_ = running_ = streaming = full_ = false;
  loop_.orders().watches = false;
  loop_.changed();
}

Listening::Item Listening::takeFirst() {
  mutex_.assertHeld();
  Item item = std::move(queue_.front());
  queue_.pop_front();
  queuedBytes_ -= item.payload.size() + sizeof(Item);
  return item;
}

void Listening::drop(std::size_t count) {
  for (; count > 0; --count) {
    if (takeFirst().end == 0) ++counters_.payloadsDropped;
  }
}

}  // namespace BX::link
