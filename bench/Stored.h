// Downloads of stored sessions.
#pragma once

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "bx/BXDevice.h"
#include "simulator/DeviceWire.h"
#include "simulator/Simulator.h"

namespace BX::bench {

using Records = std::vector<BXDevice::Json>;

inline sim::Options storing(std::vector<sim::StoredRecord> stored, sim::Options options = {}) {
  options.stored = std::move(stored);
  options.keepTranscript = false;
  return options;
}

// As a device fills its pages, as far as it has so many.
inline std::size_t pagesFor(std::size_t records) {
  constexpr std::size_t recordsPerPage = 13;
  constexpr std::size_t allPages = std::size_t{sim::wire::storedBlocks} * sim::wire::maxPages;
  return std::min(allPages, records / recordsPerPage);
}

inline Records download(BXDevice& device, std::size_t expected) {
  device.sendDownloadFrame();
  Records records = device.getTrainingFrames();
  if (records.size() != expected) throw std::runtime_error("a download lost records");
  return records;
}

}  // namespace BX::bench
