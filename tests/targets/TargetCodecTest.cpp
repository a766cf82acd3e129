// Targets by literal bytes. docs/wire.md has more of them, which TargetExchangeTest sends.
#include <regex>

#include "targets/RingCodec.h"
#include "targets/SilhouetteCodec.h"
#include "tests/targets/TargetTesting.h"

namespace BX::test {
namespace {

namespace ring = targets::ring;
namespace silhouette = targets::silhouette;

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

const std::string settingsKeys =
    "RingGapUnitType NominalDistance TargetWidth TargetHeight PrismPlaceX PrismPlaceY SilhouetteTargetNumber "
    "NominalShootingDistanceUnit";

TEST(SilhouetteSettingsFrame, TakesTheLargerSizeAndAnyUnitButMillimetresTenfold) {
  for (const auto& row : rowsOf(R"(
    "mm" 25 400 600 1 -1 0 "Meters"               | 660000 0001 00FA 000000000000 0258 0001FFFF
    "cm" 6554 600 400 0 0 9 "m"                   | 660900 4001 0004 000000000000 1770 00000000
    "Millimeters" 0 -5 65537 0 0 256 "Yards"      | 660000 1001 0000 000000000000 0001 00000000
                                                  | 66FF00 5001 FFF6 000000000000 FFF6 FFFFFFFF)")) {
    const auto target = documentOf(settingsKeys, row[0]);
    EXPECT_EQ(hexOf(silhouette::settingsFrame(silhouette::readSettings(target), silhouette::controlByte1(target))),
              compact(row[1]));
  }
}

TEST(SilhouetteNameFrame, KeepsAnEmptyNameEmptyAndALongOneWhole) {
  const auto frame = [](const std::string& document) { return hexOf(silhouette::nameFrame(parsed(document), 2)); };
  EXPECT_EQ(frame("{}"), compact("66 02 01 00000000000000000000 000000000000"));
  EXPECT_EQ(frame(R"({"TargetName":"0123456789ab"})"), compact("66 02 01 303132333435363738396162 000000000000"));
}

TEST(SilhouetteRowFrame, HasTheseBytes) {
  // Row, slot, index. The last of 64 rows is marked, and none beyond; number and index keep their low bytes. Pixels are
  // filled up with zeros, but not masked: they spill to the left. What is no number reads as 2147483647.
  for (const auto& row : rowsOf(R"(
    [0,1,2,3,3,2,1,0] | 0   | 0   | 66 40 00 1B E4
    [3,0,0,0]         | 3   | 62  | 66 43 3E C0
    [0,0,0,1]         | 3   | 63  | 66 43 BF 01
    [1]               | 0   | 64  | 66 40 40 40
    [1]               | 0   | 319 | 66 40 3F 40
    [1]               | 192 | 255 | 66 00 FF 40
    [1,2,3,1,2]       | 0   | 1   | 66 40 01 6D 80
    [0,7,0,5]         | 0   | 1   | 66 40 01 75
    [0,4,-1,4294967297,true,null,0.9,1e300,"x",0.9,3.9,0] | 0 | 1 | 66 40 01 FD F0 CC
    7                 | 0   | 1   | 66 40 01)")) {
    const auto frame = silhouette::rowFrame(parsed(row[0]).getDocument(), std::stoi(row[1]), std::stoul(row[2]));
    EXPECT_EQ(hexOf(frame), compact(row[3])) << row[0];
  }
}

TEST(SilhouetteSettingsReply, ScalesTheSizeByTheUnit) {
  for (const std::string values : {R"("Millimeters" 25 6005 6005 65535 32768)", R"("cm" 25 600 600 65535 32768)"}) {
    Json target = documentOf(settingsKeys, values.substr(0, values.find(' ')));
    silhouette::writeSettings(bytesOf("59 67 00 00 50 01 00FF 000000000000 1775 FFFF 8000"), target);
    EXPECT_EQ(target.toString(), documentOf(settingsKeys, values).toString());
  }
}

TEST(SilhouetteRowReply, AppendsRowsAndBeginsAnewAtRowZero) {
  auto target = parsed(R"({"SilhouetteTarget":"none","TargetType":"","TargetName":"abc"})");
  const auto appended = [&target](const std::string& hex) {
    silhouette::appendRow(bytesOf(hex), target);
    return std::regex_replace(target.toString(), std::regex("(,0){20,}"), "..");
  };
  const std::string start = R"({"TargetType":"","TargetName":"abc","SilhouetteTarget":[)";
  // No bitmap yet; what follows is no pixel.
  EXPECT_EQ(appended("59 67 40 05 1B000000000000000000000000000002 FF"), start + "[0,1,2,3..,2]]}");
  EXPECT_EQ(appended("59 67 40 01 FF"), start + "[0,1,2,3..,2],[3,3,3,3..]]}");  // filled with zeros
  EXPECT_EQ(appended("59 67 40 00 55"), start + "[1,1,1,1..]]}");
  EXPECT_EQ(target.getDocument()["SilhouetteTarget"][0].Size(), 64U);
  target = parsed("[]");
  EXPECT_EQ(appended("59 67 40 00 00"), "[]");
}

}  // namespace
}  // namespace BX::test
