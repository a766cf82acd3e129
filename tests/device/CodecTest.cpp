// Control bytes, parameter-set frames and device information, by literal bytes.
#include <gmock/gmock.h>

#include <limits>

#include "config/ControlBytes.h"
#include "config/ParameterSetFrame.h"
#include "device/InformationReply.h"
#include "tests/support/Hex.h"

namespace BX {
namespace {

using test::bytesOf;
using test::hexOf;

TEST(ControlBytes, PlacementTravelsInThreeBits) {
  const struct {
    const char* mounting;
    bool arrows;
    int byte;
  } table[] = {{"ABOVE", false, 0x00}, {"RIGHT", false, 0x01}, {"LEFT", true, 0x12}, {"BELOW", true, 0x13}};
  for (const auto& [mounting, arrows, byte] : table) {
    EXPECT_EQ(config::encode(config::Placement{config::mountingOf(mounting), arrows}), byte);
    // What the device sends in the other bits does not matter.
    const auto decoded = config::decodePlacement(static_cast<std::uint8_t>(byte | 0xEC));
    EXPECT_STREQ(textOf(decoded.mounting), mounting);
    EXPECT_EQ(decoded.arrowButtonsEnabled, arrows);
  }
  for (const char* unknown : {"below", "", "BELOW "}) EXPECT_EQ(config::mountingOf(unknown), config::Mounting::Above);
}

TEST(ControlBytes, EvaluationTravelsInFiveBitsAndIsNeverSentEmpty) {
  for (int byte = 0; byte < 32; ++byte) {
    const auto bits = static_cast<std::uint8_t>(byte);
    EXPECT_EQ(config::encode(config::decodeEvaluation(bits | 0xE0)), byte == 0 ? 0x0C : byte);
  }
  EXPECT_TRUE(config::decodeEvaluation(0x01).evaluateSilhouette);
  EXPECT_TRUE(config::decodeEvaluation(0x02).countRingScore);
  EXPECT_TRUE(config::decodeEvaluation(0x04).registerAllTriggers);
  EXPECT_TRUE(config::decodeEvaluation(0x08).targetReceiverHitIndicationBeam);
  EXPECT_TRUE(config::decodeEvaluation(0x10).sleepWakeUp);
  EXPECT_FALSE(config::decodeEvaluation(0x00).registerAllTriggers);
}

TEST(ControlBytes, FeedbackTravelsInBits0And5) {
  EXPECT_EQ(config::encode(config::Feedback{.graphicDisplay = true, .hitSoundBuzzer = false}), 0x01);
  EXPECT_EQ(config::encode(config::Feedback{.graphicDisplay = false, .hitSoundBuzzer = true}), 0x20);
}

TEST(ParameterSetFrame, HasEveryFieldAtItsOffset) {
  EXPECT_EQ(hexOf(config::encode({.controlByte1 = 0x13, .controlByte2 = 1, .fieldMode = true})),
            "640013010200000000000000000000000000");
  EXPECT_EQ(hexOf(config::encode({.controlByte1 = 0, .controlByte2 = 0, .fieldMode = false})),
            "640000000100000000000000000000000000");
  const config::OperatingMode mode = {0x1E, 0x21, 7, 255, 3, 10, 45, 20, 60, 5, 12};
  EXPECT_EQ(hexOf(config::encode(config::classicFrame, mode)), "64011E2107FF030A2D143C050C0000000000");
  EXPECT_EQ(hexOf(config::encode(config::dynamicFrame, mode)), "64021E2107FF030A2D143C050C0000000000");
  EXPECT_EQ(hexOf(config::encodeClosingFrame()), "6483FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF");
}

TEST(ParameterSetFrame, CutsTheCockingDelayToTenthsInAByte) {
  const struct {
    double seconds;
    int byte;
  } table[] = {{0, 0},
               {0.5, 5},
               {1.25, 12},
               {-0.19, 0xFF},
               {25.6, 0},
               {214748364.7, 0xFF},
               {214748364.8, 0},  // beyond 32 bits
               {std::numeric_limits<double>::max(), 0},
               {-std::numeric_limits<double>::infinity(), 0},
               {std::numeric_limits<double>::quiet_NaN(), 0}};
  for (const auto& [seconds, byte] : table) EXPECT_EQ(config::encodeCockingDelay(seconds), byte) << seconds;
}

TEST(ParameterSetFrame, ReadsNothingBeyondAReply) {
  EXPECT_EQ(config::frameNumber(bytesOf("5965B8")), 0xB8);
  for (const char* other : {"", "59", "5965", "596300", "4E6500"}) {
    EXPECT_EQ(config::frameNumber(bytesOf(other)), std::nullopt) << other;
  }
  EXPECT_EQ(config::controlByte(bytesOf("596500A7")), 0xA7);
  EXPECT_EQ(config::controlByte(bytesOf("596500")), std::nullopt);
  EXPECT_EQ(config::describeUnexpected(bytesOf("5906A0FF00")), "DEF: 59 6 a0 ff 0 \n\n");
  EXPECT_EQ(config::describeUnexpected({}), "DEF: \n\n");
}

TEST(InformationReply, TakesFifteenCharactersOrUpToAZero) {
  const auto text = [](const std::string& reply) { return device::decodeInformation(bytesOf(reply)).value().text; };
  EXPECT_EQ(text("596300 4142434445 00 46"), "ABCDE");
  EXPECT_EQ(text("596300 303132333435363738393A3B3C3D3E 3F"), "0123456789:;<=>");
  EXPECT_EQ(text("596301"), "");
  for (const char* other : {"", "59", "5963", "4E6300", "59650041"}) {
    EXPECT_FALSE(device::decodeInformation(bytesOf(other))) << other;
  }
}

TEST(InformationReply, KnowsWhatEachItemBecomes) {
  const auto setting = [](int code, const std::string& text) {
    const auto known = device::settingOf({static_cast<std::uint8_t>(code), text});
    return known ? known->key + ("=" + known->value) : "";
  };
  EXPECT_EQ(setting(0, "S1"), "SerialNumber=S1");
  EXPECT_EQ(setting(1, "12 h"), "");
  EXPECT_EQ(setting(2, "D1"), "DeviceID=D1");
  EXPECT_EQ(setting(3, "P1"), "Program=P1");
  EXPECT_EQ(setting(4, "DATE: 21.11.26"), "Date=21.11.26");
  EXPECT_EQ(setting(5, "TIME: "), "Time=");
  EXPECT_EQ(setting(6, "0"), "");
  EXPECT_THROW(setting(4, "DATE:"), std::out_of_range);
}

}  // namespace
}  // namespace BX
