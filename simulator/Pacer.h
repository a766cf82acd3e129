// Bytes under way on a line of a given speed: each piece arrives when its last byte does. Pure; the time is given.
#pragma once

#include <chrono>
#include <deque>
#include <optional>

#include "simulator/Simulator.h"

namespace BX::sim {

class Pacer {
 public:
  using Time = std::chrono::steady_clock::time_point;

  // Ten bits travel for each byte; 0 baud: bytes take no time. `latency` delays every piece and takes no room on the
  // line.
  explicit Pacer(unsigned baud, std::chrono::milliseconds latency = {}) : baud_(baud), latency_(latency) {}

  void push(Bytes piece, Time now);
  // Nothing that is pushed from now on moves for this long.
  void stall(std::chrono::milliseconds duration, Time now);
  // The oldest piece, once it has arrived.
  std::optional<Bytes> takeDue(Time now);
  // When the oldest piece arrives.
  std::optional<Time> due() const;
  bool empty() const { return pieces_.empty(); }
  void clear();

 private:
  struct Piece {
    Time due;
    Bytes bytes;
  };

  unsigned baud_;
  std::chrono::milliseconds latency_;
  Time lineFree_{};
  std::deque<Piece> pieces_;
};

}  // namespace BX::sim
