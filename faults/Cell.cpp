#include "faults/Cell.h"

#include <algorithm>
#include <array>
#include <limits>
#include <set>
#include <stdexcept>
#include <thread>

namespace BX::faults {

namespace {

using sim::Direction;
using sim::FaultEffect;
using sim::FaultRule;
using sim::FrameKind;

constexpr int maxTries = 5;
// The last acknowledgement leaves some time after its exchange.
constexpr auto aftermath = resendTime * 4;

constexpr std::array directions{Direction::ToDevice, Direction::ToHost};
constexpr std::array effects{FaultEffect::Drop,   FaultEffect::Duplicate, FaultEffect::Corrupt,
                             FaultEffect::Cut,    FaultEffect::Delay,     FaultEffect::Bytewise,
                             FaultEffect::Refuse, FaultEffect::Restart,   FaultEffect::HangUp};

bool leadUp(const Exchange& exchange, Rig& rig) {
  if (!rig.device.setDeviceMode(BXSerialCom::RESTING, true) || !exchange.prepare(rig)) return false;
  rig.device.setError(false);
  rig.newRequests();
  return true;
}

// A machine that is busy elsewhere can outlast the short time-outs before the fault's time has come.
void leadUpSurely(const Exchange& exchange, Rig& rig) {
  for (int i = 0; i < maxTries; ++i) {
    if (rig.com().openPort() && leadUp(exchange, rig)) return;
  }
  throw std::runtime_error(exchange.name + " cannot be led up to: " + rig.error());
}

void addRules(std::vector<FaultRule>& rules, Direction direction, FrameKind kind, std::size_t count, bool refusals) {
  if (count == 0) return;
  for (const std::size_t number : std::set<std::size_t>{1, (count + 1) / 2, count}) {
    for (const FaultEffect effect : effects) {
      if ((effect == FaultEffect::Refuse) == refusals) rules.push_back({direction, kind, number, effect});
    }
  }
}

std::vector<FaultRule> rulesFor(const Exchange& exchange, const sim::Simulator& simulator) {
  std::vector<FaultRule> rules;
  for (const Direction direction : directions) {
    for (const FrameKind kind : {FrameKind::Begin, exchange.kind, FrameKind::Ack}) {
      addRules(rules, direction, kind, simulator.frameCount(direction, kind), false);
    }
    if (exchange.kind != FrameKind::Stream) {  // a request travels in one frame, its answer in any number
      addRules(rules, direction, exchange.kind, simulator.frameCount(Direction::ToDevice, exchange.kind), true);
    }
  }
  return rules;
}

void awaitStrike(const sim::Simulator& simulator) {
  const auto end = std::chrono::steady_clock::now() + aftermath;
  while (simulator.faultsWaiting() > 0 && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::microseconds(500));
  }
}

bool isPrefix(const std::vector<std::string>& part, const std::vector<std::string>& whole) {
  return part.size() <= whole.size() && std::equal(part.begin(), part.end(), whole.begin());
}

// What is wrong with an exchange that reports `done`; empty when nothing is.
std::string verdict(const Exchange& exchange, const Expected& expected, Rig& rig, bool done) {
  const auto requests = rig.newRequests();
  if (done) {
    if (requests != expected.requests) return "reported done, but the device did not get each request once";
    if (exchange.result(rig) != expected.result) return "reported done with another result: " + exchange.result(rig);
    return rig.device.hasError() ? "reported done with an error: " + rig.error() : "";
  }
  if (rig.error().empty()) return "failed without a reason";
  if (!isPrefix(requests, expected.requests)) return "the device got a request twice, or one that was never sent";
  return exchange.stateAfterFailure(rig);
}

// Runs the exchange again until it works; what is wrong when it does not.
std::string runAgain(const Exchange& exchange, const Expected& expected, Rig& rig, int& tries) {
  for (tries = 1; tries <= maxTries; ++tries) {
    rig.device.setError(false);
    if (!rig.com().openPort() || !leadUp(exchange, rig)) continue;
    if (exchange.run(rig)) return verdict(exchange, expected, rig, true);
  }
  return rig.error();
}

}  // namespace

bool isLapse(const Cell& cell) { return cell.outcome == Outcome::Failed && cell.rule.effect < FaultEffect::Refuse; }

Expected expectedOf(const Exchange& exchange) {
  Rig rig(deviceOptions());
  Expected expected;
  std::size_t fewest = std::numeric_limits<std::size_t>::max();
  for (int i = 0; i < maxTries; ++i) {
    leadUpSurely(exchange, rig);
    rig.simulator->setFaults({});
    if (!exchange.run(rig)) continue;
    std::this_thread::sleep_for(aftermath);
    const std::size_t frames = rig.simulator->frameCount(Direction::ToDevice, FrameKind::Frame) +
                               rig.simulator->frameCount(Direction::ToHost, FrameKind::Frame);
    if (frames >= fewest) continue;
    fewest = frames;  // a busy machine makes either end send frames again
    expected = {exchange.result(rig), rig.newRequests(), rulesFor(exchange, *rig.simulator)};
  }
  if (expected.rules.empty()) throw std::runtime_error(exchange.name + " does not work: " + rig.error());
  return expected;
}

Cell runCell(const Exchange& exchange, const Expected& expected, const FaultRule& rule) {
  Cell cell{&exchange, rule, Outcome::Wrong, "", {}, 1};
  Rig rig(deviceOptions());
  leadUpSurely(exchange, rig);
  rig.simulator->setFaults({rule});
  const auto start = std::chrono::steady_clock::now();
  const bool done = exchange.run(rig);
  cell.time = std::chrono::steady_clock::now() - start;
  cell.wrong = verdict(exchange, expected, rig, done);
  if (!cell.wrong.empty()) return cell;
  if (!done) cell.wrong = rig.error();

  awaitStrike(*rig.simulator);
  const bool struck = rig.simulator->faultsWaiting() == 0;
  rig.simulator->setFaults({});
  if (struck && rule.effect == FaultEffect::HangUp) rig.powerOn();
  if (const std::string wrong = runAgain(exchange, expected, rig, cell.tries); !wrong.empty()) {
    cell.wrong = "afterwards: " + wrong;
  } else {
    cell.outcome = !struck ? Outcome::NotMet : done ? Outcome::Recovered : Outcome::Failed;
  }
  return cell;
}

}  // namespace BX::faults
