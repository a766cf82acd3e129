// What goes wrong on the line: how it is told, which frame it strikes, and what becomes of that frame.
#include "simulator/FaultInjector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <stdexcept>

#include "bx/BXSerialCom.h"
#include "bx/BXSerialLink.h"
#include "platform/serial/Control.h"
#include "tests/support/Event.h"
#include "tests/support/Hex.h"
#include "tests/support/LoopbackDevice.h"

namespace BX::sim {
namespace {

using test::bytesOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

Bytes frame(const char* hex) { return link::encodeFrame(bytesOf(hex)); }

const Bytes beginSession = frame("3F01");
const Bytes sessionBegun = frame("7301");
const Bytes acknowledgement = frame("21");
const Bytes rejection = frame("29");
const Bytes leave = frame("53");
const Bytes streamed = frame("0000CA65");

Bytes request(std::uint8_t tag, const char* hex) {
  Bytes content{0x00, tag};
  for (const auto byte : bytesOf(hex)) content.push_back(byte);
  return link::encodeFrame(content);
}

std::string messageOf(const std::string& rule) {
  try {
    parseFaultRule(rule);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "";
}

TEST(FaultRule, IsReadAsItIsWritten) {
  for (const char* text : {"to-host:page:3:drop", "to-device:ack:1:corrupt", "to-host:stream:500:hangup",
                           "to-device:silhouette-upload:66:refuse", "to-host:answer:1:refuse"}) {
    EXPECT_EQ(textOf(parseFaultRule(text)), text);
  }
}

TEST(FaultRule, TellsInOneLineWhatIsWrongWithIt) {
  EXPECT_EQ(messageOf("to-host:page:drop"), "fault 'to-host:page:drop': not DIRECTION:KIND:N:WHAT");
  EXPECT_THAT(messageOf("up:page:1:drop"), HasSubstr("'up' is not to-host or to-device"));
  EXPECT_THAT(messageOf("to-host:pages:1:drop"), HasSubstr("'pages' is not frame, ack, "));
  EXPECT_THAT(messageOf("to-host:page:0:drop"), HasSubstr("'0' is not a number from 1"));
  EXPECT_THAT(messageOf("to-host:page:1x:drop"), HasSubstr("'1x' is not a number from 1"));
  EXPECT_THAT(messageOf("to-host:page:1:explode"), HasSubstr("restart or hangup"));
  EXPECT_THAT(messageOf("to-device:stream:1:drop"), HasSubstr("'stream' only travels to-host"));
  EXPECT_THAT(messageOf("to-host:ack:1:refuse"), HasSubstr("'ack' cannot be refused"));
}

TEST(FaultInjector, CountsAFrameAsEachOfItsKinds) {
  struct Case {
    Direction direction;
    Bytes bytes;
    std::vector<FrameKind> kinds;
  };
  const auto page = request(5, "6200016300");
  const std::vector<Case> cases{
      {Direction::ToDevice, beginSession, {FrameKind::Frame, FrameKind::Begin}},
      {Direction::ToHost, sessionBegun, {FrameKind::Frame, FrameKind::Begin}},
      {Direction::ToHost, acknowledgement, {FrameKind::Frame, FrameKind::Ack}},
      {Direction::ToDevice, rejection, {FrameKind::Frame, FrameKind::Ack}},
      {Direction::ToDevice, leave, {FrameKind::Frame, FrameKind::End}},
      {Direction::ToHost, streamed, {FrameKind::Frame, FrameKind::Data, FrameKind::Stream}},
      {Direction::ToDevice, page, {FrameKind::Frame, FrameKind::Data, FrameKind::Request, FrameKind::Page}},
      // A repetition or a later part, whatever it begins with, and the answer.
      {Direction::ToDevice, request(5, "73"), {FrameKind::Frame, FrameKind::Data, FrameKind::Request, FrameKind::Page}},
      {Direction::ToHost, request(5, "CA6A"), {FrameKind::Frame, FrameKind::Data, FrameKind::Answer, FrameKind::Page}},
      {Direction::ToDevice,
       request(6, "6204FF65"),
       {FrameKind::Frame, FrameKind::Data, FrameKind::Request, FrameKind::Clear}},
      {Direction::ToDevice, bytesOf("1234"), {}},
      {Direction::ToDevice, bytesOf("00"), {}},
  };
  FaultInjector injector({}, {});
  for (const auto& [direction, bytes, kinds] : cases) {
    injector.setRules({});
    EXPECT_THAT(injector.judge(direction, bytes).pieces, ElementsAre(bytes));
    for (std::size_t i = 0; i <= static_cast<std::size_t>(FrameKind::Other); ++i) {
      const auto kind = static_cast<FrameKind>(i);
      EXPECT_EQ(injector.count(direction, kind), std::count(kinds.begin(), kinds.end(), kind))
          << test::hexOf(bytes) << " " << nameOf(kind);
    }
  }
}

TEST(FaultInjector, StrikesTheNthOfAKindOnceAndLeavesAllElseAlone) {
  FaultInjector injector({parseFaultRule("to-device:startup:2:drop"), parseFaultRule("to-device:data:2:corrupt"),
                          parseFaultRule("to-host:startup:1:duplicate")},
                         {});
  EXPECT_EQ(injector.waiting(), 3U);
  const auto passes = [&](Direction direction, const Bytes& bytes) {
    return injector.judge(direction, bytes).pieces == std::vector<Bytes>{bytes};
  };
  EXPECT_TRUE(passes(Direction::ToDevice, request(1, "7373")));
  EXPECT_TRUE(passes(Direction::ToDevice, acknowledgement));
  EXPECT_THAT(injector.judge(Direction::ToDevice, request(2, "7373")).pieces, IsEmpty()) << "the first rule strikes";
  EXPECT_TRUE(passes(Direction::ToDevice, request(2, "7373")));
  EXPECT_EQ(injector.waiting(), 1U);
  EXPECT_THAT(injector.judge(Direction::ToHost, request(2, "5973")).pieces, SizeIs(2));
  EXPECT_EQ(injector.waiting(), 0U);
}

TEST(FaultInjector, DoesToTheFrameWhatTheRuleSays) {
  const auto fate = [](const char* effect) {
    FaultInjector injector({parseFaultRule(std::string("to-host:frame:1:") + effect)}, {});
    return injector.judge(Direction::ToHost, sessionBegun);
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
  link::FrameDecoder decoder;
  decoder.feed(damaged, [](auto) { FAIL() << "a damaged frame was taken"; });
}

TEST(FaultInjector, RefusesPayloadsBeforeOrAfterTheyAreDone) {
  FaultInjector injector({parseFaultRule("to-device:page:2:refuse"), parseFaultRule("to-host:answer:2:refuse")}, {});
  const auto page = bytesOf("62000163");
  EXPECT_FALSE(injector.refuses(page));
  EXPECT_FALSE(injector.refusesAfterwards(page));
  EXPECT_FALSE(injector.refuses(bytesOf("7373")));
  EXPECT_TRUE(injector.refusesAfterwards(bytesOf("7373")));
  EXPECT_TRUE(injector.refuses(page));
  EXPECT_THAT(injector.judge(Direction::ToDevice, request(1, "62000163")).pieces, SizeIs(1)) << "it refuses no frame";
}

TEST(FaultInjector, MakesTheSameNoiseFromTheSameSeed) {
  const auto fates = [](std::uint64_t seed) {
    FaultInjector injector({}, Noise{10, seed});
    std::vector<std::size_t> sizes;
    for (int i = 0; i < 1000; ++i) {
      const auto pieces = injector.judge(i % 2 == 0 ? Direction::ToHost : Direction::ToDevice, sessionBegun).pieces;
      sizes.push_back(pieces == std::vector<Bytes>{sessionBegun} ? 0 : 1 + pieces.size());
    }
    return sizes;
  };
  const auto first = fates(1);
  EXPECT_EQ(first, fates(1));
  EXPECT_NE(first, fates(2));
  for (std::size_t fate = 1; fate <= 3; ++fate) {  // lost, damaged, doubled
    EXPECT_NEAR(static_cast<double>(std::count(first.begin(), first.end(), fate)), 33, 25);
  }
}

// The same rules on a line.
class FaultyDevice : public testing::Test {
 protected:
  void start(const std::vector<std::string>& rules) {
    Options options;
    for (const auto& rule : rules) options.faults.push_back(parseFaultRule(rule));
    options.hungUp = [this] { hungUp.set(); };
    options.resend = std::chrono::milliseconds(5);
    device = std::make_unique<test::LoopbackDevice>(options);
    com.initializePort(device->port);
    ASSERT_TRUE(com.openPort());
  }
  std::string reason() const { return link::lastError(device->port); }

  test::Event hungUp;
  std::unique_ptr<test::LoopbackDevice> device;
  BXSerialCom com;
};

TEST_F(FaultyDevice, RefusesWithOrWithoutHavingDoneIt) {
  start({"to-device:mode:1:refuse", "to-host:mode:2:refuse"});
  EXPECT_FALSE(com.setDeviceMode(BXSerialCom::TRANSFER, false));
  auto page = bytesOf("62FFFF60");
  EXPECT_FALSE(com.sendBytesAckReturn(page, 0x62, {}, false));
  EXPECT_FALSE(com.setDeviceMode(BXSerialCom::FIELD_STREAM, false));
  EXPECT_THAT(reason(), HasSubstr("refused by the device"));
  EXPECT_TRUE(device->simulator.awaitTranscript("< CA", 1)) << "the stream runs nevertheless";
}

TEST_F(FaultyDevice, RestartsWithoutAWord) {
  start({"to-device:poll:1:restart", "to-host:poll:1:restart"});
  ASSERT_TRUE(com.setDeviceMode(BXSerialCom::TRANSFER, false));
  EXPECT_FALSE(com.poll());
  EXPECT_EQ(reason(), "the device has restarted");
  EXPECT_FALSE(com.poll());
  EXPECT_TRUE(com.poll());
  auto clear = bytesOf("6200FF61");
  EXPECT_FALSE(com.sendBytesAckReturn(clear, 0x62, {}, false)) << "the mode is gone";
  EXPECT_THAT(device->sent("70"), ElementsAre("7070", "7070"));
}

TEST_F(FaultyDevice, HangsUpAfterWhatWentBefore) {
  start({"to-host:poll:2:hangup"});
  ASSERT_TRUE(com.poll());
  EXPECT_FALSE(com.poll());
  EXPECT_EQ(reason(), "the port was hung up");
  EXPECT_TRUE(hungUp.wait());
  EXPECT_FALSE(com.isConnected());
}

TEST_F(FaultyDevice, RecoversFromEveryPassingFault) {
  for (const char* effect : {"drop", "duplicate", "corrupt", "cut", "delay", "bytewise"}) {
    start({std::string("to-host:begin:1:") + effect, std::string("to-device:poll:1:") + effect,
           std::string("to-host:poll:2:") + effect});
    EXPECT_TRUE(com.poll()) << effect;
    EXPECT_TRUE(com.poll()) << effect;
    EXPECT_EQ(device->sent().size(), 2U) << effect;
    com.closePort();
    device.reset();
  }
}

}  // namespace
}  // namespace BX::sim
