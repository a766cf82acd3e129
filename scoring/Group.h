// How shots lie together.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>

#include "scoring/Face.h"

namespace BX::scoring {

// In millimetres. Of one shot there is no deviation.
struct Group {
  std::size_t shots = 0;
  Point centre;                                  // the mean of the hits
  std::array<Point, 2> extremes;                 // the two hits that lie furthest apart
  double extremeSpread = 0;                      // between them
  double meanRadius = 0;                         // the mean distance from the centre of the group
  std::optional<double> deviationX, deviationY;  // standard deviations of a sample: over n - 1
};

// Misses count as any other hit. Nothing without hits.
std::optional<Group> groupOf(std::span<const Point> hits);

}  // namespace BX::scoring
