#include "bench/Range.h"

#include <thread>

#include "bench/Line.h"
#include "bench/Sections.h"
#include "platform/time/TimeSeam.h"

namespace BX::bench {

namespace {

using namespace std::chrono_literals;

}  // namespace

Range::Range(const std::string& simulator, std::size_t devices) : lanes_(simulator, devices, {"--rate", "100"}) {
  platform::replaceTime({[](std::chrono::milliseconds) {}, {}});
  for (const std::string& port : lanes_.ports()) {
    devices_.push_back(std::make_unique<BXDevice>());
    connect(*devices_.back(), port);
    devices_.back()->startThread();
  }
}

Range::~Range() {
  for (const auto& device : devices_) stop(*device);
  devices_.clear();
  platform::replaceTime({});
}

Range::Cost Range::run(std::chrono::milliseconds time) {
  fetchAll();
  std::size_t records = 0;
  const auto start = Clock::now();
  const double before = processorSeconds();
  while (Clock::now() - start < time) {
    std::this_thread::sleep_for(100ms);
    records += fetchAll();
  }
  const double seconds = secondsSince(start);
  return {.share = (processorSeconds() - before) / seconds, .records = static_cast<double>(records) / seconds};
}

std::size_t Range::fetchAll() {
  std::size_t records = 0;
  for (const auto& device : devices_) records += device->getTrainingFrames().size();
  return records;
}

Rows measureRange(const Setting& setting) {
  Range range(setting.simulator, 32);
  Samples shares;
  Samples records;
  for (int round = 0; round < setting.rounds; ++round) {
    const Range::Cost cost = range.run(1s);
    shares.push_back(cost.share);
    records.push_back(cost.records);
  }
  const double share = median(shares);
  const double perSecond = median(records);
  return {{.what = "32 devices streaming 100 records a second each",
           .against = "the host process's processor time, of one core",
           .bar = Bar::AtMost,
           .limit = 10,
           .got = share * 100,
           .unit = "%",
           .detail = rounded(perSecond) + " records a second arrived, " + rounded(share / perSecond * 1e6) +
                     " µs a record; fetched ten times a second"}};
}

}  // namespace BX::bench
