#include "transform/fft_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transform/fft_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <algorithm>
#include <cstring>

#include "core/lanes-inl.h"
#include "core/pixelwise-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Eight signals at a time: longer vectors would need more memory between the passes than they save work.
using Lanes = hn::CappedTag<float, kFftLanes>;
using Vector = hn::Vec<Lanes>;
constexpr std::ptrdiff_t V = hn::MaxLanes(Lanes());

// A point of the signals in all lanes.
struct Point {
  Vector re, im;
};
// In memory of our own the real parts of a point stand ahead of its imaginary ones.
constexpr std::ptrdiff_t kPoint = 2 * V;

HWY_INLINE Point add(Point a, Point b) { return {hn::Add(a.re, b.re), hn::Add(a.im, b.im)}; }
HWY_INLINE Point subtract(Point a, Point b) { return {hn::Sub(a.re, b.re), hn::Sub(a.im, b.im)}; }
HWY_INLINE Point subtractTurned(Point a, Point b) {
  return {hn::Add(a.re, b.im), hn::Sub(a.im, b.re)};
}  // a - i b
HWY_INLINE Point addTurned(Point a, Point b) { return {hn::Sub(a.re, b.im), hn::Add(a.im, b.re)}; }
HWY_INLINE Point multiply(Point a, Point w) {
  return {hn::NegMulAdd(a.im, w.im, hn::Mul(a.re, w.re)), hn::MulAdd(a.im, w.re, hn::Mul(a.re, w.im))};
}
HWY_INLINE Point scaled(Point a, Vector by) { return {hn::Mul(a.re, by), hn::Mul(a.im, by)}; }
HWY_INLINE Point everywhere(Zop32fc w) { return {hn::Set(Lanes(), w.re), hn::Set(Lanes(), w.im)}; }

HWY_INLINE Point getPoint(const float* from) {
  return {hn::LoadU(Lanes(), from), hn::LoadU(Lanes(), from + V)};
}
HWY_INLINE void putPoint(Point p, float* to) {
  hn::StoreU(p.re, Lanes(), to);
  hn::StoreU(p.im, Lanes(), to + V);
}

// Complex numbers in turn, as a point and back. Blends take them apart without moving anything far: lane l
// holds number l / 2, and where l is odd, the one V / 2 further.
HWY_INLINE Point loadNumbers(const float* from) {
  const auto a = hn::LoadU(Lanes(), from), b = hn::LoadU(Lanes(), from + V);
  return {hn::OddEven(hn::Shuffle2301(b), a), hn::OddEven(b, hn::Shuffle2301(a))};
}
HWY_INLINE void storeNumbers(Point p, float* to) {
  hn::StoreU(hn::OddEven(hn::Shuffle2301(p.im), p.re), Lanes(), to);
  hn::StoreU(hn::OddEven(p.im, hn::Shuffle2301(p.re)), Lanes(), to + V);
}
constexpr std::ptrdiff_t laneOfNumber(std::ptrdiff_t i) { return 2 * i % V + 2 * i / V; }

const float* floats(const Zop32fc* numbers) { return reinterpret_cast<const float*>(numbers); }
float* floats(Zop32fc* numbers) { return reinterpret_cast<float*>(numbers); }

// An inverse transform is a forward one whose real and imaginary parts have changed places before and after.
template <Direction kDirection>
HWY_INLINE Point turnedAround(Point p) {
  return kDirection == Direction::Inverse ? Point{p.im, p.re} : p;
}

// Where the points of a transform come from and where they go: lanes that follow each other in memory,
template <Direction kDirection>
struct NumbersIn {
  const float* at;
  std::ptrdiff_t step;  // in bytes, from point to point
  HWY_INLINE Point operator()(std::ptrdiff_t n) const {
    return turnedAround<kDirection>(loadNumbers(Image<const float>{at, step}.row(n)));
  }
};
template <Direction kDirection>
struct NumbersOut {
  float* at;
  std::ptrdiff_t step;
  Vector scale;
  HWY_INLINE void operator()(std::ptrdiff_t n, Point p) const {
    storeNumbers(turnedAround<kDirection>(scaled(p, scale)), Image<float>{at, step}.row(n));
  }
};

