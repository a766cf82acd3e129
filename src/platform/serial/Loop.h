// The loop of an open port: it reads the line, writes what is to be sent and judges time-outs.
//
// One thread at a time runs it, the leader. Whoever waits for something from the device leads meanwhile, which spares a
// switch of threads for each frame; of several who wait, one leads and the others follow. While nobody waits, the
// loop's own I/O thread leads; it finds out within 40 ms, during which nobody reads.
#pragma once

#include <chrono>
#include <condition_variable>
#include <optional>
#include <thread>

#include "platform/Mutex.h"
#include "platform/serial/Engine.h"

namespace BX::link {

class Loop {
 public:
  using Time = Engine::Time;

  // `mutex` guards what is waited for, and this object; it is not held while the engine runs.
  Loop(Engine& engine, platform::Mutex& mutex, std::chrono::milliseconds resend);
  ~Loop();
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;

  // Starts the I/O thread; throws std::system_error.
  void start();
  // Ends it. From now on nobody leads, and await() returns at once. Idempotent.
  void stop();

  // Waits for the next event or until `until`, and so leads or follows; to be called until what is waited for is there.
  // False when that time has come, or the loop has stopped. `lock` holds the mutex, but not meanwhile.
  bool await(platform::MutexLock& lock, std::optional<Time> until);

  // These need the mutex. What the engine is to do is done by the leader: now, or when there is one.
  Engine::Orders& orders();
  // Tells all who wait that something has changed.
  void changed();

 private:
  void serve();
  void lead(platform::MutexLock& lock, std::optional<Time> until) noexcept NO_THREAD_SAFETY_ANALYSIS;

  Engine& engine_;
  platform::Mutex& mutex_;
  // At which the I/O thread looks whether anybody leads: what is to be acknowledged after resend / 5 still is in time.
  const std::chrono::milliseconds interval_;
  std::thread thread_;
  std::condition_variable changed_;   // for followers
  std::condition_variable ioThread_;  // for the I/O thread, when the loop is to stop
  Engine::Orders orders_ GUARDED_BY(mutex_);
  int waiting_ GUARDED_BY(mutex_) = 0;  // threads in await()
  bool leading_ GUARDED_BY(mutex_) = false;
  bool stopped_ GUARDED_BY(mutex_) = false;
};

}  // namespace BX::link
