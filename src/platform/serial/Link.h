// The host's side of one port: its state, its exchanges and its listening thread. BXSerialCom is a thin face of it.
//
// The thread that serves the engine only files what arrives, under `mutex_`; handlers run on the requesting thread or
// the listening thread, through the gate, with no lock held. Whoever waits for the device serves the engine meanwhile.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/serial/Engine.h"
#include "platform/serial/HandlerGate.h"
#include "platform/serial/Payload.h"

namespace BX::link {

class Link final : public Engine::Listener, public std::enable_shared_from_this<Link> {
 public:
  explicit Link(std::string port) : port_(std::move(port)) {}
  ~Link() override = default;
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  // ---- Port
  std::string port() const;
  bool setPort(const std::string& port);
  bool open();
  bool close();
  // Closes for good: no callback of the user is kept.
  void shutDown();
  bool isConnected() const;

  // ---- Exchanges
  using Handler = std::function<void()>;
  // Sends `request` and hands the payloads of its answer, in order, to `handler`, if there is one.
  bool exchange(const Bytes& request, const Expected& expected, const Handler& handler);
  // A change of the mode to `mode`: while a stream runs, its answer also ends the stream.
  bool changeMode(std::uint8_t mode);
  Bytes receivedBytes() const;
  // Notes why an exchange failed; always false.
  bool fail(const std::string& reason);

  // ---- Callbacks
  void setReplyHandler(Handler handler);
  Handler replyHandler() const;
  void setStreamHandler(Handler handler);
  void setRemoveHandler(std::function<bool(const char*)> handler);

  // ---- Stream
  void startListening();
  void setRunning(bool running);
  bool streaming() const { return streaming_; }
  void setStreaming(bool streaming) { streaming_ = streaming; }

  bool error() const { return error_; }
  void setError(bool error) { error_ = error; }

 private:
  using Lock = std::unique_lock<std::mutex>;
  using Clock = std::chrono::steady_clock;

  // The one exchange under way.
  struct Pending {
    std::uint8_t tag = 0;
    bool changesMode = false;
    bool isListeners = false;  // made inside the stream handler
    std::vector<Bytes> answer;
    bool arrived = false;        // the last payload is here
    bool complete = false;       // and it was read
    Clock::time_point lastSign;  // when it last went forward
    std::optional<std::string> failure;
  };
  // A payload in the hands of a handler on this thread, which may make exchanges of its own.
  struct Delivery {
    Delivery(const Link& owner, const Bytes& bytes) : link(&owner), payload(bytes), outer(innermost) {
      innermost = this;
    }
    ~Delivery() { innermost = outer; }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

    const Link* link;
    const Bytes& payload;
    const Delivery* outer;
    static thread_local const Delivery* innermost;
  };
  struct Answer {
    std::vector<Bytes> payloads;
    HandlerGate::Opening opening = HandlerGate::closed;
  };

  // What has become of a payload that arrived.
  enum class Filed {
    Late,     // nobody waits for it
    Waiting,  // for the rest of its answer
    Ready,    // to be read
  };
  Filed file(Message message);

  void onSessionBegan() override;
  bool onDelivered(Message message) override;
  void onAcknowledged() override;
  void onSessionLost(const std::string& reason) override;
  void onHungUp(const std::string& reason) override;

  std::optional<Answer> request(const Bytes& payload, const Expected& expected, bool changesMode);
  void awaitTurn(Lock& lock);
  std::optional<std::string> awaitAnswer(Lock& lock, Runner& runner, Pending& pending);
  void failPending(const std::string& reason);
  void tellLoss(const std::string& reason);
  void completePending(std::uint8_t tag);
  bool handOver(const Answer& answer, const Handler& handler);

  void listen(HandlerGate::Opening opening, Engine& engine);
  bool hearNext(HandlerGate::Opening opening, Engine& engine);
  bool handleStreamed(HandlerGate::Opening opening, const Message& message);
  void endListening();
  void joinListening();
  bool isListeningThread() const { return std::this_thread::get_id() == listeningId_; }

  mutable std::mutex lifecycle_;  // opening and closing take turns; never held while a handler is waited for
  HandlerGate gate_;

  mutable std::mutex mutex_;  // guards everything below that is not atomic
  std::condition_variable changed_;
  std::string port_;
  Options options_;
  std::shared_ptr<Engine> engine_;  // shared with the listening thread
  HandlerGate::Opening opening_ = HandlerGate::closed;
  std::optional<std::string> hungUp_;  // why
  std::optional<std::string> untold_;  // why the line or the session was lost when nobody was there to be told
  bool sessionUp_ = false;
  bool exchanging_ = false;
  Pending* pending_ = nullptr;
  std::uint8_t lastTag_ = 0;
  std::deque<Message> streamed_;  // waiting for the listening thread
  Bytes replyBytes_;              // what the last reply handler was given
  Handler replyHandler_;
  Handler streamHandler_;
  std::function<bool(const char*)> removeHandler_;
  std::thread listening_;
  std::atomic<std::thread::id> listeningId_;
  bool listens_ = false;     // from startListening until the thread has ended
  bool endSeen_ = false;     // the handler or the stream itself has ended the stream
  std::size_t toDrain_ = 0;  // payloads still to be handled after the host has stopped listening
  std::atomic<bool> running_ = false;
  std::atomic<bool> streaming_ = false;
  std::atomic<bool> error_ = false;
};

}  // namespace BX::link