// lanes that stand anywhere, of which some may be missing,
struct Places {
  std::ptrdiff_t re[V], im[V];  // in bytes
  std::ptrdiff_t count;
};
template <Direction kDirection>
struct PlacesIn {
  const float* at;
  std::ptrdiff_t step;
  const Places& places;
  HWY_INLINE Point operator()(std::ptrdiff_t n) const {
    HWY_ALIGN float lanes[kPoint];
    const auto* row = reinterpret_cast<const unsigned char*>(Image<const float>{at, step}.row(n));
    for (std::ptrdiff_t l = 0; l < V; ++l) {
      std::memcpy(lanes + l, row + places.re[l], sizeof(float));
      std::memcpy(lanes + V + l, row + places.im[l], sizeof(float));
    }
    return turnedAround<kDirection>(getPoint(lanes));
  }
};
template <Direction kDirection>
struct PlacesOut {
  float* at;
  std::ptrdiff_t step;
  const Places& places;
  Vector scale;
  HWY_INLINE void operator()(std::ptrdiff_t n, Point p) const {
    HWY_ALIGN float lanes[kPoint];
    putPoint(turnedAround<kDirection>(scaled(p, scale)), lanes);
    auto* row = reinterpret_cast<unsigned char*>(Image<float>{at, step}.row(n));
    for (std::ptrdiff_t l = 0; l < places.count; ++l) {
      std::memcpy(row + places.re[l], lanes + l, sizeof(float));
      std::memcpy(row + places.im[l], lanes + V + l, sizeof(float));
    }
  }
};

// and tiles of a matrix, V rows and V columns of it. Within a tile, rows stand where their lanes will once it
// has been transposed.
constexpr std::ptrdiff_t kTile = V * kPoint;
HWY_INLINE std::ptrdiff_t inTile(std::ptrdiff_t n) { return laneOfNumber(n % V) * kPoint; }
struct TilesOut {
  float* at;
  std::ptrdiff_t tileRow, columns;  // floats from one row of tiles to the next; columns of the matrix
  const Zop32fc* twiddles;          // of these columns
  HWY_INLINE void operator()(std::ptrdiff_t n, Point p) const {
    putPoint(multiply(p, loadNumbers(floats(twiddles + n * columns))), at + n / V * tileRow + inTile(n));
  }
};
struct TilesIn {
  const float* at;
  HWY_INLINE Point operator()(std::ptrdiff_t n) const { return getPoint(at + n / V * kTile + inTile(n)); }
};

// V vectors, `step` floats apart, as the columns of what they were.
HWY_INLINE void transpose(float* at, std::ptrdiff_t step) {
  const Lanes d;
  const hn::Repartition<double, Lanes> pairs;
  Vector v[V], w[V];
#pragma GCC unroll 8
  for (std::ptrdiff_t i = 0; i < V; ++i) v[i] = hn::LoadU(d, at + i * step);
    // In blocks of four lanes,
#pragma GCC unroll 4
  for (std::ptrdiff_t i = 0; i < V; i += 2) {
    w[i] = hn::InterleaveLower(d, v[i], v[i + 1]);
    w[i + 1] = hn::InterleaveUpper(d, v[i], v[i + 1]);
  }
#pragma GCC unroll 2
  for (std::ptrdiff_t i = 0; i < V; i += 4) {
#pragma GCC unroll 2
    for (std::ptrdiff_t j = i; j < i + 2; ++j) {
      const auto a = hn::BitCast(pairs, w[j]), b = hn::BitCast(pairs, w[j + 2]);
      v[2 * j - i] = hn::BitCast(d, hn::InterleaveLower(pairs, a, b));
      v[2 * j - i + 1] = hn::BitCast(d, hn::InterleaveUpper(pairs, a, b));
    }
  }
  // and of blocks.
  if constexpr (V == 8) {
#pragma GCC unroll 4
    for (std::ptrdiff_t i = 0; i < 4; ++i) {
      w[i] = hn::ConcatLowerLower(d, v[i + 4], v[i]);
      w[i + 4] = hn::ConcatUpperUpper(d, v[i + 4], v[i]);
    }
#pragma GCC unroll 8
    for (std::ptrdiff_t i = 0; i < V; ++i) hn::StoreU(w[i], d, at + i * step);
  } else {
#pragma GCC unroll 4
    for (std::ptrdiff_t i = 0; i < V; ++i) hn::StoreU(v[i], d, at + i * step);
  }
}

