// Curves through given points. Bytes look them up in tables, and so do words, but in small images of one
// channel: those find the segment of each sample, as numbers do. All on the calling thread.
#include <cstdint>
#include <cstring>
#include <new>
#include <optional>
#include <type_traits>

#include "core/lookup_rows.h"
#include "core/memory.h"
#include "move/copy.h"
#include "stats/levels_rows.h"
#include "zopi/status.h"

namespace zopi {
namespace {

ZopStatus checkPointCount(int count) { return count < 2 ? zopStatusBadLutLevels : zopStatusOk; }

template <class Layout, class L>
ZopStatus checkCurves(const L* const* values, const L* const* levels, const int* levelCounts) {
  for (int c = 0; c < Layout::colours; ++c) {
    if (values[c] == nullptr || levels[c] == nullptr) return zopStatusNullPointer;
    if (ZopStatus bad = checkPointCount(levelCounts[c])) return bad;
  }
  return zopStatusOk;
}

// The points of one channel's curve.
template <class T>
struct Curve {
  const Level<T>* values;
  Levels<Level<T>> levels;
};

template <class T, class Number>
T saturated(Number value) {
  using Range = SampleRange<T>;
  // Not-a-numbers become the lowest sample.
  return static_cast<T>(value >= Range::end     ? Range::end - 1
                        : value > Range::lowest ? static_cast<int>(value)
                                                : Range::lowest);
}

// What a curve makes of the samples of segment k, which must hold something. Integers that a real number
// becomes have one half added before they are truncated.

struct Step {
  template <class T>
  class Piece {
    T value_;

   public:
    Piece(const Curve<T>& curve, int k) {
      if constexpr (std::is_same_v<T, Zop32f>)
        value_ = curve.values[k];
      else
        value_ = saturated<T>(curve.values[k]);
    }
    template <class X>
    T operator()(X) const {
      return value_;
    }
  };
};

struct Linear {
  // The line stays between its two values, so words that wrap have it right whatever the slope.
  template <class T>
  class Piece {
    std::uint32_t slope_, at0_;

   public:
    Piece(const Curve<T>& curve, int k) {
      const Zop32s *v = curve.values + k, *l = curve.levels.at + k;
      slope_ = static_cast<std::uint32_t>((std::int64_t{v[1]} - v[0]) / (std::int64_t{l[1]} - l[0]));
      at0_ = static_cast<std::uint32_t>(v[0]) - slope_ * static_cast<std::uint32_t>(l[0]);
    }
    T operator()(int x) const {
      const auto y = static_cast<std::int32_t>(slope_ * static_cast<std::uint32_t>(x) + at0_);
      return saturated<T>(y < 0 ? y + 1 : y);
    }
  };
};
template <>
class Linear::Piece<Zop32f> {
  double level_, value_, slope_;

 public:
  Piece(const Curve<Zop32f>& curve, int k) : level_(curve.levels.at[k]), value_(curve.values[k]) {
    slope_ = (curve.values[k + 1] - value_) / (curve.levels.at[k + 1] - level_);
  }
  Zop32f operator()(Zop32f x) const { return static_cast<Zop32f>((x - level_) * slope_ + value_); }
};

double determinant(const double (&a)[3], const double (&b)[3], const double (&c)[3]) {
  return a[0] * (b[1] * c[2] - b[2] * c[1]) - b[0] * (a[1] * c[2] - a[2] * c[1]) +
         c[0] * (a[1] * b[2] - a[2] * b[1]);
}

struct Cubic {
  // y = y1 + a1 d + a2 d^2 + a3 d^3, with d counted from the second of the four points, at y1.
  template <class T>
  class Piece {
    double level_, value_, a1_, a2_, a3_;

