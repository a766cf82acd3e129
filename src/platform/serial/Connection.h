// One opening of a port: its line, the exchanges on it and the listening to its streams.
//
// The leader of the loop only files what arrives, under `mutex_`. Reply handlers run on the requesting thread, stream
// handlers on the listening thread, without a lock and through the gate.
#pragma once

#include <bitset>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Mutex.h"
#include "platform/serial/Engine.h"
#include "platform/serial/Handlers.h"
#include "platform/serial/Listening.h"
#include "platform/serial/Loop.h"

namespace BX::link {

class Connection final : public Engine::Listener, public std::enable_shared_from_this<Connection> {
 public:
  // Opens the port; throws OpenFailure, or what else went wrong.
  Connection(const std::string& port, std::shared_ptr<Handlers> handlers);
  ~Connection() override;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool isUp() const;
  // Ends the exchange under way and the stream, takes leave of the device and closes the port. No handler starts from
  // now on, but one may run. Idempotent.
  void close();
  // After close(), and not inside a handler.
  void joinListening() { listening_.join(); }
  Listening& listening() { return listening_; }

  struct Answer {
    std::vector<Bytes> payloads;
    std::optional<Failure> failure;  // nothing: the answer has come, whatever it says
    bool inNewSession = false;
  };
  // Sends a request and waits for its answer. `mode`: the one that the request commands; while a stream is listened to
  // this also waits until the handler has had the stream's end, unless it is called inside the handler.
  Answer request(const Bytes& payload, std::optional<std::uint8_t> mode);
  // Calls a reply handler, if there is one, for each payload of an answer. False when it fails, which is reported.
  bool handOver(const std::vector<Bytes>& payloads, const Handler& handler);

  // Without effect when a stream is listened to already, or the port was hung up and nothing of a stream waits.
  void startListening();

 private:
  using Clock = Engine::Clock;

  // The exchange under way.
  struct Pending {
    std::uint8_t tag = 0;
    std::optional<std::uint8_t> mode;
    Answer answer;
    std::size_t size = 0;   // of the answer
    bool complete = false;  // the last payload is here
    FailureKind failure = FailureKind::None;
    std::uint64_t end = 0;   // of the stream that the answer ends
    Clock::time_point sign;  // when the exchange last went forward

    bool isOver() const { return complete || failure != FailureKind::None; }
  };

  void onSessionBegan() override;
  bool onDelivered(Message message) override;
  void onProgress(std::optional<std::uint8_t> tag) override;
  void onSessionLost(FailureKind reason) override;
  void onHungUp(std::string reason) override;

  void begin(Pending& pending, const Bytes& payload) REQUIRES(mutex_);
  void awaitAnswer(platform::MutexLock& lock, Pending& pending) REQUIRES(mutex_);
  void awaitEnd(platform::MutexLock& lock, std::uint64_t end) REQUIRES(mutex_);
  bool isFor(const Pending* pending, std::uint8_t tag) const REQUIRES(mutex_);
  void fileAnswer(Pending& pending, Message message) REQUIRES(mutex_);
  std::uint8_t freeTag() REQUIRES(mutex_);
  void endSession(FailureKind reason) REQUIRES(mutex_);
  void tellLoss(FailureKind reason) REQUIRES(mutex_);
  Failure describe(FailureKind kind) const REQUIRES(mutex_);
  bool report(Failure failure);  // always false

  bool handleStreamed(const Bytes& payload) noexcept;
  void listeningEnded() noexcept;

  const std::string port_;
  const Options options_;
  const std::shared_ptr<Handlers> handlers_;
  const std::shared_ptr<Counters> counters_;
  mutable platform::Mutex mutex_;
  Engine engine_;
  Loop loop_{engine_, mutex_, options_.resend};
  Listening listening_{mutex_, loop_, *counters_};
  HandlerGate::Opening opening_;

  bool closed_ GUARDED_BY(mutex_) = false;
  bool hungUp_ GUARDED_BY(mutex_) = false;
  std::string hangUpReason_ GUARDED_BY(mutex_);
  bool sessionUp_ GUARDED_BY(mutex_) = false;
  bool hadSession_ GUARDED_BY(mutex_) = false;
  Pending* pending_ GUARDED_BY(mutex_) = nullptr;
  std::uint8_t lastTag_ GUARDED_BY(mutex_) = 0;
  std::bitset<maxTag + 1> unanswered_ GUARDED_BY(mutex_);  // tags of requests whose answer may still come
};

}  // namespace BX::link
