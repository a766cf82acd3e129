// Silhouette targets by literal bytes.
#include "targets/SilhouetteCodec.h"

#include "tests/targets/TargetTesting.h"

namespace BX::test {
namespace {

namespace silhouette = targets::silhouette;

TEST(SilhouetteSettingsFrame, TakesTheLargerSizeAndAnyUnitButMillimetresTenfold) {
  const std::pair<const char*, const char*> table[] = {
      {R"({"SilhouetteTargetNumber":0,"NominalShootingDistanceUnit":"Meters","NominalDistance":25,
           "RingGapUnitType":"mm","TargetWidth":400,"TargetHeight":600,"PrismPlaceX":1,"PrismPlaceY":-1})",
       "66 00 00 00 01 00FA 000000000000 0258 0001 FFFF"},
      {R"({"SilhouetteTargetNumber":9,"NominalShootingDistanceUnit":"m","NominalDistance":6554,
           "RingGapUnitType":"cm","TargetWidth":600,"TargetHeight":400,"PrismPlaceX":0,"PrismPlaceY":0})",
       "66 09 00 40 01 0004 000000000000 1770 0000 0000"},
      {R"({"SilhouetteTargetNumber":256,"NominalShootingDistanceUnit":"Yards","NominalDistance":0,
           "RingGapUnitType":"Millimeters","TargetWidth":-5,"TargetHeight":65537,"PrismPlaceX":0,"PrismPlaceY":0})",
       "66 00 00 10 01 0000 000000000000 0001 0000 0000"}};
  for (const auto& [document, frame] : table) {
    const auto target = parsed(document);
    EXPECT_EQ(hexOf(silhouette::settingsFrame(silhouette::readSettings(target), silhouette::controlByte1(target))),
              compact(frame));
  }
}

TEST(SilhouetteNameFrame, KeepsAnEmptyNameEmptyAndALongOneWhole) {
  const auto frame = [](const std::string& document) { return hexOf(silhouette::nameFrame(parsed(document), 2)); };
  EXPECT_EQ(frame("{}"), compact("66 02 01 00000000000000000000 000000000000"));
  EXPECT_EQ(frame(R"({"TargetName":"0123456789ab"})"), compact("66 02 01 303132333435363738396162 000000000000"));
}

TEST(SilhouetteRowFrame, HasTheseBytes) {
  const struct {
    const char* row;
    std::int32_t number;
    std::size_t index;
    const char* frame;
  } table[] = {{"[0,1,2,3,3,2,1,0]", 0, 0, "66 40 00 1B E4"},
               {"[3,0,0,0]", 3, 62, "66 43 3E C0"},
               {"[0,0,0,1]", 3, 63, "66 43 BF 01"},      // the last row's mark
               {"[1]", 0, 64, "66 40 40 40"},            // no mark beyond
               {"[1]", 0, 319, "66 40 3F 40"},           // nor where the low byte comes round again
               {"[1]", 192, 255, "66 00 FF 40"},         // number and index keep their low bytes
               {"[1,2,3,1,2]", 0, 1, "66 40 01 6D 80"},  // filled with zeros
               {"[0,7,0,5]", 0, 1, "66 40 01 75"}};      // not masked: spills to the left
  for (const auto& [row, number, index, frame] : table) {
    const auto document = parsed(row);
    EXPECT_EQ(hexOf(silhouette::rowFrame(document.getDocument(), number, index)), compact(frame));
  }
}

TEST(SilhouetteSettingsReply, ScalesTheSizeByTheUnit) {
  const auto reply = bytesOf("59 67 00 00 50 01 00FF 000000000000 1775 FFFF 8000");
  auto metric = parsed(R"({"RingGapUnitType":"Millimeters"})");
  silhouette::writeSettings(reply, metric);
  EXPECT_EQ(metric.toString(),
            R"({"RingGapUnitType":"Millimeters","NominalDistance":25,"TargetWidth":6005,"TargetHeight":6005,)"
            R"("PrismPlaceX":65535,"PrismPlaceY":32768})");
  Json other;
  silhouette::writeSettings(reply, other);
  EXPECT_THAT(other.toString(), testing::HasSubstr(R"("TargetWidth":600,"TargetHeight":600)"));
}

TEST(SilhouetteRowReply, AppendsRowsAndBeginsAnewAtRowZero) {
  const auto append = [](Json& target, const std::string& hex) { silhouette::appendRow(bytesOf(hex), target); };
  const auto rows = [](const std::string& first, const std::string& second) {
    std::string zeros;
    for (int i = 4; i < 63; ++i) zeros += ",0";
    return R"({"TargetType":"","TargetName":"abc","SilhouetteTarget":[[)" + first + zeros + second;
  };
  auto target = parsed(R"({"SilhouetteTarget":"none","TargetType":"","TargetName":"abc"})");
  append(target, "59 67 40 05 1B000000000000000000000000000002 FF");  // no bitmap yet; what follows is no pixel
  EXPECT_EQ(target.toString(), rows("0,1,2,3", ",2]]}"));
  append(target, "59 67 40 01 FF");  // a short row is filled with zeros
  EXPECT_THAT(target.toString(), testing::StartsWith(rows("0,1,2,3", ",2],[3,3,3,3,0,0")));
  append(target, "59 67 40 00 55");
  EXPECT_EQ(target.toString(), rows("1,1,1,1", ",0]]}"));
  auto noObject = parsed("[]");
  append(noObject, "59 67 40 00 00");
  EXPECT_EQ(noObject.toString(), "[]");
}

}  // namespace
}  // namespace BX::test
