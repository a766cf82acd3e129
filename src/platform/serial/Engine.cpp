#include "platform/serial/Engine.h"

#include <boost/asio/post.hpp>
#include <random>

#include "platform/serial/SerialPortTransport.h"

namespace BX::link {

namespace {

std::unique_ptr<Transport> makeTransport(boost::asio::io_context& context, const std::string& port, unsigned baud) {
  if (auto transport = transportFor(port)) return transport;
  return std::make_unique<SerialPortTransport>(context, port, baud);
}

Timing timingOf(const Options& options) {
  return {.baud = options.baud, .resend = options.resend, .sends = options.sends, .keepAlive = {}};
}

std::string textOf(Ending ending) {
  switch (ending) {
    case Ending::NoPeer:
      return "no device answers";
    case Ending::NotAcknowledged:
      return "the device no longer acknowledges";
    case Ending::PayloadTooLong:
      return "a payload is too long";
    default:
      return "the device no longer holds the session";
  }
}

}  // namespace

Engine::Engine(const std::string& port, const Options& options, Listener& listener)
    : options_(options),
      listener_(listener),
      counters_(newCounters(port)),
      trace_(newTrace(port)),
      station_(Role::Initiator, timingOf(options), static_cast<std::uint8_t>(std::random_device{}())),
      transport_(makeTransport(context_, port, options.baud)) {
  const auto copied = [this](std::span<const std::uint8_t> bytes) {
    boost::asio::post(context_, [this, data = Bytes(bytes.begin(), bytes.end())] { onReceived(data); });
  };
  Transport::Events events;
  events.received = [this, copied](std::span<const std::uint8_t> bytes) {
    if (context_.get_executor().running_in_this_thread()) {
      onReceived(bytes);
    } else {
      copied(bytes);
    }
  };
  events.hungUp = [this](const std::string& reason) {
    boost::asio::post(context_, [this, reason] { onTransportHungUp(reason); });
  };
  transport_->open(std::move(events));
  if (trace_) trace_->event(traceEvent::opened);
  runner_.start();
}

Engine::~Engine() { stop(); }

void Engine::submit(Message message) {
  boost::asio::post(context_, [this, message = std::move(message)]() mutable {
    if (hungUp_) return;
    station_.send(std::move(message), Clock::now());
    settle();
  });
}

void Engine::watch(bool on) {
  boost::asio::post(context_, [this, on] {
    if (hungUp_) return;
    station_.setKeepAlive(on ? options_.keepAlive : std::chrono::milliseconds{0}, Clock::now());
    armTimer();
  });
}

void Engine::stop() {
  runner_.stop([this] {
    if (!hungUp_) {
      station_.disconnect(Clock::now());
      settle();
      endTrace(traceEvent::closed);
    }
    timer_.cancel();
    transport_->close();
  });
}

void Engine::onReceived(std::span<const std::uint8_t> bytes) {
  if (hungUp_) return;
  const auto now = Clock::now();
  const FrameDecoder::Sink sink = [&](std::span<const std::uint8_t> content) {
    ++counters_->framesReceived;
    station_.receive(content, now);
  };
  if (trace_) {
    decodeTraced(bytes, sink);
  } else {
    decoder_.feed(bytes, sink);
  }
  counters_->framesDamaged = decoder_.damaged();
  settle();
}

void Engine::decodeTraced(std::span<const std::uint8_t> bytes, const FrameDecoder::Sink& sink) {
  decoder_.feed(
      bytes,
      [&](std::span<const std::uint8_t> content) {
        trace_->fromDevice(content);
        sink(content);
      },
      [this](std::span<const std::uint8_t> dropped) { trace_->dropped(dropped); });
}

// A frame that has begun will not end any more.
void Engine::endTrace(std::string_view event) {
  if (!trace_) return;
  if (!decoder_.begun().empty()) trace_->dropped(decoder_.begun());
  trace_->event(event);
}

void Engine::onTransportHungUp(const std::string& reason) {
  if (hungUp_) return;
  hungUp_ = true;
  endTrace(traceEvent::hungUp);
  timer_.cancel();
  transport_->close();
  station_.restart();
  listener_.onHungUp(reason);
}

void Engine::settle() {
  Station::Output output = station_.take(Clock::now());
  Bytes outgoing;
  for (const Bytes& frame : output.frames) {
    outgoing.insert(outgoing.end(), frame.begin(), frame.end());
    if (trace_) trace_->toDevice(frame);
  }
  if (!outgoing.empty()) transport_->write(std::move(outgoing));
  counters_->framesSent = station_.framesSent();
  counters_->framesResent = station_.framesResent();
  counters_->payloadsSent += output.acknowledged.size();
  counters_->payloadsReceived += output.delivered.size();
  if (output.sessionBegan) listener_.onSessionBegan();
  if (output.progressed) listener_.onAcknowledged();
  for (Message& message : output.delivered) {
    if (!listener_.onDelivered(std::move(message))) ++counters_->answersLate;
  }
  if (output.ended) listener_.onSessionLost(textOf(*output.ended));
  armTimer();
}

// A timer that is due no later is left alone: it fires, finds nothing due, and is set again.
void Engine::armTimer() {
  const auto deadline = station_.deadline();
  if (!deadline || (armedFor_ && *armedFor_ <= *deadline)) return;
  armedFor_ = deadline;
  timer_.expires_at(*deadline);
  timer_.async_wait([this](const boost::system::error_code& error) {
    if (error || hungUp_) return;
    armedFor_.reset();
    station_.advance(Clock::now());
    settle();
  });
}

}  // namespace BX::link
