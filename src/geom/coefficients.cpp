// The arithmetic of mappings alone: where rectangles go, and which coefficients take them there.
#include <algorithm>
#include <cstddef>
#include <iterator>

#include "core/checks.h"
#include "geom/affine.h"
#include "geom/bilinear.h"
#include "geom/perspective.h"
#include "geom/quad.h"
#include "geom/whole.h"
#include "zopi/status.h"

namespace zopi {
namespace {

ZopStatus checkQuad(const double quad[4][2]) {
  return isConvex(quadOf(quad)) ? zopStatusOk : zopStatusBadQuad;
}
ZopStatus checkParallelogram(const double quad[4][2]) {
  return isParallelogram(quadOf(quad)) ? zopStatusOk : zopStatusBadQuad;
}
ZopStatus checkTwoByTwo(ZopImageRect region) {
  return region.width < 2 || region.height < 2 ? zopStatusBadRect : zopStatusOk;
}

template <class Map>
ZopStatus writeQuad(const Map& map, ZopImageRect region, double quad[4][2]) {
  const Quad corners = mapped(map, boxOf(region));
  for (int i = 0; i < 4; ++i) {
    quad[i][0] = corners[i].x;
    quad[i][1] = corners[i].y;
  }
  return zopStatusOk;
}

template <class Map>
ZopStatus writeBounds(const Map& map, ZopImageRect region, double bound[2][2]) {
  const Box box = boundsOf(mapped(map, boxOf(region)));
  bound[0][0] = box.x0;
  bound[0][1] = box.y0;
  bound[1][0] = box.x1;
  bound[1][1] = box.y1;
  return zopStatusOk;
}

template <class Map, std::size_t kColumns>
ZopStatus writeCoefficients(const Map& map, double (*coeffs)[kColumns]) {
  for (const auto& row : map.c) std::copy(std::begin(row), std::end(row), *coeffs++);
  return zopStatusOk;
}

ZopStatus writeShift(Point shift, double* pxShift, double* pyShift) {
  *pxShift = shift.x;
  *pyShift = shift.y;
  return zopStatusOk;
}
ZopStatus addShift(Point shift, double* pxShift, double* pyShift) {
  *pxShift += shift.x;
  *pyShift += shift.y;
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "geom/coefficients.exports.inc"
