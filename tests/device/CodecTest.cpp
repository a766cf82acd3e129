// Control bytes and the cocking delay, as bytes.
#include <gmock/gmock.h>

#include <limits>

#include "config/ControlBytes.h"
#include "config/ParameterSetFrame.h"

namespace BX {
namespace {

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
  EXPECT_EQ(config::mountingOf("below"), config::Mounting::Above);
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

TEST(ParameterSetFrame, CutsTheCockingDelayToTenthsInAByte) {
  const std::pair<double, int> table[] = {{0, 0},
                                          {0.5, 5},
                                          {-0.19, 0xFF},
                                          {25.6, 0},
                                          {214748364.7, 0xFF},
                                          {214748364.8, 0},  // beyond 32 bits
                                          {std::numeric_limits<double>::max(), 0},
                                          {-std::numeric_limits<double>::infinity(), 0},
                                          {std::numeric_limits<double>::quiet_NaN(), 0}};
  for (const auto& [seconds, byte] : table) EXPECT_EQ(config::encodeCockingDelay(seconds), byte) << seconds;
}

}  // namespace
}  // namespace BX
