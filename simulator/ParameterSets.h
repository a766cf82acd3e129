// The parameter sets that the device keeps: numbered frames of sixteen bytes.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>

#include "simulator/Simulator.h"

namespace BX::sim {

class ParameterSets {
 public:
  ParameterSets();

  // Takes a write request whole; false when it is not a frame that this device knows.
  bool write(std::span<const std::uint8_t> request);
  std::optional<Bytes> content(std::uint8_t frame) const;

  // What the operating-mode frame that was written last says of the targets in use.
  std::uint8_t ringTarget() const { return ringTarget_; }
  std::uint8_t silhouetteTarget() const { return silhouetteTarget_; }

 private:
  std::map<std::uint8_t, Bytes> frames_;
  std::uint8_t ringTarget_;
  std::uint8_t silhouetteTarget_;
};

}  // namespace BX::sim
