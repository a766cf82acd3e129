// Every lane of a range on one page: what the broker tells goes into the feed, which browsers follow.
#include <chrono>

#include "BoardFeed.h"
#include "Broker.h"
#include "Complaints.h"
#include "NamesFile.h"
#include "Range.h"
#include "Topics.h"
#include "tools/bx/Interrupt.h"

namespace BX::range {

namespace {

constexpr std::size_t mostPayload = 262'144;
constexpr std::chrono::seconds namesInterval{1};
// All that the broker retains has come by then: it sends some at a time, and does not tell the last.
constexpr std::chrono::seconds retainedTime{3};

class Board {
 public:
  Board(Tool& tool, const Config& config, const std::string& address)
      : console_(tool.console),
        topics_(config.range),
        names_(tool.console, config.names),
        feed_(config.range),
        server_(address, feed_),
        broker_(tool.console,
                {.address = config.broker,
                 .clientName = {},
                 .subscriptions = {topics_.ofMachines(what::status), topics_.ofLanes(what::status),
                                   topics_.ofLanes(what::score)},
                 .will = {}},
                {.received = [this](const Message& message) { post(message); },
                 .connected = [this] { onConnected(); },
                 .tick = [this] { tick(); }}) {}

  void run() {
    console_.note("Board: " + server_.url());
    readNames();
    broker_.run([] { return !tool::interrupted(); });
    broker_.finish({});
  }

 private:
  using Clock = std::chrono::steady_clock;

  void post(const Message& message) {
    server_.post([this, message] {
      if (!take(message)) complaints_.tell(message.topic + ": is not what a gate publishes, and is left out");
    });
  }

  // On the server's thread.
  bool take(const Message& message) {
    const auto topic = topics_.parse(message.topic);
    if (!topic || message.payload.size() > mostPayload) return false;
    const std::string lane = topic->machine + '/' + topic->lane;
    if (topic->lane.empty()) return feed_.takeMachine(topic->machine, message.payload);
    if (topic->what == what::score) return feed_.takeScore(lane, message.payload);
    return feed_.takeStatus(lane, message.payload);
  }

  void onConnected() {
    wasConnected_ = true;
    roundEnd_ = Clock::now() + retainedTime;
    server_.post([this] { feed_.setBroker(true); });
  }

  void tick() {
    if (wasConnected_ && !broker_.isConnected()) {
      wasConnected_ = false;
      roundEnd_ = Clock::time_point::max();
      server_.post([this] {
        feed_.setBroker(false);
        feed_.beginRound();
      });
    }
    if (Clock::now() >= roundEnd_) {
      roundEnd_ = Clock::time_point::max();
      server_.post([this] { feed_.endRound(); });
    }
    if (Clock::now() >= namesAt_) readNames();
  }

  void readNames() {
    namesAt_ = Clock::now() + namesInterval;
    if (auto names = names_.changed()) {
      server_.post([this, names = std::move(*names)] { feed_.setNames(names); });
    }
  }

  tool::Console& console_;
  const Topics topics_;
  NamesFile names_;
  Complaints complaints_{console_};  // of the server's thread
  BoardFeed feed_;                   // likewise
  viewer::EventServer server_;
  Broker broker_;
  bool wasConnected_ = false;
  Clock::time_point roundEnd_ = Clock::time_point::max();
  Clock::time_point namesAt_;
};

}  // namespace

void runBoard(Tool& tool, const BoardOptions& options) try {
  const Config config = readConfig(options.config, Role::Board);
  tool::catchInterrupts();
  Board(tool, config, options.address).run();
} catch (const viewer::ListenError& error) {
  throw Failure(tool::wrongUsage, error.what());
}

}  // namespace BX::range
