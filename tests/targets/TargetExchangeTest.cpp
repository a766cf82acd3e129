// Targets up to a device and down again: what is kept on either side, and what a refusal leaves.
#include <regex>

#include "morva/KeyedAccess.h"
#include "tests/targets/TargetTesting.h"

namespace BX::test {
namespace {

TEST(Upload, EndsAtTheFirstRefusalAndStaysInTheDeviceObject) {
  // What is refused, the bitmap, and the frames that are sent, of 4 or of 2 and the rows.
  for (const auto& row : rowsOf(sourceText("tests/targets/uploads.txt"))) {
    SCOPED_TRACE(row[0] + row[1]);
    const auto letter = row[0].substr(0, 2);
    const bool isRing = letter == "6C";
    const bool accepted = row[2].size() > 1;
    Transfer transfer(refusing(row[0]));
    const auto target =
        documentOf("RingTargetNumber SilhouetteTargetNumber NumberOfPrisms SilhouetteTarget", "2 2 1 " + row[1]);
    EXPECT_EQ(isRing ? transfer.uploadRing(target) : transfer.uploadSilhouette(target), accepted);
    EXPECT_NE(transfer.device.hasError(), accepted);
    EXPECT_THAT(transfer.sent(letter), SizeIs(std::stoul(row[2])));
    EXPECT_EQ(transfer.device.silhouetteProgress().exchangesDone, isRing ? 0 : std::stoul(row[2]) - !accepted);
    EXPECT_THAT(transfer.targets(), ElementsAre(target.toString()));
    EXPECT_EQ(transfer.targetsInUse(), isRing ? "02FF01" : "FF0201");
  }
}

TEST(TargetStore, ListsRingsThenSilhouettesByNumberAndForgetsAll) {
  Transfer transfer;
  const std::string silhouette = R"({"SilhouetteTargetNumber":1,"NumberOfPrisms":4})";
  const std::string replaced = R"({"RingTargetNumber":3,"TargetName":"one"})";
  const std::string third = R"({"RingTargetNumber":3,"NumberOfPrisms":0})";
  const std::string seventh = R"({"RingTargetNumber":7,"NumberOfPrisms":2})";
  ASSERT_TRUE(transfer.uploadSilhouette(parsed(silhouette)));
  for (const auto& ring : {replaced, third, seventh}) ASSERT_TRUE(transfer.uploadRing(parsed(ring)));
  EXPECT_THAT(transfer.targets(), ElementsAre(third, seventh, silhouette));
  EXPECT_EQ(transfer.targetsInUse(), "070102");
  transfer.device.clearTargetData();
  EXPECT_THAT(transfer.targets(), IsEmpty());
  EXPECT_EQ(transfer.targetsInUse(), "FFFF02");
}

TEST(RingDownload, KeepsTheHeaderOfATargetThatIsThereAndScalesByItsUnit) {
  Transfer transfer(withScript({scripted("6D0700", "596D0700 F1 02 07D0 00DC 0A 05 5A 48 48 0000 0000")}));
  const std::string header = R"({"RingTargetNumber":7,"NominalDistance":25,"RingGapUnitType":"mm","TargetWidth":170)";
  ASSERT_TRUE(transfer.uploadRing(parsed(header + R"(,"DiameterX":12,"TargetName":"ten or more"})")));
  ASSERT_TRUE(transfer.device.downloadRingTarget(7));
  ASSERT_THAT(transfer.targets(),
              ElementsAre(testing::AllOf(StartsWith(header), HasSubstr(R"("DiameterX":12)"),
                                         HasSubstr(R"("DiameterHighestRing":6552)"),
                                         HasSubstr(R"("TargetName":"ten or mor","TargetType":"RING"})"))));
}

TEST(RingDownload, DropsWhatItCannotReadAndScalesDiametersWithoutAUnitAsInches) {
  Transfer transfer(withScript({scripted("6D0700", "596D0700 F1 02 07D0 00DC 0A 05 5A 48 48 0000 00"),
                                scripted("6D0701", "596D0801 0064 0064 0064 0064 0064 0064 0064 0064"),
                                scripted("6D0702", "596D0742"), scripted("6D0783", "596D")}));
  ASSERT_TRUE(transfer.device.downloadRingTarget(7));
  EXPECT_THAT(transfer.targets(), ElementsAre(R"({"TargetType":"RING"})", StartsWith(R"({"DiameterInnerWhite":1,)")));
}

TEST(RingDownload, EndsAtTheFirstRefusalAndKeepsWhatCame) {
  Transfer transfer(refusing("6D0301"));
  ASSERT_TRUE(transfer.uploadRing(example("ring-600yd-rifle.json")));
  transfer.device.clearTargetData();
  EXPECT_FALSE(transfer.device.downloadRingTarget(3));
  EXPECT_FALSE(transfer.device.isDownloading());
  EXPECT_THAT(transfer.sent("6D"), SizeIs(2));
  EXPECT_THAT(transfer.targets(), ElementsAre(testing::EndsWith(R"("PrismPlaceY":0})")));
}

TEST(SilhouetteDownload, BringsWhatWentUpToSlotZeroBackWhole) {
  Transfer transfer;
  const auto target = example("silhouette-torso.json");
  ASSERT_TRUE(transfer.uploadSilhouette(target));
  EXPECT_EQ(transfer.targetsInUse(), "FF0001");
  transfer.device.clearTargetData();
  // The second time, all but the settings comes anew.
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(transfer.device.downloadSilhouetteTarget(0));
    EXPECT_EQ(transfer.device.silhouetteProgress().exchanges, 66U);
    EXPECT_THAT(
        transfer.targets(),
        ElementsAre(
            R"({"SilhouetteTargetNumber":0,"NominalShootingDistanceUnit":"Meters","RingGapUnitType":"Millimeters",)"
            R"("NominalDistance":50,"TargetWidth":500,"TargetHeight":500,"PrismPlaceX":0,"PrismPlaceY":0,)"
            R"("TargetName":"torso","SilhouetteTarget":)" +
            getDocument(target, "SilhouetteTarget").toString() + R"(,"TargetType":"SILHOUETTE"})"));
  }
  const auto up = transfer.sent("66");
  ASSERT_THAT(up, SizeIs(66));
  EXPECT_EQ(up[40], "6640260000015556AABFFFFFFEAA9555400000B1");
  EXPECT_EQ(up[65], "6640BF0000000555555555555555555000000062");
  const auto down = transfer.sent("67");
  ASSERT_THAT(down, SizeIs(2 * 66));
  EXPECT_EQ(down[0] + down[1] + down[2] + down[65], "6700006767000168674000A767403FE6");
}

TEST(SilhouetteDownload, ReadsEveryReplyOfAnotherSlotAsARow) {
  Transfer transfer;
  auto target = example("silhouette-torso.json");
  setInteger(target, "SilhouetteTargetNumber", 3);
  ASSERT_TRUE(transfer.uploadSilhouette(target));
  transfer.device.clearTargetData();
  ASSERT_TRUE(transfer.device.downloadSilhouetteTarget(3));
  // Under 0 the rows, under 3 the type, under 61 settings and name as two rows: byte 4 of the settings is 1, and 't' is
  // 1310 in base four.
  EXPECT_THAT(
      transfer.targets(),
      ElementsAre(R"({"SilhouetteTarget":)" + getDocument(target, "SilhouetteTarget").toString() + "}",
                  R"({"TargetType":"SILHOUETTE"})",
                  testing::AllOf(StartsWith(R"({"SilhouetteTarget":[[0,0,0,0,0,0,0,1,)"), HasSubstr("],[1,3,1,0,"))));
}

using Names = std::vector<std::string>;

// ---- What docs/ says about documents and payloads, held against the code.

// The first group of every match.
Names matches(const std::string& text, const std::string& pattern) {
  const std::regex expression(pattern);
  Names names;
  for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match) {
    names.push_back((*match)[1]);
  }
  return names;
}

TEST(Documents, NameEveryKeyOfTheCode) {
  const auto page = sourceText("docs/documents.md");
  const auto keys = matches(sourceText("include/bx/DocumentKeys.h"), "constexpr auto \\w+ = \"(\\w+)\"");
  EXPECT_GE(keys.size(), 60U);
  for (const auto& key : keys) EXPECT_NE(page.find('`' + key), std::string::npos) << key;
}

TEST(Payloads, OfTheRingExampleAreAsDocumented) {
  const auto block = matches(sourceText("docs/wire.md"), "\n([<>] [0-9A-F]+)");
  Transfer transfer;
  ASSERT_TRUE(transfer.uploadRing(example("ring-25m-precision-pistol.json")));
  ASSERT_TRUE(transfer.device.downloadRingTarget(1));
  ASSERT_TRUE(transfer.simulator.awaitTranscript(block.back(), 1));
  const auto transcript = transfer.simulator.transcript();
  ASSERT_GE(transcript.size(), block.size());
  EXPECT_EQ(Names(transcript.end() - static_cast<std::ptrdiff_t>(block.size()), transcript.end()), block);
}

}  // namespace
}  // namespace BX::test
