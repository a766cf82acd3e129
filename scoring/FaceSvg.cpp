#include "scoring/FaceSvg.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include "bx/DocumentKeys.h"
#include "platform/Utf8.h"

namespace BX::scoring {

namespace {

constexpr auto paperColour = "#fbf5e6";
constexpr auto inkColour = "#1e2022";
constexpr auto hitColour = "#ffe14a";
constexpr auto foreignColour = "#2a7fc9";  // stands out from black and from paper
constexpr std::array pixelColours = {"#c9c1ae", "#8f8878", "#4e4a42"};

// Millimetres without needless zeros.
std::string length(Micrometres micrometres) {
  const Micrometres size = std::abs(micrometres);
  std::string text = micrometres < 0 ? "-" : "";
  text += std::to_string(size / 1000);
  if (size % 1000 == 0) return text;
  text += '.' + std::to_string(1000 + size % 1000).substr(1);
  return text.substr(0, text.find_last_not_of('0') + 1);
}

std::string attribute(const char* name, const std::string& value) {
  return std::string(" ") + name + "=\"" + value + '"';
}
std::string attribute(const char* name, Micrometres value) { return attribute(name, length(value)); }

std::string square(const char* kind, Micrometres half, const std::string& fill) {
  return "<rect" + attribute("class", kind) + attribute("x", -half) + attribute("y", -half) +
         attribute("width", 2 * half) + attribute("height", 2 * half) + attribute("fill", fill) + "/>\n";
}

std::string circle(const std::string& kind, Micrometres radius, const std::string& paint) {
  return "<circle" + attribute("class", kind) + attribute("r", radius) + paint + "/>\n";
}

std::string centredText(const std::string& kind, Micrometres x, Micrometres y, Micrometres size, const char* fill,
                        const std::string& text) {
  // The figures of common fonts are 0.7 of their size high.
  return "<text" + attribute("class", kind) + attribute("x", x) + attribute("y", y + size * 35 / 100) +
         attribute("font-size", size) + attribute("text-anchor", "middle") + attribute("font-family", "sans-serif") +
         attribute("fill", fill) + '>' + text + "</text>\n";
}

class RingShapes {
 public:
  explicit RingShapes(const Face& face) : face_(face), lineWidth_(halfPaperOf(face) / 500) {}

  std::string all() const {
    std::string shapes;
    if (face_.black > 0) shapes += circle("black", face_.black, attribute("fill", inkColour));
    if (face_.innerWhite > 0) shapes += circle("white", face_.innerWhite, attribute("fill", paperColour));
    for (std::size_t i = 0; i < face_.rings.size(); ++i) {
      shapes += circle(isOnBlack(face_.rings[i].radius) ? "ring light" : "ring", face_.rings[i].radius,
                       line(face_.rings[i].radius, lineWidth_));
      if (i > 0) shapes += numbers(face_.rings[i], face_.rings[i - 1]);
    }
    if (face_.innerTen > 0) {
      shapes += circle("inner", face_.innerTen,
                       line(face_.innerTen, lineWidth_) + attribute("stroke-dasharray", 6 * lineWidth_));
    }
    return shapes;
  }

 private:
  bool isOnBlack(Micrometres radius) const { return radius > face_.innerWhite && radius <= face_.black; }
  const char* colourOn(Micrometres radius) const { return isOnBlack(radius) ? paperColour : inkColour; }

  std::string line(Micrometres radius, Micrometres width) const {
    return attribute("fill", "none") + attribute("stroke", colourOn(radius)) + attribute("stroke-width", width);
  }

  // On all four sides, in the middle between the lines.
  std::string numbers(const Ring& ring, const Ring& inner) const {
    const Micrometres band = ring.radius - inner.radius;
    const Micrometres at = inner.radius + band / 2;
    std::string texts;
    if (band <= 0) return texts;
    for (const auto& [x, y] : {std::pair{at, Micrometres{0}}, {-at, 0}, {0, at}, {0, -at}}) {
      texts += centredText("number", x, y, band * 45 / 100, colourOn(at), std::to_string(ring.value));
    }
    return texts;
  }

