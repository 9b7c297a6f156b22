// Products of packed spectra, for what transforms images to multiply them.
#pragma once

#include <algorithm>
#include <cstddef>

#include "core/walk.h"
#include "transform/packed_products_rows.h"

namespace zopi {

// The first and, of even widths, the last column of a packed image are real numbers at their ends and pairs
// of rows between. Here such a column becomes a row of pairs, a block at a time, with imaginary parts for the
// real numbers. A product with `zeroOfB` in that place has the real product as its real part, whatever its
// sign.
template <class Layout, class T, class Rows>
void multiplyPackedColumn(const Rows& rows, T zeroOfB, Image<const T> a, Image<const T> b, Image<T> out,
                          int height) {
  constexpr int kBlock = 64, kSamples = Layout::channels;
  const auto isReal = [=](int y) { return y == 0 || (y == height - 1 && height % 2 == 0); };
  for (int y = 0; y < height;) {
    T blocks[3][kBlock * kSamples] = {};
    std::fill(blocks[1], blocks[1] + kBlock * kSamples, zeroOfB);
    int pixels = 0;
    const int first = y;
    for (; y < height && pixels < kBlock; ++y) {
      std::copy_n(a.row(y), kSamples, blocks[0] + pixels * kSamples);
      std::copy_n(b.row(y), kSamples, blocks[1] + pixels * kSamples);
      pixels += isReal(y) ? 2 : 1;
    }
    rows(Image<const T>{blocks[0], 0}, Image<const T>{blocks[1], 0}, Image<T>{blocks[2], 0},
         Extent{pixels, 1});
    pixels = 0;
    for (int row = first; row < y; ++row) {
      std::copy_n(blocks[2] + pixels * kSamples, Layout::colours, out.row(row));
      pixels += isReal(row) ? 2 : 1;
    }
  }
}

// `rows(a, b, out, extent)` multiplies pairs. In place, `out` is `b`.
template <class Layout, class T, class Rows>
void multiplyPackedWith(const Rows& rows, T zeroOfB, Image<const T> a, Image<const T> b, Image<T> out,
                        ZopImageSize size) {
  const auto column = [&](int x) {
    const std::ptrdiff_t sample = static_cast<std::ptrdiff_t>(x) * Layout::channels;
    multiplyPackedColumn<Layout>(rows, zeroOfB, {a.at + sample, a.step}, {b.at + sample, b.step},
                                 {out.at + sample, out.step}, size.height);
  };
  column(0);
  if (size.width % 2 == 0) column(size.width - 1);
  const ZopImageSize inner = {(size.width - 1) / 2 * 2, size.height};
  const auto beside = [](auto image) {
    image.at += Layout::channels;
    return image.template as<T, Layout::channels>();
  };
  if (inner.width > 0) walkPixels(inner, rows, beside(a), beside(b), beside(out));
}

// out = a b, or a times the conjugate of b.
template <class Layout>
void multiplyPacked(Image<const Zop32f> a, Image<const Zop32f> b, Image<Zop32f> out, ZopImageSize size) {
  multiplyPackedWith<Layout>(packedTable().of<Layout>().product, 0.0f, a, b, out, size);
}
template <class Layout>
void multiplyPackedByConjugate(Image<const Zop32f> a, Image<const Zop32f> b, Image<Zop32f> out,
                               ZopImageSize size) {
  multiplyPackedWith<Layout>(packedTable().of<Layout>().productWithConjugate, -0.0f, a, b, out, size);
}

}  // namespace zopi
