#include "bench/BareRange.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <thread>

#include "bench/Terminal.h"

namespace BX::bench {

namespace {

using Frame = std::array<std::uint8_t, 26>;  // a measurement's
using Acknowledgement = std::array<std::uint8_t, 8>;
constexpr int framesAnAcknowledgement = 6;
constexpr std::chrono::milliseconds period{10};
constexpr std::uint8_t last = 1;

}  // namespace

class BareRange::Reader {
 public:
  Reader() : near_(openBare(terminal_.name()), "opening the terminal"), thread_([this] { read(); }) {
    ::fcntl(terminal_.far(), F_SETFL, O_NONBLOCK);
  }
  ~Reader() {
    writeAll(terminal_.far(), Frame{last});
    thread_.join();
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  void stream() {
    Acknowledgement taken{};
    while (::read(terminal_.far(), taken.data(), taken.size()) > 0) continue;
    writeAll(terminal_.far(), Frame{});
  }
  double seconds() {
    clockid_t clock{};
    ::pthread_getcpuclockid(thread_.native_handle(), &clock);
    return processorSeconds(clock);
  }

 private:
  void read() {
    Frame frame{};
    for (int frames = 1; readAll(near_.get(), frame) && frame[0] != last; ++frames) {
      if (frames % framesAnAcknowledgement == 0) writeAll(near_.get(), Acknowledgement{});
    }
  }

  Terminal terminal_;
  Descriptor near_;
  std::thread thread_;
};

BareRange::BareRange(std::size_t devices) {
  for (std::size_t i = 0; i < devices; ++i) readers_.push_back(std::make_unique<Reader>());
}

BareRange::~BareRange() = default;

double BareRange::run(std::chrono::milliseconds time) {
  const auto start = Clock::now();
  const double before = readersSeconds();
  stream(time);
  return (readersSeconds() - before) / secondsSince(start);
}

void BareRange::stream(std::chrono::milliseconds time) {
  const auto step = std::chrono::duration_cast<Clock::duration>(period) / readers_.size();
  auto next = Clock::now();
  for (const auto end = next + time; next < end;) {
    for (const auto& reader : readers_) {
      std::this_thread::sleep_until(next += step);
      reader->stream();
    }
  }
}

double BareRange::readersSeconds() const {
  double seconds = 0;
  for (const auto& reader : readers_) seconds += reader->seconds();
  return seconds;
}

}  // namespace BX::bench