  const Face& face_;
  const Micrometres lineWidth_;
};

// A path for each class, of the runs of its pixels.
std::string bitmapShapes(const Face& face) {
  std::array<std::string, highestPixel> paths;
  const double pixel = static_cast<double>(face.side) / bitmapRows;
  const auto edge = [&](std::size_t index) { return std::llround(static_cast<double>(index) * pixel) - face.side / 2; };
  for (std::size_t row = 0; row < face.rows.size(); ++row) {
    const auto& pixels = face.rows[row];
    for (std::size_t begin = 0, end = 0; begin < pixels.size(); begin = end) {
      while (end < pixels.size() && pixels[end] == pixels[begin]) ++end;
      if (pixels[begin] == 0) continue;
      paths[pixels[begin] - 1U] += 'M' + length(edge(begin)) + ' ' + length(edge(row)) + 'H' + length(edge(end)) + 'V' +
                                   length(edge(row + 1)) + 'H' + length(edge(begin)) + 'Z';
    }
  }
  std::string shapes;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    if (paths[i].empty()) continue;
    shapes += "<path" + attribute("class", "pixel-" + std::to_string(i + 1)) + attribute("d", paths[i]) +
              attribute("fill", pixelColours.at(i)) + "/>\n";
  }
  return shapes;
}

// Of a hit as it is drawn: without a calibre, a dot that can be seen.
Micrometres hitRadius(const Face& face) { return face.halfCalibre > 0 ? face.halfCalibre : halfPaperOf(face) / 100; }

std::string hitShapes(const Face& face, const Score& score) {
  const Micrometres radius = hitRadius(face);
  const Micrometres x = micrometresOf(score.shot->position->x);
  const Micrometres y = -micrometresOf(score.shot->position->y);
  const std::string number = std::to_string(score.shot->number);
  // So that the number stays within the hit.
  const Micrometres size = radius * 3 / static_cast<Micrometres>(number.size() + 1);
  const char* const ink = score.isAtTarget ? inkColour : foreignColour;
  return "<circle" + attribute("class", "hit") + attribute("cx", x) + attribute("cy", y) + attribute("r", radius) +
         attribute("fill", score.isAtTarget ? hitColour : "none") + attribute("stroke", ink) +
         attribute("stroke-width", radius / 10) + "/>\n" + centredText("hit-number", x, y, size, ink, number);
}

}  // namespace

std::string markupOf(std::string_view text) {
  std::string markup;
  for (const char c : platform::printable(text)) {
    switch (c) {
      case '&':
        markup += "&amp;";
        break;
      case '<':
        markup += "&lt;";
        break;
      case '>':
        markup += "&gt;";
        break;
      case '"':
        markup += "&quot;";
        break;
      case '\'':
        markup += "&#39;";
        break;
      default:
        markup += c;
    }
  }
  // The two characters that UTF-8 can spell and XML has not.
  for (const char* none : {"\xEF\xBF\xBE", "\xEF\xBF\xBF"}) {
    for (auto at = markup.find(none); at != std::string::npos; at = markup.find(none)) {
      markup.replace(at, 3, "\xEF\xBF\xBD");
    }
  }
  return markup;
}

std::string faceShapes(const Face& face) {
  return "<g class=\"face\">\n" + square("paper", halfPaperOf(face), paperColour) +
         (face.isSilhouette ? bitmapShapes(face) : RingShapes(face).all()) + "</g>\n";
}

std::string faceDocument(const Face& face, std::span<const Score> scores) {
  Micrometres half = halfPaperOf(face);
  std::string hits;
  for (const Score& score : scores) {
    if (!score.shot->position) continue;
    hits += hitShapes(face, score);
    const double furthest = std::max(std::abs(score.shot->position->x), std::abs(score.shot->position->y));
    half = std::max(half, micrometresOf(furthest) + 2 * hitRadius(face));
  }
  const std::string size = length(2 * half);
  return "<svg xmlns=\"http://www.w3.org/2000/svg\"" + attribute("width", size + "mm") +
         attribute("height", size + "mm") +
         attribute("viewBox", length(-half) + ' ' + length(-half) + ' ' + size + ' ' + size) + ">\n<title>" +
         markupOf(face.name) + "</title>\n" + faceShapes(face) + "<g class=\"hits\">\n" + hits + "</g>\n</svg>";
}

}  // namespace BX::scoring
