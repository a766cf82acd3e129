// Devices that keep to the framing and to nothing else. An exchange with one fails before the device has sent much,
// what waits is bounded, and the port serves once the device is done.
#include "platform/codec/Frame.h"
#include "tests/lifetimes/Lifetimes.h"

namespace BX::test {
namespace {

using link::FailureKind;

constexpr auto port = "rogue";
constexpr std::size_t bound = std::size_t{1} << 20U;  // of an answer, and of what waits of a stream
constexpr std::size_t endless = 3 * bound;
constexpr std::size_t payloadSize = 200;

bool readPage(BXSerialCom& com) {
  std::vector<unsigned char> request{0x62, 0, 0, 0x62};
  return com.setDeviceMode(BXSerialCom::TRANSFER, false) && com.sendDownloadRequest(request, {});
}

bool leaveAStreamUnheard(BXSerialCom& com) {
  if (!com.setDeviceMode(BXSerialCom::FIELD_STREAM, false)) return false;
  await([] { return link::statistics(port).payloadsReceived > 2 * bound / payloadSize; });
  return !com.getError();
}

void misbehave(std::size_t payloads, std::size_t size, bool (*exchange)(BXSerialCom&), FailureKind failure) {
  sim::Options options = streaming(0, 1e6);
  options.stream.emplace(endless / payloadSize, sim::Bytes(payloadSize, 0xCA));
  options.stored.assign(payloads, {0, 0, sim::Bytes(size, 0xCA)});
  const LoopbackDevice device(options, port);
  BXSerialCom com;
  com.initializePort(port);
  ASSERT_TRUE(com.openPort());
  EXPECT_FALSE(exchange(com));
  EXPECT_EQ(link::lastFailure(port).kind, failure) << link::lastError(port);
  const auto statistics = link::statistics(port);
  EXPECT_LE((statistics.payloadsReceived - statistics.payloadsDropped) * payloadSize, bound);
  EXPECT_LT(statistics.framesReceived * std::min(size, link::maxContentSize), 2 * bound);
  bool works = false;
  for (int i = 0; i < 5 && !works; ++i) works = com.setDeviceMode(BXSerialCom::RESTING, true) && com.poll();
  EXPECT_TRUE(works) << link::lastError(port);
}

TEST(Rogue, EndsAnExchangeSoonAndLeavesThePortUsable) {
  misbehave(endless / payloadSize, payloadSize, readPage, FailureKind::AnswerTooLong);
  misbehave(1, endless, readPage, FailureKind::AnswerTooLong);
  misbehave(0, 0, leaveAStreamUnheard, FailureKind::QueueFull);
}

}  // namespace
}  // namespace BX::test
