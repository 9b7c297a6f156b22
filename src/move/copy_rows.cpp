#include "move/copy_rows.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "move/copy_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/channels-inl.h"
#include "core/pixel_moves-inl.h"
#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Rows from here on are left to the C library, which knows the machine's way to move much at once.
constexpr std::ptrdiff_t kLongRowBytes = 256 << 10;

template <class T>
void rowCopy(Image<const T> src, Image<T> dst, Extent e) {
  const std::ptrdiff_t bytes = e.length * static_cast<std::ptrdiff_t>(sizeof(T));
  if (bytes < kLongRowBytes || e.stream) {
    const Tag<uint8_t> d;
    const Extent asBytes = {bytes, e.rows, e.stream};
    const Image<uint8_t> to = dst.template as<uint8_t>();
    ImageOperand<Tag<uint8_t>> from{src.template as<uint8_t>()};
    return inColumns(d, asBytes) ? mapColumns(d, Same(), to, asBytes, from)
                                 : mapRows(d, Same(), to, asBytes, from);
  }
  for (std::ptrdiff_t y = 0; y < e.rows; ++y) std::memcpy(dst.row(y), src.row(y), bytes);
}

template <int Channels, int Colours, class T>
void rowCopyColours(Image<const T> src, Image<T> dst, Extent pixels) {
  mapColours<Channels, Colours>(Tag<T>(), dst, pixels, ImageOperand<Tag<T>>{src});
}

template <int Channels, int Colours, class T>
void rowCopyMasked(Image<const T> src, Image<T> dst, Image<const Zop8u> mask, Extent pixels) {
  mapMasked<Channels, Colours>(Tag<T>(), dst, pixels, mask, ImageOperand<Tag<T>>{src});
}

// Moves between layouts. `in` and `out` address the first of N pixels in every image. Those that can stream
// do so to aligned addresses.
template <int Channels, class T>
struct Extract {
  const ThreeChannels<Tag<T>> three;
  template <class D>
  HWY_INLINE void operator()(D d, const T* const* in, T* const* out) const {
    hn::Vec<D> a, b, c, e;
    if constexpr (Channels == 3) three.load(in[0], a, b, c);
    if constexpr (Channels == 4) hn::LoadInterleaved4(d, in[0], a, b, c, e);
    hn::StoreU(a, d, out[0]);
  }
};

template <int Channels, class T>
struct Insert {
  const ThreeChannels<Tag<T>> three;
  template <class D>
  HWY_INLINE void operator()(D d, const T* const* in, T* const* out) const {
    hn::Vec<D> a, b, c, e;
    if constexpr (Channels == 3) {
      three.load(out[0], a, b, c);
      three.store(hn::LoadU(d, in[0]), b, c, out[0]);
    } else {
      hn::LoadInterleaved4(d, out[0], a, b, c, e);
      hn::StoreInterleaved4(hn::LoadU(d, in[0]), b, c, e, d, out[0]);
    }
  }
};

template <class T>
struct DropAlpha {
  const ThreeChannels<Tag<T>> three;
  template <class D>
  HWY_INLINE void operator()(D d, const T* const* in, T* const* out) const {
    hn::Vec<D> a, b, c, alpha;
    hn::LoadInterleaved4(d, in[0], a, b, c, alpha);
    three.store(a, b, c, out[0]);
  }
};

template <class T>
struct WidenKeepingAlpha {
  const ThreeChannels<Tag<T>> three;
  template <class D>
  HWY_INLINE void operator()(D d, const T* const* in, T* const* out) const {
    hn::Vec<D> a, b, c, alpha;
    hn::LoadInterleaved4(d, out[0], a, b, c, alpha);
    three.load(in[0], a, b, c);
    hn::StoreInterleaved4(a, b, c, alpha, d, out[0]);
  }
};

