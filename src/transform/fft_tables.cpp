#include "transform/fft_tables.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace zopi {
namespace {

struct Root {
  double cosine, sine;
};

// cos and sin of 2 pi k / 2^order, from an angle of no more than 45 degrees.
Root rootOf(std::int64_t k, int order) {
  const std::int64_t n = std::int64_t{1} << order;
  k &= n - 1;
  const bool below = 2 * k > n;
  if (below) k = n - k;
  const bool left = 4 * k > n;
  if (left) k = n / 2 - k;
  const bool steep = 8 * k > n;
  const double angle =
      2 * std::numbers::pi *
      (steep ? static_cast<double>(n) / 4 - static_cast<double>(k) : static_cast<double>(k)) /
      static_cast<double>(n);
  Root root = {std::cos(angle), std::sin(angle)};
  if (steep) std::swap(root.cosine, root.sine);
  return {left ? -root.cosine : root.cosine, below ? -root.sine : root.sine};
}

// exp(-2 pi i k / 2^order).
Zop32fc twiddle(std::int64_t k, int order) {
  const Root root = rootOf(k, order);
  return {static_cast<float>(root.cosine), static_cast<float>(-root.sine)};
}

}  // namespace

LaneFft laneFft(TableSpace& space, int order) {
  LaneFft fft = {order, nullptr, nullptr};
  auto* starts = space.take<std::int32_t>(fft.groups());
  std::ptrdiff_t butterflies = 0;
  for (int o = fft.firstOrder(); o < order; o += 2) butterflies += std::ptrdiff_t{1} << o;
  auto* twiddles = space.take<Zop32fc>(3 * butterflies);
  fft.starts = starts;
  fft.twiddles = twiddles;
  if (starts == nullptr) return fft;
  const int digits = (order - fft.firstOrder()) / 2;
  for (std::ptrdiff_t g = 0; g < fft.groups(); ++g) {
    std::int32_t start = 0;
    for (int digit = 0; digit < digits; ++digit)
      start = start * 4 + static_cast<std::int32_t>(g >> (2 * digit) & 3);
    starts[g] = start;
  }
  for (int o = fft.firstOrder(); o < order; o += 2) {
    for (std::ptrdiff_t k = 0; k < std::ptrdiff_t{1} << o; ++k) {
      for (int power = 1; power <= 3; ++power) *twiddles++ = twiddle(power * k, o + 2);
    }
  }
  return fft;
}

RowFft rowFft(TableSpace& space, int order) {
  RowFft fft = {order, {}, {}, nullptr};
  if (fft.isShort()) {
    fft.down = laneFft(space, order);
    return fft;
  }
  const int downOrder = std::min(order / 2, 10);
  fft.down = laneFft(space, downOrder);
  fft.across = laneFft(space, order - downOrder);
  auto* twiddles = space.take<Zop32fc>(fft.points());
  fft.twiddles = twiddles;
  if (twiddles == nullptr) return fft;
  for (std::int64_t row = 0; row < fft.down.points(); ++row) {
    for (std::int64_t column = 0; column < fft.across.points(); ++column)
      *twiddles++ = twiddle(row * column, order);
  }
  return fft;
}

RealFft realFft(TableSpace& space, int order) {
  RealFft fft = {order, {}, nullptr, nullptr};
  if (order == 0) return fft;
  fft.half = rowFft(space, order - 1);
  constexpr std::ptrdiff_t kVector = 8;
  const std::ptrdiff_t count = std::max(fft.half.points() / 2, kVector);
  auto* forward = space.take<Zop32fc>(count);
  auto* inverse = space.take<Zop32fc>(count);
  fft.forward = forward;
  fft.inverse = inverse;
  if (forward == nullptr) return fft;
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const Root root = rootOf(i + 1, order);
    forward[i] = {static_cast<float>(0.5 * root.cosine), static_cast<float>(0.5 - 0.5 * root.sine)};
    inverse[i] = {static_cast<float>(root.cosine), static_cast<float>(root.sine)};
  }
  return fft;
}

}  // namespace zopi
