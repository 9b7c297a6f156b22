// Scaled images: where the pixels of the destination lie in the source, and which rows make them.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>

#include "core/memory.h"
#include "core/pixel_images.h"
#include "core/rounding.h"
#include "geom/resize_rows.h"
#include "geom/super_rows.h"
#include "geom/whole.h"
#include "geom/windows.h"
#include "zopi/status.h"

namespace zopi {
namespace {

struct Factors {
  double x, y;
};

// What separates a position from a whole number that it is meant to be.
constexpr double kNear = 1e-7;
// The weights of integers have 14 bits.
constexpr double kWeightOne = 16384.0;

bool takesMeans(int interpolation, double xFactor, double yFactor) {
  return interpolation == zopInterSuper && xFactor < 1 && yFactor < 1;
}

ZopStatus checkFactors(double x, double y) { return x > 0 && y > 0 ? zopStatusOk : zopStatusBadResizeFactor; }
ZopStatus checkFactors(double x, double y, int interpolation) {
  return takesMeans(interpolation, x, y) ? zopStatusOk : checkFactors(x, y);
}

ZopStatus checkInterpolation(int interpolation) {
  const bool known =
      interpolation == zopInterNearest || interpolation == zopInterLinear || interpolation == zopInterCubic;
  return known ? zopStatusOk : zopStatusBadInterpolation;
}
ZopStatus checkInterpolation(int interpolation, double xFactor, double yFactor) {
  return takesMeans(interpolation, xFactor, yFactor) ? zopStatusOk : checkInterpolation(interpolation);
}

// Truncated, and held to int. What is not a number becomes 0.
int toInt(double value) {
  constexpr double kLow = std::numeric_limits<int>::min(), kHigh = std::numeric_limits<int>::max();
  return std::isnan(value) ? 0 : static_cast<int>(std::clamp(value, kLow, kHigh));
}

double fractionOf(double value) { return value - std::trunc(value); }
double fromOneOn(double factor) { return factor >= 1 ? factor : 1 / factor; }
bool isWhole(double factor) { return fractionOf(fromOneOn(factor)) == 0; }
bool isNearlyWhole(double factor) {
  const double f = fromOneOn(factor);
  return std::abs(f - std::trunc(f + kNear)) < kNear;
}

// One direction of a call. Positions count from the region's first pixel.
struct Axis {
  int image, origin;   // the size of the image, and where the region starts
  double start, step;  // the first position, and the distance to the next
  int count;           // of the destination
};

double cornerToCorner(int size, double factor) {
  const double scaled = size * factor;
  return scaled > 1 ? (size - 1) * (1 / (scaled - 1)) : 0.0;
}

// Nearest pixels at factors that are not whole start at one half.
double startOf(double factor, int interpolation, double shift) {
  return interpolation == zopInterNearest && !isWhole(factor) ? shift + 0.5 : shift;
}

// As many pixels of a destination as there are.
int filled(double scaled, int wanted) {
  const double there = std::trunc(kNear + scaled);
  return there < wanted ? std::max(toInt(there), 1) : wanted;
}

Axis byFactor(int image, int origin, int size, double factor, int wanted, double shift, int interpolation) {
  const bool integral = interpolation == zopInterNearest && isWhole(factor);
  return {image, origin, startOf(factor, interpolation, shift),
          integral ? 1 / factor : cornerToCorner(size, factor), filled(size * factor, wanted)};
}

Axis byDistance(int image, int origin, int size, double distance, int wanted, double shift,
                int interpolation) {
  const bool integral = interpolation == zopInterNearest && isNearlyWhole(distance);
  const double extent = (integral ? size : size - 1) * (1 / distance), there = std::trunc(extent + kNear);
  int count = wanted;
  if (there < wanted - 1) count = std::max(toInt(there) + (integral ? 0 : 1), 1);
  return {image, origin, startOf(distance, interpolation, shift), distance, count};
}

// Where a position lies: its pixel and, if that is in the image, the position itself.
struct Place {
  int pixel;
  double position;
};
Place placeOf(const Axis& axis, double position) {
  const double pixel = std::trunc(position + kNear);
  const int first = -axis.origin, last = axis.image - 1 - axis.origin;
  if (!(pixel >= first)) return {first, static_cast<double>(first)};
  if (pixel > last) return {last, static_cast<double>(last)};
  return {static_cast<int>(pixel), position};
}

// The pixel of the first tap but, of cubics, the second, and what weighs the taps.
struct Entry {
  int pixel;
  float weight;
};

Entry nearestEntry(const Axis&, Place p) { return {p.pixel, 0}; }

template <class T>
Entry linearEntry(const Axis& axis, Place p) {
  constexpr bool kNumbers = std::is_same_v<T, Zop32f>;
  if (p.pixel + axis.origin == axis.image - 1)
    return {p.pixel - 1, kNumbers ? 1.0f : static_cast<float>(kWeightOne)};
  const double weight = p.position - p.pixel;
  if constexpr (kNumbers) return {p.pixel, static_cast<float>(weight)};
  return {p.pixel, static_cast<float>(std::clamp(std::trunc(kNear + weight * kWeightOne), 0.0, kWeightOne))};
}

// The four taps stay in the image; at its ends, the position lies between others than the middle two.
Entry cubicEntry(const Axis& axis, Place p) {
  const int at = p.pixel + axis.origin;
  if (at == axis.image - 1) return {p.pixel - 2, 2.0f};
  const int base = at == 0 ? p.pixel + 1 : at == axis.image - 2 ? p.pixel - 1 : p.pixel;
  return {base, static_cast<float>(p.position - base)};
}

using FillTable = void (*)(const Axis& axis, int samples, int* pixels, float* weights);
template <Entry (*kEntryOf)(const Axis& axis, Place place)>
void fillTable(const Axis& axis, int samples, int* pixels, float* weights) {
  double position = axis.start;
  for (int i = 0; i < axis.count; ++i, position += axis.step) {
    const Entry entry = kEntryOf(axis, placeOf(axis, position));
    pixels[i] = entry.pixel * samples;
    weights[i] = entry.weight;
  }
}

template <class T>
FillTable tablesFor(int interpolation) {
  return interpolation == zopInterNearest  ? fillTable<nearestEntry>
         : interpolation == zopInterLinear ? fillTable<linearEntry<T>>
                                           : fillTable<cubicEntry>;
}

struct Release {
  void operator()(unsigned char* block) const { zopFreeAligned(block); }
};
using Block = std::unique_ptr<unsigned char, Release>;
Block newBlock(std::ptrdiff_t bytes) {
  return Block(bytes <= INT32_MAX ? static_cast<unsigned char*>(zopAllocBytes(static_cast<int>(bytes)))
                                  : nullptr);
}

// Images that start at another pixel.
template <class L, class T, int... kUnit>
Images<T, kUnit...> startingAt(Images<T, kUnit...> images, std::ptrdiff_t x, std::ptrdiff_t y) {
  for (Image<T>& i : images.at) i.at = i.row(y) + x * L::channels;
  return images;
}

template <class L>
constexpr bool kKeepsAlpha = L::colours < L::channels;

template <class L, class T, int... kFrom, int... kTo>
ZopStatus interpolated(Images<const T, kFrom...> src, const Images<T, kTo...>& dst, const Axis& across,
                       const Axis& down, int interpolation) {
  const std::ptrdiff_t samples = std::ptrdiff_t{across.count} * L::channels;
  const std::ptrdiff_t tables = (std::ptrdiff_t{across.count} + down.count) * 8 + 256;
  const Block block = newBlock(tables + resizeScratchBytes(samples, interpolation));
  if (block == nullptr) return zopStatusNoMemory;
  const RoundingToNearest nearest;
  Scratch scratch = {block.get()};
  int *columns = scratch.take<int>(across.count), *rows = scratch.take<int>(down.count);
  float *xWeights = scratch.take<float>(across.count), *yWeights = scratch.take<float>(down.count);
  const FillTable fill = tablesFor<T>(interpolation);
  fill(across, L::channels, columns, xWeights);
  fill(down, 1, rows, yWeights);
  const ResizeCall call = {across.count,
                           down.count,
                           L::channels,
                           kKeepsAlpha<L>,
                           -std::ptrdiff_t{across.origin} * L::channels,
                           (std::ptrdiff_t{across.image} - across.origin) * L::channels,
                           columns,
                           rows,
                           xWeights,
                           yWeights};
  for (Image<const T>& image : src.at) image = inWholeSamples(image);
  src = startingAt<L>(src, across.origin, down.origin);
  const ResizeRows<T>& table = resizeTable().of<T>();
  const auto make = interpolation == zopInterNearest  ? table.nearest
                    : interpolation == zopInterLinear ? table.linear
                                                      : table.cubic;
  make(call, scratch.at, src.at, dst.at, src.kCount);
  return zopStatusOk;
}

// What pixels of a smaller destination cover of `there` pixels, as tap(i, pixel, weight). Pixels from `there`
// on count as the last one.
struct Coverage {
  double reach;  // of a pixel of the destination
  int count, there;

