// Silhouette targets by literal bytes.
#include "targets/SilhouetteCodec.h"

#include <regex>

#include "tests/targets/TargetTesting.h"

namespace BX::test {
namespace {

namespace silhouette = targets::silhouette;

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
