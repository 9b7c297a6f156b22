#include "move/copy_rows.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "move/copy_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/lanes-inl.h"
#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

struct Same {
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE V operator()(D, V v) const { return v; }
};

// Rows from here on are left to the C library, which knows the machine's way to move much at once.
constexpr std::ptrdiff_t kLongRowBytes = 256 << 10;

template <class T>
void rowCopy(Image<const T> src, Image<T> dst, Extent e) {
  const std::ptrdiff_t bytes = e.length * static_cast<std::ptrdiff_t>(sizeof(T));
  if (bytes < kLongRowBytes || e.stream) {
    const Extent asBytes = {bytes, e.rows, e.stream};
    return mapRows(Tag<uint8_t>(), Same(), dst.template as<uint8_t>(), asBytes,
                   ImageOperand<Tag<uint8_t>>{src.template as<uint8_t>()});
  }
  for (std::ptrdiff_t y = 0; y < e.rows; ++y) std::memcpy(dst.row(y), src.row(y), bytes);
}

template <int Channels, int Colours, class T>
void rowCopyColours(Image<const T> src, Image<T> dst, Extent pixels) {
  mapColours<Channels, Colours>(Tag<T>(), dst, pixels, ImageOperand<Tag<T>>{src});
}

template <int Channels, int Colours, class T>
void rowCopyMasked(Image<const T> src, Image<T> dst, Extent pixels, Image<const Zop8u> mask) {
  mapMasked<Channels, Colours>(Tag<T>(), dst, pixels, mask, ImageOperand<Tag<T>>{src});
}

// Moves between layouts. `in` and `out` address the first of N pixels in every image.
template <int Channels>
struct Extract {
  template <class D, class T>
  HWY_INLINE void operator()(D d, const T* const* in, T* const* out) const {
    hn::Vec<D> a, b, c, e;
    if constexpr (Channels == 3) hn::LoadInterleaved3(d, in[0], a, b, c);
    if constexpr (Channels == 4) hn::LoadInterleaved4(d, in[0], a, b, c, e);
    hn::StoreU(a, d, out[0]);
  }
};

template <int Channels>
struct Insert {
  template <class D, class T>
  HWY_INLINE void operator()(D d, const T* const* in, T* const* out) const {
    hn::Vec<D> a, b, c, e;
    if constexpr (Channels == 3) {
      hn::LoadInterleaved3(d, out[0], a, b, c);
      hn::StoreInterleaved3(hn::LoadU(d, in[0]), b, c, d, out[0]);
    } else {
      hn::LoadInterleaved4(d, out[0], a, b, c, e);
      hn::StoreInterleaved4(hn::LoadU(d, in[0]), b, c, e, d, out[0]);
    }
  }
};

struct DropAlpha {
  template <class D, class T>
  HWY_INLINE void operator()(D d, const T* const* in, T* const* out) const {
    hn::Vec<D> a, b, c, alpha;
    hn::LoadInterleaved4(d, in[0], a, b, c, alpha);
    hn::StoreInterleaved3(a, b, c, d, out[0]);
  }
};

struct WidenKeepingAlpha {
  template <class D, class T>
  HWY_INLINE void operator()(D d, const T* const* in, T* const* out) const {
    hn::Vec<D> a, b, c, alpha;
    hn::LoadInterleaved4(d, out[0], a, b, c, alpha);
    hn::LoadInterleaved3(d, in[0], a, b, c);
    hn::StoreInterleaved4(a, b, c, alpha, d, out[0]);
  }
};

template <int Channels>
struct Split {
  template <class D, class T>
  HWY_INLINE void operator()(D d, const T* const* in, T* const* out) const {
    hn::Vec<D> a, b, c, e;
    if constexpr (Channels == 3) hn::LoadInterleaved3(d, in[0], a, b, c);
    if constexpr (Channels == 4) {
      hn::LoadInterleaved4(d, in[0], a, b, c, e);
      hn::StoreU(e, d, out[3]);
    }
    hn::StoreU(a, d, out[0]);
    hn::StoreU(b, d, out[1]);
    hn::StoreU(c, d, out[2]);
  }
};

template <int Channels>
struct Join {
  template <class D, class T>
  HWY_INLINE void operator()(D d, const T* const* in, T* const* out) const {
    const auto a = hn::LoadU(d, in[0]), b = hn::LoadU(d, in[1]), c = hn::LoadU(d, in[2]);
    if constexpr (Channels == 3) hn::StoreInterleaved3(a, b, c, d, out[0]);
    else hn::StoreInterleaved4(a, b, c, hn::LoadU(d, in[3]), d, out[0]);
  }
};

// An image of a move: `samples` a pixel, of which the last pixel of a row holds the first `reach`.
struct Pixels {
  int samples, reach;
};

