// The link's exchanges, its listening thread and its lifetime, against the simulated device.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

#include "bx/BXSerialCom.h"
#include "bx/BXSerialLink.h"
#include "tests/support/Event.h"
#include "tests/support/Hex.h"
#include "tests/support/HoldingLine.h"
#include "tests/support/LoopbackDevice.h"

namespace BX {
namespace {

using namespace std::chrono_literals;
using test::bytesOf;
using test::Event;
using test::hexOf;
using testing::ElementsAre;
using testing::HasSubstr;

class LinkTest : public testing::Test {
 protected:
  void start(sim::Options options = {}) {
    device = std::make_unique<test::LoopbackDevice>(std::move(options));
    link::setTransport(device->port, [this](const auto&) { return line.around(device->line.hostEnd()); });
    com = std::make_unique<BXSerialCom>();
    com->initializePort(device->port);
    ASSERT_TRUE(com->openPort());
  }
  void TearDown() override {
    com.reset();
    device.reset();
    link::setOptions({});
  }
  std::string reason() const { return link::lastError(device->port); }
  std::function<void()> collect() {
    return [this] { received.push_back(hexOf(com->getReceivedBytes())); };
  }
  bool send(const char* hex, unsigned char ack) {
    auto bytes = bytesOf(hex);
    return com->sendBytesAckReturn(bytes, ack, collect(), false);
  }
  // Starts a stream of the device's payloads into `received`.
  void stream(std::function<void()> handler = {}) {
    com->setProcessTrainingCallback(handler ? std::move(handler) : [this] {
      const auto bytes = com->getReceivedBytes();
      received.push_back(hexOf(bytes));
      if (bytes[0] == 0x59) com->setRunning(false);
    });
    ASSERT_TRUE(com->setDeviceMode(BXSerialCom::FIELD_STREAM, false));
    com->startSessionListening();
  }
  static bool awaitEnd(const BXSerialCom& link) {
    for (int i = 0; i < 20000 && link.getStreaming(); ++i) std::this_thread::sleep_for(1ms);
    return !link.getStreaming();
  }

