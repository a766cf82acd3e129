// What goes wrong on the line: how it is told, which frame it strikes, and what becomes of that frame.
#include "simulator/FaultInjector.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "bx/BXSerialCom.h"
#include "platform/serial/Control.h"
#include "tests/support/Event.h"
#include "tests/support/Hex.h"
#include "tests/support/LoopbackDevice.h"

namespace BX::sim {
namespace {

using enum Direction;
using test::bytesOf;
using testing::AllOf;
using testing::ElementsAre;
using testing::Ge;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Le;
using testing::SizeIs;

Bytes frame(const std::string& hex) { return link::encodeFrame(bytesOf(hex)); }
Bytes request(const std::string& tag, const std::string& hex) { return frame("00" + tag + hex); }

const Bytes sessionBegun = frame("7301");
const Bytes acknowledgement = frame("21");

FaultInjector injectorOf(const std::vector<std::string>& rules) {
  std::vector<FaultRule> parsed;
  for (const auto& rule : rules) parsed.push_back(parseFaultRule(rule));
  return {parsed, {}};
}

TEST(FaultRule, IsReadAsItIsWrittenOrRefusedWithTheReason) {
  for (const char* text : {"to-host:page:3:drop", "to-device:ack:1:corrupt", "to-host:stream:500:hangup",
                           "to-device:silhouette-upload:66:refuse", "to-host:answer:1:refuse"}) {
    EXPECT_EQ(textOf(parseFaultRule(text)), text);
  }
  const auto expectRefused = [](const std::string& rule, const std::string& reason) {
    const auto refused = testing::ThrowsMessage<std::runtime_error>(HasSubstr(reason));
    EXPECT_THAT([&] { parseFaultRule(rule); }, refused);
  };
  expectRefused("to-host:page:drop", "fault 'to-host:page:drop': not DIRECTION:KIND:N:WHAT");
  expectRefused("up:page:1:drop", "'up' is not to-host or to-device");
  expectRefused("to-host:page:0:drop", "'0' is not a number from 1");
  expectRefused("to-host:page:1x:drop", "'1x' is not a number from 1");
  expectRefused("to-device:stream:1:drop", "'stream' only travels to-host");
  expectRefused("to-host:ack:1:refuse", "'ack' cannot be refused");
}

TEST(FaultInjector, CountsAFrameAsEachOfItsKinds) {
  FaultInjector injector = injectorOf({});
  const auto kindsOf = [&](Direction direction, const Bytes& bytes) {
    injector.setRules({});
    EXPECT_THAT(injector.judge(direction, bytes).pieces, ElementsAre(bytes));
    std::string kinds;
    for (auto kind = FrameKind::Frame; kind <= FrameKind::Other;
         kind = static_cast<FrameKind>(static_cast<int>(kind) + 1)) {
      for (std::size_t i = 0; i < injector.count(direction, kind); ++i) kinds += nameOf(kind) + " ";
    }
    return kinds;
  };
  EXPECT_EQ(kindsOf(ToDevice, frame("3F01")), "frame begin ");
  EXPECT_EQ(kindsOf(ToHost, sessionBegun), "frame begin ");
  EXPECT_EQ(kindsOf(ToHost, acknowledgement), "frame ack ");
  EXPECT_EQ(kindsOf(ToDevice, frame("29")), "frame ack ");
  EXPECT_EQ(kindsOf(ToDevice, frame("53")), "frame end ");
  EXPECT_EQ(kindsOf(ToHost, frame("0000CA65")), "frame data stream ");
  EXPECT_EQ(kindsOf(ToDevice, request("05", "6200016300")), "frame data request page ");
  // A repetition or a later part, whatever it begins with, and the answer.
  EXPECT_EQ(kindsOf(ToDevice, request("05", "73")), "frame data request page ");
  EXPECT_EQ(kindsOf(ToHost, request("05", "CA6A")), "frame data answer page ");
  EXPECT_EQ(kindsOf(ToDevice, request("06", "6204FF65")), "frame data request clear ");
  EXPECT_EQ(kindsOf(ToDevice, bytesOf("1234")), "");
  EXPECT_EQ(kindsOf(ToDevice, bytesOf("00")), "");
}

TEST(FaultInjector, StrikesTheNthOfAKindOnceAndLeavesAllElseAlone) {
  auto injector = injectorOf({"to-device:startup:2:drop", "to-device:data:2:corrupt", "to-host:startup:1:duplicate"});
  const auto piecesOf = [&](Direction direction, const Bytes& bytes) {
    return injector.judge(direction, bytes).pieces;
  };
  EXPECT_EQ(injector.waiting(), 3U);
  EXPECT_THAT(piecesOf(ToDevice, request("01", "7373")), SizeIs(1));
  EXPECT_THAT(piecesOf(ToDevice, acknowledgement), ElementsAre(acknowledgement));
  EXPECT_THAT(piecesOf(ToDevice, request("02", "7373")), IsEmpty()) << "the first rule strikes";
  EXPECT_THAT(piecesOf(ToDevice, request("02", "7373")), ElementsAre(request("02", "7373")));
  EXPECT_EQ(injector.waiting(), 1U);
  EXPECT_THAT(piecesOf(ToHost, request("02", "5973")), SizeIs(2));
  EXPECT_EQ(injector.waiting(), 0U);
}

TEST(FaultInjector, DoesToTheFrameWhatTheRuleSays) {
  const auto fate = [](const std::string& effect) {
    return injectorOf({"to-host:frame:1:" + effect}).judge(ToHost, sessionBegun);
  };
  EXPECT_THAT(fate("drop").pieces, IsEmpty());
  EXPECT_THAT(fate("duplicate").pieces, ElementsAre(sessionBegun, sessionBegun));
  EXPECT_THAT(fate("bytewise").pieces, SizeIs(sessionBegun.size()));
  EXPECT_THAT(fate("cut").pieces, ElementsAre(Bytes(sessionBegun.begin(), sessionBegun.begin() + 4)));
  EXPECT_THAT(fate("delay").pieces, ElementsAre(sessionBegun));
  EXPECT_EQ(fate("delay").event, FaultEffect::Delay);
  EXPECT_THAT(fate("restart").pieces, IsEmpty());
  EXPECT_EQ(fate("restart").event, FaultEffect::Restart);
  EXPECT_EQ(fate("hangup").event, FaultEffect::HangUp);
  const Bytes damaged = fate("corrupt").pieces.at(0);
  ASSERT_EQ(damaged.size(), sessionBegun.size());
  link::FrameDecoder().feed(damaged, [](auto) { FAIL() << "a damaged frame was taken"; });
}

TEST(FaultInjector, MakesTheSameNoiseFromTheSameSeed) {
  const auto fates = [](std::uint64_t seed) {
    FaultInjector injector({}, Noise{10, seed});
    std::vector<std::size_t> sizes;
    for (int i = 0; i < 1000; ++i) {
      const auto pieces = injector.judge(i % 2 == 0 ? ToHost : ToDevice, sessionBegun).pieces;
      sizes.push_back(pieces == std::vector<Bytes>{sessionBegun} ? 0 : 1 + pieces.size());
    }
    return sizes;
  };
  const auto first = fates(1);
  EXPECT_EQ(first, fates(1));
  EXPECT_NE(first, fates(2));
  // About a tenth, and of each kind: lost, damaged, doubled.
  for (std::size_t fate = 1; fate <= 3; ++fate)
    EXPECT_THAT(std::count(first.begin(), first.end(), fate), AllOf(Ge(8), Le(58)));
}

// The same rules on a line.
TEST(FaultyDevice, RefusesRestartsAndHangsUpAtTheGivenPayload) {
  test::Event hungUp;
  Options options;
  options.resend = std::chrono::milliseconds(5);
  options.hungUp = [&] { hungUp.set(); };
  for (const char* rule :
       {"to-device:mode:1:refuse", "to-host:mode:2:refuse", "to-device:poll:1:restart", "to-host:poll:2:hangup"}) {
    options.faults.push_back(parseFaultRule(rule));
  }
  const test::LoopbackDevice device(options);
  BXSerialCom com;
  com.initializePort(device.port);
  ASSERT_TRUE(com.openPort());
  const auto clear = [&] {
    auto bytes = bytesOf("6200FF61");
    return com.sendBytesAckReturn(bytes, 0x62, {}, false);
  };
  EXPECT_FALSE(com.setDeviceMode(BXSerialCom::TRANSFER, false));
  EXPECT_FALSE(clear()) << "the mode was refused without being taken";
  EXPECT_FALSE(com.setDeviceMode(BXSerialCom::TRANSFER, false));
  EXPECT_TRUE(clear()) << "it was refused after it was taken";
  EXPECT_FALSE(com.poll());
  EXPECT_EQ(link::lastError(device.port), "the device no longer holds the session");
  EXPECT_FALSE(clear()) << "the mode is gone";
  EXPECT_TRUE(com.poll());
  EXPECT_FALSE(com.poll());
  EXPECT_EQ(link::lastError(device.port), "the port was hung up");
  EXPECT_TRUE(hungUp.wait());
}

}  // namespace
}  // namespace BX::sim