// Runs a move over all pixels, N at a time. The last N overlap those before, for a copy may be made twice; but where
// an image ends within its last pixel, or has fewer than N, they go through blocks on the stack.
template <class T, int kIn, int kOut, class Move>
HWY_INLINE void mapPixels(const Move& move, const Image<const T>* in, Pixels inPixels, const Image<T>* out,
                          Pixels outPixels, Extent pixels) {
  const Tag<T> d;
  constexpr std::ptrdiff_t N = kLanes<Tag<T>>;
  const bool whole = inPixels.samples == inPixels.reach && outPixels.samples == outPixels.reach;
  const std::ptrdiff_t n = pixels.length, direct = whole ? n : n - 1;
  for (std::ptrdiff_t y = 0; y < pixels.rows; ++y) {
    const T* from[kIn];
    T* to[kOut];
    const auto seek = [&](std::ptrdiff_t i) HWY_ATTR {
      for (int c = 0; c < kIn; ++c) from[c] = in[c].row(y) + i * inPixels.samples;
      for (int c = 0; c < kOut; ++c) to[c] = out[c].row(y) + i * outPixels.samples;
    };
    std::ptrdiff_t i = 0;
    for (; i + N <= direct; i += N) {
      seek(i);
      move(d, from, to);
    }
    if (i == n) continue;
    if (whole && n >= N) {
      seek(n - N);
      move(d, from, to);
      continue;
    }
    seek(i);
    HWY_ALIGN T inBlocks[kIn][4 * N] = {};
    HWY_ALIGN T outBlocks[kOut][4 * N] = {};
    const T* blocksIn[kIn];
    T* blocksOut[kOut];
    const auto bytes = [&](Pixels p) HWY_ATTR { return ((n - i - 1) * p.samples + p.reach) * sizeof(T); };
    for (int c = 0; c < kIn; ++c) {
      std::memcpy(inBlocks[c], from[c], bytes(inPixels));
      blocksIn[c] = inBlocks[c];
    }
    for (int c = 0; c < kOut; ++c) {
      std::memcpy(outBlocks[c], to[c], bytes(outPixels));
      blocksOut[c] = outBlocks[c];
    }
    move(d, blocksIn, blocksOut);
    for (int c = 0; c < kOut; ++c) std::memcpy(to[c], outBlocks[c], bytes(outPixels));
  }
}

template <class Move, int kInSamples, int kInReach, int kOutSamples, int kOutReach, class T>
void rowMove(Image<const T> src, Image<T> dst, Extent pixels) {
  mapPixels<T, 1, 1>(Move(), &src, {kInSamples, kInReach}, &dst, {kOutSamples, kOutReach}, pixels);
}

template <int Channels, class T>
void rowSplit(Image<const T> src, const Image<T>* planes, Extent pixels) {
  mapPixels<T, 1, Channels>(Split<Channels>(), &src, {Channels, Channels}, planes, {1, 1}, pixels);
}

template <int Channels, class T>
void rowJoin(const Image<const T>* planes, Image<T> dst, Extent pixels) {
  mapPixels<T, Channels, 1>(Join<Channels>(), planes, {1, 1}, &dst, {Channels, Channels}, pixels);
}

template <class T>
constexpr CopyRows<T> kTable = {
    rowCopy<T>,
    rowCopyColours<4, 3, T>,
    {nullptr, nullptr, nullptr, rowCopyColours<3, 1, T>, rowCopyColours<4, 1, T>},
    {nullptr, nullptr, nullptr, rowMove<Extract<3>, 3, 1, 1, 1, T>, rowMove<Extract<4>, 4, 1, 1, 1, T>},
    {nullptr, nullptr, nullptr, rowMove<Insert<3>, 1, 1, 3, 1, T>, rowMove<Insert<4>, 1, 1, 4, 1, T>},
    rowMove<DropAlpha, 4, 3, 3, 3, T>,
    rowMove<WidenKeepingAlpha, 3, 3, 4, 3, T>,
    {nullptr, nullptr, nullptr, rowSplit<3, T>, rowSplit<4, T>},
    {nullptr, nullptr, nullptr, rowJoin<3, T>, rowJoin<4, T>},
    {nullptr, rowCopyMasked<1, 1, T>, nullptr, rowCopyMasked<3, 3, T>, rowCopyMasked<4, 4, T>},
    rowCopyMasked<4, 3, T>,
};

}  // namespace

const CopyRows<uint8_t>* copyRows8() { return &kTable<uint8_t>; }
const CopyRows<uint16_t>* copyRows16() { return &kTable<uint16_t>; }
const CopyRows<uint32_t>* copyRows32() { return &kTable<uint32_t>; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(copyRows8);
HWY_EXPORT(copyRows16);
HWY_EXPORT(copyRows32);

template <>
const CopyRows<uint8_t>& copyRows() {
  return *HWY_DYNAMIC_DISPATCH(copyRows8)();
}
template <>
const CopyRows<uint16_t>& copyRows() {
  return *HWY_DYNAMIC_DISPATCH(copyRows16)();
}
template <>
const CopyRows<uint32_t>& copyRows() {
  return *HWY_DYNAMIC_DISPATCH(copyRows32)();
}

}  // namespace zopi
#endif
