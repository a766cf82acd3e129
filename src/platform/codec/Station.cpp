#include "platform/codec/Station.h"

#include <algorithm>
#include <utility>

#include "platform/codec/Control.h"

namespace BX::link {

namespace {

// How long an acknowledgement may wait, in fifths of `resend`: for a frame that can carry it, or for more of a stream.
constexpr int carriedFifths = 1;
constexpr int gatheredFifths = 3;
// It waits for no more of a stream than this, so that the sender's window stays open.
constexpr std::size_t maxGathered = 6;
static_assert(maxGathered < window);
constexpr std::uint64_t bitsPerByte = 10;  // start bit, eight data bits, stop bit

std::chrono::nanoseconds timeOnLine(std::size_t bytes, unsigned baud) {
  if (baud == 0) return {};
  return std::chrono::nanoseconds(bytes * bitsPerByte * 1'000'000'000U / baud);
}

}  // namespace

Station::Station(Role role, const Timing& timing, std::uint8_t session)
    : role_(role), timing_(timing), session_(session) {}

void Station::reset() {
  parts_.clear();
  messages_.clear();
  renewing_ = false;
  resetNumbers();
}

void Station::resetNumbers() {
  inFlight_ = 0;
  firstInFlight_ = 0;
  expected_ = 0;
  assembling_ = {};
  rejected_ = false;
  pollPending_ = false;
  acknowledged();
  resendAt_.reset();
  wait_ = timing_.resend;
  sends_ = 0;
}

void Station::restart() {
  reset();
  state_ = State::Down;
  output_ = {};
}

void Station::end(Ending ending) {
  reset();
  state_ = State::Down;
  output_.ended = ending;
}

// The last word keeps a peer that still hears it from repeating what nobody takes any more.
void Station::giveUp(Ending ending, Time now) {
  transmitUnnumbered(DISC, now);
  end(ending);
}

void Station::connect(Time now) {
  reset();
  beginSession(now);
}

void Station::beginSession(Time now) {
  state_ = State::Connecting;
  ++session_;
  sends_ = 1;
  transmitSession(SABM, now);
  armResend(now);
}

void Station::disconnect(Time now) {
  if (state_ == State::Down) return;
  if (state_ == State::Up && (acknowledgeNow_ || acknowledgeAt_)) transmitSupervisory(RR, now);
  transmitUnnumbered(DISC, now);
  reset();
  state_ = State::Down;
}

void Station::setKeepAlive(std::chrono::milliseconds silence, Time now) {
  timing_.keepAlive = silence;
  silentSince_ = now;
}

void Station::send(Message message, Time now) {
  if (state_ == State::Down) {
    if (role_ == Role::Responder) return;
    connect(now);
  }
  const auto& payload = message.payload;
  std::size_t at = 0;
  do {
    const std::size_t size = std::min(maxPartSize, payload.size() - at);
    Part part;
    part.beginsMessage = at == 0;
    part.data.assign(payload.begin() + static_cast<std::ptrdiff_t>(at),
                     payload.begin() + static_cast<std::ptrdiff_t>(at + size));
    at += size;
    part.endsMessage = at == payload.size();
    part.info = static_cast<std::uint8_t>((message.tag & tagMask) | (message.moreFollows ? payloadsFollow : 0U) |
                                          (part.endsMessage ? 0U : partsFollow));
    parts_.push_back(std::move(part));
  } while (at < payload.size());
  messages_.push_back(std::move(message));
}

void Station::dropUnsent(std::uint8_t tag) {
  auto unsent = parts_.begin() + static_cast<std::ptrdiff_t>(inFlight_);
  unsent = std::find_if(unsent, parts_.end(), [](const Part& part) { return part.beginsMessage; });
  const auto kept = std::count_if(parts_.begin(), unsent, [](const Part& part) { return part.endsMessage; });
  parts_.erase(std::remove_if(unsent, parts_.end(), [&](const Part& part) { return (part.info & tagMask) == tag; }),
               parts_.end());
  messages_.erase(
      std::remove_if(messages_.begin() + kept, messages_.end(), [&](const Message& one) { return one.tag == tag; }),
      messages_.end());
}

void Station::receive(std::span<const std::uint8_t> content, Time now) {
  if (content.empty()) return;
  const std::uint8_t control = content[0];
  silentSince_ = now;
  if (isUnnumbered(control)) return receiveUnnumbered(content, now);
  if (state_ != State::Up) {
    if (role_ == Role::Responder && (isInformation(control) || hasPollFinal(control))) transmitUnnumbered(DM, now);
    return;
  }
  heard_ = true;
  const bool pollWasPending = pollPending_;
  if (!acknowledgeUpTo(receiveNumber(control), now)) return;
  if (isInformation(control)) return receiveInformation(content, now);
  if (supervisoryKind(control) == REJ) {
    recover(now);
  } else if (hasPollFinal(control)) {
    // Without addresses poll and final look alike: only an initiator polls by a supervisory frame.
    if (pollWasPending) {
      checkpoint(now);
    } else if (role_ == Role::Responder) {
      transmitSupervisory(RR | pollFinal, now);
    }
  }
}

void Station::receiveUnnumbered(std::span<const std::uint8_t> content, Time now) {
  const std::uint8_t control = withoutPollFinal(content[0]);
  const std::uint8_t session = content.size() > 1 ? content[1] : 0;
  if (role_ == Role::Initiator) {
    if (control == UA && state_ == State::Connecting && session == session_) {
      sessionIsUp();
    } else if (control == DM && state_ == State::Up) {
      const bool renews = renewable_ && !renewing_ && inFlight_ > 0 && assembling_.payload.empty();
      if (!renews) return end(Ending::NoSession);
      resetNumbers();
      renewing_ = true;
      beginSession(now);
    } else if (control == DISC && state_ == State::Up) {
      end(Ending::NoSession);
    }
  } else if (control == SABM) {
    // Asked again: the answer was late.
    if (state_ == State::Up && session == session_ && !heard_) return transmitSession(UA, now);
    if (state_ == State::Up) output_.ended = Ending::Replaced;
    session_ = session;
    output_.delivered.clear();
    sessionIsUp();
    transmitSession(UA, now);
  } else if (control == DISC) {
    if (state_ == State::Up) end(Ending::Disconnected);
  }
}

void Station::sessionIsUp() {
  output_.renewed = renewing_;
  if (role_ == Role::Responder) reset();
  resetNumbers();  // an initiator has queued its first message already
  state_ = State::Up;
  heard_ = false;
  output_.sessionBegan = true;
}

bool Station::acknowledgeUpTo(std::uint8_t number, Time now) {
  const std::size_t count = numbersBetween(firstInFlight_, number);
  if (count > inFlight_) return false;
  if (count == 0) return true;
  for (std::size_t i = 0; i < count; ++i) {
    if (parts_.front().endsMessage) {
      output_.acknowledged.push_back(std::move(messages_.front()));
      messages_.pop_front();
    }
    parts_.pop_front();
  }
  firstInFlight_ = number;
  inFlight_ -= count;
  output_.progressed = true;
  renewing_ = false;
  renewable_ = false;
  wait_ = timing_.resend;
  sends_ = 1;
  resendAt_.reset();
  pollPending_ = pollPending_ && inFlight_ > 0;
  if (inFlight_ > 0) armResend(now);
  return true;
}

void Station::receiveInformation(std::span<const std::uint8_t> content, Time now) {
  const bool poll = hasPollFinal(content[0]);
  if (content.size() < 2) return;
  if (sendNumber(content[0]) == expected_) {
    expected_ = numberAfter(expected_);
    rejected_ = false;
    acceptPart(content[1], content.subspan(2), now);
    if (poll && state_ == State::Up) transmitSupervisory(RR | pollFinal, now);
    return;
  }
  // The number before the expected one can only be a repetition: no gap is ever that wide.
  const bool repeated = numberAfter(sendNumber(content[0])) == expected_;
  if (poll) {
    transmitSupervisory(RR | pollFinal, now);
  } else if (!repeated && !rejected_) {
    rejected_ = true;
    transmitSupervisory(REJ, now);
  } else {
    acknowledgeNow_ = true;
  }
}

void Station::acceptPart(std::uint8_t info, std::span<const std::uint8_t> data, Time now) {
  assembling_.payload.insert(assembling_.payload.end(), data.begin(), data.end());
  if (assembling_.payload.size() > maxPayloadSize) return giveUp(Ending::PayloadTooLong, now);
  assembling_.tag = info & tagMask;
  assembling_.moreFollows = (info & payloadsFollow) != 0;
  const bool ends = (info & partsFollow) == 0;
  if (!ends || assembling_.moreFollows) {
    acknowledgeNow_ = true;
  } else {
    planAcknowledgement(now);
  }
  if (ends) {
    output_.delivered.push_back(std::exchange(assembling_, {}));
  } else if (!data.empty()) {
    output_.partOf = assembling_.tag;
  }
}

// A request or the end of an answer will soon be followed by a frame that can carry the acknowledgement. The frames of
// a stream are few and far between for the line, and acknowledged several at once.
void Station::planAcknowledgement(Time now) {
  const bool streamed = assembling_.tag == streamTag;
  if (streamed && ++gathered_ >= maxGathered) acknowledgeNow_ = true;
  const Time latest = now + timing_.resend * (streamed ? gatheredFifths : carriedFifths) / 5;
  acknowledgeAt_ = std::min(acknowledgeAt_.value_or(latest), latest);
}

// What is sent now carries the number of the next frame that is expected.
void Station::acknowledged() {
  acknowledgeNow_ = false;
  acknowledgeAt_.reset();
  gathered_ = 0;
}

// The peer has told what it has: all that is still unacknowledged was lost.
void Station::checkpoint(Time now) {
  pollPending_ = false;
  for (std::size_t i = 0; i < inFlight_; ++i) transmitPart(i, false, now);
  framesResent_ += inFlight_;
  resendAt_.reset();
  if (inFlight_ > 0) armResend(now);
}

// Repeats the oldest frame and asks what the peer has; nothing new is sent until it has told.
void Station::recover(Time now) {
  if (pollPending_ || inFlight_ == 0) return;
  pollPending_ = true;
  transmitPart(0, true, now);
  ++framesResent_;
  armResend(now);
}

void Station::resendExpired(Time now) {
  resendAt_.reset();
  wait_ += wait_ / 2;
  if (role_ == Role::Responder) {
    if (silentSince_ + timing_.silence <= now) return giveUp(Ending::Silent, now);
    wait_ = std::min(wait_, std::max(timing_.longestWait, timing_.resend));
  } else if (sends_++ >= timing_.sends) {
    return giveUp(state_ == State::Connecting ? Ending::NoPeer : Ending::NotAcknowledged, now);
  }
  if (state_ == State::Connecting) {
    transmitSession(SABM, now);
  } else {
    pollPending_ = true;
    if (inFlight_ > 0) {
      transmitPart(0, true, now);
    } else {
      transmitSupervisory(RR | pollFinal, now);
    }
  }
  ++framesResent_;
  armResend(now);
}

void Station::advance(Time now) {
  if (acknowledgeAt_ && *acknowledgeAt_ <= now) acknowledgeNow_ = true;
  if (resendAt_ && *resendAt_ <= now) resendExpired(now);
  if (const auto due = keepAliveAt(); due && *due <= now) {
    pollPending_ = true;
    sends_ = 1;
    wait_ = timing_.resend;
    transmitSupervisory(RR | pollFinal, now);
    armResend(now);
  }
}

std::optional<Station::Time> Station::deadline() const {
  const auto next = resendAt_ ? resendAt_ : keepAliveAt();
  return !next || (acknowledgeAt_ && *acknowledgeAt_ < *next) ? acknowledgeAt_ : next;
}

std::optional<Station::Time> Station::keepAliveAt() const {
  if (timing_.keepAlive.count() == 0 || state_ != State::Up || resendAt_) return std::nullopt;
  return silentSince_ + timing_.keepAlive;
}

Station::Output Station::take(Time now) {
  pump(now);
  if (state_ == State::Up && acknowledgeNow_) transmitSupervisory(RR, now);
  return std::exchange(output_, {});
}

// A responder is silent until the initiator has said something in this session: only then is no repeated SABM behind
// that would begin the session a second time at one end alone.
void Station::pump(Time now) {
  if (role_ == Role::Responder && !heard_) return;
  while (state_ == State::Up && !pollPending_ && inFlight_ < window && inFlight_ < parts_.size()) {
    if (inFlight_ == 0) {
      wait_ = timing_.resend;
      sends_ = 1;
      silentSince_ = now;
      renewable_ = parts_.front().beginsMessage;
    } else if (parts_[inFlight_].beginsMessage) {
      renewable_ = false;  // an earlier message may have had its effect
    }
    ++inFlight_;
    transmitPart(inFlight_ - 1, false, now);
    if (!resendAt_) armResend(now);
  }
}

void Station::armResend(Time now) { resendAt_ = std::max(lineFree_, now) + wait_; }

void Station::transmitPart(std::size_t index, bool poll, Time now) {
  const Part& part = parts_[index];
  Bytes content;
  content.reserve(2 + part.data.size());
  const std::uint8_t control = informationControl(numberAfter(firstInFlight_, index), expected_);
  content.push_back(static_cast<std::uint8_t>(control | (poll ? pollFinal : 0U)));
  content.push_back(part.info);
  content.insert(content.end(), part.data.begin(), part.data.end());
  acknowledged();
  transmit(content, now);
}

void Station::transmitSupervisory(std::uint8_t control, Time now) {
  acknowledged();
  const std::uint8_t content = withReceiveNumber(control, expected_);
  transmit({&content, 1}, now);
}

void Station::transmitSession(std::uint8_t control, Time now) {
  const std::array<std::uint8_t, 2> content{static_cast<std::uint8_t>(control | pollFinal), session_};
  transmit(content, now);
}

void Station::transmitUnnumbered(std::uint8_t control, Time now) {
  const std::uint8_t content = control | pollFinal;
  transmit({&content, 1}, now);
}

void Station::transmit(std::span<const std::uint8_t> content, Time now) {
  if (hasPollFinal(content[0])) renewable_ = false;
  output_.frames.push_back(encodeFrame(content));
  ++framesSent_;
  lineFree_ = std::max(lineFree_, now) + timeOnLine(output_.frames.back().size(), timing_.baud);
}

}  // namespace BX::link
