// A machine's lanes: trained, kept in its spool, and published.
#include <sys/resource.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "Broker.h"
#include "Config.h"
#include "Control.h"
#include "Lane.h"
#include "Outlet.h"
#include "Range.h"
#include "Spool.h"
#include "Topics.h"
#include "platform/OutputFile.h"
#include "scoring/Members.h"
#include "tools/bx/Interrupt.h"
#include "tools/bx/Records.h"

namespace BX::range {

namespace {

using GateClock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds sendInterval{100};
constexpr std::chrono::minutes pruneInterval{1};
constexpr std::chrono::seconds lastPatience{2};   // for archive and broker, at the end
constexpr std::chrono::seconds mostPatience{30};  // for an archive that goes on confirming

// A lane has some ten descriptors; what is allowed at first may be too few for a hundred of them.
void allowManyDescriptors() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

class Gate {
 public:
  Gate(Tool& tool, Config config);
  void run();

 private:
  void recover();
  void awaitArchive();
  BrokerSettings brokerSettings() const;
  std::string status(const std::string& state, const std::string& since) const;
  Outlet& outletOf(const std::string& lane);

  void onMessage(const Message& message);
  void onStatus(const std::string& text);
  void onArchived(const std::string& lane, const Message& message);
  void onConnected();
  void onTick();
  void clear(const std::string& lane);
  Lane* find(const std::string& name) const;
  std::string beginNext(const std::string& name);
  bool areLanesOver() const;
  std::size_t waiting() const;
  std::size_t unconfirmed() const;
  void tellSums() const;

