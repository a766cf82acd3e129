#include "scoring/Face.h"

#include <algorithm>
#include <cmath>

#include "bx/DocumentKeys.h"
#include "scoring/Members.h"

namespace BX::scoring {

namespace {

constexpr double micrometresPerMillimetre = 1000;
constexpr double millimetresPerInch = 25.4;
constexpr double millimetresPerCentimetre = 10;
constexpr int highestValue = 255;      // one byte of the wire
constexpr int mostVariableRings = 11;  // beside the highest

double millimetresPer(const std::string& unit) {
  return unit == text::mm || unit == text::millimeters ? 1 : millimetresPerInch;
}

// By way of nanometres, of which half a calibre has a whole number in either unit: half of .375 in is 4762.5
// micrometres, which doubles come to a little below, and which must not be rounded down for that.
Micrometres toMicrometres(double millimetres) {
  constexpr double nanometresPerMillimetre = 1'000'000;
  constexpr Micrometres nanometresPerMicrometre = 1000;
  if (!(millimetres > 0 && millimetres <= mostMillimetres)) return 0;
  return (std::llround(millimetres * nanometresPerMillimetre) + nanometresPerMicrometre / 2) / nanometresPerMicrometre;
}

struct RingReader {
  const rapidjson::Value& target;
  double unit = millimetresPer(textOf(target, key::target::sizeUnit));
  bool isFixed = textOf(target, key::ring::ringGaps) == text::fixed;
  double highestDiameter = numberOf(target, key::ring::diameterHighestRing).value_or(0);

  Micrometres radius(const std::string& key) const {
    return toMicrometres(numberOf(target, key.c_str()).value_or(0) / 2 * unit);
  }

  // Of the ring that is worth `below` less than the highest.
  Micrometres ringRadius(int below) const {
    if (below == 0) return radius(key::ring::diameterHighestRing);
    if (!isFixed) {
      return below > mostVariableRings ? 0 : radius(key::ring::diameterVariable + std::to_string(below));
    }
    const double gap = numberOf(target, key::ring::hitRingGap).value_or(0);
    return gap > 0 && highestDiameter > 0 ? toMicrometres((highestDiameter / 2 + gap * below) * unit) : 0;
  }

  std::vector<Ring> rings() const {
    std::vector<Ring> rings;
    const int highest = integerOf(target, key::ring::highestRing).value_or(0);
    if (highest > highestValue) return rings;
    const int lowest = std::max(integerOf(target, key::ring::minimumRing).value_or(1), 1);
    for (int value = highest; value >= lowest; --value) {
      if (const Micrometres found = ringRadius(highest - value); found > 0) rings.push_back({value, found});
    }
    return rings;
  }
};

Face ringFace(const rapidjson::Value& target) {
  const RingReader reader{target};
  Face face;
  face.number = integerOf(target, key::ring::ringTargetNumber);
  face.rings = reader.rings();
  face.innerTen = reader.radius(key::ring::diameterX);
  face.black = reader.radius(key::ring::diameterBlackArea);
  face.innerWhite = reader.radius(key::ring::diameterInnerWhite);
  face.halfCalibre = toMicrometres(numberOf(target, key::ring::caliber).value_or(0) / 2 *
                                   millimetresPer(textOf(target, key::ring::caliberUnit)));
  return face;
}

std::vector<std::uint8_t> pixelsOf(const rapidjson::Value& row) {
  std::vector<std::uint8_t> pixels;
  if (!row.IsArray()) return pixels;
  for (const auto& pixel : row.GetArray()) {
    const bool isClass = pixel.IsUint() && pixel.GetUint() <= highestPixel;
    pixels.push_back(isClass ? static_cast<std::uint8_t>(pixel.GetUint()) : 0);
    if (pixels.size() == bitmapRows) break;
  }
  return pixels;
}

Face silhouetteFace(const rapidjson::Value& target) {
  Face face;
  face.isSilhouette = true;
  face.number = integerOf(target, key::silhouette::silhouetteTargetNumber);
  const std::string unit = textOf(target, key::target::sizeUnit);
  // Silhouettes alone are given in centimetres, too; they travel tenfold.
  const bool isCentimetres = unit == "cm" || unit == "Centimeters";
  const double size = std::max(numberOf(target, key::target::targetWidth).value_or(0),
                               numberOf(target, key::target::targetHeight).value_or(0));
  face.side = toMicrometres(size * (isCentimetres ? millimetresPerCentimetre : millimetresPer(unit)));
  const rapidjson::Value& bitmap = memberOf(target, key::silhouette::bitmap);
  if (!bitmap.IsArray()) return face;
  for (const auto& row : bitmap.GetArray()) {
    face.rows.push_back(pixelsOf(row));
    if (face.rows.size() == bitmapRows) break;
  }
  return face;
}

bool isSilhouette(const rapidjson::Value& target) {
  const std::string type = textOf(target, key::target::targetType);
  if (!type.empty()) return type != text::ring;  // as the library takes it
  return !memberOf(target, key::silhouette::bitmap).IsNull();
}

}  // namespace

Micrometres micrometresOf(double millimetres) { return std::llround(millimetres * micrometresPerMillimetre); }

double millimetresOf(Micrometres micrometres) { return static_cast<double>(micrometres) / micrometresPerMillimetre; }

// Not std::hypot, for which glibc 2.35 has a version that no older one has.
double apart(Point a, Point b) {
  const double x = a.x - b.x;
  const double y = a.y - b.y;
  return std::sqrt(x * x + y * y);
}

std::optional<Point> positionOf(std::optional<double> x, std::optional<double> y) {
  if (!x || !y) return std::nullopt;
  const Point point{.x = *x * millimetresPerPosition, .y = *y * millimetresPerPosition};
  const bool isInRange = std::abs(point.x) <= mostMillimetres && std::abs(point.y) <= mostMillimetres;
  return isInRange ? std::optional(point) : std::nullopt;
}

Face faceOf(const rapidjson::Value& target) {
  if (!target.IsObject()) return {};
  Face face = isSilhouette(target) ? silhouetteFace(target) : ringFace(target);
  face.name = textOf(target, key::target::targetName);
  return face;
}

Micrometres halfPaperOf(const Face& face) {
  constexpr Micrometres ofNothing = 100'000;
  if (face.side > 0) return face.side / 2;
  Micrometres widest = std::max({face.innerTen, face.black, face.innerWhite});
  for (const Ring& ring : face.rings) widest = std::max(widest, ring.radius);
  return widest > 0 ? widest + widest / 10 : ofNothing;
}

}  // namespace BX::scoring
