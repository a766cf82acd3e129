// One request and the gathering of its answer. No lock and no I/O here.
#pragma once

#include <bitset>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "bx/BXSerialLink.h"
#include "platform/codec/Station.h"

namespace BX::link {

// What an answer, and what waits of a stream, may hold: far more than any page or any pause brings.
inline constexpr std::size_t maxWaitingBytes = std::size_t{1} << 20U;

struct Answer {
  std::vector<Bytes> payloads;
  std::optional<Failure> failure;  // nothing: the answer has come, whatever it says
  bool modeLost = false;           // the session is not the first, and no mode was commanded in it
};

struct PendingExchange {
  using Time = std::chrono::steady_clock::time_point;

  std::uint8_t tag = 0;
  std::optional<std::uint8_t> mode;  // the one that the request commands
  Answer answer;
  std::size_t size = 0;   // of the answer
  bool complete = false;  // its last payload is here
  FailureKind failure = FailureKind::None;
  std::uint64_t end = 0;  // number of the stream's end that the answer is; 0: of none
  Time lastProgress;      // when it last went forward

  bool isOver() const { return complete || failure != FailureKind::None; }
  bool awaits(std::uint8_t wanted) const { return tag == wanted && !isOver(); }
  // False when the answer has become too long.
  bool add(Message message) {
    lastProgress = std::chrono::steady_clock::now();
    size += message.payload.size() + sizeof(Bytes);
    if (size > maxWaitingBytes) return false;
    answer.payloads.push_back(std::move(message.payload));
    complete = !message.moreFollows;
    return true;
  }
};

// The tags of requests. None is given again while an answer to its last request may still come.
class Tags {
 public:
  // There must be one: not all are taken.
  std::uint8_t take() {
    do {
      last_ = static_cast<std::uint8_t>(last_ % maxTag + 1);
    } while (taken_.test(last_));
    taken_.set(last_);
    return last_;
  }
  bool areAllTaken() const { return taken_.count() == maxTag; }
  void giveBack(std::uint8_t tag) { taken_.reset(tag); }
  // But `kept`, unless that is no request's.
  void giveBackAll(std::uint8_t kept = streamTag) {
    taken_.reset();
    taken_.set(kept, kept != streamTag);
  }

 private:
  std::bitset<maxTag + 1> taken_;
  std::uint8_t last_ = 0;
};

}  // namespace BX::link
