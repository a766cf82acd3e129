// All orders of few events: goes breadth-first through every state that two stations, joined by two queues of frames,
// can reach within some bounds. What was sent arrives once and in order or its sender is told of the session's end,
// from every state on, as soon as nothing goes wrong any more. Built with the station, and with each of its mutants.
#include <cstdio>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "tests/support/TwoStations.h"

namespace BX {

using namespace std::chrono_literals;
using test::End, test::require, test::Time;

namespace link {

struct StationState {
  // All that the behaviour of a station depends on, times as they lie ahead.
  static void append(std::string& key, const Station& one, Time now, Time::duration horizon) {
    const auto put = [&key](auto... fields) {
      (key.append(reinterpret_cast<const char*>(&fields), sizeof fields), ...);
    };
    const auto until = [now](const auto& time) { return time ? *time - now : Time::duration::min(); };
    put(one.state_, one.session_, one.heard_, one.renewing_, one.renewable_, one.inFlight_, one.firstInFlight_);
    put(one.expected_, one.rejected_, one.pollPending_, one.acknowledgeNow_, one.gathered_, one.sends_, one.wait_);
    put(until(one.acknowledgeAt_), until(one.resendAt_), std::min(now - one.silentSince_, horizon));
    put(one.assembling_.payload.size(), one.messages_.size(), one.parts_.size());
    for (const auto& part : one.parts_) key.append(part.data.begin(), part.data.end());
  }
};

}  // namespace link

namespace {

constexpr std::size_t Host = 0;
constexpr std::size_t Device = 1;

// Each at one end: it sends a message; the oldest frame to it arrives, is lost, or arrives and comes again; its next
// time-out passes; the device forgets all, or a new host begins anew.
enum Action : std::size_t { Send, Deliver, Lose, Copy, Tick, Restart };
constexpr std::array names{"send", "deliver", "lose", "copy", "tick", "restart"};

// How often at the host, and at the device; a negative number: without end.
using Often = std::array<int, 2>;
constexpr Often always{-1, -1};

struct Bounds {
  const char* name;
  std::array<Often, names.size()> budget;  // of each action
  std::size_t size;                        // of a message
  std::size_t capacity;                    // of a queue: what it cannot hold is lost
  bool prompt;  // time passes for both ends, and only when no frame is under way; else for either end at any time
  link::Timing host;
  link::Timing device;
};

struct State {
  std::array<End, 2> ends;
  std::array<Time, 2> now;
  std::array<std::deque<link::Bytes>, 2> queues;  // to the host, to the device
  std::array<Often, names.size()> budget;
};

class Explorer {
 public:
  explicit Explorer(const Bounds& bounds) : bounds_(bounds) {}

  void run() {
    enter({{End(link::Role::Initiator, bounds_.host), End(link::Role::Responder, bounds_.device)},
           {},
           {},
           bounds_.budget});
    for (; !frontier_.empty(); frontier_.pop_front()) expand(frontier_.front());
    for (const auto& [key, node] : nodes_) follow(key);
    std::printf("%s: %zu states, %zu transitions\n", bounds_.name, nodes_.size(), transitions_);
  }
  // What led to the state that was looked at last, and what happened then.
  std::string path() const {
    std::string path = lastAction_;
    for (auto at = nodes_.find(last_); at->second.parent != at->first; at = nodes_.find(at->second.parent)) {
      path = at->second.action + path;
    }
    return path;
  }

 private:
  struct Node {
    std::size_t parent;
    std::string action;
    bool settled;
    std::size_t next;  // when nothing goes wrong any more
  };

  std::size_t keyOf(const State& state) const {
    std::string key(reinterpret_cast<const char*>(&state.budget), sizeof state.budget);
    for (const auto at : {Host, Device}) {
      const End& end = state.ends[at];
      // A silence that a device can wait out is told by what it has sent; the others never pass within these bounds.
      const auto horizon = at == Host ? bounds_.host.keepAlive : bounds_.device.silence % 60s;
      link::StationState::append(key, end.station, state.now[at], horizon);
      for (const auto number : {end.sent, end.lost, end.delivered}) key += std::to_string(number) + ' ';
      for (const auto& frame : state.queues[at]) key.append(frame.begin(), frame.end());
    }
    return std::hash<std::string>()(key);
  }

  void enter(const State& state) {
    const std::size_t key = keyOf(state);
    if (nodes_.contains(key)) return;
    nodes_[key] = {nodes_.empty() ? key : last_, lastAction_, settled(state), key};
    frontier_.push_back(state);
  }

  void expand(const State& state) {
    last_ = keyOf(state);
    for (std::size_t action = 0; action < names.size(); ++action) {
      for (const auto at : {Host, Device}) {
        if (!mayHappen(state, static_cast<Action>(action), at)) continue;
        State next = state;
        lastAction_ = std::string(" ") + names[action] + (at == Host ? "-host" : "-device");
        apply(next, static_cast<Action>(action), at);
        ++transitions_;
        enter(next);
      }
    }
    State quiet = state;
    if (!apply(quiet, Deliver, Device) && !apply(quiet, Deliver, Host)) {
      apply(quiet, Tick, Host);
      apply(quiet, Tick, Device);
    }
    nodes_[last_].next = keyOf(quiet);
  }

