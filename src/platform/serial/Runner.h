// Runs the io_context of a line, on one thread at a time: a thread of its own or a guest, which would only wait for
// what arrives and so spares a switch of threads for each frame. A guest that stays away is relieved.
#pragma once

#include <utility>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace BX::link {

class Runner {
 public:
  // `resend`: when an unacknowledged frame is repeated, which tells how long a guest may stay away.
  Runner(boost::asio::io_context& context, std::chrono::milliseconds resend);
  // Stops.
  ~Runner();
  Runner(const Runner&) = delete;
  Runner& operator=(const Runner&) = delete;

  // Starts the own thread.
  void start();
  // Ends it; `last` is the last thing that it does, when nobody else runs the context. Idempotent. Not to be called by
  // what the context runs.
  void stop(std::function<void()> last);

  // Who comes; the later in this list takes over from the earlier. The caller sees to it that there is one of each at
  // most.
  enum class Guest {
    None,
    Requester,  // waits for an answer; relieved soon after its last turn
    Listener,   // waits for a stream
  };
  using Time = std::chrono::steady_clock::time_point;
  // Waits for the next event, until `deadline` if there is one, and handles it; what runs now pauses soon. Returns
  // without one when the guest has just come, since others may have handled what it waits for. False when it is not to
  // come: another guest goes first, or the runner has stopped.
  bool runOne(Guest guest, std::optional<Time> deadline);
  // This guest goes: the own thread takes over. Called by the guest; nothing when another one has come.
  void relieve(Guest guest);
  // Makes runOne return. Any thread.
  void nudge();

 private:
  using Lock = std::unique_lock<std::mutex>;
  void serve();
  bool mayRun() const;
  std::chrono::microseconds patience() const;
  void watchGuest(Lock& lock);
  void run(Lock& lock, std::optional<Time> deadline) noexcept;

  boost::asio::io_context& context_;
  const std::chrono::microseconds resend_;
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_;
  std::thread thread_;

  std::mutex mutex_;              // guards everything below; not held while the context runs
  std::condition_variable own_;   // the own thread waits, for the guest to go
  std::condition_variable free_;  // a guest waits, for another thread to pause
  std::function<void()> last_;
  std::uint64_t turns_ = 0;  // that have ended
  Guest guest_ = Guest::None;
  int coming_ = 0;  // guests that wait for their first turn
  bool running_ = false;
  bool stopped_ = false;
};

}  // namespace BX::link
