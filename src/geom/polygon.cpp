#include "geom/polygon.h"

#include <algorithm>
#include <cmath>

namespace zopi {
namespace {

bool areFinite(const Point* begin, const Point* end) {
  return std::all_of(begin, end, [](Point p) { return std::isfinite(p.x) && std::isfinite(p.y); });
}

// One pass of clipping by a line: what `isInside` says is kept, and where an edge crosses the line stands
// `crossing`.
template <class Inside, class Crossing>
Polygon clippedBy(const Polygon& polygon, const Inside& isInside, const Crossing& crossing) {
  Polygon result;
  for (int i = 0; i < polygon.count; ++i) {
    const Point from = polygon[i], to = polygon[(i + 1) % polygon.count];
    if (isInside(from)) result.add(from);
    if (isInside(from) != isInside(to)) result.add(crossing(from, to));
  }
  return result;
}

Polygon withoutRepeats(const Polygon& polygon) {
  Polygon result;
  for (int i = 0; i < polygon.count; ++i) {
    const Point p = polygon[i], before = polygon[(i + polygon.count - 1) % polygon.count];
    if (p.x != before.x || p.y != before.y) result.add(p);
  }
  if (result.count == 0 && polygon.count > 0) result.add(polygon[0]);
  return result;
}

// Pixels this close to an edge are on it.
constexpr double kOnEdge = 1e-14;

}  // namespace

Polygon clippedTo(const Box& box, const Polygon& polygon) {
  if (polygon.count == 0) return {};
  const Box bounds = boundsOf(polygon);
  const bool misses = bounds.x1 < box.x0 || bounds.x0 > box.x1 || bounds.y1 < box.y0 || bounds.y0 > box.y1;
  if (!areFinite(polygon.begin(), polygon.end()) || misses) return {};
  if (box.holds(polygon)) return polygon;
  const auto onRow = [](double y) {
    return [y](Point a, Point b) { return Point{(y - a.y) * ((b.x - a.x) / (b.y - a.y)) + a.x, y}; };
  };
  const auto onColumn = [](double x) {
    return [x](Point a, Point b) { return Point{x, (x - a.x) * ((b.y - a.y) / (b.x - a.x)) + a.y}; };
  };
  Polygon p = polygon;
  p = clippedBy(
      p, [&](Point q) { return q.y >= box.y0; }, onRow(box.y0));
  p = clippedBy(
      p, [&](Point q) { return q.y <= box.y1; }, onRow(box.y1));
  p = clippedBy(
      p, [&](Point q) { return q.x >= box.x0; }, onColumn(box.x0));
  p = clippedBy(
      p, [&](Point q) { return q.x <= box.x1; }, onColumn(box.x1));
  return areFinite(p.begin(), p.end()) ? withoutRepeats(p) : Polygon();
}

Scan::Scan(const Box& box) : Scan(Polygon(box.corners()), Winding::Front, box) {}

Scan::Scan(const Polygon& polygon, Winding winding, const Box& box)
    : polygon_(polygon), box_(box), left_(), right_(), row_(0), first_(0), last_(-1), flat_(false) {
  if (polygon.count == 0) return;
  const Box bounds = boundsOf(polygon);
  if (std::ceil(bounds.x0) > std::floor(bounds.x1)) return;
  first_ = std::max(std::ceil(bounds.y0), box.y0);
  last_ = std::min(std::floor(bounds.y1), box.y1);
  row_ = first_;
  flat_ = bounds.y0 == bounds.y1;
  if (flat_) return;
  const auto isHigher = [](Point a, Point b) { return a.y < b.y; };
  const int top =
      static_cast<int>(std::min_element(polygon_.begin(), polygon_.end(), isHigher) - polygon_.begin());
  Chain forward = {top, 1, 0, 0, 0, 0}, backward = {top, -1, 0, 0, 0, 0};
  advance(forward);
  advance(backward);
  left_ = winding == Winding::Front ? backward : forward;
  right_ = winding == Winding::Front ? forward : backward;
}

// On to the next edge that is not horizontal.
void Scan::advance(Chain& chain) const {
  Point from, to;
  do {
    from = polygon_[chain.corner];
    chain.corner = (chain.corner + chain.step + polygon_.count) % polygon_.count;
    to = polygon_[chain.corner];
  } while (from.y == to.y);
  chain.top = from.y;
  chain.bottom = to.y;
  chain.x = from.x;
  chain.slope = (to.x - from.x) / (to.y - from.y);
}

double Scan::crossing(Chain& chain, double row) const {
  for (int i = 0; i < polygon_.count && row > chain.bottom; ++i) advance(chain);
  return (row - chain.top) * chain.slope + chain.x;
}

Scan::Columns Scan::next() {
  double left, right;
  if (flat_) {
    const Box bounds = boundsOf(polygon_);
    left = bounds.x0;
    right = bounds.x1;
  } else {
    left = crossing(left_, row_);
    right = crossing(right_, row_);
  }
  row_ += 1;
  double first = std::ceil(left), last = std::floor(right);
  if (1 - (first - left) < kOnEdge) first -= 1;
  if (1 - (right - last) < kOnEdge) last += 1;
  first = std::max(first, box_.x0);
  last = std::min(last, box_.x1);
  if (!(first <= last)) return {0, -1};
  return {static_cast<int>(first), static_cast<int>(last)};
}

}  // namespace zopi
