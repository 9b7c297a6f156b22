// Images whose pixels come from positions that a caller gives, one by one.
#include "core/rounding.h"
#include "geom/warp.h"

namespace zopi {
namespace {

// Nearest pixels, and cubics of numbers, compare coordinates as numbers.
template <class T>
bool comparesBits(int code) {
  return code == zopInterLinear || (code == zopInterCubic && !std::is_same_v<T, Zop32f>);
}

template <class L, class T, int... kFrom, int... kTo>
ZopStatus remap(const Images<const T, kFrom...>& src, const Images<T, kTo...>& dst, ZopImageSize image,
                ZopImageRect region, Image<const float> xMap, Image<const float> yMap, ZopImageSize size,
                int interpolation) {
  const RoundingToNearest nearest;
  const int code = served(interpolation, image);
  const Sample<T> sample = sampleFor<L, T>(code);
  const Box box = boxOf(region);
  Positions positions;
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; x += kPositions) {
      positions.columns = std::min(kPositions, size.width - x);
      positionTable().maps(
          {xMap.row(y) + x, yMap.row(y) + x, static_cast<float>(box.x0), static_cast<float>(box.y0),
           static_cast<float>(box.x1), static_cast<float>(box.y1), comparesBits<T>(code)},
          positions);
      for (std::size_t p = 0; p < sizeof...(kTo); ++p) {
        const Target<T> target = {{dst.at[p].row(y) + std::ptrdiff_t{x} * L::channels}, {positions.columns}};
        sample({src.at[p], image.width, image.height}, positions, target);
      }
    }
  }
  return zopStatusOk;
}

template <class L, class I, class O>
ZopStatus remap(const Whole<I>& src, Image<const float> xMap, Image<const float> yMap, const O& dst,
                ZopImageSize size, int interpolation) {
  return remap<L>(imagesOf<L>(src.image), imagesOf<L>(dst), src.size, src.region, xMap, yMap, size,
                  interpolation);
}

}  // namespace
}  // namespace zopi

#include "geom/remap.exports.inc"
