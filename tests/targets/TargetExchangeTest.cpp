#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "morva/KeyedAccess.h"
#include "tests/targets/ConnectedDevice.h"

namespace BX::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::vector<std::string> storedTargets(const BXDevice& device) {
  std::vector<std::string> documents;
  for (const auto& target : device.getAllTargets()) documents.push_back(target.toString());
  return documents;
}

TEST(RingUpload, ReportsEachStep) {
  ConnectedDevice connected;
  auto target = example("ring-25m-precision-pistol.json");
  const auto given = target.toString();
  ASSERT_TRUE(connected.device.uploadRingTarget(target));
  EXPECT_THAT(
      ConnectedDevice::texts(),
      ElementsAre("UPLOAD RING TARGETS... TARGET CONVERSION:", "10",
                  "create ring control byte 1 - meters - distance:", "25", "Caliber MM", "Ring Unit MM",
                  "CALCULATE SUM", "111", "Upload Ring Target Frame 0", "Upload Ring Target Frame 0 - Success",
                  "Upload Ring Target Frame 1", "Upload Ring Target Frame 1 - Success", "Upload Ring Target Frame 2",
                  "Upload Ring Target Frame 2 - Success", "Upload Ring Target Frame 3", "UPLOAD RING COMPLETED"));
  EXPECT_EQ(target.toString(), given);
}

TEST(RingUpload, StaysInTheDeviceObjectWhenAnyFrameIsRefused) {
  const std::vector<std::string> parts{"6C0300", "6C0301", "6C0302", "6C0383"};
  for (std::size_t refused = 0; refused < parts.size(); ++refused) {
    ConnectedDevice connected(refusing(parts[refused]));
    auto target = example("ring-600yd-rifle.json");
    EXPECT_FALSE(connected.device.uploadRingTarget(target));
    EXPECT_TRUE(connected.device.hasError());
    EXPECT_THAT(connected.far.sent("6C"), SizeIs(refused + 1));
    EXPECT_THAT(storedTargets(connected.device), ElementsAre(target.toString()));
    EXPECT_EQ(connected.targetsInUse(), "03FF01");
    EXPECT_FALSE(ConnectedDevice::logged("UPLOAD RING COMPLETED"));
    EXPECT_TRUE(ConnectedDevice::logged("create ring control byte 1 - yards - distance:"));
  }
}

TEST(RingUpload, ReplacesAnEarlierOneAndLeavesTheOtherKindAlone) {
  ConnectedDevice connected;
  auto silhouette = parsed(R"({"SilhouetteTargetNumber":9,"NumberOfPrisms":4})");
  auto first = parsed(R"({"RingTargetNumber":5,"NumberOfPrisms":2,"TargetName":"one"})");
  auto second = parsed(R"({"RingTargetNumber":5,"NumberOfPrisms":3})");
  ASSERT_TRUE(connected.device.uploadSilhouetteTarget(silhouette));
  ASSERT_TRUE(connected.device.uploadRingTarget(first));
  ASSERT_TRUE(connected.device.uploadRingTarget(second));
  EXPECT_THAT(storedTargets(connected.device), ElementsAre(second.toString(), silhouette.toString()));
  EXPECT_EQ(connected.targetsInUse(), "050903");
}

TEST(TargetStore, ListsRingsThenSilhouettesByNumberAndForgetsAll) {
  ConnectedDevice connected;
  for (const auto* number : {"7", "3"}) {
    auto ring = parsed(std::string(R"({"RingTargetNumber":)") + number + "}");
    ASSERT_TRUE(connected.device.uploadRingTarget(ring));
  }
  auto silhouette = parsed(R"({"SilhouetteTargetNumber":1,"NumberOfPrisms":0})");
  ASSERT_TRUE(connected.device.uploadSilhouetteTarget(silhouette));
  EXPECT_THAT(storedTargets(connected.device),
              ElementsAre(R"({"RingTargetNumber":3})", R"({"RingTargetNumber":7})", silhouette.toString()));
  connected.device.clearTargetData();
  EXPECT_THAT(storedTargets(connected.device), IsEmpty());
  EXPECT_EQ(connected.targetsInUse(), "FFFF00");
}

