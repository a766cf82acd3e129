#include "scoring/Hold.h"

#include <algorithm>
#include <cmath>

namespace BX::scoring {

namespace {

template <typename Condition>
double shareOf(std::span<const Point> aims, const Condition& holds) {
  return static_cast<double>(std::count_if(aims.begin(), aims.end(), holds)) / static_cast<double>(aims.size());
}

}  // namespace

std::optional<Hold> holdOf(const Face& face, Gauge gauge, std::span<const Point> aims, std::optional<Point> hit) {
  if (aims.empty()) return std::nullopt;
  Hold hold;
  hold.samples = aims.size();
  for (std::size_t i = 0; i < aims.size(); ++i) {
    hold.meanAim.x += aims[i].x / static_cast<double>(aims.size());
    hold.meanAim.y += aims[i].y / static_cast<double>(aims.size());
    if (i > 0) hold.traceLength += apart(aims[i - 1], aims[i]);
  }
  hold.aiming = apart(hold.meanAim, {});
  if (hit) hold.trigger = apart(hold.meanAim, *hit);
  if (!face.isScored()) return hold;
  const Ring& highest = face.rings.front();
  const auto shareWorth = [&](int ring) {
    return shareOf(aims, [&](Point aim) { return valueOf(face, gauge, aim).ring == ring; });
  };
  hold.inHighestRing = shareWorth(highest.value);
  if (face.rings.size() > 1) hold.inNextRing = shareWorth(face.rings[1].value);
  hold.nearMeanAim =
      shareOf(aims, [&](Point aim) { return micrometresOf(apart(aim, hold.meanAim)) <= highest.radius; });
  return hold;
}

}  // namespace BX::scoring
