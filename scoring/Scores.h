// The shots of a session, scored for one of its targets.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "scoring/Group.h"
#include "scoring/Hold.h"
#include "scoring/Session.h"
#include "scoring/Value.h"

namespace BX::scoring {

struct Score {
  const Shot* shot = nullptr;  // of the session, valid until it grows
  bool isAtTarget = false;     // and not at one that the session does not know
  std::optional<Value> value;  // nothing: not scored, for want of rings, of a position or of the right target
};

Score scoreOf(const Session& session, std::size_t target, Gauge gauge, const Shot& shot);

// In their order: the shots at this target, and those at targets that the session does not know, which have no value.
std::vector<Score> scoresOf(const Session& session, std::size_t target, Gauge gauge);

struct Tally {
  int total = 0;   // of whole values
  int tenths = 0;  // of values with their tenths, in tenths
  int innerTens = 0;
  std::size_t scored = 0;
};

Tally tallyOf(std::span<const Score> scores);

// Of the shots at the target, misses included.
std::optional<Group> groupOf(std::span<const Score> scores);

// By the last second before the shot. Nothing without times, or without samples in that second.
std::optional<Hold> holdOf(const Session& session, std::size_t target, Gauge gauge, const Shot& shot);

}  // namespace BX::scoring