  Tool& tool_;
  const Config config_;
  const Topics topics_;
  const std::uint64_t instance_ = std::random_device()();  // of this run, among gates that have one name
  const std::string start_ = tool::timeNow();
  Spool spool_;
  std::vector<std::unique_ptr<Lane>> lanes_;
  std::map<std::string, Outlet> outlets_;  // by lane, those that are no longer configured included
  Control control_;
  Broker broker_;
  bool hasSpoken_ = false;           // the broker has sent us our own status
  std::set<std::uint64_t> earlier_;  // gates of whom it had a status before: a broker that was killed may go back to it
  std::set<std::string> told_;       // complaints
  GateClock::time_point nextSend_;
  GateClock::time_point nextPrune_;
};

Gate::Gate(Tool& tool, Config config)
    : tool_(tool),
      config_(std::move(config)),
      topics_(config_.range),
      spool_(config_.spool),
      control_(config_.spool, [this](const std::string& lane) { return beginNext(lane); }),
      broker_(
          tool.console, brokerSettings(),
          {[this](const Message& message) { onMessage(message); }, [this] { onConnected(); }, [this] { onTick(); }}) {
  for (const auto& lane : config_.lanes) {
    lanes_.push_back(std::make_unique<Lane>(tool, spool_, lane));
    outletOf(lane.name);
  }
  recover();
}

void Gate::recover() {
  const auto complain = [this](const std::string& text) { tool_.console.error(text); };
  for (const auto& session : spool_.recover(config_.range + '/' + config_.machine, complain)) {
    outletOf(session.lane).add(session);
  }
  if (waiting() > 0) tool_.console.note(tool::counted(waiting(), "session") + " of earlier runs wait for the archive");
}

BrokerSettings Gate::brokerSettings() const {
  return {config_.broker,
          "bx-gate-" + config_.range + '-' + config_.machine,
          {topics_.of({config_.machine, {}, what::status}), topics_.of({config_.machine, "+", what::archived})},
          {topics_.of({config_.machine, {}, what::status}), status("lost", {}), true}};
}

// A will cannot tell since when.
std::string Gate::status(const std::string& state, const std::string& since) const {
  std::string lanes;
  for (const auto& lane : config_.lanes) lanes += (lanes.empty() ? "\"" : ",\"") + lane.name + '"';
  return R"({"state":")" + state + '"' + (since.empty() ? "" : R"(,"since":")" + since + '"') +
         ",\"gate\":" + std::to_string(instance_) + ",\"lanes\":[" + lanes + "]}";
}

Outlet& Gate::outletOf(const std::string& lane) {
  const auto complain = [this](const std::string& text) {
    if (told_.insert(text).second) tool_.console.error(text);
  };
  return outlets_.try_emplace(lane, spool_, topics_, Topic{config_.machine, lane, {}}, complain).first->second;
}

void Gate::run() {
  for (const auto& lane : lanes_) lane->start();
  control_.serve();
  broker_.run([this] { return !tool::interrupted() || !areLanesOver(); });
  onTick();
  awaitArchive();
  onTick();
  broker_.finish(lastPatience);
  tellSums();
}

// As long as it confirms one thing after another. What a slow broker has dropped is sent again meanwhile.
void Gate::awaitArchive() {
  const auto end = GateClock::now() + mostPatience;
  auto progress = GateClock::now();
  bool isRepeated = false;
  std::size_t left = unconfirmed();
  broker_.run([&] {
    const auto now = GateClock::now();
    if (unconfirmed() < left) {
      progress = now;
      isRepeated = false;
    }
    left = unconfirmed();
    if (now - progress >= lastPatience / 2 && !std::exchange(isRepeated, true)) {
      for (auto& [lane, outlet] : outlets_) outlet.reconnect();
    }
    return broker_.isConnected() && left > 0 && now < std::min(progress + lastPatience, end);
  });
}

void Gate::onMessage(const Message& message) {
  const auto topic = topics_.parse(message.topic);
  if (!topic || message.payload.empty()) return;
  if (topic->lane.empty()) {
    onStatus(message.payload);
  } else {
    onArchived(topic->lane, message);
  }
}

// What this machine said last, or another gate says in its name.
void Gate::onStatus(const std::string& text) {
  rapidjson::Document status;
  status.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
  if (status.HasParseError() || !status.IsObject()) return;
  const auto& instance = scoring::memberOf(status, "gate");
  const auto gate = instance.IsUint64() ? instance.GetUint64() : 0;
  if (gate == instance_) {
    hasSpoken_ = true;
    return;
  }
  if (!hasSpoken_) earlier_.insert(gate);
  if (!earlier_.contains(gate)) return broker_.leave();
  const auto& lanes = scoring::memberOf(status, "lanes");
  if (!lanes.IsArray()) return;
  for (const auto& lane : lanes.GetArray()) {
    if (lane.IsString() && isName(lane.GetString()) && find(lane.GetString()) == nullptr) clear(lane.GetString());
  }
}

void Gate::onArchived(const std::string& lane, const Message& message) {
  const auto outlet = outlets_.find(lane);
  if (outlet == outlets_.end()) {
    broker_.publish(message.topic, {}, true);
  } else if (const auto confirmation = confirmationOf(message)) {
    outlet->second.confirm(*confirmation);
  }
}

void Gate::onConnected() {
  broker_.publish(topics_.of({config_.machine, {}, what::status}), status("running", start_), true);
  for (auto& [lane, outlet] : outlets_) outlet.reconnect();
}

// Of a lane that an earlier run had. That run's status comes first of all, and so before we replace it: else nobody
// would know that there is something to clear.
void Gate::clear(const std::string& lane) {
  for (const auto* const what : {what::status, what::session, what::score}) {
    broker_.publish(topics_.of({config_.machine, lane, what}), {}, true);
  }
}

void Gate::onTick() {
  for (const auto& lane : lanes_) outletOf(lane->name()).take(lane->takeNews());
  const auto now = GateClock::now();
  // What a slow broker has not taken yet is not added to: the next chunks are longer for it.
  if (now >= nextSend_ && broker_.isConnected() && broker_.unconfirmed() <= outlets_.size()) {
    nextSend_ = now + sendInterval;
    for (auto& [lane, outlet] : outlets_) outlet.send(broker_);
  }
  if (now < nextPrune_) return;
  nextPrune_ = now + pruneInterval;
  spool_.prune(std::chrono::hours(config_.keepHours));
}

Lane* Gate::find(const std::string& name) const {
  const auto lane =
      std::find_if(lanes_.begin(), lanes_.end(), [&](const auto& candidate) { return candidate->name() == name; });
  return lane == lanes_.end() ? nullptr : lane->get();
}

std::string Gate::beginNext(const std::string& name) {
  Lane* const lane = find(name);
  if (lane == nullptr) return "no such lane";
  return lane->beginNext() ? "" : "does not train";
}

bool Gate::areLanesOver() const {
  return std::all_of(lanes_.begin(), lanes_.end(), [](const auto& lane) { return lane->isOver(); });
}

std::size_t Gate::waiting() const {
  std::size_t sessions = 0;
  for (const auto& [lane, outlet] : outlets_) sessions += outlet.waiting();
  return sessions;
}

std::size_t Gate::unconfirmed() const {
  std::size_t count = 0;
  for (const auto& [lane, outlet] : outlets_) count += outlet.unconfirmed();
  return count;
}

void Gate::tellSums() const {
  Lane::Sums all;
  for (const auto& lane : lanes_) {
    const auto sums = lane->sums();
    all.sessions += sums.sessions;
    all.records += sums.records;
    all.shots += sums.shots;
  }
  tool_.console.note(tool::counted(all.sessions, "session") + ", " + tool::counted(all.records, "record") + ", " +
                     tool::counted(all.shots, "shot") + "; " + tool::counted(waiting(), "session") +
                     " not archived yet, in " + config_.spool);
}

}  // namespace

void runGate(Tool& tool, const std::string& config) try {
  tool::catchInterrupts();
  tool.console.beStill();
  allowManyDescriptors();
  Gate(tool, readConfig(config, Role::Gate)).run();
} catch (const platform::OutputError& error) {
  throw Failure(tool::deviceFailed, error.what());
}

}  // namespace BX::range