   public:
    Piece(const Curve<T>& curve, int k) {
      const int first = std::clamp(k - 1, 0, curve.levels.count - 4);
      const Level<T>*l = curve.levels.at + first, *v = curve.values + first;
      level_ = l[1];
      value_ = v[1];
      // Cramer's rule: columns of distances, of their squares and cubes, and of differences of values.
      double d[3], d2[3], d3[3], y[3];
      for (int i = 0; i < 3; ++i) {
        const int point = i == 0 ? 0 : i + 1;
        d[i] = l[point] - level_;
        d2[i] = d[i] * d[i];
        d3[i] = d2[i] * d[i];
        y[i] = v[point] - value_;
      }
      const double reciprocal = 1.0 / determinant(d, d2, d3);
      a1_ = determinant(y, d2, d3) * reciprocal;
      a2_ = determinant(d, y, d3) * reciprocal;
      a3_ = determinant(d, d2, y) * reciprocal;
    }
    template <class X>
    T operator()(X x) const {
      const double d = x - level_, d2 = d * d;
      if constexpr (std::is_same_v<T, Zop32f>)
        return static_cast<Zop32f>(((value_ + a1_ * d) + d2 * d * a3_) + d2 * a2_);
      else
        return saturated<T>(((a1_ * d + (value_ + 0.5)) + d2 * d * a3_) + d2 * a2_);
    }
  };
};

// Calls `f` with the kind of curve, of which a cubic one needs four points.
template <class Kind, class T, class F>
void withKind(const Curve<T>& curve, const F& f) {
  if constexpr (std::is_same_v<Kind, Cubic>) {
    if (curve.levels.count < 4) return f(Linear());
  }
  f(Kind());
}

// A segment of a curve of integers: what it holds, and what it makes of that.
template <class Kind, class T>
struct Segment {
  int begin, end;
  typename Kind::template Piece<T> piece;
  T first;

  Segment(const Curve<T>& curve, int k)
      : begin(clipped<T>(curve.levels.at[k])),
        end(clipped<T>(curve.levels.at[k + 1])),
        piece(curve, k),
        first(saturated<T>(curve.values[k])) {}

  bool holds(int x) const { return begin <= x && x < end; }
  T operator()(int x) const { return end - begin == 1 ? first : piece(x); }
};

// A sample stands in a table at the place that its bits say.
template <class T>
std::size_t place(int x) {
  return static_cast<std::make_unsigned_t<T>>(x);
}

template <class Kind, class T>
void makeTable(const Curve<T>& curve, T* table) {
  for (int i = 0; i < SampleRange<T>::end - SampleRange<T>::lowest; ++i) table[i] = static_cast<T>(i);
  withKind<Kind>(curve, [&](auto kind) {
    int end = clipped<T>(curve.levels.at[0]);
    for (int k = 0; k + 1 < curve.levels.count; ++k) {
      const int begin = end;
      end = clipped<T>(curve.levels.at[k + 1]);
      if (end - begin == 1) {
        table[place<T>(begin)] = saturated<T>(curve.values[k]);
      } else if (begin < end) {
        const typename decltype(kind)::template Piece<T> piece(curve, k);
        for (int x = begin; x < end; ++x) table[place<T>(x)] = piece(x);
      }
    }
  });
}

template <class Layout, class T>
struct Curves {
  const Level<T>* const* values;
  const Level<T>* const* levels;
  const int* levelCounts;

