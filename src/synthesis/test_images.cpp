// Test images: ramps and chirps, row by row.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>

#include "core/checks.h"
#include "core/memory.h"
#include "move/copy.h"
#include "synthesis/test_images_rows.h"

namespace zopi {
namespace {

// Values are made in pieces of rows, on the stack.
constexpr int kPiece = 1024;

template <class Layout, class T>
void spread(const T* values, std::ptrdiff_t n, T* pixels) {
  using Bits = BitsOf<T>;
  const SpreadRows<Bits>& rows = testImageTable().spread<Bits>();
  if constexpr (std::is_same_v<Layout, C1>) {
    std::memcpy(pixels, values, n * sizeof(T));
  } else {
    const auto row = std::is_same_v<Layout, C3>   ? rows.toC3
                     : std::is_same_v<Layout, C4> ? rows.toC4
                                                  : rows.toAC4;
    row(reinterpret_cast<const Bits*>(values), n, reinterpret_cast<Bits*>(pixels));
  }
}

template <class Layout, class T>
void rampRow(double offset, double slope, double pace, int width, T* out) {
  T values[kPiece];
  for (int x = 0; x < width; x += kPiece) {
    const int n = std::min(kPiece, width - x);
    testImageTable().values<T>().ramp(offset, slope, x, pace, n, values);
    spread<Layout>(values, n, out + static_cast<std::ptrdiff_t>(x) * Layout::channels);
  }
}

template <class Layout, class T>
ZopStatus ramp(Image<T> dst, ZopImageSize size, double offset, double slope, int axis) {
  if (axis == 0) {
    const std::int64_t bytes = std::int64_t{size.width} * Layout::channels * sizeof(T);
    T* row = bytes <= INT32_MAX ? static_cast<T*>(zopAllocBytes(static_cast<int>(bytes))) : nullptr;
    if (row == nullptr) return zopStatusNoMemory;
    if constexpr (Layout::colours < Layout::channels) std::memset(row, 0, bytes);  // alpha is carried along
    rampRow<Layout>(offset, slope, 1, size.width, row);
    copyWritten<Layout>(Image<const T>{row, 0}, dst, size);
    zopFreeAligned(row);
  } else if (axis == 1) {
    for (int y = 0; y < size.height; ++y) {
      T pixel[Layout::channels];
      testImageTable().values<T>().ramp(offset, slope, y, 1, 1, pixel);
      std::fill(pixel, pixel + Layout::channels, pixel[0]);
      setWritten<Layout>(pixel, dst.from(y), {size.width, 1});
    }
  } else if (axis == 2) {
    for (int y = 0; y < size.height; ++y) rampRow<Layout>(offset, slope, y, size.width, dst.row(y));
  }
  return zopStatusOk;
}

// Both halves of a row mirror each other, and the upper half of the image the lower one.
template <class Layout, class T>
ZopStatus chirp(Image<T> dst, ZopImageSize size) {
  const auto [width, height] = size;
  for (int y = 0; 2 * y < height; ++y) {
    const double dy = y - 0.5 * (height - 1.0);
    for (int first = 0; 2 * first < width; first += kPiece) {
      const int n = std::min(kPiece, (width + 1) / 2 - first);
      double sines[kPiece + 64] = {};
      for (int i = 0; i < n; ++i) {
        const double dx = first + i - 0.5 * (width - 1.0);
        sines[i] = std::sin((dx * dx + dy * dy) * (2 * std::numbers::pi) / (height * 4.0));
      }
      T values[kPiece], mirrored[kPiece];
      testImageTable().values<T>().sines(sines, n, values);
      std::reverse_copy(values, values + n, mirrored);
      for (const int row : {y, height - 1 - y}) {
        T* const out = dst.row(row);
        spread<Layout>(values, n, out + static_cast<std::ptrdiff_t>(first) * Layout::channels);
        spread<Layout>(mirrored, n, out + static_cast<std::ptrdiff_t>(width - first - n) * Layout::channels);
      }
    }
  }
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "synthesis/test_images.exports.inc"