// Butterflies of 1, 2, 4 and 8 points.
HWY_INLINE void butterfly4(Point& a, Point& b, Point& c, Point& d) {
  const Point even = add(a, c), apart = subtract(a, c), odd = add(b, d), oddApart = subtract(b, d);
  a = add(even, odd);
  b = subtractTurned(apart, oddApart);
  c = subtract(even, odd);
  d = addTurned(apart, oddApart);
}
template <int kOrder>
HWY_INLINE void butterfly(Point* p) {
  if constexpr (kOrder == 1) {
    const Point sum = add(p[0], p[1]);
    p[1] = subtract(p[0], p[1]);
    p[0] = sum;
  } else if constexpr (kOrder == 2) {
    butterfly4(p[0], p[1], p[2], p[3]);
  } else if constexpr (kOrder == 3) {
    butterfly4(p[0], p[2], p[4], p[6]);
    butterfly4(p[1], p[3], p[5], p[7]);
    const auto half = hn::Set(Lanes(), 0.70710678118654752f);
    const Point one = scaled({hn::Add(p[3].re, p[3].im), hn::Sub(p[3].im, p[3].re)}, half);
    const Point three = scaled({hn::Sub(p[7].im, p[7].re), hn::Add(p[7].im, p[7].re)}, half);
    const Point e0 = p[0], e1 = p[2], e2 = p[4], e3 = p[6], o0 = p[1], o2 = p[5];
    p[0] = add(e0, o0);
    p[4] = subtract(e0, o0);
    p[1] = add(e1, one);
    p[5] = subtract(e1, one);
    p[2] = subtractTurned(e2, o2);
    p[6] = addTurned(e2, o2);
    // three lacks its sign: exp(-3/4 pi i) o = (im - re, -(re + im)) / sqrt 2.
    p[3] = {hn::Add(e3.re, three.re), hn::Sub(e3.im, three.im)};
    p[7] = {hn::Sub(e3.re, three.re), hn::Add(e3.im, three.im)};
  }
}

// The butterflies of four points that a pass of radix 4 makes between points `apart` of each other, for one
// of its twiddle factors.
template <class Put>
HWY_INLINE void butterflyOfPass(const float* work, std::ptrdiff_t apart, const Zop32fc* w, const Put& put) {
  Point a = getPoint(work), b = multiply(getPoint(work + apart * kPoint), everywhere(w[0])),
        c = multiply(getPoint(work + 2 * apart * kPoint), everywhere(w[1])),
        d = multiply(getPoint(work + 3 * apart * kPoint), everywhere(w[2]));
  butterfly4(a, b, c, d);
  put(0, a);
  put(1, b);
  put(2, c);
  put(3, d);
}

