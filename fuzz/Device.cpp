// The device object and the link below it, threads and all, on a line that says what the input has it say. Slow, and
// not the same from run to run where threads meet; what it looks for is what never ends or falls over.
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <functional>
#include <iterator>
#include <thread>

#include "bx/BXDevice.h"
#include "bx/BXSerialLink.h"
#include "bx/DocumentKeys.h"
#include "fuzz/Fuzz.h"
#include "morva/KeyedAccess.h"
#include "platform/Wire.h"
#include "platform/codec/Station.h"
#include "platform/time/TimeSeam.h"
#include "simulator/LoopbackLine.h"

namespace {

using namespace BX;
using namespace std::chrono_literals;
using fuzz::require;
using link::Bytes;
using Json = MORVA::MORVADataTypeJSON;
using Received = std::span<const std::uint8_t>;

constexpr auto portName = "fuzz";

// The far end of the line, on a thread of its own.
class FarEnd {
 public:
  explicit FarEnd(Received script) : script_(script.data(), script.size()) { listen(); }
  ~FarEnd() {
    device_->close();
    thread_.join();
  }
  FarEnd(const FarEnd&) = delete;
  FarEnd& operator=(const FarEnd&) = delete;

  std::unique_ptr<link::Transport> hostEnd() { return line_.hostEnd(); }

 private:
  void listen() {
    device_->open({[this](Received bytes) {
                     boost::asio::post(thread_, [this, copy = Bytes(bytes.begin(), bytes.end())] { hear(copy); });
                   },
                   {}});
  }
  void hear(const Bytes& bytes) {
    decoder_.feed(bytes, [this](Received content) { station_.receive(content, now()); });
    for (bool more = true; more;) {
      const auto output = station_.take(now());
      for (const Bytes& frame : output.frames) device_->write(frame);
      for (const auto& request : output.delivered) answer(request);
      more = !output.delivered.empty();
    }
  }
  static link::Station::Time now() { return std::chrono::steady_clock::now(); }

  // None, a device that starts anew, a hang-up, garbage on the line, a stream or several payloads, and then an answer
  // as the request expects it, with content or without, or anything else.
  void answer(const link::Message& request) {
    const auto what = script_.byte();
    const unsigned kind = what % 8U;
    if (kind == 4) return;
    if (kind == 6) return what < 128 ? station_.restart() : hangUp();
    if (kind == 5) device_->write(block());
    for (unsigned i = 0; i < what / 8U && (kind == 2 || kind == 3); ++i) {
      reply(kind == 2 ? link::streamTag : request.tag, kind == 3, block());
    }
    const Bytes plain{wire::replyMark, request.payload.empty() ? std::uint8_t{0} : request.payload[0]};
    reply(request.tag, false, kind == 1 ? block() : kind == 7 ? fitting(request.payload, plain) : plain);
  }

  // With the bytes of the request that such an answer repeats.
  Bytes fitting(const Bytes& request, Bytes answer) {
    using namespace wire::letter;
    const auto letter = answer[1];
    std::size_t repeated = 0;
    if (letter == information || letter == parameterSetRead) repeated = 1;
    if (letter == ringRequest || letter == silhouetteRequest) repeated = 2;
    for (std::size_t i = 1; i <= repeated && i < request.size(); ++i) answer.push_back(request[i]);
    const Bytes content = block();
    answer.insert(answer.end(), content.begin(), content.end());
    return answer;
  }
  void reply(std::uint8_t tag, bool moreFollows, Bytes payload) {
    station_.send({tag, moreFollows, std::move(payload)}, now());
  }
  Bytes block() {
    const auto bytes = script_.block();
    return {bytes.begin(), bytes.end()};
  }
  void hangUp() {
    device_->close();
    listen();
  }

  fuzz::Input script_;
  sim::LoopbackLine line_;
  const std::unique_ptr<link::Transport> device_ = line_.deviceEnd();
  link::Station station_{link::Role::Responder, {.baud = 0, .resend = 2ms, .silence = 10ms}};
  link::FrameDecoder decoder_;
  boost::asio::thread_pool thread_{1};  // last: it uses all of the above
};

void endStream(BXSerialCom& com) {
  com.setRunning(false);
  while (com.getStreaming()) std::this_thread::yield();
}

// Its distance scales the records to come: any number, of either sign.
void uploadTarget(BXDevice& device, std::uint8_t what) {
  Json target;
  setInteger(target, key::target::nominalDistance, static_cast<std::int32_t>(what * 0x01010101U));
  setText(target, key::target::distanceUnit, what % 2 == 0 ? "m" : "");
  device.uploadRingTarget(target);
}

void download(BXDevice& device) {
  endStream(device.getSerialCom());
  device.setError(false);
  device.sendDownloadFrame();
  require(!device.isDownloading(), "a download has an end");
  require(!device.hasError() || device.trainingFrameCount() == 0, "a failed download leaves no records");
}

void operate(BXDevice& device, std::uint8_t what) {
  auto& com = device.getSerialCom();
  const std::function<void()> operations[] = {[&] { com.openPort(); },
                                              [&] { com.closePort(); },
                                              [&] { device.connectDevice(what % 2 == 0); },
                                              [&] { device.setDeviceMode(BXSerialCom::RESTING, true); },
                                              [&] { device.getParameterSetFrames(); },
                                              [&] { device.setParameterSetFrames(); },
                                              [&] { device.poll(); },
                                              [&] { download(device); },
                                              [&] { device.startThread(); },
                                              [&] { endStream(com); },
                                              [&] { device.downloadRingTarget(what); },
                                              [&] { device.downloadSilhouetteTarget(what); },
                                              [&] { device.clearTrainingDataOnDevice(); },
                                              [&] { device.disconnectDevice(); },
                                              [&] { uploadTarget(device, what); }};
  operations[what % std::size(operations)]();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::silenceConsole();
  platform::replaceTime({[](std::chrono::milliseconds) {}, {}});
  fuzz::Input input(data, size);
  const auto operations = input.take(input.byte() % 16U);
  link::setOptions({.baud = 0, .resend = 2ms, .sends = 2, .reply = 5ms, .keepAlive = 5ms});
  FarEnd farEnd(input.rest());
  link::setTransport(portName, [&farEnd](const std::string&) { return farEnd.hostEnd(); });
  {
    BXDevice device;
    device.setDevicePort(portName);
    device.getSerialCom().openPort();
    for (const std::uint8_t what : operations) operate(device, what);
    device.getSerialCom().closePort();
    endStream(device.getSerialCom());
    require(!device.getSerialCom().isConnected(), "a closed port is silent");
    for (const auto& target : device.getAllTargets()) require(target.getDocument().IsObject(), "targets are objects");
    for (const auto& record : device.takeTrainingFrames()) require(record.getDocument().IsObject(), "so are records");
    require(device.getDeviceSettings().getDocument().IsObject(), "and settings");
    const BXDevice copy(device);
  }
  link::setTransport(portName, {});
  return 0;
}
