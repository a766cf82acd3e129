#include "tools/bx-range/Broker.h"

#include <gmock/gmock.h>

#include "RealBroker.h"

namespace BX::range {
namespace {

// One client, whose events are kept.
struct Client {
  Client(const test::RealBroker& real, const std::string& name, std::vector<std::string> topics = {"t/#"},
         Message will = {})
      : broker(console, {real.address(), name, std::move(topics), std::move(will)},
               {[this](const Message& message) { messages.push_back(message); }, [this] { ++connections; }, {}}) {}

  // Until it is so.
  void run(const std::function<bool()>& isSo) {
    broker.run([&] { return !isSo(); });
  }
  void connect() {
    run([this, before = connections] { return connections > before; });
  }
  std::vector<std::string> told() const {
    std::vector<std::string> texts;
    for (const auto& message : messages) {
      texts.push_back(message.topic + '=' + message.payload + (message.isRetained ? " kept" : ""));
    }
    return texts;
  }

  tool::Console console;
  int connections = 0;
  std::vector<Message> messages;
  Broker broker;
};

TEST(Broker, BeginsEachConnectionWithNothingOfTheOneBefore) {
  test::RealBroker real;
  Client sender(real, "sender", {});
  Client reader(real, "reader");
  EXPECT_FALSE(sender.broker.publish("t/early", "x", false));
  sender.connect();
  EXPECT_TRUE(sender.broker.publish("t/kept", "1", true));
  sender.broker.finish(std::chrono::seconds(10));
  reader.run([&] { return !reader.messages.empty(); });

  sender.connect();
  real.kill();
  sender.broker.publish("t/gone", "2", false);  // whether or not the loss was noticed: it is not sent later
  real.start();
  sender.connect();
  reader.connect();
  sender.broker.publish("t/new", "3", false);
  sender.broker.finish(std::chrono::seconds(10));
  reader.run([&] { return reader.messages.size() > 1; });
  EXPECT_THAT(reader.told(), ::testing::ElementsAre("t/kept=1 kept", "t/new=3"));
}

}  // namespace
}  // namespace BX::range
