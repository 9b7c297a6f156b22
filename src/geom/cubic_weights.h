// The weights with which cubics of integers interpolate: those of Lagrange's polynomials through four taps at
// 0, 1, 2 and 3, with 14 bits.
#pragma once

#include <array>
#include <cstdint>

namespace zopi {

// An entry for each 512th from the first tap to the last.
inline constexpr int kCubicEntries = 1537;

struct CubicWeights {
  // Those of taps 0 and 1, as two words. Taps 3 and 2 have those of the position's mirror image.
  std::array<std::int32_t, kCubicEntries> pairs;

  constexpr int of(int entry, int tap) const {
    const int pair = pairs[tap < 2 ? entry : kCubicEntries - 1 - entry];
    return tap == 0 || tap == 3 ? static_cast<std::int16_t>(pair & 0xffff) : pair >> 16;
  }
};

inline constexpr CubicWeights kCubicWeights = [] {
  CubicWeights weights = {};
  // Rounded to nearest; no quotient lies half way.
  const auto rounded = [](std::int64_t numerator, std::int64_t denominator) {
    const std::int64_t twice = 2 * numerator + denominator, whole = 2 * denominator;
    return twice >= 0 ? twice / whole : -((-twice + whole - 1) / whole);
  };
  for (std::int64_t k = 0; k < kCubicEntries; ++k) {
    const std::int64_t w0 = rounded(-(k - 512) * (k - 1024) * (k - 1536), 3 << 14);
    const std::int64_t w1 = rounded(k * (k - 1024) * (k - 1536), 1 << 14);
    weights.pairs[static_cast<std::size_t>(k)] = static_cast<std::int32_t>((w0 & 0xffff) | w1 * 65536);
  }
  return weights;
}();

}  // namespace zopi
