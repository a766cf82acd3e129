#include "platform/serial/Connection.h"

#include <system_error>
#include <utility>

#include "platform/AtExit.h"
#include "platform/codec/Payload.h"
#include "platform/serial/Cancelling.h"
#include "platform/serial/FailureWatch.h"

namespace BX::link {

using platform::MutexLock;

Connection::Connection(const std::string& port, std::shared_ptr<Handlers> handlers)
    : port_(port),
      options_(getOptions()),
      handlers_(std::move(handlers)),
      counters_(std::make_shared<Counters>()),
      engine_(port, options_, counters_, *this) {
  setCounters(port, counters_);
  loop_.start();
  opening_ = handlers_->gate.open();
}

Connection::~Connection() { close(); }

bool Connection::isUp() const {
  const MutexLock lock(mutex_);
  return !closed_ && !hungUp_;
}

void Connection::close() {
  {
    const MutexLock lock(mutex_);
    if (std::exchange(closed_, true)) return;
    handlers_->gate.shut();
    if (pending_ != nullptr && !pending_->isOver()) pending_->failure = FailureKind::Closed;
    listening_.endInput();
  }
  loop_.stop();
  engine_.close();
}

// ---- What the leader reports

void Connection::onSessionBegan() {
  const MutexLock lock(mutex_);
  if (listening_.endInput()) report(failureOf(FailureKind::SessionLost));  // a stream ends with the session
  sessionUp_ = true;
  tags_.giveBackAll(pending_ == nullptr ? streamTag : pending_->tag);
  modeLost_ = std::exchange(hadSession_, true);
  if (pending_ != nullptr) pending_->lastProgress = Clock::now();
}

bool Connection::onDelivered(Message message) {
  const MutexLock lock(mutex_);
  if (message.tag == streamTag) {
    if (!listening_.add(std::move(message.payload))) report(describe(FailureKind::QueueFull));
    return true;
  }
  if (!message.moreFollows) tags_.giveBack(message.tag);
  if (pending_ == nullptr || !pending_->awaits(message.tag)) return false;
  gather(*pending_, std::move(message));
  return true;
}

void Connection::onProgress(std::optional<std::uint8_t> tag) {
  const MutexLock lock(mutex_);
  if (pending_ != nullptr && pending_->tag == tag.value_or(pending_->tag)) pending_->lastProgress = Clock::now();
}

void Connection::gather(PendingExchange& exchange, Message message) {
  if (!exchange.add(std::move(message))) return endSession(FailureKind::AnswerTooLong);
  if (!exchange.complete || !exchange.mode || !isModeAnswer(exchange.answer.payloads.back())) return;
  modeLost_ = false;
  exchange.end = listening_.addEnd(exchange.answer.payloads.back(), isStreamMode(*exchange.mode));
}

void Connection::onSessionLost(FailureKind reason) {
  const MutexLock lock(mutex_);
  tellLoss(reason);
}

void Connection::onHungUp(const std::string& reason) {
  const MutexLock lock(mutex_);
  hungUp_ = true;
  hangUpReason_ = reason;
  tellLoss(FailureKind::HungUp);
}

// The device may go on sending what nobody wants: only the end of the session silences it.
void Connection::endSession(FailureKind reason) {
  loop_.orders().endsSession = true;
  loop_.changed();
  tellLoss(reason);
}

// To the exchange under way, and to the stream that is listened to or will be.
void Connection::tellLoss(FailureKind reason) {
  sessionUp_ = false;
  if (pending_ != nullptr && !pending_->isOver()) pending_->failure = reason;
  if (listening_.endInput()) report(describe(reason));
}

Failure Connection::describe(FailureKind kind) const {
  return failureOf(kind, kind == FailureKind::HungUp ? hangUpReason_ : secondsText(options_.reply));
}

bool Connection::report(Failure failure) {
  handlers_->error = true;
  setLastFailure(port_, std::move(failure));
  return false;
}

// ---- Exchanges

Answer Connection::request(const Bytes& payload, std::optional<std::uint8_t> mode) {
  PendingExchange exchange;
  exchange.mode = mode;
  const Waker waker([this] { wake(); });
  MutexLock lock(mutex_);
  while (pending_ != nullptr && !closed_ && !isCancelled()) loop_.await(lock, std::nullopt);  // exchanges take turns
  if (hungUp_ || closed_) {
    exchange.failure = hungUp_ ? FailureKind::HungUp : FailureKind::Closed;
  } else if (isCancelled()) {
    exchange.failure = FailureKind::Cancelled;
  } else {
    const platform::AtExit next([this]() NO_THREAD_SAFETY_ANALYSIS {
      pending_ = nullptr;
      loop_.changed();
    });
    begin(exchange, payload);
    awaitAnswer(lock, exchange);
  }
  exchange.answer.modeLost = modeLost_;
  if (exchange.failure != FailureKind::None) exchange.answer.failure = describe(exchange.failure);
  // A handler that makes exchanges of its own gets them done meanwhile.
  if (exchange.end != 0 && !listening_.isOwnThread()) awaitEnd(lock, exchange.end);
  return std::move(exchange.answer);
}

void Connection::begin(PendingExchange& exchange, const Bytes& payload) {
  if (tags_.areAllTaken()) {
    endSession(FailureKind::NoAnswer);
    tags_.giveBackAll();
  }
  loop_.orders().messages.push_back({streamTag, false, payload});
  exchange.tag = loop_.orders().messages.back().tag = tags_.take();  // nothing throws any more
  exchange.lastProgress = Clock::now();
  pending_ = &exchange;
  loop_.changed();
}

void Connection::awaitAnswer(MutexLock& lock, PendingExchange& exchange) {
  while (!exchange.isOver()) {
    const bool late = !loop_.await(lock, exchange.lastProgress + options_.reply);
    const bool over = exchange.isOver() || Clock::now() < exchange.lastProgress + options_.reply;
    if (late && !over) exchange.failure = FailureKind::NoAnswer;
    if (isCancelled() && !exchange.isOver()) exchange.failure = FailureKind::Cancelled;
  }
}

// A handler that does not come back is not waited for longer than for an answer.
void Connection::awaitEnd(MutexLock& lock, std::uint64_t end) {
  const auto latest = Clock::now() + options_.reply;
  while (!listening_.passed(end) && !isCancelled() && loop_.await(lock, latest)) {
  }
}

// For who waits and is cancelled.
void Connection::wake() {
  const MutexLock lock(mutex_);
  loop_.changed();
}

bool Connection::handOver(const std::vector<Bytes>& payloads, const Handler& handler) {
  const auto self = shared_from_this();  // the handler may destroy what it is called for
  if (!handler) return true;
  for (const Bytes& payload : payloads) {
    handlers_->lastReply.set(payload);
    auto failure = handlers_->call(opening_, payload, handler, "the answer could not be read");
    if (!failure) continue;
    noteFailure(*failure);
    return report(std::move(*failure));
  }
  return true;
}

void Connection::startListening() {
  awaitEarlierStream();
  const auto self = shared_from_this();
  const MutexLock lock(mutex_);
  if (isCancelled()) return noteFailure(describe(FailureKind::Cancelled));
  if (closed_ || listening_.isActive() || (hungUp_ && !listening_.keeps())) return;
  try {
    listening_.start(
        sessionUp_, [self](const Bytes& payload) { return self->handleStreamed(payload); },
        [self] { self->listeningEnded(); });
  } catch (const std::system_error& reason) {
    const Failure failure{FailureKind::Memory, {}, std::string("no thread to listen: ") + reason.what()};
    noteFailure(failure);
    report(failure);
  }
}

// A host that sees the streaming flag cleared may start anew before the handler that has cleared it returns.
void Connection::awaitEarlierStream() {
  const auto latest = Clock::now() + options_.reply;
  const Waker waker([this] { wake(); });
  MutexLock lock(mutex_);
  while (listening_.isEnding() && !isCancelled() && loop_.await(lock, latest)) {
  }
}

// Runs on the listening thread. False ends the stream.
bool Connection::handleStreamed(const Bytes& payload) noexcept try {
  const auto handler = handlers_->stream.get();
  auto failure = handlers_->call(opening_, payload, handler, "a streamed payload could not be read");
  if (failure && failure->kind == FailureKind::Handler) report(std::move(*failure));
  return !failure;
} catch (...) {  // no memory for the reason
  return false;
}

// The last thing that the listening thread does.
void Connection::listeningEnded() noexcept try {
  {
    const MutexLock lock(mutex_);
    if (closed_ || !hungUp_) return;
  }
  const auto removed = handlers_->removed.get();
  if (!removed) return;
  const Handler handler = [&] { removed(port_.c_str()); };
  auto failure = handlers_->call(opening_, {}, handler, "the remove-device callback failed");
  if (failure) report(std::move(*failure));
} catch (...) {  // no memory for the reason
}

}  // namespace BX::link
