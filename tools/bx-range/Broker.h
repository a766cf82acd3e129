// The connection to the broker: MQTT 5, begun anew each time with a clean session and an empty queue. A broker
// remembers nothing for us: who needs something kept asks for it again.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Config.h"
#include "tools/bx/Console.h"

struct mosquitto;

namespace BX::range {

struct Message {
  std::string topic;
  std::string payload;
  bool isRetained = false;  // the broker had kept it
};

// What the roles publish by.
class Publisher {
 public:
  virtual ~Publisher() = default;
  // Queues the message (QoS 1) and returns at once. False, and nothing is queued, unless the broker is connected. An
  // empty payload that is retained clears the topic.
  virtual bool publish(const std::string& topic, const std::string& payload, bool isRetained) = 0;
  virtual bool isConnected() const = 0;
};

struct BrokerSettings {
  BrokerAddress address;
  // Of two clients of one name the broker throws out the first. Some brokers tell it, and it stays out; others just
  // close its connection. An empty one stands for any.
  std::string clientName;
  std::vector<std::string> subscriptions;
  // Published by the broker, retained, when the connection ends, in good order or not; without a topic: none.
  Message will;
};

// All of it happens in run() and finish(), on the thread that calls them; nothing else here waits for the network.
class Broker : public Publisher {
 public:
  struct Events {
    // What they throw, run() throws. What was retained may go on coming long after `connected`: a broker has only some
    // messages under way at a time (mosquitto: 20). Of one topic it comes before anything that is published later, so
    // who reads what it publishes itself knows that nothing from before is to come once that is back.
    std::function<void(const Message&)> received;
    std::function<void()> connected;  // and subscribed
    std::function<void()> tick;       // each tickInterval, connected or not
  };
  static constexpr std::chrono::milliseconds tickInterval{50};

  // Losses and returns of the broker are told on the console, each once.
  Broker(tool::Console& console, BrokerSettings settings, Events events);
  ~Broker() override;
  Broker(const Broker&) = delete;
  Broker& operator=(const Broker&) = delete;

  // Connects, again and again, after 0.5 s at first and after up to 10 s when no connection lasts, and lets the events
  // happen until `goesOn`, asked at each tick, says no. A name that has to be resolved may block it for some seconds.
  void run(const std::function<bool()>& goesOn);
  // Waits until the broker has taken what was published, but no longer than `patience`, and disconnects.
  void finish(std::chrono::milliseconds patience);

  bool publish(const std::string& topic, const std::string& payload, bool isRetained) override;
  bool isConnected() const override { return isConnected_; }
  // What was published and the broker has not taken yet.
  std::size_t unconfirmed() const { return unconfirmed_.size(); }
  // Another client has our name: ends the connection without the will, tells so, and connects no more.
  void leave();
  bool hasLeft() const { return hasLeft_; }

 private:
  using Clock = std::chrono::steady_clock;
  struct Callbacks;  // from C
  struct Destroy {
    void operator()(mosquitto* client) const;
  };

  void begin();
  void configure();
  void subscribe();
  void step(Clock::time_point until);
  int exchange(Clock::time_point until);
  void dispatch();
  void lose(const std::string& reason);
  void tellTrouble(const std::string& text);
  std::string name() const;

  tool::Console& console_;
  const BrokerSettings settings_;
  const Events events_;
  std::unique_ptr<mosquitto, Destroy> client_;  // null between connections
  bool isConnected_ = false;                    // and subscribed
  bool wasConnected_ = false;
  bool hasLeft_ = false;
  std::size_t subscribing_ = 0;             // subscriptions that the broker has not answered yet
  std::map<int, std::string> unconfirmed_;  // topics of what the broker has not taken yet
  std::vector<Message> arrived_;            // for dispatch()
  std::string lossReason_;                  // told by a callback
  std::string detail_;                      // the library's own first error line
  std::string trouble_;                     // told last
  Clock::time_point deadline_;              // to be connected by
  Clock::time_point connectedAt_;
  Clock::time_point retryAt_;
  std::chrono::milliseconds retryAfter_;
};

}  // namespace BX::range
