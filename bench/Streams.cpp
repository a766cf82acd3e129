// Training: fetching what has come, and how soon it comes.
#include <array>
#include <atomic>
#include <stdexcept>
#include <thread>

#include "bench/Line.h"
#include "bench/Sections.h"
#include "bench/Sessions.h"
#include "bench/Stored.h"
#include "bench/Terminal.h"
#include "bench/TerminalDevice.h"
#include "tests/support/LoopbackDevice.h"

namespace BX::bench {

namespace {

using namespace std::chrono_literals;
}  // namespace

Rows measureFetching(const Setting& setting) {
  constexpr std::size_t count = 1000;
  constexpr double atOnce = 1e6;
  sim::Options options;
  options.stream = shooterRecords(count);
  options.rate = atOnce;
  options.keepTranscript = false;
  const test::LoopbackDevice far(options);
  BXDevice device;
  connect(device, far.port);
  Records fetched;
  const auto samples = interleave(setting.rounds, {[&] {
                                                     device.startThread();
                                                     spinUntil([&] { return device.trainingFrameCount() == count; });
                                                     const double time =
                                                         secondsOf([&] { fetched = device.getTrainingFrames(); });
                                                     stop(device);
                                                     return time;
                                                   },
                                                   [&] {
                                                     Records copy;
                                                     return secondsOf([&] { copy = fetched; });
                                                   }});
  const double fetch = median(samples[0]);
  const double copy = median(samples[1]);
  return {{.what = "`getTrainingFrames` while streaming (1,000 records)",
           .against = "one deep copy of the same records",
           .bar = Bar::AtMost,
           .limit = 1.2,
           .got = fetch / copy,
           .unit = "",
           .detail = rounded(fetch * 1e6) + " µs against " + rounded(copy * 1e6) + " µs: the records are moved out"}};
}

namespace {

// A host that only reads: when its thread has as many bytes as a shot's frame has.
class BareReader {
 public:
  explicit BareReader(std::size_t size)
      : near_(openBare(terminal_.name()), "opening the terminal"), bytes_(size), thread_([this] { read(); }) {}
  ~BareReader() {
    stopping_ = true;
    writeAll(terminal_.far(), bytes_);
    thread_.join();
  }
  BareReader(const BareReader&) = delete;
  BareReader& operator=(const BareReader&) = delete;
  double operator()() {
    const std::size_t before = reads_;
    writeAll(terminal_.far(), sim::Bytes(bytes_.size()));
    return secondsOf([&] { spinUntil([&] { return reads_ > before; }); });
  }

 private:
  void read() {
    while (!stopping_ && readAll(near_.get(), bytes_)) ++reads_;
  }

  Terminal terminal_;
  Descriptor near_;
  sim::Bytes bytes_;
  std::atomic<std::size_t> reads_{0};
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

// The library, from a shot's last byte to the record being there.
class StreamingHost {
 public:
  StreamingHost() {
    platform::replaceTime({[](std::chrono::milliseconds) {},
                           [this] {
                             decoding_ = true;
                             return 0U;
                           }});
    std::atomic<bool> streams = false;
    std::thread host([&] {
      connect(device_, far_.name());
      device_.startThread();
      streams = true;
    });
    far_.serve([&] { return streams.load(); });
    host.join();
  }
  ~StreamingHost() {
    std::atomic<bool> stopped = false;
    std::thread host([&] {
      stop(device_);
      stopped = true;
    });
    far_.serve([&] { return stopped.load(); });
    host.join();
    platform::replaceTime({});
  }
  StreamingHost(const StreamingHost&) = delete;
  StreamingHost& operator=(const StreamingHost&) = delete;
  // The decoder reads the clock just before the record is there: waiting for that first keeps its lock free.
  double operator()(const sim::Bytes& shot) {
    decoding_ = false;
    far_.stream(shot);
    const double time = secondsOf([&] {
      spinUntil([&] { return decoding_.load(); });
      spinUntil([&] { return device_.trainingFrameCount() > 0; });
    });
    device_.getTrainingFrames();
    far_.serve([] { return true; });  // takes the acknowledgement
    return time;
  }

 private:
  std::atomic<bool> decoding_ = false;
  TerminalDevice far_{{}};
  BXDevice device_;
};

}  // namespace

Rows measureLatency(const Setting& setting) {
  constexpr int shots = 100;
  const sim::Bytes shot = shotRecord();
  StreamingHost host;
  BareReader reader(framed(shot));
  const auto medianOf = [](const std::function<double()>& once) {
    Samples times;
    for (int i = 0; i < shots; ++i) {
      std::this_thread::sleep_for(1ms);  // every thread rests, as between shots
      times.push_back(once());
    }
    return median(times);
  };
  const auto samples = interleave(setting.rounds, {[&] { return medianOf([&] { return host(shot); }); },
                                                   [&] { return medianOf([&] { return reader(); }); }});
  const double ours = median(samples[0]) * 1e6;
  const double bare = median(samples[1]) * 1e6;
  return {{.what = "from the last byte of a shot on the terminal to the record being readable",
           .against = "a bare read of the terminal",
           .bar = Bar::AtMost,
           .limit = 150,
           .got = ours - bare,
           .unit = "µs more",
           .detail = rounded(ours) + " µs against " + rounded(bare) + " µs, medians of " + std::to_string(shots) +
                     " shots a round"}};
}

}  // namespace BX::bench