// A transform of all lanes. `in(n)` gives point n, `out(n, p)` takes it; all points are taken before the
// first is given, so that both may be the same. `work` has room for the points.
template <int kFirst, class In, class Out>
HWY_NOINLINE void laneTransformFrom(const LaneFft& fft, float* work, const In& in, const Out& out) {
  constexpr std::ptrdiff_t kRadix = 1 << kFirst;
  const std::ptrdiff_t points = fft.points(), groups = fft.groups();
  const auto firstPass = [&](std::ptrdiff_t start, const auto& put) HWY_ATTR {
    Point p[kRadix];
#pragma GCC unroll 8
    for (std::ptrdiff_t j = 0; j < kRadix; ++j) p[j] = in(start + j * groups);
    butterfly<kFirst>(p);
#pragma GCC unroll 8
    for (std::ptrdiff_t j = 0; j < kRadix; ++j) put(j, p[j]);
  };
  if (groups == 1) return firstPass(0, out);

  // The points go in pieces through as many passes as the innermost cache allows.
  constexpr std::ptrdiff_t kPiece = 256;
  const auto passes = [&](float* piece, std::ptrdiff_t size, std::ptrdiff_t apart,
                          const Zop32fc* w) HWY_ATTR {
    for (; 4 * apart <= size && 4 * apart < points; w += 3 * apart, apart *= 4) {
      for (std::ptrdiff_t block = 0; block < size; block += 4 * apart) {
        for (std::ptrdiff_t k = 0; k < apart; ++k) {
          float* at = piece + (block + k) * kPoint;
          butterflyOfPass(at, apart, w + 3 * k,
                          [&](std::ptrdiff_t j, Point p) HWY_ATTR { putPoint(p, at + j * apart * kPoint); });
        }
      }
    }
    return w;
  };
  std::ptrdiff_t piece = kRadix;
  while (4 * piece <= kPiece && 4 * piece < points) piece *= 4;
  const Zop32fc* twiddles = fft.twiddles;
  for (std::ptrdiff_t begin = 0; begin < points; begin += piece) {
    for (std::ptrdiff_t g = begin / kRadix; g < (begin + piece) / kRadix; ++g) {
      float* at = work + g * kRadix * kPoint;
      firstPass(fft.starts[g], [&](std::ptrdiff_t j, Point p) HWY_ATTR { putPoint(p, at + j * kPoint); });
    }
    twiddles = passes(work + begin * kPoint, piece, kRadix, fft.twiddles);
  }
  twiddles = passes(work, points, piece, twiddles);
  const std::ptrdiff_t apart = points / 4;
  for (std::ptrdiff_t k = 0; k < apart; ++k) {
    butterflyOfPass(work + k * kPoint, apart, twiddles + 3 * k,
                    [&](std::ptrdiff_t j, Point p) HWY_ATTR { out(k + j * apart, p); });
  }
}

template <class In, class Out>
void laneTransform(const LaneFft& fft, float* work, const In& in, const Out& out) {
  switch (fft.firstOrder()) {
    case 0:
      return laneTransformFrom<0>(fft, work, in, out);
    case 1:
      return laneTransformFrom<1>(fft, work, in, out);
    case 2:
      return laneTransformFrom<2>(fft, work, in, out);
    default:
      return laneTransformFrom<3>(fft, work, in, out);
  }
}

// Memory for what a transform keeps, on the stack where it is short.
struct Scratch {
  float *matrix, *work;
};

// One contiguous signal of at least 64 points: columns of the matrix that it is, then rows.
template <Direction kDirection>
void longRow(const RowFft& fft, float scale, const float* src, float* dst, const Scratch& scratch) {
  const std::ptrdiff_t rows = fft.down.points(), columns = fft.across.points();
  const std::ptrdiff_t tileRow = columns / V * kTile;
  for (std::ptrdiff_t x = 0; x < columns; x += V) {
    float* tiles = scratch.matrix + x / V * kTile;
    laneTransform(fft.down, scratch.work,
                  NumbersIn<kDirection>{src + 2 * x, columns * static_cast<std::ptrdiff_t>(sizeof(Zop32fc))},
                  TilesOut{tiles, tileRow, columns, fft.twiddles + x});
    for (std::ptrdiff_t y = 0; y < rows / V; ++y) {
      transpose(tiles + y * tileRow, kPoint);
      transpose(tiles + y * tileRow + V, kPoint);
    }
  }
  for (std::ptrdiff_t y = 0; y < rows; y += V) {
    laneTransform(fft.across, scratch.work, TilesIn{scratch.matrix + y / V * tileRow},
                  NumbersOut<kDirection>{dst + 2 * y, rows * static_cast<std::ptrdiff_t>(sizeof(Zop32fc)),
                                         hn::Set(Lanes(), scale)});
  }
}

