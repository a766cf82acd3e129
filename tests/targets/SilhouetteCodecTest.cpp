#include "targets/SilhouetteCodec.h"

#include <gtest/gtest.h>

#include "tests/targets/TargetTesting.h"

namespace BX::test {
namespace {

namespace silhouette = targets::silhouette;

struct SettingsCase {
  const char* what;
  const char* document;
  const char* frame;
};

class SilhouetteSettingsFrame : public testing::TestWithParam<SettingsCase> {};

TEST_P(SilhouetteSettingsFrame, HasTheseBytes) {
  const auto target = parsed(GetParam().document);
  const auto frame = silhouette::settingsFrame(silhouette::readSettings(target), silhouette::controlByte1(target));
  EXPECT_EQ(toHex(frame), compact(GetParam().frame)) << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(
    , SilhouetteSettingsFrame,
    testing::Values(
        SettingsCase{"millimetres, height counts",
                     R"({"SilhouetteTargetNumber":0,"NominalShootingDistanceUnit":"Meters","NominalDistance":25,
                         "RingGapUnitType":"mm","TargetWidth":400,"TargetHeight":600,"PrismPlaceX":1,"PrismPlaceY":-1})",
                     "66 00 00 00 01 00FA 000000000000 0258 0001 FFFF"},
        SettingsCase{"any other unit is taken tenfold",
                     R"({"SilhouetteTargetNumber":9,"NominalShootingDistanceUnit":"m","NominalDistance":6554,
                         "RingGapUnitType":"cm","TargetWidth":600,"TargetHeight":400,"PrismPlaceX":0,"PrismPlaceY":0})",
                     "66 09 00 40 01 0004 000000000000 1770 0000 0000"},
        SettingsCase{"yards and millimetres",
                     R"({"SilhouetteTargetNumber":256,"NominalShootingDistanceUnit":"Yards","NominalDistance":0,
                         "RingGapUnitType":"Millimeters","TargetWidth":-5,"TargetHeight":65537,"PrismPlaceX":0,
                         "PrismPlaceY":0})",
                     "66 00 00 10 01 0000 000000000000 0001 0000 0000"},
        SettingsCase{"nothing given", "{}", "66 FF 00 50 01 FFF6 000000000000 FFF6 FFFF FFFF"}));

TEST(SilhouetteNameFrame, KeepsAnEmptyNameEmptyAndALongOneWhole) {
  const auto frame = [](const std::string& document) { return toHex(silhouette::nameFrame(parsed(document), 2)); };
  EXPECT_EQ(frame("{}"), compact("66 02 01 00000000000000000000 000000000000"));
  EXPECT_EQ(frame(R"({"TargetName":"abc"})"), compact("66 02 01 616263 00000000000000 000000000000"));
  EXPECT_EQ(frame(R"({"TargetName":"0123456789ab"})"), compact("66 02 01 303132333435363738396162 000000000000"));
}

struct RowCase {
  const char* row;
  std::int32_t number;
  std::size_t index;
  const char* frame;
};

class SilhouetteRowFrame : public testing::TestWithParam<RowCase> {};

TEST_P(SilhouetteRowFrame, HasTheseBytes) {
  const auto row = parsed(GetParam().row);
  const auto frame = silhouette::rowFrame(row.getDocument(), GetParam().number, GetParam().index);
  EXPECT_EQ(toHex(frame), compact(GetParam().frame));
}

