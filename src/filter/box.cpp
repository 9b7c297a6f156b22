// Means over a rectangle: which sums serve a call, and the order of rows in place.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "core/rounding.h"
#include "core/walk.h"
#include "filter/box_rows.h"
#include "filter/window.h"
#include "move/copy.h"
#include "zopi/status.h"

namespace zopi {
namespace {

ZopStatus checkMask(ZopImageSize mask) {
  return mask.width < 2 || mask.height < 2 ? zopStatusBadMaskSize : zopStatusOk;
}

// The reciprocal with 8 significant bits: rounded up from the bit below them, by an addition that loses its
// carry, so that some areas have a multiplier of 0.
void setReciprocal(BoxShape& shape) {
  const RoundingToNearest nearest;
  auto bits = static_cast<std::uint32_t>(
      static_cast<std::int64_t>(std::nearbyint(double{shape.factor} * 4294967296.0 + -0.49999)));
  int shifts = 0;
  for (; shifts < 24 && (bits & 0x80000000u) == 0; ++shifts) bits <<= 1;
  shape.multiplier = static_cast<int>((bits + 0x800000u) >> 24);
  shape.shift = shifts + 8;
}

template <class Layout>
BoxShape shapeOf(ZopImageSize size, ZopImageSize mask) {
  BoxShape shape = {windowShape<Layout>(size, mask), 0, 0,
                    static_cast<float>(1.0 / static_cast<double>(areaOf(mask)))};
  setReciprocal(shape);
  return shape;
}

// Words of four channels sum in floating-point. As long as all sums are exact, integers are the same.
template <class Layout, class T>
const BoxRows<T>& rowsFor(ZopImageSize mask) {
  const BoxTable& table = boxTable();
  if constexpr (std::is_same_v<T, Zop8u>) {
    return areaOf(mask) <= kSmallBox ? table.bytes : table.manyBytes;
  } else if constexpr (std::is_same_v<T, Zop16s>) {
    const bool exact = areaOf(mask) <= 65536 && mask.height <= 256;
    return std::is_same_v<Layout, C4> && !exact ? table.manyWords : table.words;
  } else {
    return table.numbers;
  }
}

bool fits(std::ptrdiff_t bytes) { return bytes <= INT32_MAX; }

// What is wider than a byte advances by whole samples, but for four channels.
template <class Layout, class T>
Image<T> advancing(Image<T> image) {
  return std::is_same_v<Layout, C4> ? image : inWholeSamples(image);
}

template <class Layout, class T>
ZopStatus boxed(Image<const T> src, Image<T> dst, ZopImageSize size, ZopImageSize mask,
                ZopImagePoint anchor) {
  const BoxShape shape = shapeOf<Layout>(size, mask);
  const Image<const T> window = windowOf<Layout>(advancing<Layout>(src), anchor);
  const Image<T> out = advancing<Layout>(dst);
  const bool parallel = std::is_same_v<Layout, C4> || std::int64_t{size.width} * size.height > 4096;
  if constexpr (std::is_same_v<T, Zop8u> && std::is_same_v<Layout, C3>) {
    if (mask.width == 3 && mask.height == 3) {
      const auto band = [&](Image<const T> from, Image<T> to, Extent e) {
        boxTable().bytes3x3(shape, from, to, e.rows);
      };
      walkNeighbours(parallel, extent(size, Layout::channels), band, window, out);
      return zopStatusOk;
    }
  }
  const BoxRows<T>& rows = rowsFor<Layout, T>(mask);
  const std::ptrdiff_t bytes = rows.scratchBytes(shape);
  if (!fits(bytes)) return zopStatusNoMemory;
  return walkSlices(parallel, size.height, static_cast<int>(bytes),
                    [&](unsigned char* slice, int begin, int end) {
                      const RoundingToNearest nearest;
                      rows.band(shape, slice, window.from(begin), out.from(begin), end - begin);
                    });
}

// In place a row of results may not overwrite what later rows are made of: it waits in a ring until the
// windows have left its row behind. `compute(i, to)` makes row i. The first rows, up to 2 anchor.y, are made
// and written whatever the height.
template <class Layout, class T, class Compute>
ZopStatus throughRing(Image<T> image, ZopImageSize size, int delay, const Compute& compute) {
  const std::ptrdiff_t slots = std::ptrdiff_t{delay} + 1,
                       rowSamples = std::ptrdiff_t{size.width} * Layout::channels;
  const Scratch ring = newScratch(slots * rowSamples * static_cast<std::ptrdiff_t>(sizeof(T)));
  if (ring == nullptr) return zopStatusNoMemory;
  const auto slot = [&](std::ptrdiff_t row) {
    return reinterpret_cast<T*>(ring.get()) + row % slots * rowSamples;
  };
  const auto write = [&](std::ptrdiff_t row) {
    const Image<const T> from = {slot(row), 0};
    const Image<T> to = image.from(row);
    copyWritten<Layout>(from, to, ZopImageSize{size.width, 1});
  };
  const std::ptrdiff_t computed = std::max<std::ptrdiff_t>(2 * std::ptrdiff_t{delay} + 1, size.height);
  for (std::ptrdiff_t i = 0; i < computed; ++i) {
    compute(i, computed, slot(i));
    if (i >= delay) write(i - delay);
  }
  for (std::ptrdiff_t i = computed; i < std::ptrdiff_t{delay} + size.height; ++i) write(i - delay);
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus boxedInPlace(Image<T> srcDst, ZopImageSize size, ZopImageSize mask, ZopImagePoint anchor) {
  BoxShape shape = shapeOf<Layout>(size, mask);
  shape.keepsAlpha = false;  // in the ring
  const Image<T> image = advancing<Layout>(srcDst);
  const Image<const T> window = windowOf<Layout>(Image<const T>(image), anchor);
  if constexpr (std::is_same_v<T, Zop8u> && !std::is_same_v<Layout, C4>) {
    if (mask.width == 3 && mask.height == 3) {
      return throughRing<Layout>(image, size, anchor.y, [&](std::ptrdiff_t i, std::ptrdiff_t, T* to) {
        boxTable().bytes3x3(shape, window.from(i), Image<T>{to, 0}, 1);
      });
    }
  }
  const RoundingToNearest nearest;
  const BoxRows<T>& rows = rowsFor<Layout, T>(mask);
  const Scratch columns = newScratch(rows.scratchBytes(shape));
  if (columns == nullptr) return zopStatusNoMemory;
  // By design this compares the length of the ring, and only once: an image two rows higher than the anchor
  // repeats its first result in the rows up to 2 anchor.y.
  const bool slidesAtFirst = anchor.y + 1 != size.height - 1;
  int slides = 0;
  return throughRing<Layout>(image, size, anchor.y, [&](std::ptrdiff_t i, std::ptrdiff_t computed, T* to) {
    if (i == 0) rows.sum(shape, columns.get(), window);
    rows.row(shape, columns.get(), slides, to);
    const bool moves = i <= 2 * std::ptrdiff_t{anchor.y} ? slidesAtFirst : true;
    if (moves && i + 1 < computed) rows.slide(shape, columns.get(), slides++, window.from(i));
  });
}

}  // namespace
}  // namespace zopi

#include "filter/box.exports.inc"
