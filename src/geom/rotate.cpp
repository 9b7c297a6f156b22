// Rotations: quarter turns with whole shifts copy pixels, all others are affine warps.
#include <cmath>
#include <cstdint>
#include <utility>

#include "geom/affine_rows.h"
#include "geom/turn_rows.h"
#include "reorder/mirror_rows.h"

namespace zopi {
namespace {

bool isWhole(double v) { return std::trunc(v) == v; }

bool copiesPixels(double angle, Point shift) {
  const double a = normalised(angle);
  return (a == 90 || a == 180 || a == 270) && isWhole(shift.x) && isWhole(shift.y);
}

ZopStatus checkTurn(double angle, double xShift, double yShift, int interpolation) {
  return copiesPixels(angle, {xShift, yShift}) ? zopStatusOk : checkInterpolation(interpolation);
}
ZopStatus checkTurnAround(double xCenter, double yCenter, double angle, int interpolation) {
  const auto [x, y] = shiftAround({xCenter, yCenter}, angle);
  return checkTurn(angle, x, y, interpolation);
}

// The image from a pixel on, or from there upwards.
template <class L, class T>
Image<std::uint8_t> from(Image<T> image, Point p) {
  return Image<T>{
      image.row(static_cast<std::ptrdiff_t>(p.y)) + static_cast<std::ptrdiff_t>(p.x) * L::channels,
      image.step}
      .template as<std::uint8_t>();
}
template <class L, class T>
Image<const std::uint8_t> from(Image<const T> image, Point p, int direction) {
  const T* at = image.row(static_cast<std::ptrdiff_t>(p.y)) + static_cast<std::ptrdiff_t>(p.x) * L::channels;
  return Image<const T>{at, direction * image.step}.template as<std::uint8_t>();
}

template <class L>
constexpr bool kWritesColours = L::colours < L::channels;

// `angle` is 90, 180 or 270.
template <class L, class T, int kPlanes>
ZopStatus copyTurned(const Warp<L, T, kPlanes>& w, double angle, Point shift) {
  const auto [c, s] = turnBy(angle);
  const Affine forward = {{{c, s, shift.x}, {-s, c, shift.y}}};
  const Box picture = boundsOf(mapped(forward, w.source));
  const Box box = {std::max(picture.x0, w.target.x0), std::max(picture.y0, w.target.y0),
                   std::min(picture.x1, w.target.x1), std::min(picture.y1, w.target.y1)};
  if (!(box.x0 <= box.x1 && box.y0 <= box.y1)) return zopStatusNoOperation;
  const ZopImageSize size = {static_cast<int>(box.width()) + 1, static_cast<int>(box.height()) + 1};
  constexpr int kPixelBytes = L::channels * sizeof(T);
  // The pixel of the source that becomes the first of the box.
  const double dx = box.x0 - shift.x, dy = box.y0 - shift.y;
  const Point first = {c * dx - s * dy, s * dx + c * dy};
  for (int p = 0; p < kPlanes; ++p) {
    const Image<std::uint8_t> dst = from<L>(w.to[p], Point{box.x0, box.y0});
    if (angle == 180) {
      // Rows in reverse start at their left.
      const Image<const std::uint8_t> src = from<L>(w.from[p], {first.x - box.width(), first.y}, -1);
      const MirrorTable& rows = mirrorTable();
      (kWritesColours<L> ? rows.colours : rows.pixels)[kPixelBytes](
          src, dst, {std::ptrdiff_t{size.width} * kPixelBytes, size.height});
    } else if (angle == 90) {
      // The first row is a column that is gone down, the next ones lie on the left of it.
      const TurnTable& rows = turnTable();
      const Image<const std::uint8_t> src = from<L>(w.from[p], {first.x - box.height(), first.y}, 1);
      const Image<std::uint8_t> upwards = {dst.row(size.height - 1), -dst.step};
      (kWritesColours<L> ? rows.colours : rows.pixels)[kPixelBytes](src, upwards, size);
    } else {
      const TurnTable& rows = turnTable();
      const Image<const std::uint8_t> src = from<L>(w.from[p], first, -1);
      (kWritesColours<L> ? rows.colours : rows.pixels)[kPixelBytes](src, dst, size);
    }
  }
  return zopStatusOk;
}

template <class L, class T, int kPlanes>
ZopStatus rotate(const Warp<L, T, kPlanes>& w, double angle, Point shift) {
  if (w.isBeyond()) return zopStatusOk;
  if (copiesPixels(angle, shift)) return copyTurned(w, normalised(angle), shift);
  return warpAffine(w, rotation(angle, shift.x, shift.y));
}

}  // namespace
}  // namespace zopi

#include "geom/rotate.exports.inc"
