#include "filter/morphology_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/morphology_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/row_shapes-inl.h"
#include "filter/stencil-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

struct Least {
  template <class V>
  HWY_INLINE V operator()(V a, V b) const {
    return hn::Min(a, b);
  }
};
struct Greatest {
  template <class V>
  HWY_INLINE V operator()(V a, V b) const {
    return hn::Max(a, b);
  }
};

template <class Extreme, class T>
struct Square {
  static constexpr int kRadius = 1;
  using V = hn::Vec<Tag<T>>;
  using Row = std::array<V, 1>;
  template <class Source>
  HWY_INLINE Row across(const Source& source) const {
    return {Extreme()(source.at(0), Extreme()(source.at(-1), source.at(1)))};
  }
  HWY_INLINE V down(const std::array<Row, 3>& rows) const {
    return Extreme()(Extreme()(rows[0][0], rows[1][0]), rows[2][0]);
  }
};

// The region is gone through in strips of so many bytes a row, so that the kinds of runs of all rows of a
// window lie in the caches.
constexpr std::ptrdiff_t kStripBytes = 1024;

// Rows of the extremes under the kinds of runs, a ring of them for each kind that is kept, and where the runs
// of a window stand in them.
template <class Extreme, class T>
class Strip {
 public:
  static std::ptrdiff_t scratchBytes(const Element& element, const ElementShape& shape) {
    return element.runCount * static_cast<std::ptrdiff_t>(sizeof(const T*)) +
           rowCount(element) * pitchOf(element, shape) * static_cast<std::ptrdiff_t>(sizeof(T));
  }

  Strip(const Element& element, const ElementShape& shape, void* scratch)
      : element_(element),
        channels_(shape.channels),
        pitch_(pitchOf(element, shape)),
        around_(element.widthAround(shape.channels)),
        runs_(static_cast<const T**>(scratch)),
        rows_(reinterpret_cast<T*>(runs_ + element.runCount)) {}

  // Makes the extremes of all kinds in a row of the source, which belongs to windows of n samples.
  void make(const T* source, std::ptrdiff_t y, std::ptrdiff_t n) {
    const T* before = source;
    const std::ptrdiff_t slot = y % element_.height;
    for (int k = 1; k < element_.kindCount; ++k) {
      const RunKind &kind = element_.kinds[k], &shorter = element_.kinds[k - 1];
      const std::ptrdiff_t shift = static_cast<std::ptrdiff_t>(kind.length - shorter.length) * channels_;
      T* const out = rows_ + (kind.firstRow + (kind.rows > 1 ? slot : 0)) * pitch_;
      pass(before, shift, out, n + around_ - static_cast<std::ptrdiff_t>(kind.length - 1) * channels_);
      before = out;
    }
  }

  // Combines the runs of the windows from row y on.
  template <bool kKeeps>
  void combine(Image<const T> source, std::ptrdiff_t y, T* out, std::ptrdiff_t n, bool stream) {
    const D d;
    locate(source, y);
    const AlphaKeeper<kKeeps, D> keep;
    constexpr std::ptrdiff_t kWide = 4 * N;
    std::ptrdiff_t i = 0;
    if (n >= kWide) {
      if (const std::ptrdiff_t head = toAlignment < kKeeps ? 4 : 1 > (d, out); head > 0) {
        hn::StoreU(keep(extreme(0, N), out), d, out);
        i = head;
      }
      stream = stream && isAligned(d, out + i);
      for (; i + kWide <= n; i += kWide) {
        auto a = load(0, i), b = load(0, i + N), c = load(0, i + 2 * N), e = load(0, i + 3 * N);
        for (int r = 1; r < element_.runCount; ++r) {
          a = Extreme()(a, load(r, i));
          b = Extreme()(b, load(r, i + N));
          c = Extreme()(c, load(r, i + 2 * N));
          e = Extreme()(e, load(r, i + 3 * N));
        }
        const hn::Vec<D> results[] = {keep(a, out + i), keep(b, out + i + N), keep(c, out + i + 2 * N),
                                      keep(e, out + i + 3 * N)};
        for (int k = 0; k < 4; ++k) {
          if (HWY_UNLIKELY(stream))
            store<true>(d, results[k], out + i + k * N);
          else
            store<false>(d, results[k], out + i + k * N);
        }
      }
    }
    if (i == n) return;
    if (n < N) {
      const auto old = loadPart(d, out, n);
      HWY_ALIGN T kept[N];
      hn::Store(old, d, kept);
      return storePart(d, keep(extreme(0, n), kept), out, n);
    }
    for (;; i += N) {
      const std::ptrdiff_t at = HWY_MIN(i, n - N);
      hn::StoreU(keep(extreme(at, N), out + at), d, out + at);
      if (at == n - N) return;
    }
  }

