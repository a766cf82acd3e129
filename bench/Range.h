// A host with many devices, which all stream; the devices are in another process.
#pragma once

#include <memory>
#include <vector>

#include "bench/Lanes.h"
#include "bench/Measure.h"
#include "bx/BXDevice.h"

namespace BX::bench {

class Range {
 public:
  Range(const std::string& simulator, std::size_t devices);
  ~Range();
  Range(const Range&) = delete;
  Range& operator=(const Range&) = delete;

  struct Cost {
    double share = 0;    // of one core
    double records = 0;  // a second
  };
  // Lets them stream for `time`, fetching ten times a second.
  Cost run(std::chrono::milliseconds time);
  // Ends the streams. Idempotent.
  void stop();

 private:
  std::size_t fetchAll();

  Lanes lanes_;
  std::vector<std::unique_ptr<BXDevice>> devices_;
};

}  // namespace BX::bench
