#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "download/StoredResultsWire.h"
#include "tests/targets/ConnectedDevice.h"

namespace BX::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// A shot without faults and its targets; a measurement with 30 m measured.
sim::Bytes shot(std::uint8_t number, std::uint8_t ring, std::uint8_t silhouette) {
  sim::Bytes frame(30, 0);
  frame[0] = 0xCA;
  frame[1] = 0x6A;
  frame[2] = number;
  frame[14] = ring;
  frame[15] = silhouette;
  return frame;
}
const sim::Bytes measurement = fromHex("CA65 0000 0000 0000 0000 0000 0000 012C 00");

sim::Options storing(std::vector<sim::StoredRecord> records) {
  sim::Options options;
  options.stored = std::move(records);
  return options;
}

// Each record as its shot number, or "-" for a measurement.
std::string sequence(BXDevice& device) {
  std::string numbers;
  for (const auto& record : device.getTrainingFrames()) {
    const auto& members = record.getDocument();
    numbers += members.HasMember("ShotNumber") ? std::to_string(members["ShotNumber"].GetInt()) : "-";
  }
  return numbers;
}

TEST(PageTable, NumbersBlocksByTheirPlace) {
  std::vector<sim::Bytes> pages;
  const auto reply = fromHex("59 63 20 EE 01 EE 02 EE 03 EE 04 EE 05 EE FF");
  ASSERT_TRUE(download::isWholePageTable(reply));
  download::appendPages(reply, pages);
  EXPECT_THAT(pages, ElementsAre(sim::Bytes{0, 1}, sim::Bytes{1, 2}, sim::Bytes{2, 3}, sim::Bytes{3, 4},
                                 sim::Bytes{4, 5}, sim::Bytes{5, 255}));
  EXPECT_FALSE(download::isWholePageTable(std::span(reply).first(14)));
  EXPECT_FALSE(download::isWholePageTable(fromHex("59 63 21 EE 01 EE 02 EE 03 EE 04 EE 05 EE FF")));
  EXPECT_FALSE(download::isWholePageTable({}));
}

TEST(StoredSession, ComesInOrderWithEachTargetItNamesOnce) {
  ConnectedDevice connected(storing({{0, 0, shot(1, 1, 255)},
                                     {0, 1, measurement},
                                     {0, 1, shot(2, 1, 0)},
                                     {0, 1, fromHex("CA6A0102")},
                                     {3, 0, shot(3, 255, 0)},
                                     {5, 0, measurement}}));
  auto ring = example("ring-25m-precision-pistol.json");
  auto silhouette = example("silhouette-torso.json");
  ASSERT_TRUE(connected.device.uploadRingTarget(ring));
  ASSERT_TRUE(connected.device.uploadSilhouetteTarget(silhouette));
  ConnectedDevice::texts().clear();

  connected.device.sendDownloadFrame();
  EXPECT_EQ(sequence(connected.device), "1-23-");
  EXPECT_FALSE(connected.device.isDownloading());
  EXPECT_THAT(connected.far.sent("6320"), SizeIs(1));
  EXPECT_THAT(connected.far.sent("62"), ElementsAre("62000062", "62000163", "62030065", "62050067"));
  EXPECT_THAT(connected.far.sent("6D"), SizeIs(4));
  EXPECT_THAT(connected.far.sent("67"), SizeIs(66));
  EXPECT_THAT(connected.device.getAllTargets(), SizeIs(2));
  EXPECT_EQ(connected.targetsInUse(), "FF0001");  // what the last decoded shot named

  const auto& texts = ConnectedDevice::texts();
  EXPECT_EQ(texts[0], "SENDDLFRAME: ");
  EXPECT_EQ(texts[1], "SENDDLFRAME: devuce info stored results");
  EXPECT_EQ(texts[2], "SENDDLFRAME: page results");
  for (const auto* text : {"SENDDLFRAME: download accepted", "RING FOUND!", "SIL FOUND!", "COMPLETED FRAMES!!!"}) {
    EXPECT_EQ(std::count(texts.begin(), texts.end(), text), 1) << text;
  }
  EXPECT_EQ(std::count(texts.begin(), texts.end(), "SHOT"), 3);
}

TEST(StoredSession, DecodesWithTheDistanceInUseAndStillAsADownload) {
  ConnectedDevice connected(storing({{0, 0, measurement}, {0, 0, shot(1, 255, 255)}}));
  // No target in use: outside a download the measured 30 m would count.
  connected.device.sendDownloadFrame();
  EXPECT_EQ(connected.device.getTrainingFrames().at(0).getDocument()["Distance"].GetInt(), 0);
  // What a refused upload has left is in use, too.
  auto target = parsed(R"({"RingTargetNumber":512,"NominalShootingDistanceUnit":"yards","NominalDistance":100})");
  connected.device.getSerialCom().setDeviceMode(BXSerialCom::RESTING, false);
  ASSERT_FALSE(connected.device.uploadRingTarget(target));
  connected.device.getSerialCom().setDeviceMode(BXSerialCom::TRANSFER, false);
  connected.device.sendDownloadFrame();
  EXPECT_DOUBLE_EQ(connected.device.getTrainingFrames().at(1).getDocument()["Distance"].GetDouble(), 90.69);
}

