// What a link streams and whatever ends it, against the simulated device.
#include <stdexcept>

#include "tests/link/LinkFixture.h"

namespace BX {
namespace {

using namespace std::chrono_literals;
using test::await, test::bytesOf, test::Event, testing::ElementsAre, testing::HasSubstr, testing::SizeIs;

class StreamTest : public LinkTest {
 protected:
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
  void awaitEnd() {
    await([this] { return !com->getStreaming(); });
  }

  Event removed;
};

TEST_F(StreamTest, streamsInOrderFromTheModesAnswerOnToTheNextOrTheDevicesOwnEnd) {
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

TEST_F(StreamTest, listensAnewAsSoonAsTheFlagOfAStreamIsCleared) {
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

TEST_F(StreamTest, endsTheStreamWhenItsHandlerThrows) {
  startStreaming({"CA01", "CA02"});
  com->setProcessTrainingCallback([] { throw std::runtime_error("cannot read this"); });
  com->startSessionListening();
  awaitEnd();
  EXPECT_THAT(reason(), HasSubstr("cannot read this"));
  EXPECT_TRUE(com->setDeviceMode(BXSerialCom::RESTING, true));
}

// The end of the stream waits for the handler, and the handler for its turn.
TEST_F(StreamTest, endsAStreamWhoseHandlerWaitsToExchange) {
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

TEST_F(StreamTest, handlesWhatHasArrivedBeforeItStopsListening) {
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

TEST_F(StreamTest, asksForRemovalLastWhenAStreamIsHungUpEvenBeforeAnybodyListens) {
  startStreaming({"CA01", "CA02"});
  device->hostsLine.hangUp();
  await([this] { return !com->isConnected(); });
  com->startSessionListening();
  ASSERT_TRUE(removed.wait());
  EXPECT_THAT(received, ElementsAre("CA01", "CA02"));
  EXPECT_TRUE(com->getError());
  EXPECT_EQ(reason(), "the port was hung up");
}

TEST_F(StreamTest, leavesAHangUpOutsideAStreamToTheNextExchange) {
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
TEST_F(StreamTest, doesNotWaitForAHandlerThatStaysAway) {
  link::setOptions({.reply = 1s});
  startStreaming({"CA01"});
  Event stopped;
  com->setProcessTrainingCallback([&] { EXPECT_TRUE(stopped.wait()); });
  com->startSessionListening();
  EXPECT_TRUE(com->setDeviceMode(BXSerialCom::RESTING, true));
  stopped.set();
  awaitEnd();
}

TEST_F(StreamTest, endsAStreamOfASilentDevice) {
  link::setOptions({.keepAlive = 20ms});
  startStreaming({"CA01"});
  com->startSessionListening();
  device->hostsLine.silence(true);
  awaitEnd();
  EXPECT_EQ(link::lastFailure(device->port).kind, link::FailureKind::NotAcknowledged);
  EXPECT_TRUE(com->getError() && com->isConnected());
}

TEST_F(StreamTest, endsAStreamWhoseEndFoundNoRoom) {
  Texts payloads(4200, std::string(448, 'C'));  // they leave no room at all
  payloads.emplace_back("59");
  startStreaming(payloads);
  com->startSessionListening();
  awaitEnd();
  EXPECT_EQ(link::lastFailure(device->port).kind, link::FailureKind::QueueFull);
}

TEST_F(StreamTest, dropsAndCountsWhatNobodyListensTo) {
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

// Each of them would last for ever.
TEST_F(StreamTest, endsWhateverAThreadWaitsForThatIsCancelledOrClosed) {
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
}  // namespace
}  // namespace BX
