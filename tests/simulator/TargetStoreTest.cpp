// The targets that the device keeps, by its payloads.
#include "simulator/TargetStore.h"

#include "tests/simulator/ModelUnderTest.h"

namespace BX::sim {
namespace {

class TargetStore : public testing::Test {
 protected:
  void SetUp() override { device.talk("6F06 > 596F"); }
  ModelUnderTest device;
};

TEST_F(TargetStore, GivesRingTargetsBackWithoutTheGap) {
  device.talk(R"(
      6D0700 > 4E6D
      6C0700 010200FA0234 0A010A 00 AABB 01020304 > 596C
      6C0701 11*16 > 596C
      6C0702 22*16 > 596C
      6C0783 4142434445464748494A4B 00*6 > 596C
      6D0700 > 596D0700 010200FA0234 0A010A AABB 01020304
      6D0701 > 596D0701 11*16
      6D0702 > 596D0702 22*16
      6D0783 > 596D0783 4142434445464748494A4B 00*6
      6D0703 > 4E6D
      6D0800 > 4E6D
      6C0703 00*16 > 4E6C
      6C0700 00*17 > 4E6C
      6C0700 00*15 > 4E6C)");
  // Beginning a target anew forgets its other frames.
  device.talk("6C0700 00*16 > 596C \n 6D0701 > 4E6D");
}

TEST_F(TargetStore, GivesSilhouettesBackWithTheRequestEchoed) {
  device.talk(R"(
      670300 > 4E67
      660300 A3*16 > 5966
      660301 B3*16 > 5966
      664300 E4 1B*15 > 5966
      664301 0102 > 5966
      670300 > 59670300 A3*16
      670301 > 59670301 B3*16
      674000 > 59674000 E4 1B*15
      674080 > 59674080 E4 1B*15
      674001 > 59674001 0102
      67403F > 5967403F 00*16
      670302 > 4E67
      660302 00*16 > 4E66)");
}

TEST_F(TargetStore, TellsTheRowsOfOneSlotFromTheFramesOfAnother) {
  // Frame 0 to 0x43 is row 0 of slot 3; the second one is no row 1, but the settings of slot 0x43 itself.
  device.talk(R"(
      660300 A3*16 > 5966
      660301 B3*16 > 5966
      664300 01 > 5966
      664300 A4*16 > 5966
      664301 B4*16 > 5966
      668300 02 > 5966
      670300 > 59670300 A3*16
      674000 > 59674000 01
      674300 > 59674300 A4*16
      674301 > 59674301 B4*16
      674000 > 59674000 02)");
  // A mode change ends the upload: what comes next is no row.
  device.talk(R"(
      660301 B3*16 > 5966
      6F06 > 596F
      664300 A5*16 > 5966
      674300 > 59674300 A5*16)");
}

TEST_F(TargetStore, GivesSlot40BackAlthoughRowsAreAskedForUnderItsNumber) {
  device.talk(R"(
      660300 A3*16 > 5966
      664000 A4*16 > 5966
      664001 B4*16 > 5966
      668000 02 > 5966
      674000 > 59674000 A4*16
      674001 > 59674001 B4*16
      674000 > 59674000 02
      674001 > 59674001 00*16)");
  // After the last row of another slot.
  device.talk(R"(
      670300 > 59670300 A3*16
      670301 > 4E67
      67403F > 5967403F 00*16
      674000 > 59674000 A4*16
      674001 > 59674001 B4*16
      674000 > 59674000 02)");
}

}  // namespace
}  // namespace BX::sim
