// Two stations and the line between them, in simulated time. Payloads carry a running number, by which each end is held
// to the rules of the link: everything arrives once, whole and in order, unless its sender was told of a session's end.
#pragma once

#include <algorithm>
#include <array>
#include <deque>
#include <functional>
#include <optional>
#include <stdexcept>
#include <utility>

#include "platform/codec/Station.h"

namespace BX::test {

using namespace std::chrono_literals;
using Time = link::Station::Time;

struct BrokenRule : std::logic_error {
  using std::logic_error::logic_error;
};

inline void require(bool holds, const char* rule) {
  if (!holds) throw BrokenRule(rule);
}

// One end, and what is known of its messages.
struct End {
  End(link::Role role, const link::Timing& timing) : station(role, timing) {}

  static link::Bytes payloadOf(std::uint32_t number, std::size_t size) {
    link::Bytes payload(size, static_cast<std::uint8_t>(number + size));
    for (unsigned i = 0; i < 4; ++i) payload[i] = static_cast<std::uint8_t>(number >> 8U * i);
    return payload;
  }
  static std::uint32_t numberOf(const link::Bytes& payload) {
    require(payload.size() >= 4, "payloads arrive whole");
    std::uint32_t number = 0;
    for (unsigned i = 0; i < 4; ++i) number |= std::uint32_t{payload[i]} << 8U * i;
    require(payload == payloadOf(number, payload.size()), "payloads arrive whole");
    return number;
  }

  // `size` is that of the payload, at least four.
  void send(std::uint8_t tag, bool moreFollows, std::size_t size, Time now) {
    station.send({tag, moreFollows, payloadOf(++sent, size)}, now);
    if (station.state() == link::Station::State::Down) forget();
  }
  // What was sent until now need not arrive.
  void forget() { lost = sent; }
  bool owesNothingTo(const End& peer) const { return std::max(peer.delivered, lost) == sent; }

  link::Station::Output take(const End& peer, Time now) {
    auto output = station.take(now);
    if (output.ended) {
      ended = output.ended;
      endedAt = now;
      forget();
    }
    if (output.renewed) ++renewals;
    if (deceived) return output;
    for (const auto& message : output.delivered) {
      const auto number = numberOf(message.payload);
      require(number > delivered && number <= peer.sent, "nothing twice, nothing old");
      require(number <= std::max(delivered, peer.lost) + 1, "nothing lost of which its sender was not told");
      delivered = number;
    }
    for (const auto& message : output.acknowledged) {
      require(numberOf(message.payload) <= peer.delivered, "acknowledged is delivered");
    }
    return output;
  }
  void receive(const link::Bytes& bytes, Time now) {
    decoder.feed(bytes, [&](std::span<const std::uint8_t> content) { station.receive(content, now); });
  }

  link::Station station;
  link::FrameDecoder decoder;
  std::uint32_t sent = 0;
  std::uint32_t lost = 0;
  std::uint32_t delivered = 0;  // to this end
  int renewals = 0;
  bool deceived = false;  // frames of a stranger came: what it delivers is not looked at
  std::optional<link::Ending> ended;
  Time endedAt{};
};

// Frames take a millisecond, or as long as `judge` has them take.
class Line {
 public:
  enum Direction : std::size_t { ToDevice, ToHost };
  struct Fate {
    int copies = 1;
    std::chrono::milliseconds delay{0};
  };
  // Decides about the frame of this number in its direction, and may change it.
  using Judge = std::function<Fate(Direction direction, std::size_t number, link::Bytes& frame)>;

  explicit Line(Judge fates = {}, const link::Timing& ofHost = {}, const link::Timing& ofDevice = {})
      : judge(std::move(fates)), host(link::Role::Initiator, ofHost), device(link::Role::Responder, ofDevice) {}

  // Lets time pass, with everything that happens meanwhile.
  void run(std::chrono::nanoseconds duration) {
    const Time end = now + duration;
    for (int steps = 0;; ++steps) {
      require(steps < 200'000, "no end answers the other for ever");
      deliver(device, ToDevice);
      settle(device, host, ToHost);
      if (!hostSleeps) {
        deliver(host, ToHost);
        settle(host, device, ToDevice);
      }
      const Time next = nextEvent(end);
      if (next >= end) break;
      now = std::max(now, next);
    }
    now = end;
  }

  Judge judge;
  End host;
  End device;
  Time now{};
  bool hostSleeps = false;               // and finds later what has come
  std::array<std::size_t, 2> carried{};  // frames in each direction

 private:
  struct Frame {
    Time arrival;
    link::Bytes bytes;
  };

  Time nextEvent(Time next) const {
    if (!carried_[ToDevice].empty()) next = std::min(next, carried_[ToDevice].front().arrival);
    if (!carried_[ToHost].empty() && !hostSleeps) next = std::min(next, carried_[ToHost].front().arrival);
    if (!hostSleeps) next = std::min(next, host.station.deadline().value_or(next));
    return std::min(next, device.station.deadline().value_or(next));
  }
  void settle(End& end, const End& peer, Direction direction) {
    end.station.advance(now);
    const auto output = end.take(peer, now);
    require(end.station.deadline().value_or(now + 1ns) > now, "what is due is done");
    for (const auto& frame : output.frames) carry(direction, frame);
  }
  void carry(Direction direction, link::Bytes frame) {
    auto& queue = carried_[direction];
    const Fate fate = judge ? judge(direction, carried[direction], frame) : Fate();
    ++carried[direction];
    const Time arrival = std::max(now + 1ms + fate.delay, queue.empty() ? Time() : queue.back().arrival);
    for (int i = 0; i < fate.copies; ++i) queue.push_back({arrival, frame});
  }
  void deliver(End& end, Direction direction) {
    auto& queue = carried_[direction];
    while (!queue.empty() && queue.front().arrival <= now) {
      end.receive(queue.front().bytes, now);
      queue.pop_front();
    }
  }

  std::array<std::deque<Frame>, 2> carried_;
};

}  // namespace BX::test
