// Which thread serves the line: the runner's own, or a guest.
#include <gtest/gtest.h>

#include "platform/serial/Runner.h"

#include <atomic>
#include <boost/asio/post.hpp>
#include <chrono>
#include <future>
#include <memory>
#include <thread>

namespace BX::link {
namespace {

using namespace std::chrono_literals;

class RunnerTest : public testing::Test {
 protected:
  void SetUp() override { runner.start(); }
  // Where the next event is handled.
  std::future<std::thread::id> nextEvent() {
    auto handled = std::make_shared<std::promise<std::thread::id>>();
    boost::asio::post(context, [handled] { handled->set_value(std::this_thread::get_id()); });
    return handled->get_future();
  }
  // From then on the calling thread is the guest.
  void come() {
    servedBy = std::thread::id();
    while (servedBy.load() != here) {
      boost::asio::post(context, [this] { servedBy = std::this_thread::get_id(); });
      runner.runOne(Runner::Guest::Listener, {});
    }
  }

  const std::thread::id here = std::this_thread::get_id();
  std::atomic<std::thread::id> servedBy;
  boost::asio::io_context context;
  Runner runner{context, 20ms};
};

TEST_F(RunnerTest, servesWhileThereIsNoGuest) {
  EXPECT_NE(nextEvent().get(), here);
  come();
  runner.relieve(Runner::Guest::Listener);
  EXPECT_NE(nextEvent().get(), here);
}

TEST_F(RunnerTest, relievesAGuestThatStaysAwayAndLetsItComeBack) {
  for (int i = 0; i < 3; ++i) {
    come();
    EXPECT_NE(nextEvent().get(), here);
  }
}

TEST_F(RunnerTest, runsOneThreadAtATime) {
  constexpr int events = 20'000;
  std::atomic<int> inside = 0;
  std::atomic<int> handled = 0;
  const auto serve = [&](Runner::Guest guest) {
    for (int i = 0; handled < events; ++i) {
      boost::asio::post(context, [&] {
        EXPECT_EQ(++inside, 1);
        ++handled;
        --inside;
      });
      if (!runner.runOne(guest, std::chrono::steady_clock::now() + 1ms)) std::this_thread::yield();
      if (guest == Runner::Guest::Listener && i % 10 == 0) runner.relieve(Runner::Guest::Listener);
    }
  };
  std::thread requester(serve, Runner::Guest::Requester);
  serve(Runner::Guest::Listener);
  runner.relieve(Runner::Guest::Listener);
  requester.join();
  runner.stop({});  // before what is still to be handled loses its counters
}

TEST_F(RunnerTest, stopsWhateverTheGuestDoes) {
  bool lastRan = false;
  come();
  std::thread stopper([&] { runner.stop([&] { lastRan = true; }); });
  while (!context.stopped()) runner.runOne(Runner::Guest::Listener, {});
  stopper.join();
  EXPECT_TRUE(lastRan);
  runner.runOne(Runner::Guest::Listener, {});
  runner.stop([] { ADD_FAILURE() << "stopped twice"; });
}

}  // namespace
}  // namespace BX::link
