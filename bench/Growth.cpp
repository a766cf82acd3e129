// What more work costs: processor time, which other programs on the machine disturb least.
#include <malloc.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "bench/Line.h"
#include "bench/Range.h"
#include "bench/Sections.h"
#include "bench/Sessions.h"
#include "bench/Stored.h"
#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"
#include "tests/support/LoopbackDevice.h"

namespace BX::bench {

namespace {

using namespace std::chrono_literals;

// How far the time a unit lies from the one of the smallest size, at most.
Row row(const std::string& what, const std::vector<std::size_t>& sizes, const std::vector<Samples>& samples) {
  const auto each = [&](std::size_t i) { return median(samples[i]) / static_cast<double>(sizes[i]); };
  std::string detail = "µs:";
  double farthest = 0;
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    farthest = std::max(farthest, std::abs(each(i) / each(0) - 1));
    detail += (i == 0 ? " " : ", ") + rounded(each(i) * 1e6) + " at " + std::to_string(sizes[i]);
  }
  return {.what = what,
          .against = "the same at the smallest number",
          .bar = Bar::AtMost,
          .limit = 10,
          .got = farthest * 100,
          .unit = "% away",
          .detail = detail};
}

// A device in front of a stored session, both in this process.
struct StoredLine {
  explicit StoredLine(std::size_t records)
      : far(storing(storedSession(records, pagesFor(records))), "session of " + std::to_string(records)) {
    connect(device, far.port);
  }
  test::LoopbackDevice far;
  BXDevice device;
};

Row growthOfRecords(const Setting& setting) {
  const std::vector<std::size_t> sizes{1000, 2000, 5000, 10'000, 20'000};
  std::vector<std::unique_ptr<StoredLine>> lines;
  std::vector<std::function<double()>> alternatives;
  for (const std::size_t size : sizes) {
    lines.push_back(std::make_unique<StoredLine>(size));
    alternatives.emplace_back([&device = lines.back()->device, size] {
      Records records;
      return processorSecondsOf([&] { records = download(device, size); });
    });
  }
  return row("download of n records, n = 1,000 … 20,000 (unpaced), a record", sizes,
             interleave(setting.rounds, alternatives));
}

Row growthOfTargets(const Setting& setting) {
  const std::vector<std::size_t> sizes{25, 50, 100, 250};
  const test::LoopbackDevice far(storing({}));
  BXDevice device;
  connect(device, far.port);
  const auto whole = exampleDocument("ring-25m-precision-pistol.json");
  std::vector<std::function<double()>> alternatives;
  for (const std::size_t size : sizes) {
    alternatives.emplace_back([&device, &whole, size] {
      device.clearTargetData();
      return processorSecondsOf([&] {
        for (std::size_t number = 0; number < size; ++number) {
          auto ring = whole;
          MORVA::setInteger(ring, key::ring::ringTargetNumber, static_cast<std::int32_t>(number));
          if (!device.uploadRingTarget(ring)) throw std::runtime_error("an upload failed");
        }
        if (device.getAllTargets().size() != size) throw std::runtime_error("a target is missing");
      });
    });
  }
  return row("upload of n ring targets and `getAllTargets`, n = 25 … 250, a target", sizes,
             interleave(setting.rounds, alternatives));
}

// A second of streams counts as the work.
Row growthOfDevices(const Setting& setting) {
  const std::vector<std::size_t> sizes{8, 16, 32};
  std::vector<Samples> samples(sizes.size());
  for (int round = 0; round < std::max(1, setting.rounds / 3); ++round) {
    for (std::size_t i = 0; i < sizes.size(); ++i) {
      Range range(setting.simulator, sizes[i]);
      for (int second = 0; second < 3; ++second) samples[i].push_back(range.run(1s).share);
    }
  }
  return row("n devices streaming 100 records a second each, n = 8 … 32, a device and second", sizes, samples);
}

}  // namespace

Rows measureGrowth(const Setting& setting) {
  // Else the time is the kernel's, which hands out and clears the same memory in every round.
  constexpr int all = 1 << 30;
  ::mallopt(M_TRIM_THRESHOLD, all);
  return {growthOfRecords(setting), growthOfTargets(setting), growthOfDevices(setting)};
}

}  // namespace BX::bench
