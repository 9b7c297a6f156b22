// Affine warps and shears.
#include <cmath>

#include "geom/affine_rows.h"

namespace zopi {
namespace {

// Corners that should meet may be this far apart.
constexpr double kMeets = 1e-7;

// Three corners make the mapping, which has to take the fourth along.
ZopStatus checkAffineQuads(const double (*srcQuad)[2], const double (*dstQuad)[2]) {
  const Quad source = quadOf(srcQuad), destination = quadOf(dstQuad);
  const Point p = affineBetween(destination, source).map(destination[3]);
  const bool meets = std::abs(p.x - source[3].x) <= kMeets && std::abs(p.y - source[3].y) <= kMeets;
  return meets ? zopStatusOk : zopStatusBadQuad;
}

template <class L, class T, int kPlanes>
ZopStatus warpAffineBack(const Warp<L, T, kPlanes>& w, const Affine& back) {
  if (w.isBeyond()) return zopStatusOk;
  const RoundingToNearest nearest;
  const auto [forward, winding] = inverseOf(back);
  return warpQuad(w, mapped(forward, w.source), winding, false, AffineRows(back));
}

template <class L, class T, int kPlanes>
ZopStatus warpAffineQuad(const Warp<L, T, kPlanes>& w, const Quad& from, const Quad& to) {
  if (w.isBeyond()) return zopStatusOk;
  const RoundingToNearest nearest;
  const auto [back, winding] = affineBetween(to, from);
  return warpBetween(w, from, to, winding, affineBetween(from, to).map, AffineRows(back));
}

}  // namespace
}  // namespace zopi

#include "geom/warp_affine.exports.inc"
