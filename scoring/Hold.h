// How a shot was aimed and fired, by where the weapon pointed in the last second before it.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "scoring/Value.h"

namespace BX::scoring {

// Shares are 0 to 1, of the samples; lengths are in millimetres.
struct Hold {
  std::size_t samples = 0;
  Point meanAim;
  // Samples count as a hit there would. Nothing on a face without rings.
  std::optional<double> inHighestRing;
  std::optional<double> inNextRing;   // in the ring below the highest, and not in that
  std::optional<double> nearMeanAim;  // within a circle of the highest ring's size about the mean aim
  double aiming = 0;                  // from the centre of the face to the mean aim
  std::optional<double> trigger;      // from the mean aim to the hit; nothing when the hit is not known
  double traceLength = 0;
};

// `aims` are the samples of that second, in their order. Nothing without any.
std::optional<Hold> holdOf(const Face& face, Gauge gauge, std::span<const Point> aims, std::optional<Point> hit);

}  // namespace BX::scoring
