#include "reorder/mirror_rows.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "reorder/mirror_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/row_shapes-inl.h"
#include "reorder/colours-inl.h"
#include "reorder/triples-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

using D = Tag<uint8_t>;
using V = hn::Vec<D>;
constexpr std::ptrdiff_t N = kLanes<D>;

// The vectors of a row in reverse: of pixels that fill blocks of 16 bytes without a rest.
template <int kPixel>
struct MirroredOperand {
  struct Order {
    alignas(16) uint8_t bytes[16];
  };
  static constexpr Order makeOrder() {
    Order order{};
    for (int i = 0; i < 16; ++i) {
      order.bytes[i] = static_cast<uint8_t>(16 - kPixel - i + 2 * (i % kPixel));
    }
    return order;
  }
  static constexpr Order kOrder = makeOrder();

  Image<const uint8_t> image;
  std::ptrdiff_t bytes;
  V order;
  const uint8_t* samples = nullptr;

  HWY_INLINE MirroredOperand(Image<const uint8_t> rows, std::ptrdiff_t rowBytes)
      : image(rows), bytes(rowBytes), order(hn::LoadDup128(D(), kOrder.bytes)) {}

  HWY_INLINE V reversed(V v) const {
    if constexpr (kPixel < 16) v = hn::TableLookupBytes(v, order);
    return hn::ReverseBlocks(D(), v);
  }

  HWY_INLINE void row(std::ptrdiff_t y) { samples = image.row(y); }
  HWY_INLINE void begin(std::ptrdiff_t) {}
  HWY_INLINE void advance() {}
  HWY_INLINE const MirroredOperand& held() const { return *this; }
  HWY_INLINE V at(std::ptrdiff_t i, int) const { return reversed(hn::LoadU(D(), samples + bytes - i - N)); }
  template <bool kRepeat = false>
  HWY_INLINE V edge(std::ptrdiff_t i, std::ptrdiff_t n) const {
    if (HWY_LIKELY(n == N)) return at(i, 0);
    HWY_ALIGN uint8_t block[N] = {};
    std::memcpy(block + N - n, samples + bytes - i - n, n);
    return reversed(hn::Load(D(), block));
  }
};

template <int kPixel>
void rowMirror(Image<const uint8_t> src, Image<uint8_t> dst, Extent e) {
  const SameGroups<kPixel, true> same;
  MirroredOperand<kPixel> from(src, e.length);
  if (inColumns(D(), e)) return mapColumns(D(), same, dst, e, from);
  mapRows(D(), same, dst, e, from);
}

template <int kPixel>
void rowMirrorTriples(Image<const uint8_t> src, Image<uint8_t> dst, Extent e) {
  constexpr int32_t kInOrder[3] = {0, 1, 2};
  mapTriples<kPixel / 3, true>(src, dst, e, kInOrder, [](uint8_t* to, const uint8_t* from) HWY_ATTR {
    std::memcpy(to, from, kPixel);
  });
}

template <int kPixel>
void rowMirrorColours(Image<const uint8_t> src, Image<uint8_t> dst, Extent e) {
  const ColoursOver<kPixel, true> coloursOver;
  MirroredOperand<kPixel> from(src, e.length);
  ImageOperand<D> old{dst};
  if (inColumns(D(), e)) return mapColumns(D(), coloursOver, dst, e, from, old);
  mapRows(D(), coloursOver, dst, unstreamed(e), from, old);
}

constexpr MirrorTable makeTable() {
  MirrorTable table{};
  table.pixels[1] = rowMirror<1>;
  table.pixels[2] = rowMirror<2>;
  table.pixels[3] = rowMirrorTriples<3>;
  table.pixels[4] = rowMirror<4>;
  table.pixels[6] = rowMirrorTriples<6>;
  table.pixels[8] = rowMirror<8>;
  table.pixels[12] = rowMirrorTriples<12>;
  table.pixels[16] = rowMirror<16>;
  table.colours[4] = rowMirrorColours<4>;
  table.colours[8] = rowMirrorColours<8>;
  table.colours[16] = rowMirrorColours<16>;
  return table;
}
constexpr MirrorTable kTable = makeTable();

}  // namespace

const MirrorTable* mirrorTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(mirrorTableOfTarget);

const MirrorTable& mirrorTable() { return *HWY_DYNAMIC_DISPATCH(mirrorTableOfTarget)(); }

}  // namespace zopi
#endif