TEST(StoredSession, IsEmptyWithoutPagesOrWithoutAPageTable) {
  for (const auto* pageTable : {"59632000000000000000000000000000", "5963210001000100010001000100", "596320"}) {
    sim::Options options;
    options.script = {{fromHex("6320"), fromHex(pageTable)}};
    ConnectedDevice connected(options);
    connected.device.sendDownloadFrame();
    EXPECT_THAT(connected.far.sent("62"), IsEmpty()) << pageTable;
    EXPECT_EQ(sequence(connected.device), "");
    EXPECT_TRUE(ConnectedDevice::logged("SENDDLFRAME: download accepted"));
    EXPECT_EQ(ConnectedDevice::texts().back(), "COMPLETED FRAMES!!!");
  }
}

TEST(StoredSession, FailsWithoutRecords) {
  struct Case {
    const char* refused;
    const char* lastText;
    std::size_t pages;
  };
  for (const auto& [refused, lastText, pages] :
       {Case{"6320", "SENDDLFRAME: devuce info stored results", 0}, Case{"620001", "AWK - ZOMBIE", 2},
        Case{"6D0483", "Failed to download Ring", 3}, Case{"67403F", "Failed to download Silhouette", 3}}) {
    auto options = refusing(refused);
    options.stored = {{0, 0, shot(1, 4, 0)}, {0, 1, shot(2, 4, 0)}, {0, 2, measurement}};
    ConnectedDevice connected(options);
    auto ring = parsed(R"({"RingTargetNumber":4})");
    auto silhouette = parsed(R"({"SilhouetteTargetNumber":0})");
    ASSERT_TRUE(connected.device.uploadRingTarget(ring));
    ASSERT_TRUE(connected.device.uploadSilhouetteTarget(silhouette));
    for (int i = 0; i < 2; ++i) {  // nothing of the first attempt is left in the second
      connected.device.sendDownloadFrame();
      EXPECT_EQ(ConnectedDevice::texts().back(), lastText);
      EXPECT_EQ(sequence(connected.device), "");
      EXPECT_FALSE(connected.device.isDownloading());
    }
    EXPECT_THAT(connected.far.sent("62"), SizeIs(2 * pages)) << refused;
  }
}

TEST(StoredSession, FailsForATargetThatTheDeviceLacks) {
  ConnectedDevice connected(storing({{0, 0, shot(1, 9, 255)}}));
  connected.device.sendDownloadFrame();
  EXPECT_EQ(ConnectedDevice::texts().back(), "Failed to download Ring");
  EXPECT_TRUE(connected.device.hasError());
  EXPECT_EQ(connected.targetsInUse(), "09FF00");
}

TEST(StoredSession, IsClearedInSevenBlocks) {
  ConnectedDevice connected(storing({{0, 0, shot(1, 255, 255)}, {5, 0, measurement}}));
  connected.device.sendDownloadFrame();
  EXPECT_EQ(sequence(connected.device), "1-");
  ConnectedDevice::texts().clear();
  ASSERT_TRUE(connected.device.clearTrainingDataOnDevice());
  EXPECT_EQ(sequence(connected.device), "");
  const auto sent = connected.far.sent("62");
  ASSERT_THAT(sent, SizeIs(2 + 7));
  for (std::size_t block = 0; block < 7; ++block) {
    EXPECT_TRUE(sent[2 + block].starts_with("620" + std::to_string(block) + "FF")) << sent[2 + block];
  }
  EXPECT_EQ(ConnectedDevice::texts().front(), "Clear Training DAta");
  EXPECT_EQ(ConnectedDevice::texts()[2], "CLEAR: Start Page Results");
  EXPECT_EQ(ConnectedDevice::texts().back(), "CLEAR: WAITING ON PAGE RESULTS");
  connected.device.sendDownloadFrame();
  EXPECT_THAT(connected.far.sent("62"), SizeIs(2 + 7));
}

TEST(StoredSession, IsClearedUpToTheFirstRefusal) {
  ConnectedDevice connected(refusing("6203FF"));
  EXPECT_FALSE(connected.device.clearTrainingDataOnDevice());
  EXPECT_THAT(connected.far.sent("62"), ElementsAre("6200FF61", "6201FF62", "6202FF63", "6203FF64"));
}

}  // namespace
}  // namespace BX::test