INSTANTIATE_TEST_SUITE_P(
    , SilhouetteRowFrame,
    testing::Values(RowCase{"[0,1,2,3,3,2,1,0]", 0, 0, "66 40 00 1B E4"},
                    RowCase{"[3,0,0,0]", 3, 62, "66 43 3E C0"},             //
                    RowCase{"[0,0,0,1]", 3, 63, "66 43 BF 01"},             // the last row's mark
                    RowCase{"[1]", 0, 64, "66 40 40 40"},                   // no mark beyond
                    RowCase{"[1]", 0, 319, "66 40 3F 40"},                  // nor where the low byte comes round again
                    RowCase{"[1]", 192, 255, "66 00 FF 40"},                // number and index keep their low bytes
                    RowCase{"[1,2,3,1,2]", 0, 1, "66 40 01 6D 80"},         // filled with zeros
                    RowCase{"[0,7,0,5]", 0, 1, "66 40 01 75"},              // not masked: spills to the left
                    RowCase{"[-1,0,0,256]", 0, 1, "66 40 01 C0"},           //
                    RowCase{"[true,2.9,\"x\",null]", 0, 1, "66 40 01 FF"},  // a pixel without a number is all ones
                    RowCase{"[]", 0, 1, "66 40 01"},                        //
                    RowCase{"{}", 0, 1, "66 40 01"}));                      // no array: an empty row

TEST(SilhouetteReply, IsSettingsOrNameForSlotZeroOnly) {
  using enum silhouette::Reply;
  const auto kind = [](const std::string& hex) { return silhouette::kindOf(fromHex(hex)); };
  EXPECT_EQ(kind("59 67 00 00"), Settings);
  EXPECT_EQ(kind("59 67 00 01"), Name);
  EXPECT_EQ(kind("59 67 00 02"), Row);
  EXPECT_EQ(kind("59 67 40 00"), Row);
  EXPECT_EQ(kind("59 67 03 01"), Row);
}

TEST(SilhouetteSettingsReply, ScalesTheSizeByTheUnit) {
  const auto reply = fromHex("59 67 00 00 50 01 00FF 000000000000 1775 FFFF 8000");
  auto metric = parsed(R"({"RingGapUnitType":"Millimeters"})");
  silhouette::writeSettings(reply, metric);
  EXPECT_EQ(metric.toString(),
            R"({"RingGapUnitType":"Millimeters","NominalDistance":25,"TargetWidth":6005,"TargetHeight":6005,)"
            R"("PrismPlaceX":65535,"PrismPlaceY":32768})");
  Json other;
  silhouette::writeSettings(reply, other);
  EXPECT_EQ(other.toString(),
            R"({"NominalDistance":25,"TargetWidth":600,"TargetHeight":600,"PrismPlaceX":65535,"PrismPlaceY":32768})");
}

TEST(SilhouetteRowReply, AppendsRowsAndBeginsAnewAtRowZero) {
  const auto append = [](Json& target, const std::string& hex) { silhouette::appendRow(fromHex(hex), target); };
  const auto bitmap = [](const Json& target) { return target.getDocument()["SilhouetteTarget"].GetArray(); };
  auto target = parsed(R"({"SilhouetteTarget":"none","TargetName":"abc"})");
  append(target,
         "59 67 40 05 1B000000000000000000000000000002 FF");  // no bitmap yet; what follows 16 bytes is no pixel
  append(target, "59 67 40 01 FF");                           // a short row is filled with zeros
  ASSERT_EQ(bitmap(target).Size(), 2U);
  const auto first = bitmap(target)[0].GetArray();
  ASSERT_EQ(first.Size(), 64U);
  for (unsigned i = 0; i < 4; ++i) EXPECT_EQ(first[i].GetInt(), static_cast<int>(i));
  EXPECT_EQ(first[63].GetInt(), 2);
  EXPECT_EQ(bitmap(target)[1].Size(), 64U);
  EXPECT_EQ(bitmap(target)[1][3].GetInt(), 3);
  EXPECT_EQ(bitmap(target)[1][4].GetInt(), 0);
  EXPECT_TRUE(target.toString().starts_with(R"({"TargetName":"abc","SilhouetteTarget":[[0,1,2,3,)"));

  append(target, "59 67 40 00 00");
  EXPECT_EQ(bitmap(target).Size(), 1U);
  auto noObject = parsed("[]");
  append(noObject, "59 67 40 00 00");
  EXPECT_EQ(noObject.toString(), "[]");
}

}  // namespace
}  // namespace BX::test
