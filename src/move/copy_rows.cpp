#include "move/copy_rows.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "move/copy_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/channels-inl.h"
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

// The images of a move: `samples` a pixel, of which the last pixel of a row holds the first `reach`.
template <class T, int kCount>
struct Pixels {
  const Image<T>* images;
  int samples, reach;
  T* at[kCount] = {};

  HWY_INLINE void row(std::ptrdiff_t y) {
    for (int c = 0; c < kCount; ++c) at[c] = images[c].row(y);
  }
  HWY_INLINE void seek(std::ptrdiff_t by) {
    for (int c = 0; c < kCount; ++c) at[c] += by * samples;
  }
  HWY_INLINE std::size_t bytes(std::ptrdiff_t pixels) const {
    return static_cast<std::size_t>((pixels - 1) * samples + reach) * sizeof(T);
  }
};

// N pixels and their images as blocks on the stack, for what does not fill a vector.
template <class T, int kIn, int kOut, class Move>
void movePart(Move move, const Pixels<const T, kIn>& in, const Pixels<T, kOut>& out, std::ptrdiff_t pixels) {
  constexpr std::ptrdiff_t N = kLanes<Tag<T>>;
  HWY_ALIGN T inBlocks[kIn][4 * N] = {};
  HWY_ALIGN T outBlocks[kOut][4 * N] = {};
  const T* from[kIn];
  T* to[kOut];
  for (int c = 0; c < kIn; ++c)
    from[c] = static_cast<T*>(std::memcpy(inBlocks[c], in.at[c], in.bytes(pixels)));
  for (int c = 0; c < kOut; ++c)
    to[c] = static_cast<T*>(std::memcpy(outBlocks[c], out.at[c], out.bytes(pixels)));
  move(Tag<T>(), from, to);
  for (int c = 0; c < kOut; ++c) std::memcpy(out.at[c], outBlocks[c], out.bytes(pixels));
}

// The first of N pixels from which on all images are aligned to vectors, or N if there is none.
template <class T, int kCount>
HWY_INLINE std::ptrdiff_t alignedPixel(const Pixels<T, kCount>& pixels) {
  constexpr std::ptrdiff_t N = kLanes<Tag<T>>;
  for (std::ptrdiff_t i = 0; i < N; ++i) {
    bool aligned = true;
    for (int c = 0; c < kCount; ++c)
      aligned = aligned && isAligned(Tag<T>(), pixels.at[c] + i * pixels.samples);
    if (aligned) return i;
  }
  return N;
}

// Runs a move over all pixels, N at a time. The last N overlap those before, for a copy may be made twice;
// but where an image ends within its last pixel, or a row has fewer than N, they take the way over the stack.
// The move goes by value: only then do its tables stay in registers.
template <class T, int kIn, int kOut, class Move>
HWY_INLINE void mapPixels(Move move, Pixels<const T, kIn> in, Pixels<T, kOut> out, Extent pixels) {
  const Tag<T> d;
  constexpr std::ptrdiff_t N = kLanes<Tag<T>>;
  const bool whole = in.samples == in.reach && out.samples == out.reach;
  const std::ptrdiff_t n = pixels.length, direct = whole ? n : n - 1;
  for (std::ptrdiff_t y = 0; y < pixels.rows; ++y) {
    in.row(y);
    out.row(y);
    std::ptrdiff_t left = n;
    const auto advance = [&](std::ptrdiff_t by) HWY_ATTR {
      in.seek(by);
      out.seek(by);
      left -= by;
    };
    if constexpr (requires { Move::kStreams; }) {
      if (Move::kStreams && pixels.stream && n >= 2 * N) {
        const std::ptrdiff_t head = alignedPixel(out);
        if (head < N) {
          if (head > 0) move(d, in.at, out.at);
          advance(head);
          while (left >= N) {
            move.template operator()<true>(d, in.at, out.at);
            advance(N);
          }
        }
      }
    }
    while (left - (n - direct) >= N) {
      move(d, in.at, out.at);
      advance(N);
    }
    if (left == 0) continue;
    if (whole && n >= N) {
      advance(left - N);
      move(d, in.at, out.at);
    } else {
      movePart(move, in, out, left);
    }
  }
  if (pixels.stream) hwy::FlushStream();
}

template <class Move, int kInSamples, int kInReach, int kOutSamples, int kOutReach, class T>
void rowMove(Image<const T> src, Image<T> dst, Extent pixels) {
  mapPixels(Move{ThreeChannels<Tag<T>>()}, Pixels<const T, 1>{&src, kInSamples, kInReach},
            Pixels<T, 1>{&dst, kOutSamples, kOutReach}, pixels);
}

template <int Channels, class T>
void rowSplit(Image<const T> src, const Image<T>* planes, Extent pixels) {
  mapPixels(Split<Channels, T>{ThreeChannels<Tag<T>>()}, Pixels<const T, 1>{&src, Channels, Channels},
            Pixels<T, Channels>{planes, 1, 1}, pixels);
}

template <int Channels, class T>
void rowJoin(const Image<const T>* planes, Image<T> dst, Extent pixels) {
  mapPixels(Join<Channels, T>{ThreeChannels<Tag<T>>()}, Pixels<const T, Channels>{planes, 1, 1},
            Pixels<T, 1>{&dst, Channels, Channels}, pixels);
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
