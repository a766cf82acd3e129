#include "platform/serial/Link.h"

#include <exception>
#include <stdexcept>
#include <utility>

#include "platform/serial/Control.h"

namespace BX::link {

namespace {

constexpr auto closedText = "the port is not open";
constexpr auto closedMeanwhileText = "closed by the host";
// More payloads than any page holds fail the exchange instead of filling the memory.
constexpr std::size_t maxAnswerPayloads = 100'000;

bool isModeAnswer(const Bytes& payload) {
  return payload.size() >= 2 && payload[0] == wire::replyMark && payload[1] == letter::mode;
}

std::string secondsText(std::chrono::milliseconds time) {
  const auto tenths = time.count() / 100;
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
}

}  // namespace

// ---- Port

std::string Link::port() const {
  const Lock lock(mutex_);
  return port_;
}

bool Link::setPort(const std::string& port) {
  const std::scoped_lock lifecycle(lifecycle_);
  const Lock lock(mutex_);
  if (engine_) return false;
  port_ = port;
  return true;
}

bool Link::open() {
  if (isConnected()) return true;
  close();  // what is left of a port that was hung up
  const std::scoped_lock lifecycle(lifecycle_);
  const std::string name = port();
  const Options options = getOptions();
  std::shared_ptr<Engine> engine;
  try {
    {
      const Lock lock(mutex_);
      if (engine_) return true;  // opened by another thread meanwhile
      options_ = options;
      hungUp_.reset();
      untold_.reset();
      sessionUp_ = false;
      streamed_.clear();
    }
    engine = std::make_shared<Engine>(name, options, *this);
  } catch (const std::exception& reason) {
    setLastError(name, reason.what());
    return false;
  }
  const Lock lock(mutex_);
  engine_ = std::move(engine);
  opening_ = gate_.open();
  return true;
}

bool Link::close() {
  std::shared_ptr<Engine> engine;
  {
    const std::scoped_lock lifecycle(lifecycle_);
    const Lock lock(mutex_);
    engine = std::move(engine_);
    opening_ = HandlerGate::closed;
    running_ = false;
    failPending(closedMeanwhileText);
  }
  changed_.notify_all();
  if (engine) engine->stop();
  const bool inside = gate_.inside();
  gate_.close();
  if (!inside) joinListening();
  return engine != nullptr;
}

void Link::shutDown() {
  close();
  const Lock lock(mutex_);
  replyHandler_ = nullptr;
  streamHandler_ = nullptr;
  removeHandler_ = nullptr;
  // Only inside a handler can it still run: it keeps this object until it ends.
  if (listening_.joinable()) listening_.detach();
}

bool Link::isConnected() const {
  const Lock lock(mutex_);
  return engine_ && !hungUp_;
}

// ---- What the thread that serves the engine files

void Link::onSessionBegan() {
  const Lock lock(mutex_);
  sessionUp_ = true;
  if (pending_ != nullptr) pending_->lastSign = Clock::now();
}

void Link::onAcknowledged() {
  const Lock lock(mutex_);
  if (pending_ != nullptr) pending_->lastSign = Clock::now();
}

// Whoever waits is woken when there is something to read, and not while the lock is held.
bool Link::onDelivered(Message message) {
  Lock lock(mutex_);
  const Filed filed = file(std::move(message));
  lock.unlock();
  if (filed == Filed::Ready) changed_.notify_all();
  return filed != Filed::Late;
}

Link::Filed Link::file(Message message) {
  if (message.tag == streamTag) {
    streamed_.push_back(std::move(message));
    return Filed::Ready;
  }
  if (pending_ == nullptr || pending_->tag != message.tag || pending_->arrived) return Filed::Late;
  pending_->lastSign = Clock::now();
  pending_->arrived = !message.moreFollows;
  if (pending_->changesMode && pending_->arrived && isModeAnswer(message.payload)) {
    if (listens_) {
      // The end of the stream: the listening thread reads it. Asked for by its own handler, it counts at once.
      pending_->answer.push_back(message.payload);
      pending_->complete = pending_->isListeners;
      streamed_.push_back(std::move(message));
      return Filed::Ready;
    }
    streamed_.clear();  // what an earlier stream has left is no part of the next one
  }
  pending_->answer.push_back(std::move(message.payload));
  pending_->complete = pending_->arrived;
  if (pending_->answer.size() > maxAnswerPayloads) failPending("the answer has no end");
  return pending_->complete || pending_->failure ? Filed::Ready : Filed::Waiting;
}

void Link::onSessionLost(const std::string& reason) {
  const Lock lock(mutex_);
  tellLoss(reason);
}

void Link::onHungUp(const std::string& reason) {
  const Lock lock(mutex_);
  hungUp_ = reason;
  tellLoss(reason);
}

// To the exchange under way, to the stream, or else to the stream that comes next.
void Link::tellLoss(const std::string& reason) {
  sessionUp_ = false;
  if (listens_) {
    error_ = true;
    setLastError(port_, reason);
  } else if (pending_ == nullptr || pending_->complete) {
    untold_ = reason;
  }
  failPending(reason);
  changed_.notify_all();
}

void Link::failPending(const std::string& reason) {
  if (pending_ != nullptr && !pending_->complete && !pending_->failure) pending_->failure = reason;
}

// ---- Exchanges

thread_local const Link::Delivery* Link::Delivery::innermost = nullptr;

bool Link::exchange(const Bytes& request, const Expected& expected, const Handler& handler) {
  const auto self = shared_from_this();  // the handler may destroy what it is called for
  const auto answer = this->request(request, expected, false);
  return answer && handOver(*answer, handler);
}

bool Link::changeMode(std::uint8_t mode) {
  return request(withSum({letter::mode, mode}), {letter::mode}, true).has_value();
}

std::optional<Link::Answer> Link::request(const Bytes& payload, const Expected& expected, bool changesMode) {
  Pending pending;
  Answer answer;
  std::optional<std::string> failure;
  std::shared_ptr<Engine> engine;
  {
    Lock lock(mutex_);
    awaitTurn(lock);
    untold_.reset();
    if (!engine_ || hungUp_) {
      failure = hungUp_.value_or(closedText);
    } else {
      exchanging_ = true;
      pending_ = &pending;
      lastTag_ = static_cast<std::uint8_t>(lastTag_ % maxTag + 1);
      pending.tag = lastTag_;
      pending.changesMode = changesMode;
      pending.isListeners = isListeningThread();
      pending.lastSign = Clock::now();
      answer.opening = opening_;
      engine = engine_;
      engine->submit({pending.tag, false, payload});
      failure = awaitAnswer(lock, engine->runner(), pending);
      pending_ = nullptr;
      exchanging_ = false;
    }
  }
  changed_.notify_all();
  if (!failure) failure = failureOf(payload, expected, pending.answer.back());
  if (failure) {
    fail(*failure);
    return std::nullopt;
  }
  answer.payloads = std::move(pending.answer);
  return answer;
}

// Exchanges take turns. The listening thread does not serve the line meanwhile; and an exchange that waits for this
// very thread to read its answer, the end of the stream, is over without that.
void Link::awaitTurn(Lock& lock) {
  const bool isListeners = isListeningThread();
  if (isListeners && exchanging_ && engine_) engine_->runner().relieve(Runner::Guest::Listener);
  changed_.wait(lock, [&] {
    if (isListeners && pending_ != nullptr && pending_->arrived && !pending_->complete) {
      pending_->complete = true;
      changed_.notify_all();
    }
    return !exchanging_;
  });
}

std::optional<std::string> Link::awaitAnswer(Lock& lock, Runner& runner, Pending& pending) {
  const auto guest = pending.isListeners ? Runner::Guest::Listener : Runner::Guest::Requester;
  const auto over = [&] { return pending.complete || pending.failure; };
  const auto waits = [&] { return !over() && !pending.arrived; };
  while (waits()) {
    const Clock::time_point deadline = pending.lastSign + options_.reply;
    lock.unlock();
    const bool served = runner.runOne(guest, deadline);
    lock.lock();
    if (!served && waits()) changed_.wait_until(lock, deadline);
    if (waits() && Clock::now() >= pending.lastSign + options_.reply) {
      pending.failure = "no answer within " + secondsText(options_.reply);
    }
  }
  changed_.wait(lock, over);  // what has arrived may be with the listening thread, behind what was streamed before
  return pending.failure;
}

bool Link::fail(const std::string& reason) {
  error_ = true;
  setLastError(port(), reason);
  return false;
}

bool Link::handOver(const Answer& answer, const Handler& handler) {
  if (!handler) return true;
  try {
    for (const Bytes& payload : answer.payloads) {
      {
        const Lock lock(mutex_);
        replyBytes_ = payload;
      }
      const Delivery delivery(*this, payload);
      if (!gate_.run(answer.opening, handler)) return fail(closedMeanwhileText);
    }
  } catch (const std::exception& reason) {
    return fail(std::string("the answer could not be read: ") + reason.what());
  } catch (...) {
    return fail("the answer could not be read");
  }
  return true;
}

Bytes Link::receivedBytes() const {
  for (const Delivery* delivery = Delivery::innermost; delivery != nullptr; delivery = delivery->outer) {
    if (delivery->link == this) return delivery->payload;
  }
  const Lock lock(mutex_);
  return replyBytes_;
}

// ---- Callbacks

void Link::setReplyHandler(Handler handler) {
  const Lock lock(mutex_);
  replyHandler_.swap(handler);
}

Link::Handler Link::replyHandler() const {
  const Lock lock(mutex_);
  return replyHandler_;
}

void Link::setStreamHandler(Handler handler) {
  const Lock lock(mutex_);
  streamHandler_.swap(handler);
}

void Link::setRemoveHandler(std::function<bool(const char*)> handler) {
  const Lock lock(mutex_);
  removeHandler_.swap(handler);
}

}  // namespace BX::link
