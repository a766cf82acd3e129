#include "scoring/Value.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "bx/DocumentKeys.h"

namespace BX::scoring {

namespace {

constexpr int tenthsInRing = 10;

// From the outer line inwards, 0 to 9; `depth` is how far inside of the outer line the hit is, `width` more than 0.
int tenthOf(Micrometres depth, Micrometres width) {
  return static_cast<int>(std::min<Micrometres>(depth * tenthsInRing / width, tenthsInRing - 1));
}

}  // namespace

std::string decimalOf(int tenths) {
  return std::to_string(tenths / tenthsInRing) + '.' + std::to_string(tenths % tenthsInRing);
}

Value valueOf(const Face& face, Gauge gauge, Point hit) {
  const Micrometres reach = gauge == Gauge::Edge ? face.halfCalibre : 0;
  const Micrometres fromCentre = micrometresOf(apart(hit, {}));
  Micrometres inner = 0;
  for (const Ring& ring : face.rings) {
    const Micrometres outer = ring.radius + reach;
    if (fromCentre <= outer) {
      const bool isHighest = &ring == &face.rings.front();
      return {.ring = ring.value,
              .tenths = ring.value * tenthsInRing + tenthOf(outer - fromCentre, outer - inner),
              .isInner = isHighest && face.innerTen > 0 && fromCentre <= face.innerTen + reach};
    }
    inner = outer;
  }
  return {};
}

int pixelClassOf(const Face& face, Point hit) {
  if (face.side == 0) return 0;
  const double side = millimetresOf(face.side);
  const double row = std::floor((0.5 - hit.y / side) * bitmapRows);
  const double column = std::floor((0.5 + hit.x / side) * bitmapRows);
  if (row < 0 || column < 0 || row >= static_cast<double>(face.rows.size())) return 0;
  const auto& pixels = face.rows[static_cast<std::size_t>(row)];
  return column < static_cast<double>(pixels.size()) ? pixels[static_cast<std::size_t>(column)] : 0;
}

int clockOf(Point hit) {
  constexpr int hours = 12;
  if (hit.x == 0 && hit.y == 0) return 0;
  const auto hour = std::lround(std::atan2(hit.x, hit.y) / (2 * std::numbers::pi) * hours);
  return static_cast<int>((hour + hours - 1) % hours + 1);
}

}  // namespace BX::scoring
