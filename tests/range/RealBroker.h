// A broker of a test, mosquitto on a port of its own, and a client that follows what goes through it.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "tests/road/Program.h"
#include "tools/bx-range/Broker.h"

namespace BX::test {

class RealBroker {
 public:
  RealBroker() { start(); }

  range::BrokerAddress address() const;
  // Kills it, as a power cut does.
  void kill();
  // At the same address as before.
  void start();

 private:
  const Folder folder_;
  int port_ = 0;
  std::unique_ptr<Program> program_;
};

// Connects in the calls that wait for something.
class Client {
 public:
  Client(const RealBroker& real, const std::string& name, std::vector<std::string> topics, range::Message will = {})
      : broker(console_, {real.address(), name, std::move(topics), std::move(will)},
               {[this](const range::Message& message) {
                  last[message.topic] = message;
                  watch_();
                },
                [this] { ++connections_; },
                {}}) {}

  void connect() {
    await([this, before = connections_] { return connections_ > before; });
  }
  void await(const std::function<bool()>& isSo) {
    broker.run([&] { return !isSo(); });
  }
  // Until the topic's last message holds the text, or one that comes does; an empty one: is empty.
  void await(const std::string& topic, const std::string& text) {
    bool hasCome = false;
    watch_ = [&] {
      const auto& payload = last[topic].payload;
      hasCome = hasCome || (text.empty() ? payload.empty() : payload.find(text) != std::string::npos);
    };
    watch_();
    await([&] { return hasCome; });
    watch_ = [] {};
  }

 private:
  std::function<void()> watch_ = [] {};
  tool::Console console_;
  int connections_ = 0;

 public:
  std::map<std::string, range::Message> last;  // of each topic
  range::Broker broker;
};

}  // namespace BX::test