  bool hasFractions() const { return fractionOf(reach) != 0; }

  template <class Tap>
  void pixels(int i, double from, double some, const Tap& tap) const {
    const double inside = std::clamp(there - from, 0.0, some);
    for (int k = 0; k < toInt(inside); ++k) tap(i, toInt(from) + k, 1.0);
    if (some > inside) tap(i, there - 1, some - inside);
  }
  template <class Tap>
  void part(int i, double at, double weight, const Tap& tap) const {
    tap(i, toInt(std::min<double>(at, there - 1)), weight);
  }

  template <class Tap>
  void down(const Tap& tap) const {
    const double n = std::floor(reach);
    double at = n, rest = reach - n;
    if (!hasFractions()) {
      for (int i = 0; i < count; ++i) pixels(i, i * n, n, tap);
      return;
    }
    pixels(0, 0, n, tap);
    if (rest != 0) part(0, at, rest, tap);
    for (int i = 1; i < count; ++i) {
      const double head = 1 - rest, body = reach - head, inner = std::floor(kNear + body);
      rest = body - inner;
      if (head > kNear) part(i, at++, head, tap);
      pixels(i, at, inner, tap);
      at += inner;
      if (rest > kNear) part(i, at, rest, tap);
    }
  }

  // By design, a column whose head is nothing counts its first one once more, and columns that are never
  // reached keep the sum of that of their own number.
  template <class Tap>
  void across(const Tap& tap) const {
    const double n = std::floor(reach);
    double at = n, rest = reach - n;
    int i = 1;
    pixels(0, 0, n, tap);
    if (!hasFractions()) {
      for (; i < count && i * n < there; ++i) pixels(i, i * n, n, tap);
    } else {
      part(0, at, rest, tap);
      const double limit = there - at;
      for (; i < count && at < limit; ++i) {
        const double head = 1 - rest, body = reach - head, inner = std::floor(kNear + body);
        rest = body - inner;
        const double skipped = head > kNear ? 1 : 0;
        if (skipped != 0) part(i, at, head, tap);
        pixels(i, at + skipped, inner + 1 - skipped, tap);
        at += std::max(skipped, inner + 1);
        if (rest > kNear) part(i, at, rest, tap);
      }
    }
    for (; i < count; ++i) part(i, i, 1, tap);
  }
};

// Both passes of `visit(tap)`: the first counts.
template <class Visit>
std::ptrdiff_t countTaps(const Visit& visit) {
  std::ptrdiff_t taps = 0;
  visit([&](int, int, double) { ++taps; });
  return taps;
}
template <class Visit>
Footprints footprints(Scratch& scratch, int count, std::ptrdiff_t taps, int origin, int last,
                      const Visit& visit) {
  int* starts = scratch.take<int>(std::ptrdiff_t{count} + 1);
  Covered* covered = scratch.take<Covered>(taps);
  int tap = 0, next = 0;
  visit([&](int i, int pixel, double weight) {
    while (next <= i) starts[next++] = tap;
    covered[tap++] = {static_cast<int>(std::min<std::int64_t>(std::int64_t{pixel} + origin, last)), weight};
  });
  while (next <= count) starts[next++] = tap;
  return {starts, covered};
}

// Rows of the region start at row `firstRow` of the image, and go on to the image's last.
template <class L, class T, int... kFrom, int... kTo>
ZopStatus averaged(Images<const T, kFrom...> src, const Images<T, kTo...>& dst, ZopImageSize image,
                   ZopImageRect region, std::int64_t firstRow, ZopImageSize size, Factors factors) {
  if (checkFactors(factors.x, factors.y) != zopStatusOk) return zopStatusOk;
  const RoundingToNearest nearest;
  const ZopImageSize part = clipped(image, region);
  const double xReach = 1 / factors.x, yReach = 1 / factors.y;
  const int width = filled(part.width * factors.x, size.width),
            height = filled(part.height * factors.y, size.height);
  const int columns = static_cast<int>(std::min<double>(std::trunc(xReach * (width + 1.0)) + 1, part.width));
  const int first = static_cast<int>(std::min<std::int64_t>(firstRow, image.height - 1));
  const Coverage across = {xReach, width, columns}, down = {yReach, height, image.height - first};
  const auto visitAcross = [&](const auto& tap) { across.across(tap); };
  const auto visitDown = [&](const auto& tap) { down.down(tap); };
  const std::ptrdiff_t acrossTaps = countTaps(visitAcross), downTaps = countTaps(visitDown);
  if (acrossTaps > INT32_MAX || downTaps > INT32_MAX) return zopStatusNoMemory;
  const std::ptrdiff_t bytes = (acrossTaps + downTaps) * static_cast<std::ptrdiff_t>(sizeof(Covered)) +
                               (std::ptrdiff_t{width} + height + 2) * 4 + 256;
  const Block tables = newBlock(bytes);
  if (tables == nullptr) return zopStatusNoMemory;
  Scratch scratch = {tables.get()};
  SuperCall call = {width,
                    height,
                    L::channels,
                    kKeepsAlpha<L>,
                    columns,
                    !across.hasFractions() && !down.hasFractions(),
                    factors.x * factors.y,
                    {},
                    {}};
  call.across = footprints(scratch, width, acrossTaps, 0, columns - 1, visitAcross);
  call.down = footprints(scratch, height, downTaps, first, image.height - 1, visitDown);
  const Block sums = newBlock(superScratchBytes(call));
  if (sums == nullptr) return zopStatusNoMemory;
  src = startingAt<L>(src, region.x, 0);
  superTable().of<T>().means(call, sums.get(), src.at, dst.at, src.kCount);
  return zopStatusOk;
}

// By design, planar images whose samples are wider than a byte start as many times further down as a sample
// has bytes.
template <class I>
constexpr int kRowsARow = 1;
template <class T, int kCount>
constexpr int kRowsARow<Planes<const T, kCount>> = sizeof(T);

template <class L, class I, class Out>
ZopStatus averaged(const Whole<I>& src, const Out& dst, ZopImageSize size, Factors factors) {
  return averaged<L>(imagesOf<L>(src.image), dst, src.size, src.region,
                     std::int64_t{src.region.y} * kRowsARow<I>, size, factors);
}

using MakeAxis = Axis (*)(int image, int origin, int size, double factor, int wanted, double shift,
                          int interpolation);

template <class L, class I, class Out>
ZopStatus interpolated(MakeAxis makeAxis, const Whole<I>& src, const Out& dst, ZopImageSize size,
                       Factors factors, Factors shifts, int interpolation) {
  const RoundingToNearest nearest;
  const int code = served(interpolation, src.size);
  const ZopImageSize part = clipped(src.size, src.region);
  const Axis across =
      makeAxis(src.size.width, src.region.x, part.width, factors.x, size.width, shifts.x, code);
  const Axis down =
      makeAxis(src.size.height, src.region.y, part.height, factors.y, size.height, shifts.y, code);
  return interpolated<L>(imagesOf<L>(src.image), dst, across, down, code);
}

template <class L, class I, class O>
ZopStatus resize(const Whole<I>& src, O dst, ZopImageSize size, Factors factors, int interpolation) {
  if (takesMeans(interpolation, factors.x, factors.y))
    return averaged<L>(src, imagesOf<L>(dst), size, factors);
  return interpolated<L>(byFactor, src, imagesOf<L>(dst), size, factors, {0, 0}, interpolation);
}

template <class L, class I, class O>
ZopStatus resizeShift(const Whole<I>& src, O dst, ZopImageSize size, Factors distances, double xShift,
                      double yShift, int interpolation) {
  return interpolated<L>(byDistance, src, imagesOf<L>(dst), size, distances, {xShift, yShift}, interpolation);
}

// The pixels that are seen around a centre: of the source some from `from` on, of the destination those
// between `begin` and `end`.
struct Seen {
  int begin, end, from, count;
};
Seen seenAround(double centre, double factor, int size, int wanted) {
  const double scaled = size * factor, origin = 0.5 * wanted - centre * factor;
  return {toInt(std::max(origin, 0.0)), toInt(std::min<double>(scaled + origin, wanted)),
          toInt(std::max(-origin, 0.0) / factor), toInt(std::min(scaled, wanted - origin) * (1 / factor))};
}

// The destination starts at a whole pixel; what its position in the source has beyond one is left as a shift.
double restOf(double position) { return position - std::trunc(position + kNear); }

template <class L, class I, class O>
ZopStatus resizeCentre(const Whole<I>& src, O dst, ZopImageSize size, Factors factors, double xCenter,
                       double yCenter, int interpolation) {
  const RoundingToNearest nearest;
  const ZopImageSize part = clipped(src.size, src.region);
  const Seen x = seenAround(xCenter, factors.x, part.width, size.width);
  const Seen y = seenAround(yCenter, factors.y, part.height, size.height);
  const Whole<I> seen = {src.image, src.size, {x.from, y.from, x.count, y.count}};
  if (x.count < 1 || y.count < 1 || x.end < 1 || y.end < 1) return zopStatusBadSize;
  if (ZopStatus bad = checkMeets(seen.size, seen.region)) return bad;
  if (ZopStatus bad = checkInterpolation(interpolation, factors.x, factors.y)) return bad;
  const auto out = startingAt<L>(imagesOf<L>(dst), x.begin, y.begin);
  if (takesMeans(interpolation, factors.x, factors.y)) return averaged<L>(seen, out, {x.end, y.end}, factors);
  const Factors shifts = {restOf(x.begin * (1 / factors.x)), restOf(y.begin / factors.y)};
  return interpolated<L>(byFactor, seen, out, {x.end, y.end}, factors, shifts, interpolation);
}

double distanceFor(int size, double factor, int interpolation) {
  return interpolation == zopInterNearest && isNearlyWhole(factor) ? 1 / factor
                                                                   : cornerToCorner(size, factor);
}

ZopStatus resizeFractions(ZopImageSize size, Factors factors, double* pxFr, double* pyFr, int interpolation) {
  const RoundingToNearest nearest;
  *pxFr = distanceFor(size.width, factors.x, interpolation);
  *pyFr = distanceFor(size.height, factors.y, interpolation);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "geom/resize.exports.inc"