  Curve<T> operator[](int c) const { return {values[c], {levels[c], levelCounts[c]}}; }
};

template <class Kind, class Layout>
ZopStatus mapped(Image<const Zop8u> src, Image<Zop8u> dst, ZopImageSize size, Curves<Layout, Zop8u> curves) {
  Zop8u tables[256 * Layout::colours];
  for (int c = 0; c < Layout::colours; ++c) makeTable<Kind>(curves[c], tables + 256 * c);
  if constexpr (std::is_same_v<Layout, C1>)
    mapImage<C1>(lookupTable().bytes, src, dst, size, tables);
  else
    mapPixelImages<Layout, Layout>(false, lookupTable().bytesOf<Layout>(), src, dst, size, tables);
  return zopStatusOk;
}

// Words without a table. Neighbours are often in one segment, so the last one is tried first.
template <class Kind>
void mapBySegments(Image<const Zop16s> src, Image<Zop16s> dst, ZopImageSize size,
                   const Curve<Zop16s>& curve) {
  const int segments = curve.levels.count - 1;
  const bool increasing = curve.levels.increase();
  const auto segmentOf = [&](int x) {
    if (increasing) {
      const int reached = curve.levels.reachedBy(x);
      return reached <= segments ? reached - 1 : -1;
    }
    for (int k = segments - 1; k >= 0; --k) {
      if (curve.levels.at[k] <= x && x < curve.levels.at[k + 1]) return k;
    }
    return -1;
  };
  withKind<Kind>(curve, [&](auto kind) {
    std::optional<Segment<decltype(kind), Zop16s>> segment;
    int current = -1;
    for (int y = 0; y < size.height; ++y) {
      for (int i = 0; i < size.width; ++i) {
        Zop16s sample;
        std::memcpy(&sample, src.row(y) + i, sizeof sample);  // rows may stand at any address
        if (current < 0 || !increasing || !segment->holds(sample)) {
          const int k = segmentOf(sample);
          if (k >= 0 && k != current) segment.emplace(curve, k);
          current = k;
        }
        if (current >= 0) sample = (*segment)(sample);
        std::memcpy(dst.row(y) + i, &sample, sizeof sample);
      }
    }
  });
}

constexpr int kWords = 65536;
constexpr std::int64_t kManyPixels = 6401;  // from here on, a table pays for one channel

// Several channels, each with a table.
template <class Layout>
void lookUp(Image<const Zop16s> src, Image<Zop16s> dst, ZopImageSize size, const Zop16s* tables) {
  for (int y = 0; y < size.height; ++y) {
    const Zop16s* from = src.row(y);
    Zop16s* to = dst.row(y);
    for (int x = 0; x < size.width; ++x, from += Layout::channels, to += Layout::channels) {
#pragma GCC unroll 4
      for (int c = 0; c < Layout::colours; ++c) {
        Zop16u sample;
        std::memcpy(&sample, from + c, sizeof sample);  // rows may stand at any address
        std::memcpy(to + c, tables + c * kWords + sample, sizeof sample);
      }
    }
  }
}

template <class Kind, class Layout>
ZopStatus mapped(Image<const Zop16s> src, Image<Zop16s> dst, ZopImageSize size,
                 Curves<Layout, Zop16s> curves) {
  if (Layout::channels == 1 && std::int64_t{size.width} * size.height < kManyPixels) {
    mapBySegments<Kind>(src, dst, size, curves[0]);
    return zopStatusOk;
  }
  auto* tables = static_cast<Zop16s*>(zopAlloc16(kWords * Layout::colours));
  if (tables == nullptr) return zopStatusNoMemory;
  for (int c = 0; c < Layout::colours; ++c) makeTable<Kind>(curves[c], tables + c * kWords);
  if constexpr (Layout::channels == 1)
    mapImage<C1>(lookupTable().words, src.as<Zop16u>(), dst.as<Zop16u>(), size,
                 reinterpret_cast<const Zop16u*>(tables));
  else
    lookUp<Layout>(src, dst, size, tables);
  zopFreeAligned(tables);
  return zopStatusOk;
}

// Finds for each number of a piece the first segment that holds it, or -1.
void findSegments(Levels<Zop32f> levels, bool increasing, const Zop32f* samples, std::ptrdiff_t count,
                  Zop32s* segments) {
  const int last = levels.count - 1;
  if (!increasing) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      int k = 0;
      while (k < last && !(levels.at[k] <= samples[i] && samples[i] < levels.at[k + 1])) ++k;
      segments[i] = k < last ? k : -1;
    }
    return;
  }
  levelTable().of<Zop32f>().reached(samples, count, levels, segments);
  for (std::ptrdiff_t i = 0; i < count; ++i) segments[i] = segments[i] <= last ? segments[i] - 1 : -1;
}

