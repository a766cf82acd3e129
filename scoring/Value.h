// What a hit is worth.
#pragma once

#include <string>

#include "scoring/Face.h"

namespace BX::scoring {

// What of a hit must reach a line: the edge of its hole, or its centre.
enum class Gauge { Edge, Centre };

struct Value {
  int ring = 0;    // 0: none
  int tenths = 0;  // the value with its tenth, in tenths: 93 is 9.3
  bool isInner = false;
};

// "9.3" of 93.
std::string decimalOf(int tenths);

// On a face with rings. With r the distance of the hit from the centre, R(k) the radius of ring k and c half the
// calibre (0 by the centre), each a whole micrometre: the hit has the highest ring with r <= R(k) + c. Its tenths
// divide what lies between the lines of that ring and of the next higher one (from the centre, in the highest) evenly;
// they are cut, so that .9 is the most.
Value valueOf(const Face& face, Gauge gauge, Point hit);

// On a silhouette: the class of the pixel under the hit's centre; 0 beyond the bitmap.
int pixelClassOf(const Face& face, Point hit);

// The direction from the centre by the clock, 1 to 12; 0 in the centre itself.
int clockOf(Point hit);

}  // namespace BX::scoring