// Up to V short signals at once.
template <Direction kDirection>
void shortRows(const RowFft& fft, float scale, Signals<const Zop32fc> src, Signals<Zop32fc> dst,
               std::ptrdiff_t count, float* work) {
  const auto placesOf = [&](std::ptrdiff_t step) HWY_ATTR {
    Places places;
    for (std::ptrdiff_t l = 0; l < V; ++l) {
      places.re[l] = (l < count ? l : 0) * step;
      places.im[l] = places.re[l] + static_cast<std::ptrdiff_t>(sizeof(float));
    }
    places.count = count;
    return places;
  };
  const Places from = placesOf(src.step), to = placesOf(dst.step);
  laneTransform(fft.down, work, PlacesIn<kDirection>{floats(src.at), src.stride, from},
                PlacesOut<kDirection>{floats(dst.at), dst.stride, to, hn::Set(Lanes(), scale)});
}

// How many signals a transform takes at once.
HWY_INLINE std::ptrdiff_t together(const RowFft& fft) { return fft.isShort() ? V : 1; }

template <Direction kDirection>
void rowTransform(const RowFft& fft, float scale, Signals<const Zop32fc> src, Signals<Zop32fc> dst,
                  std::ptrdiff_t count, const Scratch& scratch) {
  if (fft.isShort())
    shortRows<kDirection>(fft, scale, src, dst, count, scratch.work);
  else
    longRow<kDirection>(fft, scale, floats(src.at), floats(dst.at), scratch);
}

template <class T>
HWY_INLINE T* sampleOf(Signals<T> signals, std::ptrdiff_t i, std::ptrdiff_t n) {
  return Image<T>{Image<T>{signals.at, signals.step}.row(i), signals.stride}.row(n);
}
// Signals in memory of our own, without gaps.
template <class T>
Signals<T> denseSignals(T* at, std::ptrdiff_t points) {
  return {at, sizeof(T), points * static_cast<std::ptrdiff_t>(sizeof(T))};
}
template <class T>
bool isDense(Signals<T> signals) {
  return signals.stride == sizeof(T);
}
template <class T>
void copySignals(Signals<const T> from, Signals<T> to, std::ptrdiff_t points, std::ptrdiff_t count) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    for (std::ptrdiff_t n = 0; n < points; ++n)
      std::memcpy(sampleOf(to, i, n), sampleOf(from, i, n), sizeof(T));
  }
}
template <class T>
Signals<const T> asSources(Signals<T> signals) {
  return {signals.at, signals.stride, signals.step};
}

// The stack has room for signals of 2^kFftStackOrder complex points, or for as many short ones as go
// together.
constexpr std::ptrdiff_t kStackFloats = std::ptrdiff_t{2} << kFftStackOrder;
constexpr std::ptrdiff_t kWorkPoints =
    32;  // what is on the stack is a matrix of no more than 32 rows or columns

template <Direction kDirection>
void complexRowsIn(const RowFft& fft, float scale, Signals<const Zop32fc> src, Signals<Zop32fc> dst,
                   std::ptrdiff_t count, float* scratch) {
  HWY_ALIGN float matrixOnStack[kStackFloats], copyOnStack[kStackFloats], workOnStack[kWorkPoints * kPoint];
  const bool onStack = fft.order <= kFftStackOrder;
  const std::ptrdiff_t points = fft.points();
  float* copy = onStack ? copyOnStack : scratch + 2 * points;
  const Scratch memory =
      onStack ? Scratch{matrixOnStack, workOnStack} : Scratch{scratch, scratch + 4 * points};
  // Short signals are taken as they are, long ones need samples that follow each other.
  const bool direct = fft.isShort() || (isDense(src) && isDense(dst));
  for (std::ptrdiff_t i = 0; i < count; i += together(fft)) {
    const std::ptrdiff_t n = HWY_MIN(count - i, together(fft));
    const Signals<const Zop32fc> from = {sampleOf(src, i, 0), src.stride, src.step};
    const Signals<Zop32fc> to = {sampleOf(dst, i, 0), dst.stride, dst.step};
    if (direct) {
      rowTransform<kDirection>(fft, scale, from, to, n, memory);
    } else {
      const auto dense = denseSignals(reinterpret_cast<Zop32fc*>(copy), points);
      copySignals(from, dense, points, n);
      rowTransform<kDirection>(fft, scale, asSources(dense), dense, n, memory);
      copySignals(asSources(dense), to, points, n);
    }
  }
}

