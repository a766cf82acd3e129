#include "simulator/Pacer.h"

#include <algorithm>

namespace BX::sim {

void Pacer::push(Bytes piece, Time now) {
  lineFree_ = std::max(lineFree_, now);
  if (baud_ != 0) {
    const std::chrono::duration<double> travel(10.0 * static_cast<double>(piece.size()) / baud_);
    lineFree_ += std::chrono::duration_cast<Time::duration>(travel);
  }
  pieces_.push_back({lineFree_ + latency_, std::move(piece)});
}

void Pacer::stall(std::chrono::milliseconds duration, Time now) { lineFree_ = std::max(lineFree_, now) + duration; }

std::optional<Bytes> Pacer::takeDue(Time now) {
  if (pieces_.empty() || pieces_.front().due > now) return std::nullopt;
  Bytes bytes = std::move(pieces_.front().bytes);
  pieces_.pop_front();
  return bytes;
}

std::optional<Pacer::Time> Pacer::due() const {
  if (pieces_.empty()) return std::nullopt;
  return pieces_.front().due;
}

void Pacer::clear() {
  pieces_.clear();
  lineFree_ = {};
}

}  // namespace BX::sim
