// The whole link, threads and all, on a line that says what the input has it say. Slow, and not the same from run to
// run where threads meet; what it looks for is what never ends or falls over.
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "bx/BXSerialCom.h"
#include "bx/BXSerialLink.h"
#include "fuzz/Fuzz.h"
#include "platform/serial/Station.h"

namespace {

using namespace BX;
using namespace std::chrono_literals;
using fuzz::require;
using link::Bytes;
using Received = std::span<const std::uint8_t>;

constexpr auto portName = "fuzz";

// The far end of the line: a thread that answers each piece that the host writes.
class FarEnd {
 public:
  explicit FarEnd(Received script) : script_(script.data(), script.size()), thread_([this] { run(); }) {}
  ~FarEnd() {
    {
      const std::scoped_lock lock(mutex_);
      over_ = true;
    }
    changed_.notify_all();
    thread_.join();
  }
  FarEnd(const FarEnd&) = delete;
  FarEnd& operator=(const FarEnd&) = delete;

  std::unique_ptr<link::Transport> hostEnd() { return std::make_unique<HostEnd>(*this); }

 private:
  class HostEnd : public link::Transport {
   public:
    explicit HostEnd(FarEnd& far) : far_(far) {}
    void open(Events events) override {
      const std::scoped_lock lock(far_.mutex_);
      far_.host_ = std::move(events);
    }
    void write(std::vector<std::uint8_t> bytes) override {
      const std::scoped_lock lock(far_.mutex_);
      far_.heard_.push_back(std::move(bytes));
      far_.changed_.notify_all();
    }
    void close() override {
      const std::scoped_lock lock(far_.mutex_);
      far_.host_ = {};
    }

   private:
    FarEnd& far_;
  };

  void run() {
    std::unique_lock lock(mutex_);
    while (true) {
      changed_.wait(lock, [this] { return over_ || !heard_.empty(); });
      if (over_) return;
      const Bytes bytes = std::move(heard_.front());
      heard_.pop_front();
      decoder_.feed(bytes, [this](Received content) { station_.receive(content, now()); });
      say();
    }
  }

  static link::Station::Time now() { return std::chrono::steady_clock::now(); }

  // Events are raised under the lock, which is what makes close() final.
  void say() {
    auto output = station_.take(now());
    for (const auto& request : output.delivered) answer(request);
    auto more = station_.take(now());
    output.frames.insert(output.frames.end(), more.frames.begin(), more.frames.end());
    for (const Bytes& frame : output.frames) {
      if (host_.received) host_.received(frame);
    }
  }

  // An answer as the request expects it, anything else, a stream, several payloads, none, garbage on the line, a device
  // that starts anew, or a hang-up.
  void answer(const link::Message& request) {
    const auto what = script_.byte();
    const std::uint8_t letter = request.payload.empty() ? std::uint8_t{0} : request.payload[0];
    switch (what % 8) {
      case 1:
        return reply(request.tag, false, script_.block());
      case 2:
        for (unsigned i = 0; i < what / 8U; ++i) reply(link::streamTag, false, script_.block());
        break;
      case 3:
        for (unsigned i = 0; i < what / 8U; ++i) reply(request.tag, true, script_.block());
        break;
      case 4:
        return;
      case 5:
        if (host_.received) host_.received(script_.block());
        break;
      case 6:
        return what < 128 ? station_.restart() : hangUp();
      default:
        break;
    }
    reply(request.tag, false, Bytes{0x59, letter});
  }

  void reply(std::uint8_t tag, bool moreFollows, Received payload) {
    station_.send({tag, moreFollows, {payload.begin(), payload.end()}}, now());
  }
  void hangUp() {
    if (host_.hungUp) host_.hungUp("gone");
    host_ = {};
  }

  fuzz::Input script_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool over_ = false;
  link::Transport::Events host_;
  std::deque<Bytes> heard_;
  link::Station station_{link::Role::Responder, {.baud = 0, .resend = 2ms, .silence = 10ms}};
  link::FrameDecoder decoder_;
  std::thread thread_;  // last: it uses all of the above
};

void operate(BXSerialCom& com, std::uint8_t what) {
  Bytes bytes{what, what};
  const auto handler = [&com] { com.getReceivedBytes(); };
  switch (what % 10) {
    case 0:
      com.openPort();
      break;
    case 1:
      com.closePort();
      break;
    case 2:
      com.sendStartupCommand();
      break;
    case 3:
      com.setDeviceMode(BXSerialCom::RESTING, true);
      break;
    case 4:
      com.sendDeviceInfoCommand(BXSerialCom::DEVICE_INFO_ID, handler);
      break;
    case 5:
      com.getParameterSetFrame(what);
      break;
    case 6:
      com.sendBytesAckReturn(bytes, what, handler, false);
      break;
    case 7:
      com.sendDownloadRequest(bytes, handler);
      break;
    case 8:
      com.startSessionListening();
      break;
    default:
      com.setRunning(false);
      while (com.getStreaming()) std::this_thread::yield();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const auto operations = input.take(input.byte() % 16U);
  link::setOptions({.baud = 0, .resend = 2ms, .sends = 2, .reply = 5ms, .keepAlive = 5ms});
  FarEnd far(input.rest());
  link::setTransport(portName, [&far](const std::string&) { return far.hostEnd(); });
  {
    BXSerialCom com;
    com.initializePort(portName);
    com.setCallBackFunction([&com] { com.getReceivedBytes(); });
    com.setProcessTrainingCallback([&com] { com.getReceivedBytes(); });
    com.openPort();
    for (const std::uint8_t what : operations) operate(com, what);
    com.closePort();
    require(!com.getStreaming() && !com.isConnected(), "a closed port is silent");
  }
  link::setTransport(portName, {});
  return 0;
}