void complexRows(const RowFft& fft, Direction direction, float scale, Signals<const Zop32fc> src,
                 Signals<Zop32fc> dst, std::ptrdiff_t count, float* scratch) {
  if (direction == Direction::Forward)
    complexRowsIn<Direction::Forward>(fft, scale, src, dst, count, scratch);
  else
    complexRowsIn<Direction::Inverse>(fft, scale, src, dst, count, scratch);
}

// Between the transform z of real samples taken for half as many complex ones, and that of the samples. Point
// k and the one as far from the end belong together (Sorensen et al., 1987). `Step` takes them and a factor,
// and leaves them in their places.
struct Unfolded {
  static HWY_INLINE void step(Point& low, Point& high, Point factor) {
    const auto q = factor.re, p = factor.im;
    const auto apart = hn::Sub(low.re, high.re), sum = hn::Add(low.im, high.im);
    const auto s = hn::MulAdd(apart, p, hn::Mul(sum, q)), u = hn::MulSub(sum, p, hn::Mul(apart, q));
    const Point a = low, b = high;
    low = {hn::Add(b.re, s), hn::Sub(u, b.im)};
    high = {hn::Sub(a.re, s), hn::Sub(u, a.im)};
  }
};
struct Folded {
  static HWY_INLINE void step(Point& low, Point& high, Point factor) {
    const auto apart = hn::Sub(low.re, high.re), sum = hn::Add(low.im, high.im);
    const auto p = hn::MulAdd(apart, factor.im, hn::Mul(sum, factor.re));
    const auto q = hn::MulSub(apart, factor.re, hn::Mul(sum, factor.im));
    const auto re = hn::Add(low.re, high.re), im = hn::Sub(low.im, high.im);
    low = {hn::Sub(re, p), hn::Add(im, q)};
    high = {hn::Add(re, p), hn::Sub(q, im)};
  }
};

HWY_INLINE Point reversed(Point p) { return {hn::Reverse(Lanes(), p.re), hn::Reverse(Lanes(), p.im)}; }

// `in` and `out` point to point 0; the points from 1 to the end are made, of which there are 2^order - 1.
template <class Step>
void pairwise(const float* in, float* out, int order, const Zop32fc* factors) {
  const std::ptrdiff_t points = std::ptrdiff_t{1} << order;
  if (points / 2 < V) {
    // Around what there is, other points do no harm.
    float from[6 * V] = {}, to[6 * V];
    std::memcpy(from + 2 * V + 2, in + 2, static_cast<std::size_t>(2 * points - 2) * sizeof(float));
    Point low = loadNumbers(from + 2 * V + 2), high = reversed(loadNumbers(from + 2 * points));
    Step::step(low, high, loadNumbers(floats(factors)));
    const std::ptrdiff_t half = points / 2;
    storeNumbers(low, to);
    std::memcpy(out + 2, to, static_cast<std::size_t>(2 * half) * sizeof(float));
    storeNumbers(reversed(high), to);
    std::memcpy(out + 2 * (points - half), to + 2 * (V - half),
                static_cast<std::size_t>(2 * half) * sizeof(float));
    return;
  }
  for (std::ptrdiff_t k = 1; k <= points / 2; k += V) {
    const std::ptrdiff_t mirrored = points - k - V + 1;
    Point low = loadNumbers(in + 2 * k), high = reversed(loadNumbers(in + 2 * mirrored));
    Step::step(low, high, loadNumbers(floats(factors + k - 1)));
    storeNumbers(low, out + 2 * k);
    storeNumbers(reversed(high), out + 2 * mirrored);
  }
}

