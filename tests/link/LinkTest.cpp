// The link's exchanges, its listening thread and its lifetime, against the simulated device.
#include <gmock/gmock.h>

#include <stdexcept>

#include "bx/BXDevice.h"
#include "bx/BXSerialCom.h"
#include "bx/Waiting.h"
#include "platform/serial/PendingExchange.h"
#include "tests/support/DisturbedLine.h"
#include "tests/support/Event.h"
#include "tests/support/Hex.h"

namespace BX {
namespace {

using namespace std::chrono_literals;
using test::await, test::bytesOf, test::Event, test::hexOf, testing::ElementsAre, testing::HasSubstr, testing::IsEmpty,
    testing::SizeIs, testing::StartsWith;

using Texts = std::vector<std::string>;

class LinkTest : public testing::Test {
 protected:
  void start(sim::Options options = {}) {
    com.reset();
    device.reset();
    device = std::make_unique<test::DisturbedDevice>(std::move(options));
    com = std::make_unique<BXSerialCom>();
    com->initializePort(device->port);
    ASSERT_TRUE(com->openPort());
  }
  ~LinkTest() override {
    com.reset();
    link::setOptions({});
  }
  void startStreaming(const Texts& payloads) {
    sim::Options options;
    options.rate = 100'000;
    options.stream.emplace();
    for (const auto& payload : payloads) options.stream->push_back(bytesOf(payload));
    start(std::move(options));
    com->setProcessTrainingCallback(keep);
    com->setRemoveDeviceCallback([this](const char* port) {
      EXPECT_EQ(port, device->port);
      EXPECT_FALSE(com->getStreaming() || com->isConnected());
      removed.set();
      return true;
    });
    ASSERT_TRUE(com->setDeviceMode(BXSerialCom::FIELD_STREAM, false));
    // All of it waits in the link before anybody listens.
    ASSERT_TRUE(device->simulator.awaitTranscript("< ", payloads.size() + 1));
  }
  void startStoring(std::size_t records) {
    sim::Options options;
    options.stored.assign(records, {0, 0, bytesOf("CA6A")});
    start(std::move(options));
    ASSERT_TRUE(com->setDeviceMode(BXSerialCom::TRANSFER, false));
  }
  bool downloadPage(const std::function<void()>& handler) {
    auto request = bytesOf("62000062");
    return com->sendDownloadRequest(request, handler);
  }
  void awaitEnd() {
    await([this] { return !com->getStreaming(); });
  }
  std::string reason() const { return link::lastError(device->port); }

