// Devices that keep to the framing, if that, and to nothing else. An exchange with one fails before the device has sent
// much, what waits is bounded, and the port serves once the device behaves.
#include <utility>

#include "tests/lifetimes/Lifetimes.h"

namespace BX::test {
namespace {

using namespace std::chrono_literals;
using link::FailureKind;

constexpr auto port = "rogue";
constexpr std::size_t bound = std::size_t{1} << 20U;  // of an answer, and of what waits of a stream
constexpr std::size_t budget = 2 * bound;
constexpr std::size_t endless = 3 * bound;
constexpr std::size_t payloadSize = 200;

using Exchange = bool (*)(BXSerialCom&);

// What goes out instead of what the device says.
using Change = std::function<sim::Bytes(const sim::Bytes& fromDevice)>;

// Shared by the device's end of the line and the test.
struct Rogue {
  std::mutex mutex;
  Change change;
  std::size_t sent = 0;
};

class RogueEnd : public Around {
 public:
  RogueEnd(std::unique_ptr<link::Transport> inner, Rogue& rogue) : Around(std::move(inner)), rogue_(rogue) {}
  void write(std::vector<std::uint8_t> bytes) override {
    {
      const std::scoped_lock lock(rogue_.mutex);
      if (rogue_.change) bytes = rogue_.change(bytes);
      rogue_.sent += bytes.size();
    }
    Around::write(std::move(bytes));
  }

 private:
  Rogue& rogue_;
};

bool readPage(BXSerialCom& com) {
  std::vector<unsigned char> request{0x62, 0, 0, 0x62};
  return com.setDeviceMode(BXSerialCom::TRANSFER, false) && com.sendDownloadRequest(request, {});
}

bool leaveAStreamUnheard(BXSerialCom& com) {
  if (!com.setDeviceMode(BXSerialCom::FIELD_STREAM, false)) return false;
  await([] { return link::statistics(port).payloadsReceived > budget / payloadSize; });
  return !com.getError();
}

void misbehave(std::size_t payloads, std::size_t size, const Change& change, Exchange exchange, FailureKind failure) {
  sim::Options options = streaming(0, 1e6);
  options.stream.emplace(endless / payloadSize, sim::Bytes(payloadSize, 0xCA));
  options.stored.assign(payloads, {0, 0, sim::Bytes(size, 0xCA)});
  sim::LoopbackLine line;
  Rogue rogue;
  rogue.change = change;
  const sim::Simulator device(options, std::make_unique<RogueEnd>(line.deviceEnd(), rogue));
  link::setTransport(port, [&](const std::string&) { return line.hostEnd(); });
  BXSerialCom com;
  com.initializePort(port);
  ASSERT_TRUE(com.openPort());
  EXPECT_FALSE(exchange(com));
  EXPECT_EQ(link::lastFailure(port).kind, failure) << link::lastError(port);
  const auto statistics = link::statistics(port);
  EXPECT_LE((statistics.payloadsReceived - statistics.payloadsDropped) * payloadSize, bound);
  {
    const std::scoped_lock lock(rogue.mutex);
    EXPECT_LT(rogue.sent, exchange == leaveAStreamUnheard ? 2 * endless : budget);
    rogue.change = {};
  }
  bool works = false;
  for (int i = 0; i < 5 && !works; ++i) works = com.setDeviceMode(BXSerialCom::RESTING, true) && com.poll();
  EXPECT_TRUE(works) << link::lastError(port);
}

TEST(Rogue, EndsAnExchangeSoonAndLeavesThePortUsable) {
  link::setOptions({.resend = 30ms});
  const Exchange poll = [](BXSerialCom& com) { return com.poll(); };
  const auto noise = [](const auto& bytes) { return garbage(10 * bytes.size()); };
  const auto deaf = [n = 0](const auto& bytes) mutable { return ++n == 1 ? bytes : sim::Bytes(); };
  misbehave(endless / payloadSize, payloadSize, {}, readPage, FailureKind::AnswerTooLong);
  misbehave(1, endless, {}, readPage, FailureKind::AnswerTooLong);
  misbehave(0, 0, {}, leaveAStreamUnheard, FailureKind::QueueFull);
  misbehave(0, 0, deaf, poll, FailureKind::NotAcknowledged);
  misbehave(0, 0, noise, poll, FailureKind::NoDevice);
  link::setTransport(port, {});
  link::setOptions({});
}

}  // namespace
}  // namespace BX::test
