// Polygons of destination pixels: what of them lies in a rectangle, and which columns each row has.
#pragma once

#include <algorithm>
#include <array>

#include "geom/quad.h"

namespace zopi {

struct Polygon {
  // A clip of any shape makes at most half as many corners again: a quad that is clipped has 19, and 8 if it
  // is convex. Those clipped once more have 41.
  static constexpr int kMost = 48;
  std::array<Point, kMost> at;
  int count = 0;

  Polygon() = default;
  Polygon(const Quad& quad) : count(4) { std::copy(quad.begin(), quad.end(), at.begin()); }

  Point* begin() { return at.data(); }
  Point* end() { return at.data() + count; }
  const Point* begin() const { return at.data(); }
  const Point* end() const { return at.data() + count; }
  const Point& operator[](int i) const { return at[i]; }
  void add(Point p) { at[count++] = p; }
};

// What of a polygon lies in a box. Nothing is left of corners that are no finite numbers.
Polygon clippedTo(const Box& box, const Polygon& polygon);

// The columns of a polygon's rows, first and last, from its first row to its last. Pixels within 1e-14 of an
// edge belong to it.
class Scan {
 public:
  Scan(const Polygon& polygon, Winding winding, const Box& box);

  // Of a rectangle: all of its columns.
  explicit Scan(const Box& box);

  bool empty() const { return !(first_ <= last_); }
  int firstRow() const { return static_cast<int>(first_); }
  int lastRow() const { return static_cast<int>(last_); }

  struct Columns {
    int first, last;
    int count() const { return last < first ? 0 : last - first + 1; }
  };
  // Rows are asked for from the first one on, in turn.
  Columns next();

 private:
  // One side of the polygon, from its top down.
  struct Chain {
    int corner, step;
    double top, bottom, x, slope;
  };
  void advance(Chain& chain) const;
  double crossing(Chain& chain, double row) const;

  Polygon polygon_;
  Box box_;
  Chain left_, right_;
  double row_, first_, last_;
  bool flat_;
};

}  // namespace zopi
