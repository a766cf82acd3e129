// The archive: what the gates of a range publish of their sessions, into the database, and confirmed when it is there.
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "Broker.h"
#include "Complaints.h"
#include "Intake.h"
#include "Range.h"
#include "Rivals.h"
#include "Topics.h"
#include "tools/bx/Interrupt.h"
#include "tools/bx/Records.h"

namespace BX::range {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto commitInterval = 500ms;
constexpr std::size_t mostWaiting = std::size_t{32} << 20;  // bytes: gates hear nothing while much is committed
constexpr auto forgetInterval = 1h;
constexpr auto patienceAtEnd = 2s;

class Archive {
 public:
  Archive(Tool& tool, const Config& config, const ArchiveOptions& options)
      : tool_(tool), options_(options), topics_(config.range), store_(options.database) {
    BrokerSettings settings;
    settings.address = config.broker;
    settings.clientName = config.range + "/archive";
    settings.subscriptions = {topics_.ofLanes(what::archived), topics_.ofLanes(what::records)};
    broker_.emplace(tool.console, settings,
                    Broker::Events{.received = [this](const Message& message) { receive(message); },
                                   .connected = {},
                                   .tick = [this] { tick(); }});
  }

  void run() {
    tool::catchInterrupts();
    tool_.console.note(options_.database + ": archive of " + topics_.of({"MACHINE", "LANE", what::records}));
    broker_->run([this] { return !tool::interrupted() && !broker_->hasLeft(); });
    commit();
    broker_->finish(patienceAtEnd);
    tool_.console.note(options_.database + ": " + tool::counted(intake_.committed(), "line") + " archived");
    if (broker_->hasLeft()) {
      throw Failure(tool::deviceFailed, options_.database + ": archive: ended: another one archives this range");
    }
  }

 private:
  void receive(const Message& message) {
    const auto topic = topics_.parse(message.topic);
    try {
      if (!topic) throw Unusable("no topic of a lane");
      if (topic->what == what::archived) return watch(message);
      intake_.take(topic->machine, topic->lane, message.payload);
    } catch (const Unusable& problem) {
      messages_.tell(message.topic + ": message: dropped: " + problem.what());
    }
    if (intake_.bytes() >= mostWaiting) commit();
  }

  // Of two archives one ends: else the broker would throw them out in turn for ever. While the other one was connected,
  // it has confirmed something, which is retained and comes at our next connection. A message that comes while we are
  // connected cannot be its, since a name has one connection.
  void watch(const Message& message) {
    const auto archive = archiveOf(message.payload);
    if (archive && rivals_.tells(message.topic, *archive) && message.isRetained) broker_->leave();
  }

  void tick() {
    const auto now = Clock::now();
    if (now >= commitAt_) {
      commitAt_ = now + commitInterval;
      commit();
    }
    if (options_.keepTraces == 0 || now < forgetAt_) return;
    attempt("delete traces", [&] {
      if (!store_.forgetTraces(options_.keepTraces)) forgetAt_ = now + forgetInterval;
    });
  }

  // What could not be committed the gates send again.
  void commit() {
    attempt("commit", [this] {
      for (const Standing& standing : intake_.commit()) {
        const Topic topic{standing.machine, standing.lane, what::archived};
        broker_->publish(topics_.of(topic), messageOf(standing, rivals_.own()), true);
      }
    });
  }

  template <typename Work>
  void attempt(const char* step, Work work) try {
    work();
  } catch (const DatabaseError& error) {
    if (!error.mayPass()) throw;
    database_.tell(options_.database + ": " + step + ": " + error.what() + "; trying again");
  }

  Tool& tool_;
  const ArchiveOptions& options_;
  const Topics topics_;
  Store store_;
  Intake intake_{store_};
  Rivals rivals_;
  std::optional<Broker> broker_;
  Complaints messages_{tool_.console};
  Complaints database_{tool_.console};
  Clock::time_point commitAt_, forgetAt_;
};

}  // namespace

void runArchive(Tool& tool, const ArchiveOptions& options) try {
  Archive(tool, readConfig(options.config, Role::Archive), options).run();
} catch (const DatabaseError& error) {
  throw Failure(tool::deviceFailed, options.database + ": archive: " + error.what());
}

}  // namespace BX::range