 private:
  using D = Tag<T>;
  static constexpr std::ptrdiff_t N = kLanes<D>;

  static std::ptrdiff_t rowCount(const Element& element) {
    const RunKind& last = element.kinds[element.kindCount - 1];
    return last.firstRow + last.rows;
  }
  // With room for a vector behind the last sample.
  static std::ptrdiff_t pitchOf(const Element& element, const ElementShape& shape) {
    constexpr std::ptrdiff_t kStrip = kStripBytes / sizeof(T);
    const std::ptrdiff_t samples = HWY_MIN(kStrip, shape.samples) + element.widthAround(shape.channels);
    return (samples + 2 * N - 1) / N * N;
  }

  static void pass(const T* in, std::ptrdiff_t shift, T* out, std::ptrdiff_t n) {
    const D d;
    forVectors(d, n, [&](std::ptrdiff_t i, auto part) HWY_ATTR {
      hn::StoreU(Extreme()(loadPart(d, in + i, part), loadPart(d, in + i + shift, part)), d, out + i);
    });
  }

  void locate(Image<const T> source, std::ptrdiff_t y) {
    const std::ptrdiff_t top = y % element_.height;
    for (int r = 0; r < element_.runCount; ++r) {
      const Run& run = element_.runs[r];
      const std::ptrdiff_t slot = top + run.row - (top + run.row < element_.height ? 0 : element_.height);
      const T* row = run.kind == 0 ? source.row(y + run.row)
                                   : rows_ + (element_.kinds[run.kind].firstRow + slot) * pitch_;
      runs_[r] = row + static_cast<std::ptrdiff_t>(run.column) * channels_;
    }
  }

  HWY_INLINE hn::Vec<D> load(int run, std::ptrdiff_t i) const { return hn::LoadU(D(), runs_[run] + i); }
  HWY_INLINE hn::Vec<D> extreme(std::ptrdiff_t i, std::ptrdiff_t n) const {
    auto v = loadPart(D(), runs_[0] + i, n);
    for (int r = 1; r < element_.runCount; ++r) v = Extreme()(v, loadPart(D(), runs_[r] + i, n));
    return v;
  }

  const Element& element_;
  const int channels_;
  const std::ptrdiff_t pitch_, around_;
  const T** const runs_;
  T* const rows_;
};

template <class Extreme, class T>
void band(const Element& element, const ElementShape& shape, void* scratch, Image<const T> window,
          Image<T> out, Extent e) {
  constexpr std::ptrdiff_t kStrip = kStripBytes / sizeof(T);
  Strip<Extreme, T> strip(element, shape, scratch);
  const bool stream = e.stream && out.step % static_cast<std::ptrdiff_t>(kLanes<Tag<T>> * sizeof(T)) == 0;
  for (std::ptrdiff_t x = 0; x < e.length; x += kStrip) {
    const std::ptrdiff_t n = HWY_MIN(kStrip, e.length - x);
    const Image<const T> source = {window.at + x, window.step};
    for (std::ptrdiff_t y = 0; y < element.height - 1; ++y) strip.make(source.row(y), y, n);
    for (std::ptrdiff_t y = 0; y < e.rows; ++y) {
      strip.make(source.row(y + element.height - 1), y + element.height - 1, n);
      if (shape.keepsAlpha)
        strip.template combine<true>(source, y, out.row(y) + x, n, stream);
      else
        strip.template combine<false>(source, y, out.row(y) + x, n, stream);
    }
  }
  if (e.stream) hwy::FlushStream();
}

template <class Extreme, class T>
constexpr MorphologyRows<T> rowsOf() {
  using Op = Square<Extreme, T>;
  return {{acrossThenDown<Op, false, T, T>, acrossThenDown<Op, true, T, T>},
          Strip<Extreme, T>::scratchBytes,
          band<Extreme, T>};
}
template <class T>
constexpr MorphologyTable<T> tableOf() {
  return {{rowsOf<Least, T>(), rowsOf<Greatest, T>()}};
}
constexpr RowTable<MorphologyTable, Zop8u, Zop32f> kTable = {tableOf<Zop8u>(), tableOf<Zop32f>()};

}  // namespace

const RowTable<MorphologyTable, Zop8u, Zop32f>* morphologyTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(morphologyTableOfTarget);

const RowTable<MorphologyTable, Zop8u, Zop32f>& morphologyTable() {
  return *HWY_DYNAMIC_DISPATCH(morphologyTableOfTarget)();
}

}  // namespace zopi
#endif
