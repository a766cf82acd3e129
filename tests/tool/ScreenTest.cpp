// What the tool says about failures, progress and hits.
#include <gmock/gmock.h>

#include "tools/bx/Connection.h"
#include "tools/bx/DemoScreen.h"
#include "tools/bx/Documents.h"
#include "tools/bx/Progress.h"

namespace BX::tool {
namespace {

TEST(Failures, NameThePortTheStepAndTheReason) {
  EXPECT_EQ(connectFailure("/dev/p", {}), "/dev/p: connect: failed");
  // /dev/tty belongs to the group tty everywhere.
  EXPECT_THAT(connectFailure("/dev/tty", {link::FailureKind::NotPermitted, {}, "permission denied"}),
              ::testing::StartsWith("/dev/tty: open: permission denied: join the group "));
}

TEST(Failures, TellWhatARefusedRequestAskedFor) {
  const auto refused = [](std::vector<std::uint8_t> request) {
    return explain({link::FailureKind::Refused, std::move(request), "refused"});
  };
  EXPECT_EQ(refused({0x6D, 31, 0, 0x8C}), "ring target 31: refused (request 6D 1F 00 8C)");
  EXPECT_EQ(refused({0x67, 5, 0, 0x6C}), "silhouette target 5: refused (request 67 05 00 6C)");
  EXPECT_EQ(refused({0x67, 0x40, 5, 0xAC, 1}), "refused (request 67 40 05 AC ...)");
  EXPECT_EQ(refused({0x62, 3, 10, 0x6F}), "page 10 of block 3: refused (request 62 03 0A 6F)");
  EXPECT_EQ(refused({0x62, 3, 0xFF, 0x64}), "block 3: refused (request 62 03 FF 64)");
}

TEST(Progress, BarFillsAndStopsAtTheEnd) {
  EXPECT_EQ(progressBar(1, 4), "[##########..............................] 1 of 4 pages");
  EXPECT_EQ(progressBar(5, 4), '[' + std::string(40, '#') + "] 4 of 4 pages");
  EXPECT_EQ(progressBar(0, 0), '[' + std::string(40, '#') + "] 0 of 0 pages");
}

TEST(Screen, DrawsHitsAroundTheCentre) {
  const auto shot = [](const std::string& members) { return parseDocument("{" + members + "}", "test"); };
  const auto rows = drawHits({shot(R"("ShotNumber": 1, "PositionX": -50, "PositionY": 50)"),
                              shot(R"("ShotNumber": 12, "PositionX": 50, "PositionY": -50)"),
                              shot(R"("ShotNumber": 3, "PositionX": 0, "PositionY": 0)")});
  ASSERT_THAT(rows, ::testing::SizeIs(11));
  EXPECT_EQ(rows[0], "1         |          ");
  EXPECT_EQ(rows[5], "----------3----------");
  EXPECT_EQ(rows[10], "          |         2");
}

TEST(Screen, ComparesRecordsButForTheAimingTime) {
  const auto records = [](const std::string& text) { return std::vector<Json>{parseDocument(text, "test")}; };
  EXPECT_TRUE(areSameRecords(records(R"({"a":1,"aimingTime":2.5})"), records(R"({"a":1,"aimingTime":0.1})")));
  EXPECT_FALSE(areSameRecords(records(R"({"a":1})"), records(R"({"a":2})")));
  EXPECT_FALSE(areSameRecords(records(R"({"a":1})"), {}));
}

TEST(Screen, MakesValidUtf8OfWhateverADeviceHolds) {
  EXPECT_EQ(validUtf8("Z\xC3\xBCrich"), "Z\xC3\xBCrich");
  EXPECT_EQ(validUtf8("\"cut \xC3\"}"), "\"cut \xEF\xBF\xBD\"}");
  EXPECT_EQ(validUtf8(std::string("\0\xFF", 2)), std::string("\0\xEF\xBF\xBD", 4));
}

}  // namespace
}  // namespace BX::tool
