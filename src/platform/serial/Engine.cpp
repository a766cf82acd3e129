#include "platform/serial/Engine.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <random>

#include "platform/serial/SerialPortTransport.h"
#include "platform/serial/TcpName.h"
#include "platform/serial/TcpTransport.h"

namespace BX::link {

namespace {

// How many reads a late thread makes at most before it judges time-outs: more than any port keeps.
constexpr int lateReads = 64;

std::unique_ptr<Transport> makeTransport(boost::asio::io_context& context, const std::string& port, unsigned baud) {
  if (auto transport = transportFor(port)) return transport;
  if (isTcpName(port)) return std::make_unique<TcpTransport>(context, port);
  return std::make_unique<SerialPortTransport>(context, port, baud);
}

Timing timingOf(const Options& options) {
  Timing timing;
  timing.baud = options.baud;
  timing.resend = options.resend;
  timing.sends = options.sends;
  return timing;
}

FailureKind failureOf(Ending ending) {
  switch (ending) {
    case Ending::NoPeer:
      return FailureKind::NoDevice;
    case Ending::NotAcknowledged:
      return FailureKind::NotAcknowledged;
    case Ending::PayloadTooLong:
      return FailureKind::AnswerTooLong;
    default:
      return FailureKind::SessionLost;
  }
}

std::optional<Engine::Time> earlier(std::optional<Engine::Time> one, std::optional<Engine::Time> other) {
  if (one && other) return std::min(*one, *other);
  return one ? one : other;
}

}  // namespace

Engine::Engine(const std::string& port, const Options& options, std::shared_ptr<Counters> counters, Listener& listener)
    : options_(options),
      listener_(listener),
      counters_(std::move(counters)),
      trace_(newTrace(port)),
      station_(Role::Initiator, timingOf(options), static_cast<std::uint8_t>(std::random_device{}())),
      transport_(makeTransport(context_, port, options.baud)) {
  Transport::Events events;
  events.received = [this](std::span<const std::uint8_t> bytes) {
    if (context_.get_executor().running_in_this_thread()) {
      onReceived(bytes);
    } else {
      boost::asio::post(context_, [this, copy = Bytes(bytes.begin(), bytes.end())] { onReceived(copy); });
    }
  };
  events.hungUp = [this](const std::string& reason) {
    if (context_.get_executor().running_in_this_thread()) {
      hangUpReason_ = reason;  // the transport may be in the middle of something
    } else {
      boost::asio::post(context_, [this, reason] { hangUpReason_ = reason; });
    }
  };
  transport_->open(std::move(events));
  if (trace_) trace_->event(traceEvent::opened);
}

Engine::~Engine() { close(); }

void Engine::runOne(Orders orders, std::optional<Time> until) noexcept {
  try {
    carryOut(orders);
    const auto due = earlier(until, deadline());
    const bool came = (due ? context_.run_one_until(*due) : context_.run_one()) > 0;
    if (!came || (due && *due <= Clock::now())) readOn();
    judgeTime();
  } catch (...) {
    loseSession();
  }
  if (hangUpReason_) hangUp();
}

void Engine::close() noexcept {
  try {
    if (!std::exchange(hungUp_, true)) {
      station_.disconnect(Clock::now());
      settle();
      endTrace(traceEvent::closed);
    }
  } catch (...) {  // the device hears no DISC then
  }
  try {
    transport_->close();
  } catch (...) {  // a transport of the host's own
  }
}

void Engine::carryOut(Orders& orders) {
  if (hungUp_) return;
  const auto now = Clock::now();
  if (orders.endsSession) station_.disconnect(now);
  if (orders.watches != watches_) {
    watches_ = orders.watches;
    station_.setKeepAlive(watches_ ? options_.keepAlive : std::chrono::milliseconds{0}, now);
  }
  for (Message& message : orders.messages) station_.send(std::move(message), now);
  if (orders.endsSession || !orders.messages.empty()) settle();
}

// A host that was suspended, or is late for another reason, first reads what has come.
void Engine::readOn() {
  context_.restart();  // it may have been woken
  for (int i = 0; i < lateReads && context_.poll_one() > 0; ++i) {
  }
}

void Engine::judgeTime() {
  const auto now = Clock::now();
  if (const auto due = deadline(); !due || *due > now) return;
  station_.advance(now);
  settle();
}

std::optional<Engine::Time> Engine::deadline() const { return hungUp_ ? std::nullopt : station_.deadline(); }

void Engine::onReceived(std::span<const std::uint8_t> bytes) {
  if (hungUp_) return;
  const auto now = Clock::now();
  const auto sound = [&](std::span<const std::uint8_t> content) {
    ++counters_->framesReceived;
    if (trace_) trace_->fromDevice(content);
    station_.receive(content, now);
  };
  decoder_.feed(bytes, sound, [this](std::span<const std::uint8_t> dropped) {
    if (trace_) trace_->dropped(dropped);
  });
  counters_->framesDamaged = decoder_.damaged();
  settle();
}

// A frame that has begun will not end any more.
void Engine::endTrace(std::string_view event) {
  if (!trace_) return;
  if (!decoder_.begun().empty()) trace_->dropped(decoder_.begun());
  trace_->event(event);
}

void Engine::hangUp() noexcept try {
  const std::string reason = std::move(*hangUpReason_);
  hangUpReason_.reset();
  if (std::exchange(hungUp_, true)) return;
  listener_.onHungUp(reason);
  station_.restart();
  endTrace(traceEvent::hungUp);
  transport_->close();
} catch (...) {  // from a host's transport, or no memory for the trace: the port is closed with the connection
}

// The transport may have ended its read: it begins the next one with the next frame that is written.
// What the station was about to say or to hand over may be lost, so neither end may go on as if nothing were missing.
void Engine::loseSession() noexcept {
  try {
    station_.restart();
    decoder_.reset();
    listener_.onSessionLost(FailureKind::Memory);
  } catch (...) {  // then the exchange under way ends by its own time-out
  }
}

void Engine::settle() {
  Station::Output output = station_.take(Clock::now());
  Bytes outgoing;
  for (const Bytes& frame : output.frames) {
    outgoing.insert(outgoing.end(), frame.begin(), frame.end());
    if (trace_) trace_->toDevice(frame);
  }
  counters_->framesSent = station_.framesSent();
  counters_->framesResent = station_.framesResent();
  counters_->payloadsSent += output.acknowledged.size();
  counters_->payloadsReceived += output.delivered.size();
  if (output.sessionBegan) listener_.onSessionBegan();
  if (output.progressed) listener_.onProgress(std::nullopt);
  for (Message& message : output.delivered) {
    if (!listener_.onDelivered(std::move(message))) ++counters_->answersLate;
  }
  if (output.partOf) listener_.onProgress(output.partOf);
  if (output.ended) listener_.onSessionLost(failureOf(*output.ended));
  // Last, since a line may bring the answer before this returns.
  if (!outgoing.empty()) transport_->write(std::move(outgoing));
}

}  // namespace BX::link
