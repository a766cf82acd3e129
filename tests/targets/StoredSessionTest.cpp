// Sessions that a device has stored: read, with the targets that they name, and cleared.
#include "tests/targets/TargetTesting.h"

namespace BX::test {
namespace {

// A shot without faults and its targets; a measurement with 30 m measured.
sim::Bytes shot(std::uint8_t number, std::uint8_t ring, std::uint8_t silhouette) {
  sim::Bytes frame = bytesOf("CA6A" + std::string(2 * 28, '0'));
  frame[2] = number;
  frame[14] = ring;
  frame[15] = silhouette;
  return frame;
}
const sim::Bytes measurement = bytesOf("CA65 0000 0000 0000 0000 0000 0000 012C 00");

sim::Options storing(std::vector<sim::StoredRecord> records, sim::Options options = {}) {
  options.stored = std::move(records);
  return options;
}

struct StoredSession : Transfer {
  using Transfer::Transfer;

  // Each record of a download as its shot number, or "-" for a measurement.
  std::string download() {
    device.sendDownloadFrame();
    EXPECT_FALSE(device.isDownloading());
    std::string numbers;
    for (const auto& record : device.getTrainingFrames()) {
      const auto& members = record.getDocument();
      numbers += members.HasMember("ShotNumber") ? std::to_string(members["ShotNumber"].GetInt()) : "-";
    }
    return numbers;
  }
};

TEST(StoredSession, ComesInOrderWithEachTargetItNamesOnce) {
  StoredSession session(storing({{0, 0, shot(1, 1, 255)},
                                 {0, 1, measurement},
                                 {0, 1, shot(2, 1, 0)},
                                 {0, 1, bytesOf("CA6A0102")},
                                 {3, 0, shot(3, 255, 0)},
                                 {5, 0, measurement}}));
  ASSERT_TRUE(session.uploadRing(example("ring-25m-precision-pistol.json")));
  ASSERT_TRUE(session.uploadSilhouette(example("silhouette-torso.json")));
  EXPECT_EQ(session.download(), "1-23-");
  EXPECT_THAT(session.sent("6320"), SizeIs(1));
  EXPECT_THAT(session.sent("62"), ElementsAre("62000062", "62000163", "62030065", "62050067"));
  EXPECT_THAT(session.sent("6D"), SizeIs(4));
  EXPECT_THAT(session.sent("67"), SizeIs(66));
  EXPECT_THAT(session.targets(), SizeIs(2));
  EXPECT_EQ(session.targetsInUse(), "FF0001");  // what the last decoded shot named
}

TEST(StoredSession, DecodesWithTheDistanceInUseAndStillAsADownload) {
  StoredSession session(storing({{0, 0, measurement}, {0, 0, shot(1, 255, 255)}}));
  const auto distance = [&](std::size_t record) {
    EXPECT_EQ(session.download(), "-1");
    return session.device.getTrainingFrames().at(record).getDocument()["Distance"].GetDouble();
  };
  EXPECT_EQ(distance(0), 0);  // no target in use: outside a download the measured 30 m would count
  // What a refused upload has left is in use, too.
  session.enter(BXSerialCom::RESTING);
  ASSERT_FALSE(session.uploadRing(
      parsed(R"({"RingTargetNumber":512,"NominalShootingDistanceUnit":"yards","NominalDistance":100})")));
  session.enter(BXSerialCom::TRANSFER);
  EXPECT_DOUBLE_EQ(distance(1), 90.69);
}

TEST(StoredSession, IsEmptyWithoutPagesOrWithoutAPageTable) {
  for (const auto* pageTable : {"59632000000000000000000000000000", "5963210001000100010001000100", "596320"}) {
    StoredSession session(withScript({scripted("6320", pageTable)}));
    EXPECT_EQ(session.download(), "");
    EXPECT_THAT(session.sent("62"), IsEmpty()) << pageTable;
    EXPECT_FALSE(session.device.hasError());
  }
}

TEST(StoredSession, FailsWithoutRecords) {
  const std::pair<const char*, std::size_t> table[] = {{"6320", 0}, {"620001", 2}, {"6D0483", 3}, {"67403F", 3}};
  for (const auto& [refused, pages] : table) {
    StoredSession session(
        storing({{0, 0, shot(1, 4, 0)}, {0, 1, shot(2, 4, 0)}, {0, 2, measurement}}, refusing(refused)));
    ASSERT_TRUE(session.uploadRing(parsed(R"({"RingTargetNumber":4})")));
    ASSERT_TRUE(session.uploadSilhouette(parsed(R"({"SilhouetteTargetNumber":0})")));
    for (int i = 0; i < 2; ++i) {  // nothing of the first attempt is left in the second
      EXPECT_EQ(session.download(), "");
      EXPECT_TRUE(session.device.hasError());
    }
    EXPECT_THAT(session.sent("62"), SizeIs(2 * pages)) << refused;
  }
}

TEST(StoredSession, IsClearedInSevenBlocksUpToTheFirstRefusal) {
  for (const auto& [refused, sent] : {std::pair("6207", 7U), std::pair("6203FF", 4U)}) {
    StoredSession session(storing({{0, 0, shot(1, 4, 255)}}, refusing(refused)));
    ASSERT_TRUE(session.uploadRing(parsed(R"({"RingTargetNumber":4})")));
    EXPECT_EQ(session.download(), "1");
    EXPECT_EQ(session.device.clearTrainingDataOnDevice(), sent == 7);
    EXPECT_THAT(session.device.getTrainingFrames(), IsEmpty());
    EXPECT_EQ(session.download(), "");
    EXPECT_THAT(session.sent("62"), SizeIs(1 + sent));
    EXPECT_EQ(session.sent("62").back(), sent == 7 ? "6206FF67" : "6203FF64");
    EXPECT_THAT(session.sent("6D"), SizeIs(4));  // for the first download alone
  }
}

}  // namespace
}  // namespace BX::test
