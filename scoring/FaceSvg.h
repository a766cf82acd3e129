// The face as SVG: the only place where it is drawn. True to scale, in millimetres; the centre is 0 0, and what lies
// above it has a negative y.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "scoring/Scores.h"

namespace BX::scoring {

// Text for SVG and HTML, between tags or in an attribute: no markup, and nothing that steers a terminal or the
// direction of text.
std::string markupOf(std::string_view text);

// A group of the class "face": paper, black, rings with their values, inner ten; or the pixels of a silhouette. Colours
// and widths are attributes, which a style sheet may replace by these classes: paper, black, white, ring (light where
// it lies on black), inner, number, pixel-1 to pixel-3.
std::string faceShapes(const Face& face);

// A whole file: the face, and the hits at their calibre with their numbers. Hits at another target are hollow. What has
// no known position is not drawn.
std::string faceDocument(const Face& face, std::span<const Score> scores);

}  // namespace BX::scoring
