#include "scoring/Group.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace BX::scoring {

namespace {

// Whether the way from a over b to c turns left.
bool turnsLeft(Point a, Point b, Point c) { return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x) > 0; }

// The corners of the convex hull: the two points that lie furthest apart are among them (Andrew's monotone chain).
std::vector<Point> hullOf(std::vector<Point> points) {
  const auto before = [](Point a, Point b) { return a.x < b.x || (a.x == b.x && a.y < b.y); };
  std::sort(points.begin(), points.end(), before);
  std::vector<Point> hull;
  for (int side = 0; side < 2; ++side) {
    const std::size_t begin = hull.size();
    for (const Point point : points) {
      while (hull.size() >= begin + 2 && !turnsLeft(hull[hull.size() - 2], hull.back(), point)) hull.pop_back();
      hull.push_back(point);
    }
    std::reverse(points.begin(), points.end());
  }
  return hull;
}

std::array<Point, 2> extremesOf(std::span<const Point> hits) {
  std::array<Point, 2> widest = {hits[0], hits[0]};
  const auto hull = hullOf({hits.begin(), hits.end()});
  for (std::size_t i = 0; i < hull.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (apart(hull[i], hull[j]) > apart(widest[0], widest[1])) widest = {hull[i], hull[j]};
    }
  }
  return widest;
}

}  // namespace

std::optional<Group> groupOf(std::span<const Point> hits) {
  if (hits.empty()) return std::nullopt;
  const auto count = static_cast<double>(hits.size());
  Group group;
  group.shots = hits.size();
  for (const Point hit : hits) {
    group.centre.x += hit.x / count;
    group.centre.y += hit.y / count;
  }
  double squaresX = 0;
  double squaresY = 0;
  for (const Point hit : hits) {
    group.meanRadius += apart(hit, group.centre) / count;
    squaresX += (hit.x - group.centre.x) * (hit.x - group.centre.x);
    squaresY += (hit.y - group.centre.y) * (hit.y - group.centre.y);
  }
  group.extremes = extremesOf(hits);
  group.extremeSpread = apart(group.extremes[0], group.extremes[1]);
  if (hits.size() > 1) {
    group.deviationX = std::sqrt(squaresX / (count - 1));
    group.deviationY = std::sqrt(squaresY / (count - 1));
  }
  return group;
}

}  // namespace BX::scoring
