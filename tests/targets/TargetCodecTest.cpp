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

const std::string diameterKeys =
    "RingGapUnitType DiameterInnerWhite DiameterBlackArea HitRingGap DiameterX DiameterHighestRing "
    "DiameterVariableHminus1 DiameterVariableHminus2 DiameterVariableHminus3 DiameterVariableHminus4 "
    "DiameterVariableHminus5 DiameterVariableHminus6 DiameterVariableHminus7 DiameterVariableHminus8 "
    "DiameterVariableHminus9 DiameterVariableHminus10 DiameterVariableHminus11";
const std::string settingsKeys =
    "RingGapUnitType NominalDistance TargetWidth TargetHeight PrismPlaceX PrismPlaceY SilhouetteTargetNumber "
    "NominalShootingDistanceUnit";

targets::Bytes frameOf(const std::string& kind, int number, std::size_t index, const std::string& values) {
  if (kind == "silhouette row") return silhouette::rowFrame(parsed(values).getDocument(), number, index);
  if (kind == "ring name") return ring::nameFrame(documentOf("TargetName", values), number);
  if (kind == "silhouette name") return silhouette::nameFrame(documentOf("TargetName", values), number);
  if (kind == "ring inner") return ring::diameterFrame(documentOf(diameterKeys, values), number, ring::innerPart);
  if (kind == "ring outer") return ring::diameterFrame(documentOf(diameterKeys, values), number, ring::outerPart);
  const auto target = documentOf(kind == "ring header" ? headerKeys : settingsKeys, values);
  if (kind == "ring header") return ring::headerFrame(ring::readHeader(target), ring::controlByte1(target));
  return silhouette::settingsFrame(silhouette::readSettings(target), silhouette::controlByte1(target));
}

// Units of almost the right spelling, integers that are missing (2147483647) and what is beyond the wire, which is cut.
// A long name goes up whole. The last of 64 rows is marked, and none beyond; pixels are filled up with zeros, but not
// masked: they spill to the left.
TEST(TargetFrames, HaveTheseBytes) {
  for (const auto& row : rowsOf(sourceText("tests/targets/frames.txt"))) {
    EXPECT_EQ(hexOf(frameOf(row[0], std::stoi(row[1]), std::stoul(row[2]), row[3])), compact(row[4]))
        << row[0] << ' ' << row[3];
  }
}

TEST(RingDiameterReplies, AreReadInWholeUnits) {
  Json read = documentOf(diameterKeys, R"("mm")");
  ring::writeDiameters(bytesOf("59 6D 05 01 000A 07D0 00FA 0009 FFFF 007D 0014 001E"), read);
  ring::writeDiameters(bytesOf("59 6D 05 02 0001 0032 003C 0046 0050 005A 0064 006E"), read);
  EXPECT_EQ(read.toString(), documentOf(diameterKeys, R"("mm" 1 200 25 0 6553 12 2 3 0 5 6 7 8 9 10 11)").toString());
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
