#include "faults/Cell.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>

namespace BX::faults {

namespace {

using sim::Direction, sim::FaultEffect, sim::FaultRule, sim::FrameKind;

constexpr int maxTries = 5;
// The last acknowledgement leaves some time after its exchange.
constexpr auto aftermath = resendTime * 4;
// A stream goes on after its exchange, on a busy machine slowly.
constexpr auto longestAftermath = std::chrono::seconds(1);

constexpr std::array directions{Direction::ToDevice, Direction::ToHost};

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

// The places of an exchange; an acknowledgement more or less is a matter of timing.
using Counts = std::map<std::pair<Direction, FrameKind>, std::size_t>;

void keepFewest(Counts& counts, const Exchange& exchange, const sim::Simulator& simulator) {
  for (const Direction direction : directions) {
    for (const FrameKind kind : {FrameKind::Begin, exchange.kind, FrameKind::Ack}) {
      const std::size_t count = simulator.frameCount(direction, kind);
      auto& fewest = counts.try_emplace({direction, kind}, count).first->second;
      fewest = std::min(fewest, count);
    }
  }
}

std::vector<FaultRule> rulesFor(const Exchange& exchange, const Counts& counts) {
  std::vector<FaultRule> rules;
  for (const auto& [place, count] : counts) {
    for (const FaultEffect effect : effects) {
      const bool refusal = effect == FaultEffect::Refuse;
      if (refusal && (place.second != exchange.kind || exchange.kind == FrameKind::Stream)) continue;
      // A request travels in one frame, its answer in any number.
      const std::size_t last = refusal && count > 0 ? counts.at({Direction::ToDevice, exchange.kind}) : count;
      for (const std::size_t number : std::set<std::size_t>{1, (last + 1) / 2, last}) {
        if (last > 0) rules.push_back({place.first, place.second, number, effect});
      }
    }
  }
  return rules;
}

void awaitStrike(const sim::Simulator& simulator) {
  const auto end = std::chrono::steady_clock::now() + longestAftermath;
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

bool isRepairable(const FaultRule& rule) { return rule.effect < FaultEffect::Refuse; }

// Whether this is the failure that the fault brings. A restart is noticed by whatever the device is asked next, which
// it may refuse in the mode that it is in then.
bool isDueTo(FaultEffect effect, link::FailureKind kind) {
  using enum link::FailureKind;
  if (effect == FaultEffect::Refuse) return kind == Refused;
  if (effect == FaultEffect::HangUp) return kind == HungUp;
  return kind == SessionLost || kind == NoAnswer || kind == Refused;
}

// What a busy machine can do to a cell, too: empty when the rule's demand is met.
std::string shortfall(const Cell& cell, bool struck, link::FailureKind kind) {
  if (!struck) return "the fault's place never came";
  if (isRepairable(cell.rule) && cell.tries > 1) return "the sound line afterwards did not work at once";
  // A frame that was repeated for want of time may be the one that the rule waits for, when all has arrived before.
  if (cell.outcome == Outcome::Recovered) return demanded(cell.rule) == Outcome::Failed ? "reported done" : "";
  if (demanded(cell.rule) == Outcome::Recovered) return "not recovered: " + cell.wrong;
  return isDueTo(cell.rule.effect, kind) ? "" : "failed for another reason: " + cell.wrong;
}

Cell attempt(const Exchange& exchange, const Expected& expected, const FaultRule& rule) {
  Cell cell{&exchange, rule, Outcome::Wrong, "", {}, 1, false, false};
  Rig rig(deviceOptions());
  leadUpSurely(exchange, rig);
  rig.simulator->setFaults({rule});
  const auto start = std::chrono::steady_clock::now();
  const bool done = exchange.run(rig);
  cell.time = std::chrono::steady_clock::now() - start;
  cell.wrong = verdict(exchange, expected, rig, done);
  if (!cell.wrong.empty()) return cell;
  const std::string error = rig.error();
  const auto kind = link::lastFailure(rig.port()).kind;

  awaitStrike(*rig.simulator);
  const bool struck = cell.struck = rig.simulator->faultsWaiting() == 0;
  rig.simulator->setFaults({});
  if (struck && rule.effect == FaultEffect::HangUp) rig.powerOn();
  cell.wrong = runAgain(exchange, expected, rig, cell.tries);
  if (!cell.wrong.empty()) {
    cell.wrong = "afterwards: " + cell.wrong;
  } else {
    cell.outcome = done ? Outcome::Recovered : Outcome::Failed;
    cell.wrong = error;
    if (const std::string missed = shortfall(cell, struck, kind); !missed.empty()) {
      cell.wrong = missed;
      cell.lapsed = true;
    }
  }
  return cell;
}

// How many acknowledgements have a frame of their own is a matter of time: on a busy machine more are carried by
// others, and a place that did not come is looked for again.
Cell attemptUntilStruck(const Exchange& exchange, const Expected& expected, const FaultRule& rule) {
  Cell cell = attempt(exchange, expected, rule);
  for (int i = 1; i < maxTries && cell.lapsed && !cell.struck; ++i) cell = attempt(exchange, expected, rule);
  return cell;
}

}  // namespace

Outcome demanded(const FaultRule& rule) {
  if (isRepairable(rule)) return Outcome::Recovered;
  if (rule.effect == FaultEffect::Refuse) return Outcome::Failed;
  // An acknowledgement may follow the exchange, and so may what is streamed after the records that it waits for.
  if (rule.kind == FrameKind::Ack) return Outcome::Either;
  if (rule.kind == FrameKind::Stream && rule.number > streamedRecords) return Outcome::Either;
  // A host that hears nothing asks again for a session.
  const bool asksAgain = rule.kind == FrameKind::Begin && rule.effect == FaultEffect::Restart;
  return asksAgain ? Outcome::Recovered : Outcome::Failed;
}

Expected expectedOf(const Exchange& exchange) {
  Rig rig(deviceOptions());
  Expected expected;
  Counts counts;
  for (int i = 0; i < maxTries; ++i) {
    leadUpSurely(exchange, rig);
    rig.simulator->setFaults({});
    if (!exchange.run(rig)) continue;
    std::this_thread::sleep_for(aftermath);
    keepFewest(counts, exchange, *rig.simulator);
    expected = {exchange.result(rig), rig.newRequests(), rulesFor(exchange, counts)};
  }
  if (expected.rules.empty()) throw std::runtime_error(exchange.name + " does not work: " + rig.error());
  return expected;
}

Cell runCell(const Exchange& exchange, const Expected& expected, const FaultRule& rule) {
  Cell cell = attemptUntilStruck(exchange, expected, rule);
  if (!cell.lapsed) return cell;
  cell = attemptUntilStruck(exchange, expected, rule);
  if (cell.lapsed) cell.outcome = Outcome::Wrong;
  cell.lapsed = true;
  return cell;
}

}  // namespace BX::faults
