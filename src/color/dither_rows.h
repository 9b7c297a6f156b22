// Rows that reduce samples to levels.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

enum class Diffusion { FloydSteinberg, JarvisJudiceNinke, Stucki, Count };

// Levels are multiples of `step`, of which a sample v holds about v * inverse. `byteFactor` makes bytes of
// the numbers of levels of bytes, in 1/256.
struct DitherLevels {
  double step, inverse;
  std::int32_t byteFactor;
};

// Thresholds that change from pixel to pixel: those of a row y start at `places[x & mask]` + 2y + x.
struct DitherNoise {
  static constexpr int kSize = 1024, kMask = kSize - 1;
  float numbers[kSize];
  std::uint16_t places[kSize];

  float at(int x, int y) const { return numbers[(places[x & kMask] + 2 * y + x) & kMask]; }
};

// The errors that the last two rows of one channel have left, 0 at the start.
struct DitherErrors {
  float *above, *twoAbove;
};

template <class S, class D>
struct Depths {
  using From = S;
  using To = D;
};

template <class Change>
struct DitherRows {
  using S = typename Change::From;
  using T = typename Change::To;
  // One row of n samples, with a threshold for each.
  void (*ordered)(const DitherLevels& levels, const S* src, const double* thresholds, std::ptrdiff_t n,
                  T* out);
  // One channel of an image, whose pixels have `channels` samples. Without noise, `noise` is null.
  void (*diffuse[static_cast<int>(Diffusion::Count)])(const DitherLevels& levels, const DitherNoise* noise,
                                                      Image<const S> src, Image<T> dst, ZopImageSize size,
                                                      int channels, DitherErrors errors);
};

struct DitherTable : RowTable<DitherRows, Depths<Zop8u, Zop8u>, Depths<Zop16u, Zop16u>,
                              Depths<Zop16s, Zop16s>, Depths<Zop16s, Zop8u>, Depths<Zop16u, Zop8u>,
                              Depths<Zop32f, Zop16s>, Depths<Zop32f, Zop16u>, Depths<Zop32f, Zop8u>> {
  // Numbers from 0 to 1 as 16 bits, saturated.
  void (*toUnsigned)(const Zop32f* src, std::ptrdiff_t n, Zop16u* out);
  void (*toSigned)(const Zop32f* src, std::ptrdiff_t n, Zop16s* out);
};

// The rows for this machine.
const DitherTable& ditherTable();

}  // namespace zopi
