// A target as it is scored and drawn: its rings, or the bitmap of a silhouette.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace BX::scoring {

// The lines of a face are whole micrometres, so that a hit on a line is on it exactly.
using Micrometres = std::int64_t;

// Right and up from the centre of the face, in millimetres.
struct Point {
  double x = 0;
  double y = 0;
};

// What a position in a record is, whatever unit the face has.
inline constexpr double millimetresPerPosition = 1;

// Lengths and positions beyond it are none.
inline constexpr double mostMillimetres = 10'000'000;

// To the nearest micrometre, and back.
Micrometres micrometresOf(double millimetres);
double millimetresOf(Micrometres micrometres);

// Between the two, in millimetres.
double apart(Point a, Point b);

// The position of these coordinates of a record; nothing when one is missing, or lies beyond all ranges.
std::optional<Point> positionOf(std::optional<double> x, std::optional<double> y);

struct Ring {
  int value = 0;
  Micrometres radius = 0;
};

// What is missing or makes no sense in the document, the face does not have: a length is 0 then.
struct Face {
  std::string name;
  std::optional<int> number;  // under which the device holds it, among those of its kind
  bool isSilhouette = false;
  // The radii of a ring target.
  std::vector<Ring> rings;  // from the highest down to the lowest that counts; none of them is worth 0
  Micrometres innerTen = 0;
  Micrometres black = 0;
  Micrometres innerWhite = 0;
  Micrometres halfCalibre = 0;
  // A silhouette: rows from the top, pixels from the left, each of class 0 to 3. The bitmap is square, its middle is
  // the centre, and a row or pixel that is missing is of class 0.
  Micrometres side = 0;
  std::vector<std::vector<std::uint8_t>> rows;

  // Without rings, no hit has a value.
  bool isScored() const { return !rings.empty(); }
};

// A face without anything when the document is no object.
Face faceOf(const rapidjson::Value& target);

// From the centre to the paper's edge: a tenth beyond the lowest ring, or the edge of the bitmap. Never 0.
Micrometres halfPaperOf(const Face& face);

}  // namespace BX::scoring
