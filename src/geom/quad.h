// Quads: where the corners of a rectangle of pixels lie after a mapping.
#pragma once

#include <algorithm>
#include <array>

#include "zopi/types.h"

namespace zopi {

struct Point {
  double x, y;
};

// The rectangle's corners in their order: left top, right top, right bottom, left bottom.
using Quad = std::array<Point, 4>;

inline Quad quadOf(const double quad[4][2]) {
  return {{{quad[0][0], quad[0][1]},
           {quad[1][0], quad[1][1]},
           {quad[2][0], quad[2][1]},
           {quad[3][0], quad[3][1]}}};
}

// The edge from one corner to another.
inline Point edge(const Quad& q, int from, int to) { return {q[to].x - q[from].x, q[to].y - q[from].y}; }

// The first and last pixels of a rectangle, which belong to it.
struct Box {
  double x0, y0, x1, y1;

  double width() const { return x1 - x0; }
  double height() const { return y1 - y0; }
  Quad corners() const { return {{{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}}}; }
  bool holds(Point p) const { return p.x >= x0 && p.x <= x1 && p.y >= y0 && p.y <= y1; }
  template <class Points>
  bool holds(const Points& points) const {
    return std::all_of(points.begin(), points.end(), [&](Point p) { return holds(p); });
  }
};

inline constexpr Box kUnitSquare = {0, 0, 1, 1};

inline Box boxOf(ZopImageRect r) {
  const double x0 = r.x, y0 = r.y;
  return {x0, y0, x0 + r.width - 1, y0 + r.height - 1};
}

template <class Points>
Box boundsOf(const Points& points) {
  const Point first = *points.begin();
  Box box = {first.x, first.y, first.x, first.y};
  for (const Point& p : points) {
    box = {std::min(box.x0, p.x), std::min(box.y0, p.y), std::max(box.x1, p.x), std::max(box.y1, p.y)};
  }
  return box;
}

// Where a mapping takes the corners of a box.
template <class Map>
Quad mapped(const Map& map, const Box& box) {
  Quad quad = box.corners();
  for (Point& p : quad) p = map(p);
  return quad;
}

// The cross product at corner 3, which tells the sense in which the corners of a convex quad follow each
// other: above 0 if it is that of the rectangle, with rows counted downwards.
inline double turnAtLastCorner(const Quad& q) {
  const Point in = edge(q, 2, 3), out = edge(q, 3, 0);
  return in.x * out.y - out.x * in.y;
}

// Whether the mapped picture is seen from the front.
enum class Winding { Back, Front };
inline Winding windingOf(double turn) { return turn > 0 ? Winding::Front : Winding::Back; }

// Convex with corners that all turn, without tolerance.
inline bool isConvex(const Quad& q) {
  const double last = turnAtLastCorner(q);
  const Point e0 = edge(q, 3, 0), e1 = edge(q, 0, 1), e2 = edge(q, 1, 2), e3 = edge(q, 2, 3);
  const double turns[] = {last, e0.x * e1.y - e0.y * e1.x, e1.x * e2.y - e1.y * e2.x,
                          e2.x * e3.y - e2.y * e3.x};
  return std::all_of(turns, turns + 4, [&](double t) { return t != 0 && (t > 0) == (last > 0); });
}

}  // namespace zopi
