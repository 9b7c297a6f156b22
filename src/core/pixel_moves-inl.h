// Moves between layouts: how a move of N pixels goes along rows of several images. A move may compute: it
// gets the addresses of its N pixels, or other units, in every image. Included once for each vector target,
// after hwy/highway.h.
#if defined(ZOPI_CORE_PIXEL_MOVES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_CORE_PIXEL_MOVES_INL_H_
#undef ZOPI_CORE_PIXEL_MOVES_INL_H_
#else
#define ZOPI_CORE_PIXEL_MOVES_INL_H_
#endif

#include <cstddef>
#include <cstring>
#include <utility>

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The images of a move, each with its samples a pixel. The last pixel of a row lacks its last `lacking`
// samples.
template <class T, int kCount>
struct Pixels {
  const Image<T>* images;
  int samples[kCount];
  int lacking = 0;
  T* at[kCount] = {};

  HWY_INLINE void row(std::ptrdiff_t y) {
    for (int c = 0; c < kCount; ++c) at[c] = images[c].row(y);
  }
  HWY_INLINE void seek(std::ptrdiff_t by) { seek(by, std::make_integer_sequence<int, kCount>()); }
  template <int... C>
  HWY_INLINE void seek(std::ptrdiff_t by, std::integer_sequence<int, C...>) {
    ((at[C] += by * samples[C]), ...);  // a loop would keep the addresses out of registers
  }
  // Of pixels that others follow, none lacks anything.
  HWY_INLINE Pixels followed() const {
    Pixels pixels = *this;
    pixels.lacking = 0;
    return pixels;
  }
  HWY_INLINE std::size_t bytes(int c, std::ptrdiff_t pixels) const {
    return static_cast<std::size_t>(pixels * samples[c] - lacking) * sizeof(T);
  }
};

// Planes, which have one sample a pixel.
template <int kCount, class T>
HWY_INLINE Pixels<T, kCount> planePixels(const Image<T>* planes) {
  Pixels<T, kCount> result{planes, {}};
  for (int& samples : result.samples) samples = 1;
  return result;
}

// How many units a move takes at a time: as many as a vector has lanes, unless it says otherwise.
template <class Move, class T>
constexpr std::ptrdiff_t unitsOf() {
  if constexpr (requires { Move::kUnits; })
    return Move::kUnits;
  else
    return kLanes<Tag<T>>;
}

// N pixels and their images as blocks on the stack, for what does not fill a vector.
template <class S, class T, int kIn, int kOut, class Move>
HWY_NOINLINE void movePart(Move move, const Pixels<const S, kIn>& in, const Pixels<T, kOut>& out,
                           std::ptrdiff_t pixels) {
  constexpr std::ptrdiff_t kBlock = 4 * HWY_MAX(kLanes<Tag<S>>, kLanes<Tag<T>>);
  HWY_ALIGN S inBlocks[kIn][kBlock] = {};
  HWY_ALIGN T outBlocks[kOut][kBlock] = {};
  const S* from[kIn];
  T* to[kOut];
  for (int c = 0; c < kIn; ++c)
    from[c] = static_cast<S*>(std::memcpy(inBlocks[c], in.at[c], in.bytes(c, pixels)));
  for (int c = 0; c < kOut; ++c)
    to[c] = static_cast<T*>(std::memcpy(outBlocks[c], out.at[c], out.bytes(c, pixels)));
  move(Tag<T>(), from, to);
  for (int c = 0; c < kOut; ++c) std::memcpy(out.at[c], outBlocks[c], out.bytes(c, pixels));
}

// The images whose stores go past the caches where a move says that some do: all, or as many as it says.
template <class Move, int kCount>
constexpr int streamedImages() {
  if constexpr (requires { Move::kStreamed; })
    return Move::kStreamed;
  else
    return kCount;
}

// The first of N pixels from which on `count` images are aligned to vectors, or N if there is none.
template <class T, int kCount>
HWY_INLINE std::ptrdiff_t alignedPixel(const Pixels<T, kCount>& pixels, int count, std::ptrdiff_t N) {
  for (std::ptrdiff_t i = 0; i < N; ++i) {
    bool aligned = true;
    for (int c = 0; c < count; ++c)
      aligned = aligned && isAligned(Tag<T>(), pixels.at[c] + i * pixels.samples[c]);
    if (aligned) return i;
  }
  return N;
}

template <class S, class T, int kIn, int kOut>
HWY_INLINE bool inPlace(const Pixels<const S, kIn>& in, const Pixels<T, kOut>& out) {
  for (int i = 0; i < kIn; ++i) {
    for (int o = 0; o < kOut; ++o) {
      if (static_cast<const void*>(in.at[i]) == out.at[o]) return true;
    }
  }
  return false;
}

// Runs a move over all pixels, N at a time. The last N overlap those before, for a move may be made twice;
// but in place, where an image ends within its last pixel, or where a row has fewer than N, they take the way
// over the stack. The move goes by value: only then do its tables stay in registers.
template <class S, class T, int kIn, int kOut, class Move>
HWY_INLINE void mapPixels(Move move, Pixels<const S, kIn> in, Pixels<T, kOut> out, Extent pixels) {
  const Tag<T> d;
  constexpr std::ptrdiff_t N = unitsOf<Move, T>();
  const bool whole = in.lacking == 0 && out.lacking == 0;
  const std::ptrdiff_t n = pixels.length, direct = whole ? n : n - 1;
  for (std::ptrdiff_t y = 0; y < pixels.rows; ++y) {
    in.row(y);
    out.row(y);
    const bool mayOverlap = whole && n >= N && !inPlace(in, out);
    std::ptrdiff_t left = n;
    const auto advance = [&](std::ptrdiff_t by) HWY_ATTR {
      in.seek(by);
      out.seek(by);
      left -= by;
    };
    if constexpr (requires { Move::kStreams; }) {
      if (Move::kStreams && pixels.stream && n >= 2 * N) {
        const std::ptrdiff_t head = alignedPixel(out, streamedImages<Move, kOut>(), N);
        if (head < N) {
          if (head > 0) movePart(move, in.followed(), out.followed(), head);
          advance(head);
          while (left >= N) {
            move.template operator()<true>(d, in.at, out.at);
            advance(N);
          }
        }
      }
    }
    // One place for whole and overlapping steps: a move is long.
    while (left - (n - direct) >= N || (mayOverlap && left > 0)) {
      if (HWY_UNLIKELY(left < N)) advance(left - N);
      move(d, in.at, out.at);
      advance(N);
    }
    if (left > 0) movePart(move, in, out, left);
  }
  if (pixels.stream) hwy::FlushStream();
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
