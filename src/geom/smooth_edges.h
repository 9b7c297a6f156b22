// The edges of a warped picture, blended with what lay around it.
#pragma once

#include <algorithm>
#include <cmath>
#include <type_traits>

#include "core/image.h"
#include "geom/polygon.h"
#include "geom/quad.h"

namespace zopi {

// A pixel next to an edge becomes a mean of itself and of its neighbour on the inner side, by their distances
// from the edge.
template <class L, class T>
void blendPixels(T* outer, const T* inner, double outerWeight, double innerWeight) {
  for (int c = 0; c < L::colours; ++c) {
    const double sum = outer[c] * outerWeight + inner[c] * innerWeight;
    if constexpr (std::is_same_v<T, Zop32f>)
      outer[c] = static_cast<T>(sum);
    else
      outer[c] = static_cast<T>(sum + 0.5);
  }
}

// Along an edge that is cut once by each column, or with `byRows` by each row. `along` and `across` are the
// coordinates of its corners in these terms.
struct CutEdge {
  double from, to, across, slope;
  bool outerIsHigher;
  bool byRows;
};

template <class L, class T>
void smoothEdge(Image<T> image, const CutEdge& edge, const Box& box) {
  const double first = std::ceil(std::min(edge.from, edge.to)),
               last = std::floor(std::max(edge.from, edge.to));
  for (double i = first; i <= last; i += 1) {
    const double at = (i - edge.from) * edge.slope + edge.across, low = std::floor(at), high = std::ceil(at);
    if (low == high) continue;
    const double outer = edge.outerIsHigher ? high : low, inner = edge.outerIsHigher ? low : high;
    const Point to = edge.byRows ? Point{outer, i} : Point{i, outer};
    const Point from = edge.byRows ? Point{inner, i} : Point{i, inner};
    if (!box.holds(to) || !box.holds(from)) continue;
    const auto pixel = [&](Point p) {
      return image.row(static_cast<std::ptrdiff_t>(p.y)) + static_cast<std::ptrdiff_t>(p.x) * L::channels;
    };
    blendPixels<L>(pixel(to), pixel(from), std::abs(at - outer), std::abs(at - inner));
  }
}

// Edges along the grid of pixels need nothing.
template <class L, class T>
void smoothEdges(Image<T> image, const Quad& quad, Winding winding, const Box& box) {
  const Polygon polygon = clippedTo(box, quad);
  if (polygon.count < 3) return;
  for (int i = 0; i < polygon.count; ++i) {
    const Point from = polygon[i], to = polygon[(i + 1) % polygon.count];
    const double dx = to.x - from.x, dy = to.y - from.y;
    if (dx == 0 || dy == 0) continue;
    const bool isFront = winding == Winding::Front;
    if (std::abs(dy) <= std::abs(dx))
      smoothEdge<L>(image, {from.x, to.x, from.y, dy / dx, isFront != (dx > 0), false}, box);
    else
      smoothEdge<L>(image, {from.y, to.y, from.x, dx / dy, isFront == (dy > 0), true}, box);
  }
}

}  // namespace zopi
