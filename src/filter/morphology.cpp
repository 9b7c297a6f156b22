// Erosion and dilation: how an element is taken apart, and the order of rows in place.
#include <algorithm>
#include <cstdint>

#include "filter/morphology_rows.h"
#include "filter/window.h"
#include "move/copy.h"

namespace zopi {
namespace {

constexpr ZopImageSize k3x3 = {3, 3};

ZopStatus checkElement(const Zop8u* mask, ZopImageSize size) {
  const Zop8u* const end = mask + std::int64_t{size.width} * size.height;
  return std::all_of(mask, end, [](Zop8u cell) { return cell == 0; }) ? zopStatusZeroMask : zopStatusOk;
}

template <class Layout, class T>
std::int64_t bytesOf(std::int64_t pixels) {
  return pixels * Layout::channels * static_cast<std::int64_t>(sizeof(T));
}

template <class Layout, class T>
ZopStatus checkStride(int step, ZopImageSize size, ZopImageSize mask) {
  return bytesOf<Layout, T>(std::int64_t{size.width} + mask.width - 1) > step ? zopStatusBadStride
                                                                              : zopStatusOk;
}
template <class Layout, class T>
ZopStatus checkStrides(int srcStep, int dstStep, ZopImageSize size, ZopImageSize mask) {
  const bool fits = bytesOf<Layout, T>(size.width) <= dstStep;
  return fits ? checkStride<Layout, T>(srcStep, size, mask) : zopStatusBadStride;
}

// f(row, first column, length) for the runs of a mask, by rows.
template <class F>
void forRuns(const Zop8u* mask, ZopImageSize size, const F& f) {
  for (int y = 0; y < size.height; ++y, mask += size.width) {
    for (int x = 0; x < size.width; ++x) {
      if (mask[x] == 0) continue;
      const int first = x;
      while (x < size.width && mask[x] != 0) ++x;
      f(y, first, x - first);
    }
  }
}

// The kinds of all lengths for which `kindOf` is not 0, and of those that they are made of; afterwards
// `kindOf` holds their numbers. The count of the kinds.
int makeKinds(ZopImageSize mask, int* kindOf, RunKind* kinds) {
  kinds[0] = {1, 0, 0};
  int last = 0;
  const auto add = [&](int length, int rows) {
    const RunKind& before = kinds[last++];
    kinds[last] = {length, rows, before.firstRow + before.rows};
  };
  for (int length = 2; length <= mask.width; ++length) {
    if (kindOf[length] == 0) continue;
    while (length > 2 * std::int64_t{kinds[last].length}) add(2 * kinds[last].length, 1);
    add(length, mask.height);
    kindOf[length] = last;
  }
  kindOf[1] = 0;
  return last + 1;
}

// An element and the memory that it stands in.
struct OwnedElement {
  Element element;
  Scratch memory;
};

OwnedElement elementOf(const Zop8u* mask, ZopImageSize size) {
  std::int64_t runCount = 0;
  forRuns(mask, size, [&](int, int, int) { ++runCount; });
  constexpr std::int64_t kDoublings = 32;
  const std::int64_t mostKinds = std::min<std::int64_t>(size.width, runCount) + kDoublings,
                     lengths = std::int64_t{size.width} + 1;
  const auto bytes = [](std::int64_t count, std::size_t each) {
    return count * static_cast<std::int64_t>(each);
  };
  OwnedElement owned = {{}, nullptr};
  owned.memory = newScratch(bytes(mostKinds, sizeof(RunKind)) + bytes(runCount, sizeof(Run)) +
                            bytes(lengths, sizeof(int)));
  if (owned.memory == nullptr) return owned;
  auto* const kinds = reinterpret_cast<RunKind*>(owned.memory.get());
  auto* const runs = reinterpret_cast<Run*>(kinds + mostKinds);
  auto* const kindOf = reinterpret_cast<int*>(runs + runCount);
  std::fill_n(kindOf, lengths, 0);
  forRuns(mask, size, [&](int, int, int length) { kindOf[length] = 1; });
  const int kindCount = makeKinds(size, kindOf, kinds);
  Run* next = runs;
  forRuns(mask, size, [&](int y, int x, int length) { *next++ = {y, x, kindOf[length]}; });
  owned.element = {size.width, size.height, kinds, kindCount, runs, static_cast<int>(runCount)};
  return owned;
}

template <class T>
const MorphologyRows<T>& rowsOf(Morphology operation) {
  return morphologyTable().of<T>().rows[operation];
}

template <class Layout, class T>
ZopStatus square(Morphology operation, Image<const T> src, Image<T> dst, ZopImageSize size) {
  mapStencil<Layout>(rowsOf<T>(operation).square, src, dst, size);
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus shaped(Morphology operation, Image<const T> src, Image<T> dst, ZopImageSize size, const Zop8u* mask,
                 ZopImageSize maskSize, ZopImagePoint anchor) {
  const MorphologyRows<T>& rows = rowsOf<T>(operation);
  const Extent e = extent(size, Layout::channels);
  const ElementShape shape = {e.length, Layout::channels, Layout::colours < Layout::channels};
  const OwnedElement owned = elementOf(mask, maskSize);
  if (owned.memory == nullptr) return zopStatusNoMemory;
  const Scratch scratch = newScratch(rows.scratchBytes(owned.element, shape));
  if (scratch == nullptr) return zopStatusNoMemory;
  walkNeighbours(
      false, e,
      [&](Image<const T> from, Image<T> to, Extent band) {
        rows.band(owned.element, shape, scratch.get(), from, to, shape.keepsAlpha ? unstreamed(band) : band);
      },
      windowOf<Layout>(src, anchor), dst);
  return zopStatusOk;
}

// In place results wait in a ring until the windows of `delay` more rows have been made. `compute(y, to,
// rows)` makes some rows of them; they are made a few at a time, for rows have windows in common.
template <class Layout, class T, class Compute>
ZopStatus throughRing(Image<T> image, int width, std::ptrdiff_t rows, std::ptrdiff_t delay,
                      const Compute& compute) {
  constexpr std::ptrdiff_t kTogether = 8, kAlign = 64 / sizeof(T);
  const std::ptrdiff_t slots = (delay + kTogether - 1) / kTogether * kTogether + kTogether;
  const std::ptrdiff_t pitch =
      (static_cast<std::ptrdiff_t>(width) * Layout::channels + kAlign - 1) / kAlign * kAlign;
  constexpr std::ptrdiff_t kSampleBytes = sizeof(T);
  if (slots > INT32_MAX / (pitch * kSampleBytes)) return zopStatusNoMemory;
  const Scratch memory = newScratch(slots * pitch * kSampleBytes);
  if (memory == nullptr) return zopStatusNoMemory;
  const Image<T> ring = {reinterpret_cast<T*>(memory.get()), pitch * kSampleBytes};
  std::ptrdiff_t written = 0;
  const auto writeUpTo = [&](std::ptrdiff_t end) {
    while (written < end) {
      const std::ptrdiff_t slot = written % slots, count = std::min(end - written, slots - slot);
      const Image<const T> from = ring.from(slot);
      const Image<T> to = image.from(written);
      const ZopImageSize part = {width, static_cast<int>(count)};
      copyWritten<Layout>(from, to, part);
      written += count;
    }
  };
  for (std::ptrdiff_t y = 0; y < rows; y += kTogether) {
    const std::ptrdiff_t made = std::min(rows, y + kTogether);
    compute(y, ring.from(y % slots), static_cast<int>(made - y));
    writeUpTo(made - delay);
  }
  writeUpTo(rows);
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus squareInPlace(Morphology operation, Image<T> image, ZopImageSize size) {
  const StencilRows<T, T>& rows = rowsOf<T>(operation).square;
  const Image<const T> src = image;
  const std::ptrdiff_t samples = extent(size, Layout::channels).length;
  return throughRing<Layout>(image, size.width, size.height, 1,
                             [&](std::ptrdiff_t y, Image<T> to, int count) {
                               rows.image(src.from(y), to, {samples, count}, Layout::channels);
                             });
}

// The first anchor.y + 1 rows are made and written whatever the height.
template <class Layout, class T>
ZopStatus shapedInPlace(Morphology operation, Image<T> image, ZopImageSize size, const Zop8u* mask,
                        ZopImageSize maskSize, ZopImagePoint anchor) {
  const MorphologyRows<T>& rows = rowsOf<T>(operation);
  const ElementShape shape = {extent(size, Layout::channels).length, Layout::channels, false};
  const OwnedElement owned = elementOf(mask, maskSize);
  if (owned.memory == nullptr) return zopStatusNoMemory;
  const Scratch scratch = newScratch(rows.scratchBytes(owned.element, shape));
  if (scratch == nullptr) return zopStatusNoMemory;
  const Image<const T> window = windowOf<Layout>(Image<const T>(image), anchor);
  return throughRing<Layout>(
      image, size.width, std::max<std::ptrdiff_t>(size.height, std::ptrdiff_t{anchor.y} + 1), anchor.y,
      [&](std::ptrdiff_t y, Image<T> to, int count) {
        rows.band(owned.element, shape, scratch.get(), window.from(y), to, {shape.samples, count});
      });
}

}  // namespace
}  // namespace zopi

#include "filter/morphology.exports.inc"