  std::unique_ptr<test::DisturbedDevice> device;
  std::unique_ptr<BXSerialCom> com;
  Texts received;
  const std::function<void()> keep = [this] { received.push_back(hexOf(com->getReceivedBytes())); };
  Event removed;
};

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

TEST_F(LinkTest, streamsInOrderFromTheModesAnswerOnToTheNextOrTheDevicesOwnEnd) {
  for (const bool endsItself : {false, true}) {
    received.clear();
    startStreaming({"CA01", "CA02", endsItself ? "59" : "CA03"});
    EXPECT_FALSE(com->getStreaming());
    com->startSessionListening();
    if (endsItself) awaitEnd();
    EXPECT_EQ(com->getStreaming(), !endsItself);
    EXPECT_TRUE(com->setDeviceMode(BXSerialCom::RESTING, true));
    EXPECT_EQ(received, endsItself ? Texts({"CA01", "CA02", "59"}) : Texts({"CA01", "CA02", "CA03", "596F"}));
    awaitEnd();
  }
}

TEST_F(LinkTest, listensAnewAsSoonAsTheFlagOfAStreamIsCleared) {
  startStreaming({"CA01", "59"});
  com->setProcessTrainingCallback([&] {
    keep();
    if (received.back() != "59") return;
    com->setStreaming(false);
    std::this_thread::sleep_for(50ms);  // the host has seen it long before this ends
  });
  com->startSessionListening();
  awaitEnd();
  com->startSessionListening();
  EXPECT_TRUE(com->getStreaming());
}

TEST_F(LinkTest, endsTheStreamWhenItsHandlerThrows) {
  startStreaming({"CA01", "CA02"});
  com->setProcessTrainingCallback([] { throw std::runtime_error("cannot read this"); });
  com->startSessionListening();
  awaitEnd();
  EXPECT_THAT(reason(), HasSubstr("cannot read this"));
  EXPECT_TRUE(com->setDeviceMode(BXSerialCom::RESTING, true));
}

// The end of the stream waits for the handler, and the handler for its turn.
TEST_F(LinkTest, endsAStreamWhoseHandlerWaitsToExchange) {
  startStreaming({"CA01"});
  Event inside;
  com->setProcessTrainingCallback([&] {
    keep();
    if (received.size() > 1) return;
    inside.set();
    EXPECT_TRUE(device->simulator.awaitTranscript("< 596F", 2));
    EXPECT_TRUE(com->poll());
  });
  com->startSessionListening();
  ASSERT_TRUE(inside.wait());
  EXPECT_TRUE(com->setDeviceMode(BXSerialCom::RESTING, true));
  awaitEnd();
  EXPECT_THAT(received, ElementsAre("CA01", "596F"));
}

TEST_F(LinkTest, handlesWhatHasArrivedBeforeItStopsListening) {
  startStreaming(Texts(500, "CA65"));
  Event stopped;
  com->setProcessTrainingCallback([&] {
    stopped.wait();
    keep();
  });
  com->startSessionListening();
  com->setRunning(false);
  stopped.set();
  awaitEnd();
  EXPECT_THAT(received, SizeIs(500));
}

TEST_F(LinkTest, asksForRemovalLastWhenAStreamIsHungUpEvenBeforeAnybodyListens) {
  startStreaming({"CA01", "CA02"});
  device->hostsLine.hangUp();
  await([this] { return !com->isConnected(); });
  com->startSessionListening();
  ASSERT_TRUE(removed.wait());
  EXPECT_THAT(received, ElementsAre("CA01", "CA02"));
  EXPECT_TRUE(com->getError());
  EXPECT_EQ(reason(), "the port was hung up");
}

TEST_F(LinkTest, leavesAHangUpOutsideAStreamToTheNextExchange) {
  start();
  com->setRemoveDeviceCallback([](const char*) -> bool { throw std::logic_error("nothing was streaming"); });
  ASSERT_TRUE(com->poll());
  device->hostsLine.hangUp();
  EXPECT_FALSE(com->poll());
  EXPECT_EQ(reason(), "the port was hung up");
  com->startSessionListening();
  EXPECT_FALSE(com->getStreaming());
  EXPECT_TRUE(com->openPort());
  EXPECT_TRUE(com->poll());
  EXPECT_EQ(reason(), "the port was hung up") << "and nobody was asked to remove it";
}

// A handler that does not come back holds up the end of a stream no longer than an answer may take.
TEST_F(LinkTest, doesNotWaitForAHandlerThatStaysAway) {
  link::setOptions({.reply = 1s});
  startStreaming({"CA01"});
  Event stopped;
  com->setProcessTrainingCallback([&] { EXPECT_TRUE(stopped.wait()); });
  com->startSessionListening();
  EXPECT_TRUE(com->setDeviceMode(BXSerialCom::RESTING, true));
  stopped.set();
  awaitEnd();
}

TEST_F(LinkTest, endsAStreamOfASilentDevice) {
  link::setOptions({.keepAlive = 20ms});
  startStreaming({"CA01"});
  com->startSessionListening();
  device->hostsLine.silence(true);
  awaitEnd();
  EXPECT_EQ(link::lastFailure(device->port).kind, link::FailureKind::NotAcknowledged);
  EXPECT_TRUE(com->getError() && com->isConnected());
}

TEST_F(LinkTest, endsAStreamWhoseEndFoundNoRoom) {
  Texts payloads(4200, std::string(448, 'C'));  // they leave no room at all
  payloads.emplace_back("59");
  startStreaming(payloads);
  com->startSessionListening();
  awaitEnd();
  EXPECT_EQ(link::lastFailure(device->port).kind, link::FailureKind::QueueFull);
}

TEST_F(LinkTest, dropsAndCountsWhatNobodyListensTo) {
  sim::Options options;
  options.rate = 5000;
  options.stream.emplace(1'000'000, bytesOf("CA01"));
  options.script = {{bytesOf("6F04"), {}}};  // refuses to end its stream
  start(std::move(options));
  com->setProcessTrainingCallback(keep);
  const auto dropped = [this] { return link::statistics(device->port).payloadsDropped; };
  ASSERT_TRUE(com->setDeviceMode(BXSerialCom::FIELD_STREAM, false));
  com->startSessionListening();
  EXPECT_FALSE(com->setDeviceMode(BXSerialCom::RESTING, true));
  EXPECT_EQ(dropped(), 0U);
  com->setRunning(false);
  awaitEnd();
  await([&] { return dropped() > 100; });
  EXPECT_TRUE(com->poll());
  const std::size_t before = received.size();
  com->startSessionListening();
  await([&] { return link::statistics(device->port).payloadsReceived > dropped() + before + 100; });
  com->setRunning(false);
  awaitEnd();
  EXPECT_GT(received.size(), before);
  EXPECT_EQ(link::lastFailure(device->port).kind, link::FailureKind::Refused) << "nothing of it waited";
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

// Each of them would last for ever.
TEST_F(LinkTest, endsWhateverAThreadWaitsForThatIsCancelledOrClosed) {
  link::setOptions({.resend = 60min, .reply = 60min, .keepAlive = 60min});
  startStreaming({"CA01"});
  Event left;
  com->setProcessTrainingCallback([&] {
    com->setStreaming(false);
    left.wait(10min);
  });
  com->startSessionListening();
  awaitEnd();
  const auto cancel = [](const std::function<void()>& wait) {
    for (int i = 0; i < 10; ++i) {
      link::Cancellation cancellation;
      Event begun;
      std::thread waiting([&] {
        const link::Cancellation::Scope scope(cancellation);
        begun.set();
        wait();
      });
      EXPECT_TRUE(begun.wait());
      for (int turns = i * 500; turns > 0; --turns) std::this_thread::yield();  // further on, each time
      cancellation.request();
      waiting.join();
    }
  };
  cancel([] { EXPECT_FALSE(link::wait(60min)); });
  cancel([&] { com->startSessionListening(); });  // the handler has not left
  cancel([&] { com->setDeviceMode(BXSerialCom::RESTING, true); });
  left.set();
  device->hostsLine.hold();
  Event asked;
  device->hostsLine.arm(0, [&] { asked.set(); });
  std::thread other([&] { EXPECT_TRUE(com->poll()); });
  asked.wait();
  cancel([&] { EXPECT_FALSE(com->poll()); });  // it is the other one's turn
  EXPECT_EQ(link::lastFailure(device->port).kind, link::FailureKind::Cancelled);
  device->hostsLine.release();
  other.join();
  com->currentDeviceMode = BXSerialCom::RESTING;
  device->hostsLine.hold();
  cancel([&] { EXPECT_FALSE(com->setDeviceMode(BXSerialCom::TRANSFER, false)); });
  device->hostsLine.release();
  EXPECT_EQ(com->currentDeviceMode, BXSerialCom::NO_MODE);
  EXPECT_TRUE(com->poll()) << reason();
  const auto sent = device->sent();
  EXPECT_EQ(sent[sent.size() - 2], "6F0473");
  device->hostsLine.hold();
  Event last;
  device->hostsLine.arm(0, [&] { last.set(); });
  std::thread closer([&] { last.wait(), com->closePort(); });
  EXPECT_FALSE(com->poll());
  closer.join();
  EXPECT_EQ(reason(), "closed by the host");
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
