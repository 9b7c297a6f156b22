// Three channels weighted and added to one.

#include "color/gray_rows.h"

#include <cmath>

#include "core/rounding.h"
#include "zopi/status.h"

namespace zopi {
namespace {

template <class T>
GrayWeights<T> weightsOf(const Zop32f* coeffs) {
  GrayWeights<T> weights;
  for (int c = 0; c < 3; ++c) {
    if constexpr (std::is_same_v<T, Zop8u>) {
      const double weight = std::trunc(coeffs[c] * 4096.0 + 0.5);
      const int low20 = std::isfinite(weight) ? static_cast<int>(std::fmod(weight, 0x1p20)) & 0xfffff : 0;
      weights.high[c] = static_cast<Zop16u>(low20 >> 6);
      weights.low[c] = low20 & 63;
    } else {
      weights.of[c] = coeffs[c];
    }
  }
  return weights;
}

// `row(in, out, extent)` on all bands.
template <class Layout, class T, class Row>
ZopStatus walkGray(Image<const T> src, Image<T> dst, ZopImageSize size, const Row& row) {
  walkImages(gateColour(size), extent(size), row, imagesOf<Layout>(src), imagesOf<C1>(dst));
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus gray(Image<const T> src, Image<T> dst, ZopImageSize size, const Zop32f* coeffs) {
  const GrayRows<T>& rows = grayTable().of<T>();
  const auto row = std::is_same_v<Layout, AC4> ? rows.fromAC4 : rows.fromC3;
  const GrayWeights<T> weights = weightsOf<T>(coeffs);
  return walkGray<Layout>(src, dst, size, [&](const Image<const T>* in, const Image<T>* out, Extent e) {
    const RoundingToNearest mode;  // each thread has its own
    row(in, out, e, weights);
  });
}

// With the weights of ITU-R BT.601.
template <class Layout, class T>
ZopStatus luma(Image<const T> src, Image<T> dst, ZopImageSize size) {
  constexpr Zop32f kWeights[3] = {0.299f, 0.587f, 0.114f};
  if constexpr (std::is_same_v<T, Zop8u>) {
    const GrayTable& table = grayTable();
    return walkGray<Layout>(src, dst, size,
                            std::is_same_v<Layout, AC4> ? table.lumaFromAC4 : table.lumaFromC3);
  } else {
    return gray<Layout>(src, dst, size, kWeights);
  }
}

}  // namespace
}  // namespace zopi

#include "color/gray.exports.inc"