  test::HoldingLine line;
  std::unique_ptr<test::LoopbackDevice> device;
  std::unique_ptr<BXSerialCom> com;
  std::vector<std::string> received;
};

sim::Options streaming(std::vector<sim::Bytes> payloads, double rate = 1000) {
  sim::Options options;
  options.stream = std::move(payloads);
  options.rate = rate;
  return options;
}

TEST_F(LinkTest, buildsItsOwnRequests) {
  start();
  com->setCallBackFunction(collect());
  EXPECT_TRUE(com->sendStartupCommand());
  EXPECT_TRUE(com->setDeviceMode(BXSerialCom::INFORMATION, false));
  EXPECT_TRUE(com->sendDeviceInfoCommand(BXSerialCom::DEVICE_INFO_STORED_RESULTS, {}));
  EXPECT_TRUE(com->getParameterSetFrame(0xB8));
  EXPECT_TRUE(com->poll());
  EXPECT_THAT(device->sent(), ElementsAre("7373", "6F0271", "632083", "65B81D", "7070"));
  ASSERT_EQ(received.size(), 3U);
  EXPECT_EQ(received[0].substr(0, 6), "596320");
  EXPECT_EQ(received[1].substr(0, 6), "5965B8");
  EXPECT_EQ(received[2], "5970");
  EXPECT_FALSE(com->getError());
}

TEST_F(LinkTest, opensTheSessionWithTheFirstExchangeOnly) {
  start();
  EXPECT_EQ(link::statistics(device->port).framesSent, 0U);
  EXPECT_TRUE(com->poll());
  EXPECT_EQ(link::statistics(device->port).payloadsReceived, 1U);
}

TEST_F(LinkTest, tellsWhyAnExchangeFails) {
  sim::Options options;
  options.script = {{bytesOf("6B"), bytesOf("5941")}};
  start(options);
  com->setCallBackFunction(collect());
  EXPECT_FALSE(com->setDeviceMode(BXSerialCom::DeviceMode(77), false));
  EXPECT_EQ(reason(), "refused by the device (request 6F 4D BC)");
  EXPECT_TRUE(com->getError());
  com->setError(false);
  EXPECT_FALSE(send("6B6B", 0x6B));
  EXPECT_THAT(reason(), HasSubstr("unexpected answer 59 41"));
  EXPECT_FALSE(com->sendDeviceInfoCommand("no such item", {}));
  EXPECT_THAT(reason(), HasSubstr("no such item"));
  com->closePort();
  EXPECT_FALSE(com->poll());
  EXPECT_EQ(reason(), "the port is not open");
  EXPECT_TRUE(received.empty());
}

TEST_F(LinkTest, failsAnExchangeWhoseHandlerThrowsAndGoesOn) {
  start();
  com->setCallBackFunction([] { throw std::out_of_range("too short"); });
  EXPECT_FALSE(com->getParameterSetFrame(0));
  EXPECT_THAT(reason(), HasSubstr("too short"));
  com->setCallBackFunction({});
  EXPECT_TRUE(com->getParameterSetFrame(0));
}

TEST_F(LinkTest, boundsTheWaitForAnAnswerAndNeverTakesALateOne) {
  start();
  com->setCallBackFunction(collect());
  ASSERT_TRUE(com->poll());
  com->closePort();
  link::setOptions({.resend = 400ms, .reply = 50ms});
  ASSERT_TRUE(com->openPort());
  ASSERT_TRUE(com->sendStartupCommand());
  received.clear();
  line.hold();
  EXPECT_FALSE(com->getParameterSetFrame(1));
  EXPECT_EQ(reason(), "no answer within 0.0 s");
  line.release();
  // On a loaded machine the short time-out may strike again; what must not happen is a wrong answer.
  while (!com->getParameterSetFrame(2)) {
  }
  ASSERT_EQ(received.size(), 1U);
  EXPECT_EQ(received[0].substr(0, 6), "596502");
}

TEST_F(LinkTest, deliversAStoredPageWholeOrNotAtAll) {
  sim::Options options;
  for (int i = 0; i < 30; ++i) options.stored.push_back({0, 0, bytesOf("CA6A0" + std::to_string(i % 10))});
  start(options);
  ASSERT_TRUE(com->setDeviceMode(BXSerialCom::TRANSFER, false));
  auto page = bytesOf("620000 62");
  ASSERT_TRUE(com->sendDownloadRequest(page, collect()));
  ASSERT_EQ(received.size(), 31U);
  EXPECT_EQ(received.back(), "5962");
  received.clear();
  int arrived = 0;
  // The line is cut in the middle of the page.
  link::setTransport(device->port, {});
  std::thread cutter([&] {
    while (device->simulator.transcript().size() < 36 && arrived++ < 20000) std::this_thread::sleep_for(1ms);
    line.hangUp();
  });
  while (com->sendDownloadRequest(page, collect())) {
    EXPECT_EQ(received.size(), 31U);
    received.clear();
  }
  cutter.join();
  EXPECT_TRUE(received.empty());
  EXPECT_FALSE(com->isConnected());
}

TEST_F(LinkTest, streamsInOrderFromTheModesAnswerOn) {
  start(streaming({bytesOf("CA01"), bytesOf("CA02"), bytesOf("CA03")}));
  Event third;
  com->setProcessTrainingCallback([&] {
    received.push_back(hexOf(com->getReceivedBytes()));
    if (received.size() == 3) third.set();
  });
  ASSERT_TRUE(com->setDeviceMode(BXSerialCom::FIELD_STREAM, false));
  // All of it waits in the link before anybody listens.
  ASSERT_TRUE(device->simulator.awaitTranscript("< CA", 3));
  EXPECT_FALSE(com->getStreaming());
  com->startSessionListening();
  EXPECT_TRUE(com->getStreaming());
  ASSERT_TRUE(third.wait());
  EXPECT_TRUE(com->setDeviceMode(BXSerialCom::RESTING, true));
  EXPECT_THAT(received, ElementsAre("CA01", "CA02", "CA03", "596F"));
  EXPECT_TRUE(awaitEnd(*com));
}

TEST_F(LinkTest, readsTheModesAnswerItselfWhenTheStreamHasEnded) {
  start(streaming({bytesOf("CA01"), bytesOf("59")}));
  stream();
  ASSERT_TRUE(awaitEnd(*com));
  EXPECT_TRUE(com->setDeviceMode(BXSerialCom::RESTING, true));
  EXPECT_THAT(received, ElementsAre("CA01", "59"));
}

TEST_F(LinkTest, endsTheStreamWhenItsHandlerThrows) {
  start(streaming({bytesOf("CA01"), bytesOf("CA02")}));
  stream([] { throw std::runtime_error("cannot read this"); });
  EXPECT_TRUE(awaitEnd(*com));
  EXPECT_THAT(reason(), HasSubstr("cannot read this"));
  EXPECT_TRUE(com->setDeviceMode(BXSerialCom::RESTING, true));
}

TEST_F(LinkTest, handlesWhatHasArrivedBeforeItStopsListening) {
  start(streaming(std::vector<sim::Bytes>(500, bytesOf("CA65")), 100000));
  Event first;
  Event go;
  std::atomic<int> handled = 0;
  stream([&] {
    if (handled++ == 0) {
      first.set();
      go.wait();
    }
  });
  ASSERT_TRUE(first.wait());
  ASSERT_TRUE(device->simulator.awaitTranscript("< CA", 500));
  com->setRunning(false);
  go.set();
  EXPECT_TRUE(awaitEnd(*com));
  EXPECT_EQ(handled, 500);
}

TEST_F(LinkTest, asksForRemovalLastWhenAStreamIsHungUpAndMayBeDestroyedThere) {
  start(streaming({bytesOf("CA01")}));
  Event removed;
  std::string name;
  com->setRemoveDeviceCallback([&](const char* port) {
    name = port;
    EXPECT_FALSE(com->getStreaming());
    EXPECT_FALSE(com->isConnected());
    com.reset();
    removed.set();
    return true;
  });
  stream();
  line.hangUp();
  ASSERT_TRUE(removed.wait());
  EXPECT_EQ(name, device->port);
}

TEST_F(LinkTest, endsAStreamThatWasHungUpBeforeAnybodyListened) {
  start(streaming({bytesOf("CA01"), bytesOf("CA02")}));
  Event removed;
  com->setRemoveDeviceCallback([&](const char*) {
    removed.set();
    return true;
  });
  com->setProcessTrainingCallback(collect());
  ASSERT_TRUE(com->setDeviceMode(BXSerialCom::FIELD_STREAM, false));
  ASSERT_TRUE(device->simulator.awaitTranscript("< CA", 2));
  line.hangUp();
  while (com->isConnected()) std::this_thread::yield();
  com->startSessionListening();
  ASSERT_TRUE(removed.wait());
  EXPECT_THAT(received, ElementsAre("CA01", "CA02"));
  EXPECT_FALSE(com->getStreaming());
  EXPECT_TRUE(com->getError());
  EXPECT_EQ(reason(), "the port was hung up");
}

TEST_F(LinkTest, leavesAHangUpOutsideAStreamToTheNextExchange) {
  start();
  bool removed = false;
  com->setRemoveDeviceCallback([&](const char*) { return removed = true; });
  ASSERT_TRUE(com->poll());
  line.hangUp();
  EXPECT_FALSE(com->poll());
  EXPECT_EQ(reason(), "the port was hung up");
  com->startSessionListening();
  EXPECT_FALSE(com->getStreaming());
  EXPECT_FALSE(removed);
  EXPECT_TRUE(com->openPort());
  EXPECT_TRUE(com->poll());
}

TEST_F(LinkTest, closesFromInsideAHandlerAndFromAnotherThread) {
  sim::Options options;
  for (int i = 0; i < 5; ++i) options.stored.push_back({0, 0, bytesOf("CA65")});
  start(options);
  ASSERT_TRUE(com->setDeviceMode(BXSerialCom::TRANSFER, false));
  auto page = bytesOf("620000 62");
  EXPECT_FALSE(com->sendDownloadRequest(page, [&] {
    received.push_back("one");
    com->closePort();
  }));
  EXPECT_EQ(received.size(), 1U);

  ASSERT_TRUE(com->openPort());
  line.hold();
  Event waiting;
  std::thread closer([&] {
    waiting.wait();
    com->closePort();
  });
  waiting.set();
  EXPECT_FALSE(com->poll());
  closer.join();
  EXPECT_FALSE(com->closePort());
  line.release();
  ASSERT_TRUE(com->openPort());
  EXPECT_TRUE(com->poll());
}

TEST_F(LinkTest, copiesToAClosedLinkWithoutCallbacks) {
  start();
  bool called = false;
  com->setCallBackFunction([&] { called = true; });
  ASSERT_TRUE(com->poll());
  EXPECT_TRUE(std::exchange(called, false));
  com->currentDeviceMode = BXSerialCom::RESTING;
  BXSerialCom copy(*com);
  EXPECT_FALSE(copy.isConnected());
  EXPECT_EQ(copy.currentDeviceMode, BXSerialCom::NO_MODE);
  EXPECT_FALSE(copy.openPort());
  EXPECT_EQ(reason(), "in use by another program");
  com->closePort();
  EXPECT_TRUE(copy.openPort());
  EXPECT_TRUE(copy.poll());
  EXPECT_FALSE(called);
}

TEST_F(LinkTest, computesSumsAndBytes) {
  start();
  EXPECT_EQ(com->calculateSum({0xFF, 0x02}), 1);
  std::vector<unsigned char> bytes{9};
  com->intToByteArray(bytes, 0x01020304);
  EXPECT_EQ(hexOf(bytes), "04030201");
  com->intToByteArray(bytes, -2);
  EXPECT_EQ(hexOf(bytes), "FEFFFFFF");
}

}  // namespace
}  // namespace BX