TEST(RingDownload, GivesWhatTheStoredFramesDecodeTo) {
  ConnectedDevice connected;
  auto target = example("ring-600yd-rifle.json");
  ASSERT_TRUE(connected.device.uploadRingTarget(target));
  connected.device.clearTargetData();
  ConnectedDevice::texts().clear();
  ASSERT_TRUE(connected.device.downloadRingTarget(3));
  EXPECT_FALSE(connected.device.isDownloading());
  EXPECT_THAT(connected.far.sent("6D"), ElementsAre("6D030070", "6D030171", "6D030272", "6D0383F3"));
  EXPECT_THAT(
      storedTargets(connected.device),
      ElementsAre(
          R"({"RingTargetNumber":3,"NominalShootingDistanceUnit":"Yards","CaliberUnit":"Inches",)"
          R"("RingGapUnitType":"Inches","RingsGapsUnit":"Variable","NominalDistance":600,"Caliber":0.308,)"
          R"("HighestRing":10,"MinimumRing":5,"HIBMinScore":9,"TargetWidth":0,"TargetHeight":0,"PrismPlaceX":0,)"
          R"("PrismPlaceY":0,"DiameterInnerWhite":0,"DiameterBlackArea":36,"HitRingGap":0,"DiameterX":6,)"
          R"("DiameterHighestRing":12,"DiameterVariableHminus1":18,"DiameterVariableHminus2":24,)"
          R"("DiameterVariableHminus3":36,"DiameterVariableHminus4":48,"DiameterVariableHminus5":60,)"
          R"("DiameterVariableHminus6":0,"DiameterVariableHminus7":0,"DiameterVariableHminus8":0,)"
          R"("DiameterVariableHminus9":0,"DiameterVariableHminus10":0,"DiameterVariableHminus11":0,)"
          R"("TargetName":"600yd MR-1","TargetType":"RING"})"));
  const std::string conversion = "processRingTarget... TARGET CONVERSION:";
  EXPECT_THAT(ConnectedDevice::texts(),
              ElementsAre("process ring control byte 1 - yards - distance:", conversion, "0.010000",
                          "process ring target - distance", "600", conversion, "0.010000", conversion, "0.010000"));
}

TEST(RingDownload, KeepsTheHeaderOfATargetThatIsThereAndScalesByItsUnit) {
  sim::Options options;
  options.script = {{fromHex("6D0700"), fromHex("596D0700 F1 02 07D0 00DC 0A 05 5A 48 48 0000 0000")}};
  ConnectedDevice connected(options);
  auto target = parsed(R"({"RingTargetNumber":7,"NominalShootingDistanceUnit":"Meters","NominalDistance":25,
    "RingGapUnitType":"mm","TargetWidth":170,"DiameterX":12,"TargetName":"ten or more"})");
  ASSERT_TRUE(connected.device.uploadRingTarget(target));
  ASSERT_TRUE(connected.device.downloadRingTarget(7));
  const auto targets = connected.device.getAllTargets();
  ASSERT_THAT(targets, SizeIs(1));
  const auto& members = targets[0].getDocument();
  EXPECT_STREQ(members["NominalShootingDistanceUnit"].GetString(), "Meters");
  EXPECT_EQ(members["NominalDistance"].GetInt(), 25);
  EXPECT_EQ(members["TargetWidth"].GetInt(), 170);
  EXPECT_FALSE(members.HasMember("Caliber"));
  EXPECT_EQ(members["DiameterX"].GetInt(), 12);
  EXPECT_EQ(members["DiameterHighestRing"].GetInt(), 6552);
  EXPECT_STREQ(members["TargetName"].GetString(), "ten or mor");
  EXPECT_STREQ(members["TargetType"].GetString(), "RING");
  // The distance of the reply counts all the same.
  EXPECT_TRUE(ConnectedDevice::logged("process ring control byte 1 - yards - distance:"));
  EXPECT_EQ(ConnectedDevice::texts()[ConnectedDevice::texts().size() - 5], "200");
}

