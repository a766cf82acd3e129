#include "bench/Range.h"

#include <algorithm>
#include <thread>

#include "bench/BareRange.h"
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
  stop();
  devices_.clear();
  platform::replaceTime({});
}

void Range::stop() {
  for (const auto& device : devices_) bench::stop(*device);
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

// Range and bare range take turns of three seconds.
Rows measureRange(const Setting& setting) {
  constexpr std::size_t devices = 32;
  constexpr int turn = 3;
  Samples shares;
  Samples records;
  Samples bareShares;
  for (int round = 0; round < std::max(1, setting.rounds / turn); ++round) {
    Range range(setting.simulator, devices);
    for (int second = 0; second < turn; ++second) {
      const Range::Cost cost = range.run(1s);
      shares.push_back(cost.share);
      records.push_back(cost.records);
    }
    range.stop();
    BareRange bare(devices);
    for (int second = 0; second < turn; ++second) bareShares.push_back(bare.run(1s));
  }
  const double share = median(shares);
  const double perSecond = median(records);
  const double bare = median(bareShares);
  return {{.what = "32 devices streaming 100 records a second each",
           .against = "the host process's processor time, of one core",
           .bar = Bar::AtMost,
           .limit = 10,
           .got = share * 100,
           .unit = "%",
           .detail = rounded(perSecond) + " records a second arrived, fetched ten times a second; " +
                     rounded(share / perSecond * 1e6) + " µs a record, of which bare threads that only read and " +
                     "acknowledge as many bytes take " + rounded(bare / perSecond * 1e6)}};
}

}  // namespace BX::bench
