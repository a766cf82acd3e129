// Taking records through the C interface and through the C++ members, side by side.
#include <chrono>
#include <thread>

#include "bench/Lanes.h"
#include "bench/Measure.h"
#include "bench/Sections.h"
#include "bx/BXDeviceManager.h"
#include "bx/DocumentKeys.h"
#include "bx/bx_c.h"
#include "morva/KeyedAccess.h"
#include "platform/time/TimeSeam.h"

namespace BX::bench {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t devices = 32;

// Many devices that stream 100 records a second each, and how their records are taken: how many there were.
struct Streams {
  virtual ~Streams() = default;
  virtual std::size_t takeAll() = 0;
};

struct StreamsInC : Streams {
  explicit StreamsInC(std::vector<std::string> names) : ports(std::move(names)) {
    bx_create(BX_C_VERSION, &manager);
    for (const auto& port : ports) bx_add(manager, port.c_str());
    bx_connect(manager, nullptr, 1, nullptr, nullptr);
    for (const auto& port : ports) bx_start_training(manager, port.c_str(), nullptr);
  }
  ~StreamsInC() override { bx_destroy(manager); }
  std::size_t takeAll() override {
    std::size_t all = 0;
    for (const auto& port : ports) {
      std::size_t count = 0;
      bx_take_records(manager, port.c_str(), records.data(), records.size(), &count, nullptr);
      all += count;
    }
    return all;
  }
  std::vector<std::string> ports;
  bx_manager* manager = nullptr;
  std::vector<bx_record> records = std::vector<bx_record>(1000);
};

// The host reads of each record where it lies.
struct StreamsInCpp : Streams {
  explicit StreamsInCpp(std::vector<std::string> names) : ports(std::move(names)) {
    for (const auto& port : ports) {
      manager.addDevice(port, {});
      manager.connectDevice(port, true);
      manager.startTraining(port);
    }
  }
  std::size_t takeAll() override {
    std::size_t all = 0;
    for (const auto& port : ports) {
      const auto records = manager.takeTrainingFrames(port);
      all += records.size();
      for (const auto& record : records) {
        position += getDouble(record, key::record::positionX) + getDouble(record, key::record::positionY);
      }
    }
    return all;
  }
  std::vector<std::string> ports;
  BXDeviceManager manager;
  double position = 0;
};

// Processor time a record, while they are taken ten times a second.
double costOf(Streams& streams, std::chrono::milliseconds time) {
  streams.takeAll();
  std::size_t records = 0;
  const auto start = Clock::now();
  const double before = processorSeconds();
  while (Clock::now() - start < time) {
    std::this_thread::sleep_for(100ms);
    records += streams.takeAll();
  }
  return (processorSeconds() - before) / static_cast<double>(records);
}

template <typename Kind>
void measure(const Setting& setting, Samples& samples) {
  const Lanes lanes(setting.simulator, devices, {"--rate", "100"});
  Kind streams(lanes.ports());
  for (int second = 0; second < 3; ++second) samples.push_back(costOf(streams, 1s));
}

}  // namespace

Rows measurePolling(const Setting& setting) {
  platform::replaceTime({[](std::chrono::milliseconds) {}, {}});
  Samples inC;
  Samples inCpp;
  for (int round = 0; round < std::max(1, setting.rounds / 3); ++round) {
    measure<StreamsInCpp>(setting, inCpp);
    measure<StreamsInC>(setting, inC);
  }
  platform::replaceTime({});
  return {{.what = "`bx_take_records`, 32 devices streaming 100 records a second each",
           .against = "`takeTrainingFrames` and a look at each record's position: the host's processor time",
           .bar = Bar::AtMost,
           .limit = 1.05,
           .got = median(inC) / median(inCpp),
           .unit = "",
           .detail = rounded(median(inC) * 1e6) + " µs a record against " + rounded(median(inCpp) * 1e6) +
                     ", both from the line on"}};
}

}  // namespace BX::bench
