// The listening to the streams of one opening of a port: the payloads that wait for the stream handler, and the thread
// that hands them over. That thread leads the loop while it waits for more.
//
// A stream ends when the handler has had the device's own end (59) or the answer of a mode; when it throws; when the
// port is closed; and, once the payloads that wait are handled, when the host stops it or nothing more can come (the
// line or the session is lost, or the session is a new one).
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <thread>

#include "platform/Mutex.h"
#include "platform/serial/Loop.h"
#include "platform/serial/PendingExchange.h"

namespace BX::link {

class Listening {
 public:
  // `mutex` guards this object, but for what is atomic.
  Listening(platform::Mutex& mutex, Loop& loop, Counters& counters) : mutex_(mutex), loop_(loop), counters_(counters) {}
  ~Listening();
  Listening(const Listening&) = delete;
  Listening& operator=(const Listening&) = delete;

  // ---- What the line brings. These, and start(), need the mutex.

  // A streamed payload. Kept while a stream is listened to, and from the answer of a stream's mode on; otherwise, and
  // when too many wait, dropped. False when it is the first of a stream for which there is no room.
  bool add(Bytes payload);
  // The answer of a mode, which ends the stream that is listened to; payloads after it are kept when the mode is a
  // stream's. The number of this end, for passed(); 0 when nobody listens.
  std::uint64_t addEnd(Bytes answer, bool streamFollows);
  // Whether the handler has had this end of a stream, or will not have it any more.
  bool passed(std::uint64_t end) const NO_THREAD_SAFETY_ANALYSIS { return endsPassed_ >= end; }
  // Nothing more will come: a stream ends once the payloads that wait are handled. Whether more could have come.
  bool endInput();
  // Whether a stream is listened to, and whether payloads are kept for one that will be.
  bool isActive() const NO_THREAD_SAFETY_ANALYSIS { return active_; }
  bool keeps() const NO_THREAD_SAFETY_ANALYSIS { return keepsForNext_; }
  // Whether the streaming flag is cleared already, and another thread is still to leave its handler.
  bool isEnding() const { return isActive() && !streaming && !isOwnThread(); }

  // ---- What the host wants.

  // Starts the thread, when no stream is listened to: `handle` gets each payload, false ends the stream; `ended` is the
  // last thing that the thread does. Both must not throw. `up`: whether there is a session. Without effect when it
  // throws: std::system_error or std::bad_alloc.
  void start(bool up, std::function<bool(const Bytes&)> handle, std::function<void()> ended);
  // False ends the stream once the payloads that have arrived are handled; on the listening thread, when its handler
  // returns.
  void setRunning(bool running);
  std::atomic<bool> streaming = false;
  bool isOwnThread() const { return std::this_thread::get_id() == id_; }
  // Waits for the thread of the last stream, unless it is this one.
  void join();

 private:
  struct Item {
    Bytes payload;
    std::uint64_t end = 0;  // its number; 0: a payload of the stream
  };
  void run(const std::function<bool(const Bytes&)>& handle);
  std::optional<Item> next();
  void finish(bool byEnd);
  Item takeFirst();
  void drop(std::size_t count);

  platform::Mutex& mutex_;
  Loop& loop_;
  Counters& counters_;
  std::deque<Item> queue_ GUARDED_BY(mutex_);
  std::size_t queuedBytes_ GUARDED_BY(mutex_) = 0;
  std::uint64_t endsAdded_ GUARDED_BY(mutex_) = 0;
  std::uint64_t endsPassed_ GUARDED_BY(mutex_) = 0;
  std::size_t toDrain_ GUARDED_BY(mutex_) = 0;  // payloads to be handled after the host has stopped
  bool keepsForNext_ GUARDED_BY(mutex_) = false;
  bool full_ GUARDED_BY(mutex_) = false;
  bool active_ GUARDED_BY(mutex_) = false;
  bool running_ GUARDED_BY(mutex_) = false;
  bool moreMayCome_ GUARDED_BY(mutex_) = false;
  std::thread thread_ GUARDED_BY(mutex_);
  std::atomic<std::thread::id> id_;
};

}  // namespace BX::link
