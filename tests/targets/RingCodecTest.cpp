// Ring targets by literal bytes. docs/wire.md has more of them, which DocumentationTest sends.
#include "targets/RingCodec.h"

#include "tests/targets/TargetTesting.h"

namespace BX::test {
namespace {

namespace ring = targets::ring;

const std::string headerKeys =
    "RingTargetNumber NominalShootingDistanceUnit NominalDistance CaliberUnit Caliber RingGapUnitType RingsGapsUnit "
    "HighestRing MinimumRing HIBMinScore TargetWidth TargetHeight PrismPlaceX PrismPlaceY";

TEST(RingHeaderFrame, HasTheseBytes) {
  // The last two have units of almost the right spelling, and nothing: integers are 2147483647 then.
  for (const auto& row : rowsOf(R"(
    3 "Yards" 200 "Inches" 0.22 "Inches" "Variable" 10 5 9 72 60 258 -2 | 6C0300 F102 07D000DC 0A055A 00 483C 0102FFFE
    7 "m" 25 "mm" 5.6 "mm" "Fixed" 10 1 8 170 55 0 1                    | 6C0700 0102 00FA0230 0A0150 00 AA37 00000001
    257 "mm" 7000 "m" -0.0019 "millimeters" "fixed" 9.99 "1" 26 550 4294967298 1e10 null | 6C0100 F102 1170FFFF 09FF04 00 2602 0000FFFF
                                                                        | 6CFF00 F102 FFF60000 FFFFF6 00 FFFF FFFFFFFF)")) {
    const auto target = documentOf(headerKeys, row[0]);
    EXPECT_EQ(hexOf(ring::headerFrame(ring::readHeader(target), ring::controlByte1(target))), compact(row[1]))
        << row[0];
  }
}

TEST(RingDiameterFrames, ScaleByTheUnitAndCutToSixteenBits) {
  std::string keys = "RingGapUnitType DiameterInnerWhite DiameterBlackArea HitRingGap DiameterX DiameterHighestRing";
  for (int i = 1; i <= 11; ++i) keys += " DiameterVariableHminus" + std::to_string(i);
  const auto target = documentOf(keys, R"("Millimeters" 1 200 25 6554 -1 1 2 3 4 5 6 7 8 9 10)");
  EXPECT_EQ(hexOf(ring::diameterFrame(target, 261, ring::innerPart)), "6C0501000A07D000FA0004FFF6000A0014001E");
  EXPECT_EQ(hexOf(ring::diameterFrame(target, 5, ring::outerPart)), "6C050200280032003C00460050005A0064FFF6");
  // And back, to whole units.
  Json read = documentOf(keys, R"("mm")");
  ring::writeDiameters(bytesOf("59 6D 05 01 000A 07D0 00FA 0009 FFFF 007D 0014 001E"), read);
  ring::writeDiameters(bytesOf("59 6D 05 02 0001 0032 003C 0046 0050 005A 0064 006E"), read);
  EXPECT_EQ(read.toString(), documentOf(keys, R"("mm" 1 200 25 0 6553 12 2 3 0 5 6 7 8 9 10 11)").toString());
}

TEST(RingNameFrame, PadsShortNamesAndNeverCutsLongOnes) {
  for (const auto& row : rowsOf(R"(
    "abc"                           | 616263 00000000000000 000000000000
    "0123456789a"                   | 3031323334353637383961 000000000000
    "a\u0000\ud83d\ude00"           | 6100F09F9880 00000000 000000000000
    ""                              | 4D313620323030207964 000000000000
    1                               | 4D313620323030207964 000000000000)")) {
    EXPECT_EQ(hexOf(ring::nameFrame(documentOf("TargetName", row[0]), 5)), compact("6C0583" + row[1])) << row[0];
  }
}

TEST(RingHeaderReply, ScalesByTheUnitsThatItNames) {
  const std::string keys =
      "NominalShootingDistanceUnit CaliberUnit RingGapUnitType RingsGapsUnit NominalDistance Caliber HighestRing "
      "MinimumRing HIBMinScore TargetWidth TargetHeight PrismPlaceX PrismPlaceY";
  // No two of the four units stand together in every row.
  for (const auto& row : rowsOf(R"(
    596D0700 4FFF 00FF02FA 0A01FF AAFF FFFF8000 | "Meters" "Millimeters" "Inches" "Fixed" 25 7.62 10 1 25 1 2 65535 32768
    596D0300 A002 07D000DC 0A055A AA09 0102FFFE | "Meters" "Inches" "Millimeters" "Variable" 200 0.22 10 5 9 17 0 258 65534
    596D0300 9002 07D00000 000000 0000 00000000 | "Yards" "Millimeters" "Millimeters" "Variable" 200 0.0 0 0 0 0 0 0 0)")) {
    const auto reply = bytesOf(row[0]);
    Json target;
    ring::writeUnits(reply[targets::reply::contentOffset], target);
    ring::writeHeader(reply, target);
    EXPECT_EQ(target.toString(), documentOf(keys, row[1]).toString());
  }
}

TEST(TargetName, EndsAtAZeroByteTheFieldOrTheReply) {
  const auto name = [](const std::string& hex) { return targets::nameOf(bytesOf(hex)); };
  EXPECT_EQ(name("59 6D 05 83 616263 00 6465"), "abc");
  EXPECT_EQ(name("59 6D 05 83 3031323334353637383961"), "0123456789");
  EXPECT_EQ(name("59 6D 05 83 6162"), "ab");
  EXPECT_EQ(name("59 6D 05 83"), "");
}

}  // namespace
}  // namespace BX::test
