// Control bytes and the cocking delay, as bytes.
#include <gmock/gmock.h>

#include <limits>

#include "bx/BXDevice.h"
#include "config/ControlBytes.h"
#include "config/ParameterSetFrame.h"
#include "tests/support/LoopbackDevice.h"

namespace BX {
namespace {

// What the device sends in the other bits does not matter.
TEST(ControlBytes, PlacementTravelsInThreeBits) {
  const test::NoWaits noWaits;
  const std::pair<const char*, unsigned> table[] = {{R"({"Mounting":"ABOVE","ArrowButtonsEnabled":false})", 0x00},
                                                    {R"({"Mounting":"RIGHT","ArrowButtonsEnabled":false})", 0x01},
                                                    {R"({"Mounting":"LEFT","ArrowButtonsEnabled":true})", 0x12},
                                                    {R"({"Mounting":"BELOW","ArrowButtonsEnabled":true})", 0x13}};
  for (const auto& [settings, byte] : table) {
    BXDevice device;
    const auto received = static_cast<unsigned char>(byte | 0xECU);
    device.processParameterControlByte1(&received);
    EXPECT_EQ(device.getDeviceSettings().toString(), settings);
    EXPECT_EQ(device.createParameterControlByte1(), byte);
  }
  EXPECT_EQ(config::mountingOf("below"), config::Mounting::Above);
}

TEST(ControlBytes, EvaluationTravelsInFiveBitsAndIsNeverSentEmpty) {
  const test::NoWaits noWaits;
  BXDevice device;
  for (unsigned byte = 0; byte < 32; ++byte) {
    const auto received = static_cast<unsigned char>(byte | 0xE0U);
    device.processParameterSet1OperatingModeControlByte1(&received);
    const unsigned switches = byte & 0x1CU;  // the other two tell which targets are in use: none
    EXPECT_EQ(device.createParameterSet1OperatingModeControlByte1(), switches == 0 ? 0x0C : switches);
    if (byte != 0x15) continue;
    EXPECT_EQ(device.getDeviceSettings().toString(),
              R"({"EvaluateSilhouette":true,"CountRingScore":false,"RegisterAllTriggers":true,)"
              R"("TargetReceiverHitIndicationBeam":false,"SleepWakeUp":true})");
  }
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
  for (int tenths = 0; tenths < 256; ++tenths) {
    EXPECT_EQ(config::encodeCockingDelay(config::decodeCockingDelay(static_cast<std::uint8_t>(tenths))), tenths);
  }
}

}  // namespace
}  // namespace BX
