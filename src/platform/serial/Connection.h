// One opening of a port: its line, the exchanges on it and the listening to its streams.
//
// The leader of the loop only stores what arrives, under `mutex_`. Reply handlers run on the requesting thread, stream
// handlers on the listening thread, without a lock and through the gate.
#pragma once

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
#include "platform/serial/PendingExchange.h"

namespace BX::link {

class Connection final : public Engine::Listener, public std::enable_shared_from_this<Connection> {
 public:
  // Opens the port; throws OpenFailure, or what else went wrong.
  Connection(const std::string& port, std::shared_ptr<Handlers> handlers);
  ~Connection() override;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool isUp() const;
  // Ends the exchange under way and the stream, says DISC and closes the port. No handler starts from
  // now on, but one may run. Idempotent.
  void close();
  // After close(), and not inside a handler.
  void joinListening() { listening_.join(); }
  Listening& listening() { return listening_; }

  // Sends a request and waits for its answer. `mode`: the one that the request commands; while a stream is listened to
  // this also waits until the handler has had the stream's end, unless it is called inside the handler.
  Answer request(const Bytes& payload, std::optional<std::uint8_t> mode);
  // Calls a reply handler, if there is one, for each payload of an answer. False when it fails, which is reported.
  bool handOver(const std::vector<Bytes>& payloads, const Handler& handler);

  // Without effect when a stream is listened to already, or the port was hung up and nothing of a stream waits.
  void startListening();

 private:
  using Clock = Engine::Clock;

  void onSessionBegan() override;
  bool onDelivered(Message message) override;
  void onProgress(std::optional<std::uint8_t> tag) override;
  void onSessionLost(FailureKind reason) override;
  void onHungUp(const std::string& reason) override;

  void begin(PendingExchange& exchange, const Bytes& payload) REQUIRES(mutex_);
  void awaitAnswer(platform::MutexLock& lock, PendingExchange& exchange) REQUIRES(mutex_);
  void awaitEnd(platform::MutexLock& lock, std::uint64_t end) REQUIRES(mutex_);
  void wake();
  void gather(PendingExchange& exchange, Message message) REQUIRES(mutex_);
  void endSession(FailureKind reason) REQUIRES(mutex_);
  void tellLoss(FailureKind reason) REQUIRES(mutex_);
  Failure describe(FailureKind kind) const REQUIRES(mutex_);
  bool report(Failure failure);  // always false

  void awaitEarlierStream();
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
  bool modeLost_ GUARDED_BY(mutex_) = false;               // with the last session
  PendingExchange* pending_ GUARDED_BY(mutex_) = nullptr;  // the one under way
  Tags tags_ GUARDED_BY(mutex_);
};

}  // namespace BX::link
