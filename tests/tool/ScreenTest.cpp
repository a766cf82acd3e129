// What the tool says about failures, progress and hits.
#include <gmock/gmock.h>

#include "tools/bx/Connection.h"
#include "tools/bx/DemoScreen.h"
#include "tools/bx/Documents.h"
#include "tools/bx/PortLookup.h"
#include "tools/bx/Ports.h"

namespace BX::tool {
namespace {

TEST(Failures, NameThePortTheStepAndTheReason) {
  EXPECT_EQ(connectFailure("/dev/p", {}), "/dev/p: connect: failed");
  // /dev/null belongs to root.
  EXPECT_EQ(connectFailure("/dev/null", {link::FailureKind::NotPermitted, {}, "denied"}), "/dev/null: open: denied");
}

TEST(Failures, AdviseToJoinAGroupOnlyWhereThatHelps) {
  const auto advice = [](bool groupMay, const char* group = "dialout", unsigned id = 20, bool isIn = false) {
    return accessAdvice({"ann", group, id, groupMay, isIn, false});
  };
  EXPECT_EQ(advice(true), ": join the group dialout (sudo adduser ann dialout, then log in again)");
  for (const auto& useless :
       {advice(false), advice(true, ""), advice(true, "root", 0), advice(true, "dialout", 20, true)}) {
    EXPECT_EQ(useless, "");
  }
  EXPECT_EQ(accessAdvice({"ann", "tty", 5, true, false, true}), ": log in again, for the group tty to be in force");
}

TEST(Ports, AreATableWithTheirStableNamesAndHolders) {
  std::vector<Json> ports;
  for (const char* port : {R"({"port": "/dev/ttyS0", "description": "ttyS0", "transport": "native", "inUse": false})",
                           R"({"port": "/dev/ttyUSB0", "stableName": "/dev/serial/by-id/usb-A\u001B", "product": "UART",
                               "serialNumber": "A5", "inUse": true, "heldBy": "b\u001B", "heldByProcess": 47})",
                           R"({"port": "/dev/ttyUSB1", "description": "Gadget"})"}) {
    ports.push_back(parseDocument(port, "test"));
  }
  EXPECT_THAT(portsTable(ports), ::testing::ElementsAre("PORT          HELD BY       ADAPTER",  //
                                                        "/dev/ttyS0    nobody        built in",
                                                        "/dev/ttyUSB0  b\\u001B (47)  UART, serial number A5",
                                                        "  stable name /dev/serial/by-id/usb-A\x1B",
                                                        "/dev/ttyUSB1  not known     Gadget"));
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
