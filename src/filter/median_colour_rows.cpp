// The vector median: the pixel of a window whose distances from all others add up to the least.
//
// Sums run along the row, so rows go side by side, each in a lane of its own.
#include "filter/median_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/median_colour_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Sums of bytes reach 24 * 3 * 255, those of words 24 * 3 * 65535.
template <class T>
struct SumOf;
template <>
struct SumOf<Zop8u> {
  using Type = std::int16_t;
};
template <>
struct SumOf<Zop16s> {
  using Type = std::int32_t;
};
template <>
struct SumOf<Zop32f> {
  using Type = double;
};

template <class T, int kSize>
class ColourMedian {
  using Sum = typename SumOf<T>::Type;
  using D = Tag<Sum>;
  using V = hn::Vec<D>;
  static constexpr int N = kLanes<D>, kRadius = kSize / 2, kColours = AC4::colours;

  // The columns of the window stand in slots, of which each is taken in turn: the one that enters takes the
  // place of the one that leaves.
  HWY_ALIGN Sum samples_[kSize][kColours][2 * N + kSize];  // of the rows of all lanes
  HWY_ALIGN Sum sums_[kSize][kSize][N];                    // of each pixel of the window
  HWY_ALIGN Sum
      distances_[kSize][kSize][kSize][kSize][N];  // of slots and rows: from what entered to what was there

  struct Pixel {
    V samples[kColours];
  };
  HWY_INLINE Pixel pixel(int slot, int row) const {
    const auto& s = samples_[slot];
    return {{hn::LoadU(D(), s[0] + row), hn::LoadU(D(), s[1] + row), hn::LoadU(D(), s[2] + row)}};
  }
  static HWY_INLINE V distance(const Pixel& a, const Pixel& b) {
    const auto of = [&](int c) HWY_ATTR { return hn::Abs(hn::Sub(a.samples[c], b.samples[c])); };
    return hn::Add(hn::Add(of(0), of(1)), of(2));
  }

  // Rows below those that there are repeat the last.
  HWY_INLINE void load(int slot, Image<const T> column, int rows) {
    for (int y = 0; y < N + kSize - 1; ++y) {
      T colours[kColours];
      std::memcpy(colours, column.row(std::min(y, rows + kSize - 2)), sizeof colours);
      for (int c = 0; c < kColours; ++c) samples_[slot][c][y] = colours[c];
    }
  }

  // Slots from the oldest to `newest`, of `count`.
  static HWY_INLINE int slotAt(int newest, int count, int i) {
    return (newest + kSize + 1 - count + i) % kSize;
  }

  // Takes the distances from what leaves, the oldest column, from the sums of the pixels that stay.
  HWY_INLINE void leave(int slot) {
    const D d;
    for (int s = 0; s < kSize; ++s) {
      for (int y = 0; s != slot && y < kSize; ++y) {
        V sum = hn::Load(d, sums_[s][y]);
        for (int k = 0; k < kSize; ++k) sum = hn::Sub(sum, hn::Load(d, distances_[s][slot][y][k]));
        hn::Store(sum, d, sums_[s][y]);
      }
    }
  }

  // Adds the distances from what enters, and sums up its own, row by row. With it there are `count` columns.
  HWY_INLINE void enter(int slot, int count) {
    const D d;
    for (int k = 0; k < kSize; ++k) {
      const Pixel entering = pixel(slot, k);
      V total = hn::Zero(d);
      for (int y = 0; y < kSize; ++y) {
        for (int i = 0; i < count; ++i) {
          const int s = slotAt(slot, count, i);
          if (s == slot && y == k) continue;
          const V between = distance(entering, pixel(s, y));
          hn::Store(between, d, distances_[slot][s][k][y]);
          total = hn::Add(total, between);
          if (s != slot) hn::Store(hn::Add(hn::Load(d, sums_[s][y]), between), d, sums_[s][y]);
        }
      }
      hn::Store(total, d, sums_[slot][k]);
    }
  }

  // The sums of the first window, whose columns came in the order of the slots.
  HWY_INLINE void sumUp() {
    const D d;
    for (int s = 0; s < kSize; ++s) {
      for (int k = 0; k < kSize; ++k) {
        V total = hn::Zero(d);
        for (int y = 0; y < kSize; ++y) {
          for (int t = 0; t < kSize; ++t) {
            if (t == s && y == k) continue;
            total = hn::Add(total, hn::Load(d, t <= s ? distances_[s][t][k][y] : distances_[t][s][y][k]));
          }
        }
        hn::Store(total, d, sums_[s][k]);
      }
    }
  }

  // The place of the least sum in the window, counted row by row.
  HWY_INLINE V place(int newest) const {
    const D d;
    V least = hn::Load(d, sums_[slotAt(newest, kSize, 0)][0]), place = hn::Zero(d);
    for (int i = 1; i < kSize * kSize; ++i) {
      const V sum = hn::Load(d, sums_[slotAt(newest, kSize, i % kSize)][i / kSize]);
      const auto less = hn::Lt(sum, least);
      least = hn::IfThenElse(less, sum, least);
      place = hn::IfThenElse(less, hn::Set(d, static_cast<Sum>(i)), place);
    }
    return place;
  }

 public:
  // Rows from the first of `window` on, one for each lane or fewer. `window` is the upper left pixel of a
  // window.
  void band(Image<const T> window, Image<T> out, int width, int rows, int distance) {
    for (int x = 0; x < kSize; ++x) {
      load(x, {window.at + x * distance, window.step}, rows);
      enter(x, x + 1);
    }
    sumUp();
    int newest = kSize - 1;
    for (std::ptrdiff_t x = 0;; ++x) {
      HWY_ALIGN Sum places[N];
      hn::Store(place(newest), D(), places);
      for (int y = 0; y < rows; ++y) {
        const int at = static_cast<int>(places[y]);
        std::memcpy(out.row(y) + x * distance, window.row(y + at / kSize) + (x + at % kSize) * distance,
                    kColours * sizeof(T));
      }
      if (x + 1 == width) break;
      newest = (newest + 1) % kSize;
      leave(newest);
      load(newest, {window.at + (x + kSize) * distance, window.step}, rows);
      enter(newest, kSize);
    }
  }

  static void image(Image<const T> src, Image<T> dst, ZopImageSize size, int distance) {
    ColourMedian median;
    for (int y = 0; y < size.height; y += N) {
      const Image<const T> window = {src.row(y - kRadius) - kRadius * distance, src.step};
      median.band(window, dst.from(y), size.width, std::min(N, size.height - y), distance);
    }
  }
};

template <class T>
constexpr ColourMedianRows<T> kRows = {ColourMedian<T, 3>::image, ColourMedian<T, 5>::image};
constexpr ColourMedianTable kTable = {{kRows<Zop8u>}, {kRows<Zop16s>}, {kRows<Zop32f>}};

}  // namespace

const ColourMedianTable* colourMedianTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(colourMedianTableOfTarget);

const ColourMedianTable& colourMedianTable() { return *HWY_DYNAMIC_DISPATCH(colourMedianTableOfTarget)(); }

}  // namespace zopi
#endif
