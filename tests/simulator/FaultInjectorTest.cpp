// What goes wrong on the line: how it is told, which frame it strikes, and what becomes of that frame.
#include "simulator/FaultInjector.h"

#include <gmock/gmock.h>

#include <sstream>

#include "bx/BXSerialCom.h"
#include "platform/codec/Control.h"
#include "tests/support/Hex.h"
#include "tests/support/LoopbackDevice.h"
#include "tests/support/Table.h"

namespace BX::sim {
namespace {

using enum Direction;
using test::bytesOf;
using testing::ElementsAre;
using testing::HasSubstr;

const Bytes sessionBegun = link::encodeFrame(bytesOf("7301"));

std::vector<FaultRule> rulesOf(const std::string& text) {
  std::istringstream words(text);
  std::vector<FaultRule> rules;
  for (std::string word; words >> word;) rules.push_back(parseFaultRule(word));
  return rules;
}

TEST(FaultRule, IsReadAsItIsWrittenOrRefusedWithTheReason) {
  for (const char* text : {"to-host:page:3:drop", "to-device:ack:1:corrupt", "to-host:stream:500:hangup",
                           "to-device:silhouette-upload:66:refuse", "to-host:answer:1:refuse"}) {
    EXPECT_EQ(textOf(parseFaultRule(text)), text);
  }
  for (const auto& row : test::rowsOf(test::textIn(BX_SOURCE_DIR "/tests/simulator/refused.txt"))) {
    EXPECT_THAT([&] { parseFaultRule(row[0]); }, testing::ThrowsMessage<std::runtime_error>(HasSubstr(row[1])));
  }
}

TEST(FaultInjector, CountsAFrameAsEachOfItsKinds) {
  FaultInjector injector({}, {});
  // After a request its repetition or a later part, whatever it begins with, and the answer, are of its kind.
  for (const auto& row : test::rowsOf(test::textIn(BX_SOURCE_DIR "/tests/simulator/kinds.txt"))) {
    injector.setRules({});
    const Direction direction = row[0] == "to-host" ? ToHost : ToDevice;
    const Bytes frame = link::encodeFrame(bytesOf(row[1]));
    EXPECT_THAT(injector.judge(direction, frame).pieces, ElementsAre(frame));
    std::string kinds;
    for (auto kind = FrameKind::Frame; kind <= FrameKind::Other; kind = FrameKind(static_cast<int>(kind) + 1)) {
      for (std::size_t i = 0; i < injector.count(direction, kind); ++i) kinds += ' ' + nameOf(kind);
    }
    EXPECT_EQ(kinds, ' ' + row[2]) << row[1];
  }
}

TEST(FaultInjector, StrikesTheNthOfAKindOnceWithWhatTheRuleSays) {
  const std::pair<const char*, FaultInjector::Fate> table[] = {
      {"drop", {}},
      {"duplicate", {{sessionBegun, sessionBegun}, {}}},
      {"cut", {{Bytes(sessionBegun.begin(), sessionBegun.begin() + 4)}, {}}},
      {"delay", {{sessionBegun}, FaultEffect::Delay}},
      {"restart", {{}, FaultEffect::Restart}},
      {"hangup", {{}, FaultEffect::HangUp}}};
  for (const auto& [effect, fate] : table) {
    FaultInjector injector(rulesOf(std::string("to-host:begin:2:") + effect + " to-device:begin:1:drop"), {});
    const auto pieces = [&] { return injector.judge(ToHost, sessionBegun).pieces; };
    EXPECT_THAT(pieces(), ElementsAre(sessionBegun));
    const auto struck = injector.judge(ToHost, sessionBegun);
    EXPECT_EQ(struck.pieces, fate.pieces) << effect;
    EXPECT_EQ(struck.event, fate.event) << effect;
    EXPECT_EQ(injector.waiting(), 1U);
    EXPECT_THAT(pieces(), ElementsAre(sessionBegun));
  }
  EXPECT_EQ(FaultInjector(rulesOf("to-host:frame:1:bytewise"), {}).judge(ToHost, sessionBegun).pieces.size(), 9U);
  const auto corrupt = FaultInjector(rulesOf("to-host:frame:1:corrupt"), {}).judge(ToHost, sessionBegun).pieces.at(0);
  link::FrameDecoder().feed(corrupt, [](auto) { FAIL() << "a damaged frame was taken"; });
}

TEST(FaultInjector, MakesTheSameNoiseFromTheSameSeed) {
  // What became of 60 frames in both directions: 0 lost, 1 passed (D: damaged), 2 doubled.
  const auto fates = [](std::uint64_t seed) {
    FaultInjector injector({}, Noise{5, seed});
    std::string text;
    for (int i = 0; i < 60; ++i) {
      const auto pieces = injector.judge(i % 2 == 0 ? ToHost : ToDevice, sessionBegun).pieces;
      text += pieces.size() == 1 && pieces[0] != sessionBegun ? "D" : std::to_string(pieces.size());
    }
    return text;
  };
  EXPECT_EQ(fates(1), "111201111210D111111D11110111D1D01D111111101111D11100111D1111");
  EXPECT_EQ(fates(2), "112112112101111111D0101111111101D111111100101111110111D11111");
}

TEST(FaultyDevice, RefusesAModeBeforeOrAfterItIsTaken) {
  Options options;
  options.faults = rulesOf("to-device:mode:1:refuse to-host:mode:2:refuse");
  const test::LoopbackDevice device(options);
  BXSerialCom com;
  com.initializePort(device.port);
  ASSERT_TRUE(com.openPort());
  for (const bool taken : {false, true}) {
    EXPECT_FALSE(com.setDeviceMode(BXSerialCom::TRANSFER, false));
    auto clear = bytesOf("6200FF61");
    EXPECT_EQ(com.sendBytesAckReturn(clear, 0x62, {}, false), taken);
  }
}

}  // namespace
}  // namespace BX::sim