template <int Channels, class T>
struct Split {
  static constexpr bool kStreams = true;
  const ThreeChannels<Tag<T>> three;
  template <bool kStream = false, class D>
  HWY_INLINE void operator()(D d, const T* const* in, T* const* out) const {
    hn::Vec<D> a, b, c, e;
    if constexpr (Channels == 3) three.load(in[0], a, b, c);
    if constexpr (Channels == 4) {
      hn::LoadInterleaved4(d, in[0], a, b, c, e);
      store<kStream>(d, e, out[3]);
    }
    store<kStream>(d, a, out[0]);
    store<kStream>(d, b, out[1]);
    store<kStream>(d, c, out[2]);
  }
};

template <int Channels, class T>
struct Join {
  static constexpr bool kStreams = Channels == 3;
  const ThreeChannels<Tag<T>> three;
  template <bool kStream = false, class D>
  HWY_INLINE void operator()(D d, const T* const* in, T* const* out) const {
    const auto a = hn::LoadU(d, in[0]), b = hn::LoadU(d, in[1]), c = hn::LoadU(d, in[2]);
    if constexpr (Channels == 3)
      three.template store<kStream>(a, b, c, out[0]);
    else
      hn::StoreInterleaved4(a, b, c, hn::LoadU(d, in[3]), d, out[0]);
  }
};

template <class Move, int kInSamples, int kInReach, int kOutSamples, int kOutReach, class T>
void rowMove(Image<const T> src, Image<T> dst, Extent pixels) {
  mapPixels(Move{ThreeChannels<Tag<T>>()}, Pixels<const T, 1>{&src, {kInSamples}, kInSamples - kInReach},
            Pixels<T, 1>{&dst, {kOutSamples}, kOutSamples - kOutReach}, pixels);
}

template <int Channels, class T>
void rowSplit(Image<const T> src, const Image<T>* planes, Extent pixels) {
  mapPixels(Split<Channels, T>{ThreeChannels<Tag<T>>()}, Pixels<const T, 1>{&src, {Channels}},
            planePixels<Channels>(planes), pixels);
}

template <int Channels, class T>
void rowJoin(const Image<const T>* planes, Image<T> dst, Extent pixels) {
  mapPixels(Join<Channels, T>{ThreeChannels<Tag<T>>()}, planePixels<Channels>(planes),
            Pixels<T, 1>{&dst, {Channels}}, pixels);
}

template <class T>
constexpr CopyRows<T> kRows = {
    rowCopy<T>,
    rowCopyColours<4, 3, T>,
    {nullptr, nullptr, nullptr, rowCopyColours<3, 1, T>, rowCopyColours<4, 1, T>},
    {nullptr, nullptr, nullptr, rowMove<Extract<3, T>, 3, 1, 1, 1, T>, rowMove<Extract<4, T>, 4, 1, 1, 1, T>},
    {nullptr, nullptr, nullptr, rowMove<Insert<3, T>, 1, 1, 3, 1, T>, rowMove<Insert<4, T>, 1, 1, 4, 1, T>},
    rowMove<DropAlpha<T>, 4, 3, 3, 3, T>,
    rowMove<WidenKeepingAlpha<T>, 3, 3, 4, 3, T>,
    {nullptr, nullptr, nullptr, rowSplit<3, T>, rowSplit<4, T>},
    {nullptr, nullptr, nullptr, rowJoin<3, T>, rowJoin<4, T>},
    {nullptr, rowCopyMasked<1, 1, T>, nullptr, rowCopyMasked<3, 3, T>, rowCopyMasked<4, 4, T>},
    rowCopyMasked<4, 3, T>,
};

constexpr CopyTable kTable = {kRows<uint8_t>, kRows<uint16_t>, kRows<uint32_t>};

}  // namespace

const CopyTable* copyTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(copyTableOfTarget);

const CopyTable& copyTable() { return *HWY_DYNAMIC_DISPATCH(copyTableOfTarget)(); }

}  // namespace zopi
#endif
