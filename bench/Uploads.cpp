// One acknowledged frame of 20 bytes, as every upload and every write is made of.
#include <modbus/modbus.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <stdexcept>
#include <thread>

#include "bench/Line.h"
#include "bench/ModbusLine.h"
#include "bench/Sections.h"
#include "bench/Terminal.h"
#include "bench/TerminalDevice.h"
#include "platform/Wire.h"

namespace BX::bench {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t payloadSize = 20;
constexpr std::uint8_t uploadLetter = 0x6C;
constexpr int pacedFrames = 20;
constexpr int unpacedFrames = 2000;
const sim::Bytes answer{0x59, uploadLetter};

sim::Options accepting(sim::Options options) {
  options.script = {{{uploadLetter}, answer}};
  return options;
}

// Seconds a frame over a link of ours.
class Upload {
 public:
  explicit Upload(const std::string& port) : request_(payloadSize, 0x55) {
    request_.front() = uploadLetter;
    link_.initializePort(port);
    if (!link_.openPort()) throw std::runtime_error(port + ": " + link::lastError(port));
  }
  double operator()(int frames) {
    return secondsOf([&] {
             for (int i = 0; i < frames; ++i) {
               if (!link_.sendBytesAckReturn(request_, uploadLetter, {}, false)) {
                 throw std::runtime_error("an upload frame failed");
               }
             }
           }) /
           frames;
  }

 private:
  BXSerialCom link_;
  std::vector<unsigned char> request_;
};

// The same by libmodbus: as many bytes, in registers.
class ModbusWrite {
 public:
  explicit ModbusWrite(const std::string& port)
      : master_(modbus_new_rtu(port.c_str(), lineBaud, 'N', 8, 1), &modbus_free) {
    if (!master_ || modbus_set_slave(master_.get(), 1) != 0 || modbus_connect(master_.get()) != 0) {
      throw std::runtime_error(port + ": " + modbus_strerror(errno));
    }
  }
  ~ModbusWrite() { modbus_close(master_.get()); }
  ModbusWrite(const ModbusWrite&) = delete;
  ModbusWrite& operator=(const ModbusWrite&) = delete;
  double operator()(int frames) {
    const std::array<std::uint16_t, payloadSize / 2> registers{};
    return secondsOf([&] {
             for (int i = 0; i < frames; ++i) {
               if (modbus_write_registers(master_.get(), 0, registers.size(), registers.data()) < 0) {
                 throw std::runtime_error(std::string("libmodbus: ") + modbus_strerror(errno));
               }
             }
           }) /
           frames;
  }

 private:
  std::unique_ptr<modbus_t, void (*)(modbus_t*)> master_;
};

// A blocking write and a blocking read of as many bytes, with a thread that writes back what it reads.
class PingPong {
 public:
  PingPong() : near_(openBare(terminal_.name()), "opening the terminal"), far_([this] { echo(); }) {}
  ~PingPong() {
    std::array<std::uint8_t, payloadSize> last{};
    last[0] = stop;
    writeAll(near_.get(), last);
    far_.join();
  }
  PingPong(const PingPong&) = delete;
  PingPong& operator=(const PingPong&) = delete;
  double operator()(int frames) {
    std::array<std::uint8_t, payloadSize> bytes{};
    return secondsOf([&] {
             for (int i = 0; i < frames; ++i) {
               writeAll(near_.get(), bytes);
               readAll(near_.get(), bytes);
             }
           }) /
           frames;
  }

 private:
  static constexpr std::uint8_t stop = 1;
  void echo() {
    std::array<std::uint8_t, payloadSize> bytes{};
    while (readAll(terminal_.far(), bytes) && bytes[0] != stop) writeAll(terminal_.far(), bytes);
  }

  Terminal terminal_;
  Descriptor near_;
  std::thread far_;
};

// A device that one thread serves, as one thread serves the ping-pong.
class ServedDevice {
 public:
  ServedDevice() : far_(accepting({})), thread_([this] { far_.serve([this] { return over_.load(); }); }) {}
  ~ServedDevice() {
    over_ = true;
    thread_.join();
  }
  ServedDevice(const ServedDevice&) = delete;
  ServedDevice& operator=(const ServedDevice&) = delete;
  const std::string& name() const { return far_.name(); }

 private:
  TerminalDevice far_;
  std::atomic<bool> over_ = false;
  std::thread thread_;
};

std::string milliseconds(double seconds) { return rounded(seconds * 1e3) + " ms"; }
std::string microseconds(double seconds) { return rounded(seconds * 1e6) + " µs"; }

}  // namespace

Rows measurePaced(const Setting& setting) {
  const PtyDevice device(accepting(paced(1ms)));
  const ModbusLine slave(lineBaud, 1ms);
  Upload upload(device.name());
  ModbusWrite write(slave.name());
  const auto samples =
      interleave(setting.rounds, {[&] { return upload(pacedFrames); }, [&] { return write(pacedFrames); }});
  const double ours = median(samples[0]);
  const double theirs = median(samples[1]);
  const double line = secondsOnLine(framed(sim::Bytes(payloadSize)) + framed(answer)) + 1e-3;
  return {{.what = "one acknowledged 20-byte upload frame, paced at 115200 baud, 1 ms adapter",
           .against = "its own and its answer's framed bytes on that line, plus the adapter",
           .bar = Bar::AtMost,
           .limit = 1.2,
           .got = ours / line,
           .unit = "",
           .detail = milliseconds(ours) + " against " + milliseconds(line)},
          {.what = "the same",
           .against = "libmodbus (RTU, write of 10 registers) over the same paced line",
           .bar = Bar::AtMost,
           .limit = 1.1,
           .got = ours / theirs,
           .unit = "",
           .detail = milliseconds(ours) + " against " + milliseconds(theirs)}};
}

Rows measureUnpaced(const Setting& setting) {
  const ServedDevice device;
  Upload upload(device.name());
  PingPong pingPong;
  const auto samples =
      interleave(setting.rounds, {[&] { return upload(unpacedFrames); }, [&] { return pingPong(unpacedFrames); }});
  const double ours = median(samples[0]);
  const double raw = median(samples[1]);
  return {{.what = "the same on an unpaced pty, round trips a second",
           .against = "a raw blocking write-read ping-pong of 20 bytes",
           .bar = Bar::AtLeast,
           .limit = 0.35,
           .got = raw / ours,
           .unit = "",
           .detail = microseconds(ours) + " a round trip against " + microseconds(raw)}};
}

}  // namespace BX::bench
