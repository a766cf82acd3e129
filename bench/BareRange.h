// The barest of hosts for as many streams: a blocking thread for each terminal, which reads frames and acknowledges as
// often as the link does, and nothing else.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "bench/Measure.h"

namespace BX::bench {

class BareRange {
 public:
  explicit BareRange(std::size_t devices);
  ~BareRange();
  BareRange(const BareRange&) = delete;
  BareRange& operator=(const BareRange&) = delete;

  // Lets each terminal stream 100 frames a second for `time`: the share of one core that the readers take.
  double run(std::chrono::milliseconds time);

 private:
  class Reader;

  void stream(std::chrono::milliseconds time);
  double readersSeconds() const;

  std::vector<std::unique_ptr<Reader>> readers_;
};

}  // namespace BX::bench
