// Smallest and largest samples of channels, and where they stand.
#include <algorithm>
#include <cstring>

#include "core/walk.h"
#include "stats/extrema_rows.h"

namespace zopi {
namespace {

// Of a pixel, as many samples as results take; alpha may be read, but counts for nothing.
template <class Layout, class T>
struct Pixel {
  T samples[Layout::channels];

  explicit Pixel(Image<const T> at) { std::memcpy(samples, at.at, sizeof samples); }
  void store(T* results) const { std::memcpy(results, samples, Layout::colours * sizeof(T)); }
};

// Either result may be null.
template <class Layout, class T>
ZopStatus extremes(Image<const T> src, ZopImageSize size, T* smallest, T* largest) {
  Pixel<Layout, T> low(src), high(src);
  const auto row = extremaTable().of<T>().of[Layout::channels];
  walkSerial(
      extent(size, Layout::channels),
      [&](Image<const T> a, Extent band) { row(a, band, low.samples, high.samples); }, src);
  if (smallest != nullptr) low.store(smallest);
  if (largest != nullptr) high.store(largest);
  return zopStatusOk;
}

// Goes over the image in stretches that the innermost cache holds, and looks for places only in one that has
// something better than all before it. A stretch is part of a row, or rows that follow each other without
// gaps.
template <class Layout, bool kSmallest, class T>
ZopStatus extremesAndPlaces(Image<const T> src, ZopImageSize size, T* results, int* x, int* y) {
  constexpr std::ptrdiff_t kStretch = 12288;  // whole pixels of every layout
  const ExtremaRows<T>& rows = extremaTable().of<T>();
  Pixel<Layout, T> best(src);
  ZopImagePoint places[Layout::colours] = {};
  int row = 0;
  walkSerial(
      extent(size, Layout::channels),
      [&](Image<const T> band, Extent e) {
        for (int r = 0; r < e.rows; ++r, ++row) {
          for (std::ptrdiff_t i = 0; i < e.length; i += kStretch) {
            const T* samples = band.row(r) + i;
            const std::ptrdiff_t n = std::min(kStretch, e.length - i);
            Pixel<Layout, T> low = best, high = best;
            rows.of[Layout::channels]({samples, 0}, {n, 1}, low.samples, high.samples);
            const Pixel<Layout, T>& found = kSmallest ? low : high;
            for (int c = 0; c < Layout::colours; ++c) {
              const T value = found.samples[c];
              if (!(kSmallest ? value < best.samples[c] : value > best.samples[c])) continue;
              best.samples[c] = value;
              const std::ptrdiff_t at = i + rows.firstOf[Layout::channels](samples, n, c, value);
              const auto pixel = at / Layout::channels;
              places[c] = {static_cast<int>(pixel % size.width), row + static_cast<int>(pixel / size.width)};
            }
          }
        }
      },
      src);
  best.store(results);
  for (int c = 0; c < Layout::colours; ++c) {
    x[c] = places[c].x;
    y[c] = places[c].y;
  }
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "stats/extrema.exports.inc"
