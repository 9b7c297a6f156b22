// Rows of pixels of three samples whose samples change places.
// Included once for each vector target, after hwy/highway.h.
//
// A sample of the result stands at most two samples from its place in the source, or in the source reversed:
// of two loads, two samples to either side, every 16-byte block finds all its samples in the same block of
// the one or the other. Two shuffles within blocks and an or make a vector of results. A vector begins with
// the first, second or third sample of a pixel, so there are three pairs of shuffles, its phases.
#if defined(ZOPI_REORDER_TRIPLES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_REORDER_TRIPLES_INL_H_
#undef ZOPI_REORDER_TRIPLES_INL_H_
#else
#define ZOPI_REORDER_TRIPLES_INL_H_
#endif

#include <cstdint>
#include <cstring>

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// For copies of samples or pixels of so many bytes: no vector may part them. Beyond the caches mirrored rows
// are written backward: they are read forward then, which is what processors foresee.
template <int kBytes, bool kMirrored>
struct SameGroups : Same {
  static constexpr int kGroup = kBytes;
  static constexpr bool kBackward = kMirrored;
};

// Channel k of every pixel from channel order[k]; if mirrored, of the pixels in reverse. An operand of byte
// maps over rows of `bytes` bytes that have a pixel before and a pixel behind them.
template <int kSampleBytes, bool kMirrored>
class TripleOperand {
  using D = Tag<uint8_t>;
  using DI = Tag<int8_t>;
  using V = hn::Vec<D>;
  static constexpr int N = static_cast<int>(kLanes<D>);
  static constexpr int S = kSampleBytes;
  static constexpr std::ptrdiff_t kReach = 2 * S;

  // Of every byte: in which channel of the result it ends, by phase; and where it comes from in its block,
  // were the channels to stay. If mirrored, the blocks are still in the source's order.
  struct Tables {
    alignas(64) uint8_t channels[3][N];
    alignas(64) int8_t places[N];
  };
  static constexpr Tables makeTables() {
    Tables tables{};
    for (int i = 0; i < N; ++i) {
      const int inBlock = i % 16, block = i - inBlock;
      const int to = kMirrored ? N - 16 - block + inBlock : i;
      tables.places[i] = static_cast<int8_t>(kMirrored ? 16 - S - inBlock + 2 * (inBlock % S) : inBlock);
      for (int phase = 0; phase < 3; ++phase) {
        tables.channels[phase][i] = static_cast<uint8_t>((to / S + phase) % 3);
      }
    }
    return tables;
  }
  static constexpr Tables kTables = makeTables();

  struct Shuffles {
    V before, behind;
  };

  static HWY_INLINE Shuffles shufflesOf(const int8_t* moves, int phase) {
    const DI di;
    const auto channels = hn::BitCast(di, hn::Load(D(), kTables.channels[phase]));
    const auto move = hn::TableLookupBytes(hn::LoadDup128(di, moves), channels);
    const auto place = hn::Add(hn::Load(di, kTables.places), move);
    // Places in the load that begins two samples before; those beyond its block are in the other one.
    const auto before = hn::Add(place, hn::Set(di, int8_t{kReach}));
    const auto behind = hn::Sub(place, hn::Set(di, int8_t{kReach}));
    const auto within = hn::Lt(before, hn::Set(di, int8_t{16}));
    const auto none = hn::Set(di, int8_t{-128});
    return {hn::BitCast(D(), hn::IfThenElse(within, before, none)),
            hn::BitCast(D(), hn::IfThenElse(within, none, behind))};
  }

  static HWY_INLINE V pick(const uint8_t* from, Shuffles s) {
    const D d;
    const V v = hn::Or(hn::TableLookupBytesOr0(hn::LoadU(d, from - kReach), s.before),
                       hn::TableLookupBytesOr0(hn::LoadU(d, from + kReach), s.behind));
    if constexpr (kMirrored)
      return hn::ReverseBlocks(d, v);
    else
      return v;
  }

  HWY_INLINE const uint8_t* source(std::ptrdiff_t i) const {
    return kMirrored ? samples + bytes - i - N : samples + i;
  }
  static HWY_INLINE int phaseOf(std::ptrdiff_t i) { return static_cast<int>(i / S % 3); }

  Image<const uint8_t> image;
  std::ptrdiff_t bytes;
  const uint8_t* samples = nullptr;
  int phase = 0;
  Shuffles shuffles[3];

 public:
  HWY_INLINE TripleOperand(Image<const uint8_t> rows, std::ptrdiff_t rowBytes, const int32_t* order)
      : image(rows), bytes(rowBytes) {
    HWY_ALIGN int8_t moves[16] = {};
    for (int c = 0; c < 3; ++c) moves[c] = static_cast<int8_t>((order[c] - (kMirrored ? 2 - c : c)) * S);
    for (int p = 0; p < 3; ++p) shuffles[p] = shufflesOf(moves, p);
  }

  HWY_INLINE void row(std::ptrdiff_t y) { samples = image.row(y); }
  HWY_INLINE void begin(std::ptrdiff_t i) { phase = phaseOf(i); }
  HWY_INLINE void advance() { phase = (phase + N / S) % 3; }
  HWY_INLINE V at(std::ptrdiff_t i, int) const { return pick(source(i), shuffles[phase]); }

  struct Held {
    const TripleOperand& of;
    Shuffles s0, s1, s2;
    HWY_INLINE V at(std::ptrdiff_t i, int k) const {
      return pick(of.source(i), k == 0 ? s0 : k == 1 ? s1 : s2);
    }
  };
  HWY_INLINE Held held() const {
    return {*this, shuffles[phase], shuffles[(phase + N / S) % 3], shuffles[(phase + 2 * (N / S)) % 3]};
  }

  template <bool kRepeat = false>
  HWY_INLINE V edge(std::ptrdiff_t i, std::ptrdiff_t n) const {
    if (HWY_LIKELY(n == N)) return pick(source(i), shuffles[phaseOf(i)]);
    HWY_ALIGN uint8_t block[N + 2 * kReach] = {};
    std::memcpy(block + (kMirrored ? N - n : 0), samples - kReach, n + 2 * kReach);
    return pick(block + kReach, shuffles[0]);
  }
};

// Rows of pixels of three samples, the extent in bytes. The pixels at the ends have no neighbour to load, and
// go by themselves: `move(to, from)`.
template <int kSampleBytes, bool kMirrored, class Move>
HWY_INLINE void mapTriples(Image<const uint8_t> src, Image<uint8_t> dst, Extent e, const int32_t* order,
                           const Move& move) {
  constexpr std::ptrdiff_t kPixel = 3 * kSampleBytes;
  const Tag<uint8_t> d;
  const SameGroups<kSampleBytes, kMirrored> same;
  const std::ptrdiff_t last = e.length - kPixel;
  const Extent inner = {e.length - 2 * kPixel, e.rows, e.stream};
  const Image<uint8_t> to = {dst.at + kPixel, dst.step};
  TripleOperand<kSampleBytes, kMirrored> from({src.at + kPixel, src.step}, inner.length, order);
  const bool columns = inColumns(d, inner);
  for (std::ptrdiff_t y = 0; y < e.rows; ++y) {
    move(dst.row(y), src.row(y) + (kMirrored ? last : 0));
    move(dst.row(y) + last, src.row(y) + (kMirrored ? 0 : last));
    if (inner.length > 0 && !columns) {
      from.row(y);
      mapRow(d, same, to.row(y), inner.length, inner.stream, from);
    }
  }
  if (columns) mapColumns(d, same, to, inner, from);
  if (e.stream) hwy::FlushStream();
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