TEST(RingDownload, DropsWhatItCannotReadAndScalesDiametersWithoutAUnitAsInches) {
  sim::Options options;
  options.script = {{fromHex("6D0700"), fromHex("596D0700 F1 02 07D0 00DC 0A 05 5A 48 48 0000 00")},
                    {fromHex("6D0701"), fromHex("596D0801 0064 0064 0064 0064 0064 0064 0064 0064")},
                    {fromHex("6D0702"), fromHex("596D0742")},
                    {fromHex("6D0783"), fromHex("596D")}};
  ConnectedDevice connected(options);
  ASSERT_TRUE(connected.device.downloadRingTarget(7));
  const auto targets = storedTargets(connected.device);
  ASSERT_THAT(targets, SizeIs(2));
  EXPECT_EQ(targets[0], R"({"TargetType":"RING"})");
  EXPECT_TRUE(targets[1].starts_with(R"({"DiameterInnerWhite":1,)")) << targets[1];
  EXPECT_TRUE(ConnectedDevice::logged("process ring target - reply too short"));
}

TEST(RingDownload, EndsAtTheFirstRefusalAndKeepsWhatCame) {
  ConnectedDevice connected(refusing("6D0301"));
  auto target = example("ring-600yd-rifle.json");
  ASSERT_TRUE(connected.device.uploadRingTarget(target));
  connected.device.clearTargetData();
  EXPECT_FALSE(connected.device.downloadRingTarget(3));
  EXPECT_FALSE(connected.device.isDownloading());
  EXPECT_THAT(connected.far.sent("6D"), SizeIs(2));
  const auto targets = connected.device.getAllTargets();
  ASSERT_THAT(targets, SizeIs(1));
  EXPECT_FALSE(targets[0].getDocument().HasMember("DiameterX"));
  EXPECT_FALSE(targets[0].getDocument().HasMember("TargetType"));
}

TEST(SilhouetteUpload, SendsSettingsNameAndRowsAndReportsThem) {
  ConnectedDevice connected;
  auto target = example("silhouette-torso.json");
  ASSERT_TRUE(connected.device.uploadSilhouetteTarget(target));
  const auto sent = connected.far.sent("66");
  ASSERT_THAT(sent, SizeIs(66));
  EXPECT_EQ(sent[0], "660000000101F400000000000001F40000000051");
  EXPECT_EQ(sent[1], "660001746F72736F00000000000000000000009E");
  EXPECT_EQ(sent[2], "66400000000000000000000000000000000000A6");
  EXPECT_EQ(sent[40], "6640260000015556AABFFFFFFEAA9555400000B1");
  EXPECT_EQ(sent[65], "6640BF0000000555555555555555555000000062");
  EXPECT_THAT(ConnectedDevice::texts(),
              ElementsAre("Target Distance:", "500", "Target Width:", "500", "Target Height:", "500", "Target Size:",
                          "500", "Number of Prisms:", "1", "set nom distance in upload sil target:", "50",
                          "create silhouette control byte 1 - meter - distance:", "50",
                          "create silhouette control byte 1 bit 6 - mm - distance:", "PX:", "0", "PY:", "0"));
  EXPECT_EQ(connected.targetsInUse(), "FF0001");
}

TEST(SilhouetteUpload, EndsAtTheFirstRefusalAndNeedsNoRows) {
  struct Case {
    const char* refused;
    const char* bitmap;
    std::size_t frames;
    bool accepted;
  };
  for (const auto& [refused, bitmap, frames, accepted] :
       {Case{"660200", "[[0],[1],[2]]", 1, false}, Case{"660201", "[[0],[1],[2]]", 2, false},
        Case{"664201", "[[0],[1],[2]]", 4, false}, Case{"664203", "[[0],[1],[2]]", 5, true},
        Case{"664200", "[]", 2, true}, Case{"664200", "{}", 2, true}}) {
    ConnectedDevice connected(refusing(refused));
    auto target =
        parsed(R"({"SilhouetteTargetNumber":2,"NumberOfPrisms":1,"SilhouetteTarget":)" + std::string(bitmap) + "}");
    EXPECT_EQ(connected.device.uploadSilhouetteTarget(target), accepted) << refused;
    EXPECT_THAT(connected.far.sent("66"), SizeIs(frames)) << refused;
    EXPECT_THAT(storedTargets(connected.device), ElementsAre(target.toString()));
    EXPECT_EQ(connected.targetsInUse(), "FF0201");
  }
}

