// The link's exchanges, its opening and closing, against the simulated device.
#include "bx/BXDevice.h"
#include "bx/Waiting.h"
#include "platform/serial/PendingExchange.h"
#include "tests/link/LinkFixture.h"

namespace BX {
namespace {

using namespace std::chrono_literals;
using test::await, test::bytesOf, test::Event, test::hexOf, testing::ElementsAre, testing::HasSubstr, testing::IsEmpty,
    testing::SizeIs, testing::StartsWith;

TEST_F(LinkTest, buildsItsOwnRequests) {
  start();
  com->setCallBackFunction(keep);
  EXPECT_EQ(link::statistics(device->port).framesSent, 0U) << "opening exchanges nothing";
  EXPECT_TRUE(com->sendStartupCommand());
  EXPECT_TRUE(com->setDeviceMode(BXSerialCom::INFORMATION, false));
  EXPECT_TRUE(com->sendDeviceInfoCommand(BXSerialCom::DEVICE_INFO_STORED_RESULTS, {}));
  EXPECT_TRUE(com->getParameterSetFrame(0xB8));
  EXPECT_TRUE(com->poll());
  EXPECT_THAT(device->sent(), ElementsAre("7373", "6F0271", "632083", "65B81D", "7070"));
  EXPECT_THAT(received, ElementsAre(StartsWith("596320"), StartsWith("5965B8"), "5970"));
  EXPECT_FALSE(com->getError());
  std::vector<unsigned char> bytes{9};
  com->intToByteArray(bytes, -2);
  EXPECT_EQ(hexOf(bytes), "FEFFFFFF");
}

TEST_F(LinkTest, tellsWhyAnExchangeFails) {
  sim::Options options;
  options.script = {{bytesOf("6B"), bytesOf("5941")}, {bytesOf("6302"), bytesOf("630265")}};
  start(options);
  com->setCallBackFunction(keep);
  EXPECT_FALSE(com->setDeviceMode(BXSerialCom::DeviceMode(77), false));
  EXPECT_EQ(reason(), "refused by the device (request 6F 4D BC)");
  EXPECT_TRUE(com->getError());
  auto unknown = bytesOf("6B6B");
  EXPECT_FALSE(com->sendBytesAckReturn(unknown, 0x6B, keep, false));
  EXPECT_THAT(reason(), HasSubstr("unexpected answer 59 41"));
  EXPECT_FALSE(com->sendDeviceInfoCommand(BXSerialCom::DEVICE_INFO_ID, {})) << "a line that echoes";
  EXPECT_FALSE(com->sendDeviceInfoCommand("no such item", {}));
  EXPECT_THAT(reason(), HasSubstr("no such item"));
  EXPECT_THAT(received, IsEmpty());
  com->setCallBackFunction([] { throw std::out_of_range("too short"); });
  EXPECT_FALSE(com->poll());
  EXPECT_THAT(reason(), HasSubstr("too short"));
  com->setCallBackFunction({});
  EXPECT_TRUE(com->poll());
  com->closePort();
  EXPECT_FALSE(com->poll());
  EXPECT_EQ(reason(), "the port is not open");
}

TEST_F(LinkTest, boundsTheWaitForAnAnswerAndNeverTakesALateOne) {
  link::setOptions({.resend = 400ms, .reply = 50ms});
  start();
  com->setCallBackFunction(keep);
  // On a loaded machine the short time-out may strike anywhere; what must not happen is a wrong answer.
  await([this] { return com->poll(); });
  received.clear();
  device->hostsLine.hold();
  EXPECT_FALSE(com->getParameterSetFrame(1));
  EXPECT_EQ(reason(), "no answer within 0.0 s");
  device->hostsLine.release();
  await([this] { return com->getParameterSetFrame(2); });
  EXPECT_THAT(received, ElementsAre(StartsWith("596502")));
}

// The whole answer takes longer than the wait for it, each of its frames much less.
TEST_F(LinkTest, waitsAsLongAsFramesOfTheAnswerCome) {
  link::setOptions({.reply = 300ms});
  sim::Options options;
  options.baud = 38400;
  options.script = {{bytesOf("65"), sim::Bytes(2000, 0x59)}};
  start(options);
  await([this] { return com->getParameterSetFrame(1); });  // a loaded machine may hold up a frame as well
}

TEST(Tags, AreNotGivenAgainWhileTheirAnswerMayStillCome) {
  link::Tags tags;
  while (!tags.areAllTaken()) tags.take();
  tags.giveBack(5);
  EXPECT_FALSE(tags.areAllTaken());
  EXPECT_EQ(tags.take(), 5);
}

TEST_F(LinkTest, deliversAStoredPageWholeOrNotAtAll) {
  startStoring(30);
  for (int i = 0; i < 70; ++i) ASSERT_TRUE(com->poll());  // more than there are tags, in one session
  ASSERT_TRUE(downloadPage(keep));
  // The line is cut in the middle of a later page.
  std::thread cutter([this] {
    device->simulator.awaitTranscript("< ", 71 + 31 + 5);
    device->hostsLine.hangUp();
  });
  do {
    EXPECT_THAT(received, SizeIs(31));
    EXPECT_EQ(received.back(), "5962");
    received.clear();
  } while (downloadPage(keep));
  cutter.join();
  EXPECT_THAT(received, IsEmpty());
  EXPECT_FALSE(com->isConnected());
}

TEST_F(LinkTest, beginsASessionByItselfWhenAnIdleDeviceHasLostIts) {
  startStoring(1);
  const auto loseSession = [this] {
    device->simulator.setFaults({sim::parseFaultRule("to-device:ack:1:restart")});
    ASSERT_TRUE(com->poll());
    await([this] { return device->simulator.faultsWaiting() == 0; });
  };
  loseSession();
  EXPECT_TRUE(com->poll());
  EXPECT_TRUE(com->setDeviceMode(BXSerialCom::TRANSFER, false));
  loseSession();
  EXPECT_FALSE(downloadPage(keep)) << "the device rests since then";
  EXPECT_EQ(link::lastFailure(device->port).kind, link::FailureKind::SessionLost);
  EXPECT_TRUE(com->setDeviceMode(BXSerialCom::TRANSFER, false));
  EXPECT_TRUE(downloadPage(keep));
}

TEST_F(LinkTest, opensAndClosesInTurns) {
  start();
  for (int i = 0; i < 300; ++i) {
    std::thread closer([&] { com->closePort(); });
    com->openPort();
    closer.join();
    EXPECT_TRUE(com->openPort() && com->poll()) << reason();
    com->closePort();
    std::thread opener([&] { EXPECT_TRUE(com->openPort() && com->poll()) << reason(); });
    EXPECT_TRUE(com->openPort() && com->poll()) << reason();
    opener.join();
  }
}

TEST_F(LinkTest, closesFromInsideAHandlerAndCallsNoOther) {
  startStoring(5);
  EXPECT_FALSE(downloadPage([this] {
    keep();
    com->closePort();
  }));
  EXPECT_THAT(received, SizeIs(1));
  EXPECT_FALSE(com->closePort());
  EXPECT_TRUE(com->openPort() && com->poll());
}

TEST(Waiting, IsAsTheHostWantsIt) {
  std::vector<std::chrono::milliseconds> waits;
  setWaitFunction([&](auto time) { waits.push_back(time); });
  BXDevice();
  setWaitFunction({});
  EXPECT_THAT(waits, ElementsAre(500ms));
}

TEST_F(LinkTest, copiesToAClosedLinkWithoutCallbacks) {
  start();
  com->setCallBackFunction(keep);
  com->currentDeviceMode = BXSerialCom::RESTING;
  BXSerialCom copy(*com);
  EXPECT_EQ(copy.currentDeviceMode, BXSerialCom::NO_MODE);
  EXPECT_FALSE(copy.openPort());
  EXPECT_EQ(reason(), "in use by another program");
  com->closePort();
  EXPECT_TRUE(copy.openPort());
  EXPECT_TRUE(copy.poll());
  EXPECT_THAT(received, IsEmpty());
}

}  // namespace
}  // namespace BX