// A signal in packed order has its real ends at both ends, so that point k stands a sample ahead.
void packFrom(const RealFft& fft, const float* z, float* out) {
  if (fft.order > 1) pairwise<Unfolded>(z, out - 1, fft.order - 1, fft.forward);
  const float first = z[0] + z[1], last = z[0] - z[1];
  std::memcpy(out, &first, sizeof first);
  std::memcpy(out + fft.samples() - 1, &last, sizeof last);
}
void unpackTo(const RealFft& fft, const float* pack, float* z) {
  if (fft.order > 1) pairwise<Folded>(pack - 1, z, fft.order - 1, fft.inverse);
  float first, last;
  std::memcpy(&first, pack, sizeof first);
  std::memcpy(&last, pack + fft.samples() - 1, sizeof last);
  z[0] = first + last;
  z[1] = first - last;
}

template <Direction kDirection>
void realRows(const RealFft& fft, float scale, Signals<const float> src, Signals<float> dst,
              std::ptrdiff_t count, float* scratch) {
  if (fft.order == 0) return copySignals(src, dst, 1, count);
  const RowFft& half = fft.half;
  HWY_ALIGN float matrixOnStack[kStackFloats], foldedOnStack[kStackFloats], inOnStack[kStackFloats],
      outOnStack[kStackFloats], workOnStack[kWorkPoints * kPoint];
  const bool onStack = half.order <= kFftStackOrder;
  const std::ptrdiff_t samples = fft.samples(), points = half.points();
  const Scratch memory =
      onStack ? Scratch{matrixOnStack, workOnStack} : Scratch{scratch, scratch + 4 * samples};
  float* folded = onStack ? foldedOnStack : scratch + samples;
  const Signals<float> in = denseSignals(onStack ? inOnStack : scratch + 2 * samples, samples),
                       out = denseSignals(onStack ? outOnStack : scratch + 3 * samples, samples);
  for (std::ptrdiff_t i = 0; i < count; i += together(half)) {
    const std::ptrdiff_t n = HWY_MIN(count - i, together(half));
    Signals<const float> from = {sampleOf(src, i, 0), src.stride, src.step};
    const Signals<float> to = {sampleOf(dst, i, 0), dst.stride, dst.step};
    if (!isDense(from)) {
      copySignals(from, in, samples, n);
      from = asSources(in);
    }
    const Signals<float> made = isDense(to) ? to : out;
    const auto z = denseSignals(reinterpret_cast<Zop32fc*>(folded), points);
    if constexpr (kDirection == Direction::Forward) {
      rowTransform<kDirection>(
          half, scale, {reinterpret_cast<const Zop32fc*>(from.at), sizeof(Zop32fc), from.step}, z, n, memory);
      for (std::ptrdiff_t j = 0; j < n; ++j) packFrom(fft, floats(sampleOf(z, j, 0)), sampleOf(made, j, 0));
    } else {
      for (std::ptrdiff_t j = 0; j < n; ++j) unpackTo(fft, sampleOf(from, j, 0), floats(sampleOf(z, j, 0)));
      rowTransform<kDirection>(half, scale, asSources(z),
                               {reinterpret_cast<Zop32fc*>(made.at), sizeof(Zop32fc), made.step}, n, memory);
    }
    if (!isDense(to)) copySignals(asSources(made), to, samples, n);
  }
}

template <Direction kDirection>
void columnsIn(const LaneFft& fft, float scale, const ComplexColumns& columns, float* work) {
  const Image<float> image = columns.image;
  const std::ptrdiff_t lanes = columns.count * columns.channels;
  const bool dense = columns.distance == 1;
  const Vector by = hn::Set(Lanes(), scale);
  for (std::ptrdiff_t begin = 0; begin < lanes; begin += V) {
    const std::ptrdiff_t count = HWY_MIN(V, lanes - begin);
    if (dense && count == V) {
      float* at = image.at + 2 * begin;
      laneTransform(fft, work, NumbersIn<kDirection>{at, image.step},
                    NumbersOut<kDirection>{at, image.step, by});
      continue;
    }
    Places places;
    for (std::ptrdiff_t l = 0; l < V; ++l) {
      const std::ptrdiff_t lane = begin + HWY_MIN(l, count - 1);
      const std::ptrdiff_t column = lane / columns.channels, channel = lane % columns.channels;
      constexpr std::ptrdiff_t kBytes = sizeof(float);
      places.re[l] = (2 * column * columns.distance + channel) * kBytes;
      places.im[l] = places.re[l] + columns.distance * kBytes;
    }
    places.count = count;
    laneTransform(fft, work, PlacesIn<kDirection>{image.at, image.step, places},
                  PlacesOut<kDirection>{image.at, image.step, places, by});
  }
}

