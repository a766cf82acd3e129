// Both ends of the link procedure on a line whose faults are the input: each payload arrives once and in order, or the
// session ends, and a line that has become sound again works.
#include <deque>
#include <string>

#include "fuzz/Fuzz.h"
#include "platform/serial/Station.h"

namespace {

using namespace BX;
using namespace std::chrono_literals;
using fuzz::require;
using link::Bytes;
using Time = link::Station::Time;

// Only a host asks for signs of life.
constexpr link::Timing timingOf(link::Role role) {
  return {.baud = 0, .resend = 100ms, .sends = 5, .keepAlive = role == link::Role::Initiator ? 500ms : 0ms};
}

std::uint32_t numberOf(const link::Message& message) {
  require(message.payload.size() >= 4, "payloads arrive whole");
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < 4; ++i) number |= std::uint32_t{message.payload[i]} << 8U * i;
  return number;
}

// Payloads carry a running number, by which they are known.
class End {
 public:
  explicit End(link::Role role) : station(role, timingOf(role)) {}

  void send(std::uint8_t tag, bool moreFollows, std::size_t size, Time now) {
    Bytes payload(4 + size, 0);
    ++sent_;
    for (std::size_t i = 0; i < 4; ++i) payload[i] = static_cast<std::uint8_t>(sent_ >> 8U * i);
    station.send({tag, moreFollows, std::move(payload)}, now);
  }

  // Within a session there is no gap; across sessions, nothing comes again.
  void check(const link::Station::Output& output, const End& peer) {
    if (output.sessionBegan) gapAllowed_ = true;
    for (const auto& message : output.delivered) {
      const auto number = numberOf(message);
      require(number > delivered_ && number <= peer.sent_, "nothing twice, nothing old");
      require(gapAllowed_ || number == delivered_ + 1, "nothing lost within a session");
      delivered_ = number;
      gapAllowed_ = false;
    }
    for (const auto& message : output.acknowledged) {
      require(numberOf(message) <= peer.delivered_, "acknowledged is delivered");
    }
  }

  bool hasAll(const End& peer) const { return delivered_ == peer.sent_; }

  link::Station station;
  link::FrameDecoder decoder;

 private:
  std::uint32_t sent_ = 0;
  std::uint32_t delivered_ = 0;
  bool gapAllowed_ = true;
};

// One direction: first in, first out, each frame with the time of its arrival.
class Wire {
 public:
  void put(Bytes bytes, Time arrival) {
    arrival = std::max(arrival, last_);
    last_ = arrival;
    under_.push_back({arrival, std::move(bytes)});
  }
  std::optional<Time> next() const { return under_.empty() ? std::nullopt : std::optional(under_.front().arrival); }
  std::optional<Bytes> take(Time now) {
    if (under_.empty() || under_.front().arrival > now) return std::nullopt;
    Bytes bytes = std::move(under_.front().bytes);
    under_.pop_front();
    return bytes;
  }

 private:
  struct Frame {
    Time arrival;
    Bytes bytes;
  };
  std::deque<Frame> under_;
  Time last_{};
};

class Harness {
 public:
  explicit Harness(fuzz::Input& input) : input_(input) {}

  void run() {
    while (!input_.empty()) {
      act(input_.byte());
      exchange(1ms);
    }
    recovers();
  }

 private:
  void act(std::uint8_t what) {
    const std::size_t count = what % 16U;
    const std::size_t size = count < 12 ? count : count * 60;
    switch (what / 16) {
      case 0:  // a request and the end of an answer
      case 1:
        return host_.send(1, false, size, now_);
      case 2:
        return device_.send(1, false, size, now_);
      case 3:
        return device_.send(1, true, size, now_);
      case 4:  // a stream
      case 5:
        for (std::size_t i = 0; i < count; ++i) device_.send(link::streamTag, false, i, now_);
        return;
      case 6:
        for (std::size_t i = 0; i < count; ++i) host_.send(2, false, i, now_);
        return;
      case 7:
        if (what % 16 == 0) return device_.station.restart();
        if (what % 16 == 1) return host_.station.connect(now_);
        if (what % 16 == 2) return host_.station.disconnect(now_);
        return;
      default:
        exchange(std::chrono::milliseconds(what % 16 * 40));
    }
  }

  // Lets time pass, with everything that happens meanwhile.
  void exchange(std::chrono::milliseconds duration) {
    const Time end = now_ + duration;
    for (int steps = 0;; ++steps) {
      require(steps < 100'000, "no end answers the other for ever");
      settle(host_, device_, toDevice_);
      settle(device_, host_, toHost_);
      const auto next = nextEvent();
      if (!next || *next > end) break;
      now_ = std::max(now_, *next);
      deliver(toDevice_, device_);
      deliver(toHost_, host_);
    }
    now_ = end;
  }

  std::optional<Time> nextEvent() const {
    std::optional<Time> earliest;
    for (const auto& event : {toDevice_.next(), toHost_.next(), host_.station.deadline(), device_.station.deadline()}) {
      if (event && (!earliest || *event < *earliest)) earliest = event;
    }
    return earliest;
  }

  void settle(End& end, const End& peer, Wire& wire) {
    end.station.advance(now_);
    const auto output = end.station.take(now_);
    end.check(output, peer);
    for (const Bytes& frame : output.frames) transmit(frame, wire);
  }

  void deliver(Wire& wire, End& end) {
    while (const auto bytes = wire.take(now_)) {
      end.decoder.feed(*bytes, [&](std::span<const std::uint8_t> content) { end.station.receive(content, now_); });
    }
  }

  // A byte of the input is the fate of a frame; without one it arrives after a millisecond.
  void transmit(Bytes frame, Wire& wire) {
    const std::uint8_t fate = input_.byte();
    const std::size_t at = fate / 8U % frame.size();
    Time arrival = now_ + 1ms;
    switch (fate % 8) {
      case 1:  // lost
        return;
      case 2:
        wire.put(frame, arrival);
        break;
      case 3:
        frame[at] = static_cast<std::uint8_t>(frame[at] ^ 1U << fate % 7U);
        break;
      case 4:  // cut short
        frame.resize(at);
        break;
      case 5:  // the line stalls
        arrival += std::chrono::milliseconds(fate * 5);
        break;
      case 6:  // noise before it
        frame.insert(frame.begin(), at, fate);
        break;
      default:
        break;
    }
    wire.put(std::move(frame), arrival);
  }

  void recovers() {
    exchange(3s);
    host_.send(3, false, 8, now_);
    exchange(3s);
    if (host_.station.state() == link::Station::State::Down) {  // the fault was found out by this very request
      host_.send(4, false, 8, now_);
      exchange(3s);
    }
    require(host_.station.state() == link::Station::State::Up, "a sound line has a session");
    require(device_.hasAll(host_), "a sound line carries requests");
    device_.send(3, false, 500, now_);
    exchange(3s);
    require(host_.hasAll(device_), "a sound line carries answers");
    require(host_.station.backlog() + device_.station.backlog() == 0, "everything is acknowledged");
  }

  fuzz::Input& input_;
  Time now_{};
  End host_{link::Role::Initiator};
  End device_{link::Role::Responder};
  Wire toDevice_;
  Wire toHost_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  Harness(input).run();
  return 0;
}
