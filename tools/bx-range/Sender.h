// What a lane sends next: a procedure without I/O. The archive alone knows what is kept; whatever it has not confirmed
// is sent again. One chunk goes first, and further ahead with each confirmation: while nobody answers, a hundred lanes
// that come back at once would only fill the broker's queues, which drops what is too much.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

namespace BX::range {

using SessionNumber = std::uint64_t;
// The highest number that every reader of JSON can hold.
inline constexpr SessionNumber highestSessionNumber = (SessionNumber{1} << 53) - 1;

// Lines of a session file from `first` on, or its end: then `first` is the number of all its lines.
struct Chunk {
  SessionNumber session = 0;
  std::size_t first = 0;
  std::size_t count = 0;
  bool isEnd = false;
  bool operator==(const Chunk&) const = default;
};

// What the archive tells of a session: the lines that it has committed, and whether it knows their end. What the broker
// has retained may be of a database that was lost since: it tells where to go on, but not that a session is kept.
struct Confirmation {
  SessionNumber session = 0;
  std::size_t lines = 0;
  bool isEnded = false;
  bool isRetained = false;
};

class Sender {
 public:
  using Clock = std::chrono::steady_clock;

  static constexpr std::size_t mostLines = 200;   // in a chunk
  static constexpr std::size_t mostAhead = 3000;  // lines beyond what is confirmed, at the end
  // Without progress all is sent again from what is confirmed: when nobody answers, and when the archive tells that it
  // still stands there although something has come.
  static constexpr std::chrono::seconds patience{5};
  static constexpr std::chrono::seconds gapPatience{1};

  // Sessions are sent in the order in which they begin.
  void begin(SessionNumber session) { sessions_.push_back({session, 0, false}); }
  // One that was kept before is not any more: it comes first.
  void recall(SessionNumber session, std::size_t lines);
  // The newest session has so many lines now, and will get no more.
  void grow(std::size_t lines) { sessions_.back().lines = lines; }
  void end() { sessions_.back().isEnded = true; }

  // Again from what is confirmed.
  void reconnect();
  // The session of which nothing more is to be sent now, if there is one. What is not about our sessions is ignored.
  struct Over {
    SessionNumber session = 0;
    bool isWhole = false;  // false: the archive has its end already, after fewer lines
  };
  std::optional<Over> confirm(const Confirmation& confirmation, Clock::time_point now);
  // Of the session in hand nothing more is sent, ever. False, and nothing is done, while it grows.
  bool drop();
  // What is to be sent now, if anything is; it counts as sent.
  std::optional<Chunk> next(Clock::time_point now);

  bool knows(SessionNumber session) const;
  std::size_t waiting() const { return sessions_.size(); }
  // What the archive has not confirmed yet: lines, and ends of sessions.
  std::size_t unconfirmed() const;

 private:
  struct Session {
    SessionNumber number = 0;
    std::size_t lines = 0;
    bool isEnded = false;
  };

  void resend(Clock::time_point now);

  std::deque<Session> sessions_;  // not kept as a whole yet; the first one is in hand
  std::size_t confirmed_ = 0;     // of it
  std::size_t sent_ = 0;
  std::size_t ahead_ = mostLines;  // that it may be sent
  bool isEndSent_ = false;
  Clock::time_point progress_;  // when it was last confirmed, or had nothing under way
};

}  // namespace BX::range