void columns(const LaneFft& fft, Direction direction, float scale, const ComplexColumns& columns,
             float* scratch) {
  HWY_ALIGN float workOnStack[kPoint << kFftStackOrder];
  float* work = fft.order <= kFftStackOrder ? workOnStack : scratch;
  if (direction == Direction::Forward)
    columnsIn<Direction::Forward>(fft, scale, columns, work);
  else
    columnsIn<Direction::Inverse>(fft, scale, columns, work);
}

// Points that stay in lanes,
struct PointsOut {
  float* at;
  HWY_INLINE void operator()(std::ptrdiff_t n, Point p) const { putPoint(p, at + n * kPoint); }
};
// and products of such points, on their way back.
struct ProductsIn {
  const float *a, *b;
  HWY_INLINE Point operator()(std::ptrdiff_t n) const {
    return turnedAround<Direction::Inverse>(multiply(getPoint(a + n * kPoint), getPoint(b + n * kPoint)));
  }
};

void takeLanes(const ComplexColumns& columns, int height, bool conjugate, float* lanes) {
  const auto sign = hn::Set(Lanes(), conjugate ? -1.0f : 1.0f);
  for (std::ptrdiff_t begin = 0; begin < columns.count; begin += V) {
    const std::ptrdiff_t count = HWY_MIN(V, columns.count - begin);
    for (int y = 0; y < height; ++y, lanes += kPoint) {
      HWY_ALIGN float numbers[kPoint] = {};
      std::memcpy(numbers, columns.image.row(y) + 2 * begin, 2 * count * sizeof(float));
      const Point p = loadNumbers(numbers);
      putPoint({p.re, hn::Mul(p.im, sign)}, lanes);
    }
  }
}

void filterColumns(const LaneFft& fft, float scale, const ComplexColumns& columns, const float* lanes) {
  HWY_ALIGN float work[kPoint << kFftStackOrder], spectrum[kPoint << kFftStackOrder];
  const Image<float> image = columns.image;
  const Vector by = hn::Set(Lanes(), scale);
  for (std::ptrdiff_t begin = 0; begin < columns.count; begin += V, lanes += fft.points() * kPoint) {
    float* at = image.at + 2 * begin;
    laneTransform(fft, work, NumbersIn<Direction::Forward>{at, image.step}, PointsOut{spectrum});
    laneTransform(fft, work, ProductsIn{spectrum, lanes}, NumbersOut<Direction::Inverse>{at, image.step, by});
  }
}

struct ToNumbers {
  using Lane = float;
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V v) const {
    return toReal(d, v);
  }
};

// Saturated, then rounded to nearest with ties to even. The factor is a power of two, so that the product is
// exact, and 2^31 - 1 is a double.
template <class T>
struct ToSamples {
  using Lane = double;
  double factor;
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V v) const {
    return wholeInLowBits(d, held<T>(d, hn::Mul(toReal(d, v), hn::Set(d, factor))));
  }
};

constexpr FftRows kTable = {
    complexRows,
    realRows<Direction::Forward>,
    realRows<Direction::Inverse>,
    columns,
    takeLanes,
    filterColumns,
    conversionRows<ToNumbers, Zop8u, Zop32f>(),
    conversionRows<ToNumbers, Zop32s, Zop32f>(),
    conversionRows<ToSamples<Zop8u>, Zop32f, Zop8u, double>(),
    conversionRows<ToSamples<Zop32s>, Zop32f, Zop32s, double>(),
};

}  // namespace

const FftRows* fftTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(fftTableOfTarget);

const FftRows& fftTable() { return *HWY_DYNAMIC_DISPATCH(fftTableOfTarget)(); }

}  // namespace zopi
#endif
