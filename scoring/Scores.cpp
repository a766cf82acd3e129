#include "scoring/Scores.h"

namespace BX::scoring {

Score scoreOf(const Session& session, std::size_t target, Gauge gauge, const Shot& shot) {
  const Face& face = session.targets().at(target);
  Score score{.shot = &shot, .isAtTarget = session.targetOf(shot) == target, .value = {}};
  if (score.isAtTarget && face.isScored() && shot.position) score.value = valueOf(face, gauge, *shot.position);
  return score;
}

std::vector<Score> scoresOf(const Session& session, std::size_t target, Gauge gauge) {
  std::vector<Score> scores;
  for (const Shot& shot : session.shots()) {
    if (session.targetOf(shot).value_or(target) == target) {
      scores.push_back(scoreOf(session, target, gauge, shot));
    }
  }
  return scores;
}

Tally tallyOf(std::span<const Score> scores) {
  Tally tally;
  for (const Score& score : scores) {
    if (!score.value) continue;
    tally.total += score.value->ring;
    tally.tenths += score.value->tenths;
    tally.innerTens += score.value->isInner ? 1 : 0;
    ++tally.scored;
  }
  return tally;
}

std::optional<Group> groupOf(std::span<const Score> scores) {
  std::vector<Point> hits;
  for (const Score& score : scores) {
    if (score.isAtTarget && score.shot->position) hits.push_back(*score.shot->position);
  }
  return groupOf(std::span<const Point>(hits));
}

std::optional<Hold> holdOf(const Session& session, std::size_t target, Gauge gauge, const Shot& shot) {
  const auto aims = positionsOf(session.aimBefore(shot, lastSecond));
  return holdOf(session.targets().at(target), gauge, std::span<const Point>(aims), shot.position);
}

}  // namespace BX::scoring