  // False when it cannot happen.
  bool apply(State& state, Action action, std::size_t at) const {
    End& end = state.ends[at];
    auto& queue = state.queues[at];
    int& left = state.budget[action][at];
    if (!mayHappen(state, action, at)) return false;
    if (left > 0) --left;
    if (action == Deliver || action == Copy) end.receive(queue.front(), state.now[at]);
    if (action == Deliver || action == Lose) queue.pop_front();
    if (action == Tick) pass(state, at);
    if (action == Restart) end.forget();
    if (action == Restart && at == Device) end.station.restart();
    if (action == Restart && at == Host) end.station.connect(state.now[at]);
    if (action == Send || (action == Restart && at == Host)) end.send(end.sent % 2, false, bounds_.size, state.now[at]);
    auto output = end.take(state.ends[1 - at], state.now[at]);
    for (auto& frame : output.frames) {
      if (state.queues[1 - at].size() < bounds_.capacity) state.queues[1 - at].push_back(std::move(frame));
    }
    require(!end.ended || !bounds_.prompt || bounds_.budget[Restart] != Often{}, "a session with few losses lives on");
    return true;
  }

  bool mayHappen(const State& state, Action action, std::size_t at) const {
    const auto& station = state.ends[at].station;
    if (state.budget[action][at] == 0) return false;
    if (action == Send) return at == Host || station.state() == link::Station::State::Up;
    if (action == Restart) return true;
    if (action != Tick) return !state.queues[at].empty();
    const auto due = station.deadline();
    if (!due || !bounds_.prompt) return due.has_value();
    const bool first = *due <= state.ends[1 - at].station.deadline().value_or(*due);
    return first && state.queues[Host].empty() && state.queues[Device].empty();
  }

  void pass(State& state, std::size_t at) const {
    state.now[at] = std::max(state.now[at], *state.ends[at].station.deadline());
    if (bounds_.prompt) state.now[1 - at] = state.now[at];
    state.ends[at].station.advance(state.now[at]);
  }

  // Nothing is left to do; or the host is down, and the device's messages wait for another one.
  static bool settled(const State& state) {
    const auto& [host, device] = state.ends;
    if (!state.queues[Host].empty() || !state.queues[Device].empty()) return false;
    if (host.station.backlog() > 0 || !host.owesNothingTo(device)) return false;
    return host.station.state() == link::Station::State::Down ||
           (device.station.backlog() == 0 && device.owesNothingTo(host));
  }

  // To a state in which nothing is left to do.
  void follow(std::size_t key) {
    std::unordered_set<std::size_t> way;
    for (lastAction_.clear(); !nodes_.at(key).settled && !good_.contains(key); key = nodes_.at(key).next) {
      last_ = key;
      require(way.insert(key).second, "a line that is sound again comes to an end");
    }
    good_.merge(way);
  }

  const Bounds bounds_;
  std::deque<State> frontier_;
  std::unordered_map<std::size_t, Node> nodes_;
  std::unordered_set<std::size_t> good_;
  std::size_t transitions_ = 0;
  std::size_t last_ = 0;
  std::string lastAction_;
};

// Waits of one length, and few sends, make fewer states.
constexpr link::Timing host{.baud = 0, .sends = 6, .keepAlive = 1s};
constexpr link::Timing hasty{.baud = 0, .sends = 2};
constexpr link::Timing device{.baud = 0, .longestWait = 100ms};
constexpr link::Timing impatient{.baud = 0, .longestWait = 100ms, .silence = 250ms};

constexpr Often once{1, 1};
constexpr Often never{0, 0};

// A copy of a request that outlives the session is not told from one that met none: no copies where a session may end.
constexpr std::array all{
    Bounds{"few losses", {{{2, 1}, always, once, once, always, never}}, 4, 99, true, host, device},
    Bounds{"a full window", {{{1, 8}, always, {1, 0}, never, always, never}}, 4, 99, true, host, device},
    Bounds{"restarts", {{{2, 1}, always, {1, 0}, never, always, once}}, 250, 99, true, host, device},
    Bounds{"any end", {{{1, 1}, always, always, never, always, {0, 1}}}, 4, 2, false, hasty, impatient},
    Bounds{"any time", {{{2, 1}, always, always, always, always, never}}, 4, 2, false, hasty, device},
};

}  // namespace
}  // namespace BX

// With an argument, all that may be sent or go wrong may do so once more.
int main(int count, char**) {
  for (auto bounds : BX::all) {
    for (auto& often : bounds.budget) {
      for (int& number : often) number += count > 1 && number > 0 ? 1 : 0;
    }
    BX::Explorer explorer(bounds);
    try {
      explorer.run();
    } catch (const BX::test::BrokenRule& rule) {
      std::printf("fault: %s: %s:%s\n", bounds.name, rule.what(), explorer.path().c_str());
      return 1;
    }
  }
  return 0;
}