// One channel of numbers. `pieces[k]` is what the curve makes of segment k.
template <class Layout, class Pieces>
void mapNumbers(Image<const Zop32f> src, Image<Zop32f> dst, ZopImageSize size, Levels<Zop32f> levels,
                const Pieces& pieces) {
  Zop32f samples[kLevelPiece] = {};
  Zop32s segments[kLevelPiece];
  const bool increasing = levels.increase();
  for (int y = 0; y < size.height; ++y) {
    for (std::ptrdiff_t x = 0; x < size.width; x += kLevelPiece) {
      const std::ptrdiff_t n = std::min(kLevelPiece, size.width - x);
      const Zop32f* from = src.row(y) + x * Layout::channels;
      Zop32f* to = dst.row(y) + x * Layout::channels;
      extractChannel<Layout>(Image<const Zop32f>{from, 0}, Image<Zop32f>{samples, 0},
                             {static_cast<int>(n), 1});
      findSegments(levels, increasing, samples, n, segments);
      for (std::ptrdiff_t i = 0; i < n; ++i) {
        const Zop32f sample = segments[i] < 0 ? samples[i] : pieces(segments[i])(samples[i]);
        std::memcpy(to + i * Layout::channels, &sample, sizeof sample);
      }
    }
  }
}

// Cubics of numbers are computed once for each segment and channel. Nothing is written unless there is memory
// for all of them.
template <class Layout>
class CubicTables {
 public:
  using Piece = Cubic::Piece<Zop32f>;

  explicit CubicTables(const Curves<Layout, Zop32f>& curves) {
    for (int c = 0; c < Layout::colours; ++c) {
      const int segments = curves.levelCounts[c] - 1;
      if (segments < 3) continue;
      const std::int64_t doubles = std::int64_t{segments} * static_cast<int>(sizeof(Piece) / sizeof(double));
      of_[c] = doubles <= INT32_MAX ? static_cast<Piece*>(zopAlloc64(static_cast<int>(doubles))) : nullptr;
      good_ = good_ && of_[c] != nullptr;
    }
    for (int c = 0; good_ && c < Layout::colours; ++c) {
      for (int k = 0; of_[c] != nullptr && k + 1 < curves.levelCounts[c]; ++k)
        new (of_[c] + k) Piece(curves[c], k);
    }
  }
  ~CubicTables() {
    for (Piece* pieces : of_) zopFreeAligned(pieces);
  }
  CubicTables(const CubicTables&) = delete;

  bool good() const { return good_; }
  const Piece* operator[](int c) const { return of_[c]; }

 private:
  Piece* of_[Layout::colours] = {};
  bool good_ = true;
};

template <class Kind, class Layout>
ZopStatus mapped(Image<const Zop32f> src, Image<Zop32f> dst, ZopImageSize size,
                 Curves<Layout, Zop32f> curves) {
  using Simple = std::conditional_t<std::is_same_v<Kind, Cubic>, Linear, Kind>;
  const auto mapChannel = [&](int c, const auto& pieces) {
    mapNumbers<Layout>({src.at + c, src.step}, {dst.at + c, dst.step}, size, curves[c].levels, pieces);
  };
  const auto mapSimply = [&](int c) {
    const Curve<Zop32f> curve = curves[c];
    mapChannel(c, [&curve](int k) { return typename Simple::template Piece<Zop32f>(curve, k); });
  };
  if constexpr (std::is_same_v<Kind, Cubic>) {
    const CubicTables<Layout> tables(curves);
    if (!tables.good()) return zopStatusNoMemory;
    for (int c = 0; c < Layout::colours; ++c) {
      if (const auto* pieces = tables[c])
        mapChannel(c, [pieces](int k) { return pieces[k]; });
      else
        mapSimply(c);
    }
  } else {
    for (int c = 0; c < Layout::colours; ++c) mapSimply(c);
  }
  return zopStatusOk;
}

template <class Kind, class Layout, class T>
ZopStatus mapCurves(Image<const T> src, Image<T> dst, ZopImageSize size, const Level<T>* const* values,
                    const Level<T>* const* levels, const int* levelCounts) {
  return mapped<Kind>(src, dst, size, Curves<Layout, T>{values, levels, levelCounts});
}

}  // namespace
}  // namespace zopi

#include "color/lut.exports.inc"