TEST(SilhouetteDownload, BringsSlotZeroBackWhole) {
  ConnectedDevice connected;
  auto target = example("silhouette-torso.json");
  ASSERT_TRUE(connected.device.uploadSilhouetteTarget(target));
  connected.device.clearTargetData();
  ConnectedDevice::texts().clear();
  // The second time, all but the settings comes anew.
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(connected.device.downloadSilhouetteTarget(0));
    const auto targets = connected.device.getAllTargets();
    ASSERT_THAT(targets, SizeIs(1));
    EXPECT_TRUE(targets[0].toString().starts_with(
        R"({"SilhouetteTargetNumber":0,"NominalShootingDistanceUnit":"Meters","RingGapUnitType":"Millimeters",)"
        R"("NominalDistance":50,"TargetWidth":500,"TargetHeight":500,"PrismPlaceX":0,"PrismPlaceY":0,)"
        R"("TargetName":"torso","SilhouetteTarget":[[0,)"));
    EXPECT_TRUE(targets[0].toString().ends_with(R"(]],"TargetType":"SILHOUETTE"})"));
    EXPECT_TRUE(targets[0].getDocument()["SilhouetteTarget"] == target.getDocument()["SilhouetteTarget"]);
  }
  const auto sent = connected.far.sent("67");
  ASSERT_THAT(sent, SizeIs(2 * 66));
  EXPECT_EQ(sent[0], "67000067");
  EXPECT_EQ(sent[1], "67000168");
  EXPECT_EQ(sent[2], "674000A7");
  EXPECT_EQ(sent[65], "67403FE6");
  EXPECT_EQ(ConnectedDevice::texts().size(), 12U);
  EXPECT_EQ(ConnectedDevice::texts()[1], "process silhouette control byte 1 - meters - distance:");
  EXPECT_EQ(ConnectedDevice::texts()[5], "SIL - REQUEST CHUNK 3 - bitmap");
}

TEST(SilhouetteDownload, ReadsEveryReplyOfAnotherSlotAsARow) {
  ConnectedDevice connected;
  auto target = example("silhouette-torso.json");
  setInteger(target, "SilhouetteTargetNumber", 3);
  ASSERT_TRUE(connected.device.uploadSilhouetteTarget(target));
  connected.device.clearTargetData();
  ASSERT_TRUE(connected.device.downloadSilhouetteTarget(3));
  const auto targets = connected.device.getAllTargets();
  ASSERT_THAT(targets, SizeIs(3));  // under 0 the rows, under 3 the type, under 61 settings and name as two rows
  EXPECT_TRUE(targets[0].getDocument()["SilhouetteTarget"] == target.getDocument()["SilhouetteTarget"]);
  EXPECT_EQ(targets[0].getDocument().MemberCount(), 1U);
  EXPECT_EQ(targets[1].toString(), R"({"TargetType":"SILHOUETTE"})");
  const auto rows = targets[2].getDocument()["SilhouetteTarget"].GetArray();
  ASSERT_EQ(rows.Size(), 2U);
  EXPECT_EQ(rows[0].Size(), 64U);
  EXPECT_EQ(rows[0][7].GetInt(), 1);  // byte 4 of the settings
  EXPECT_EQ(rows[1][0].GetInt(), 1);  // 't' is 1310 in base four
  EXPECT_EQ(rows[1][1].GetInt(), 3);
}

}  // namespace
}  // namespace BX::test
