// Operations on whole pixels: a vector of N samples for each channel, from and to any layout.
// Included once for each vector target, after hwy/highway.h.
#if defined(ZOPI_CORE_COLOURS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_CORE_COLOURS_INL_H_
#undef ZOPI_CORE_COLOURS_INL_H_
#else
#define ZOPI_CORE_COLOURS_INL_H_
#endif

#include <type_traits>

#include "core/channels-inl.h"
#include "core/pixel_images.h"
#include "core/pixel_moves-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Channels of N pixels in memory: `at` has one address for each image of the layout.
template <class Layout, class D>
struct Channels {
  using T = hn::TFromD<D>;
  using V = hn::Vec<D>;
  static constexpr int kPlanes = Layout::channels;

  HWY_INLINE void load(const T* const* at, V* v) const {
#pragma GCC unroll 4
    for (int c = 0; c < kPlanes; ++c) v[c] = hn::LoadU(D(), at[c]);
  }
  template <bool kStream>
  HWY_INLINE void store(const V* v, T* const* at) const {
#pragma GCC unroll 4
    for (int c = 0; c < kPlanes; ++c) HWY_NAMESPACE::store<kStream>(D(), v[c], at[c]);
  }
};

template <class D>
struct Channels<C3, D> {
  using T = hn::TFromD<D>;
  using V = hn::Vec<D>;
  ThreeChannels<D> channels;

  HWY_INLINE Channels() {}
  HWY_INLINE void load(const T* const* at, V* v) const { channels.load(at[0], v[0], v[1], v[2]); }
  template <bool kStream>
  HWY_INLINE void store(const V* v, T* const* at) const {
    channels.template store<kStream>(v[0], v[1], v[2], at[0]);
  }
};

template <class D>
struct Channels<C4, D> {
  using T = hn::TFromD<D>;
  using V = hn::Vec<D>;

  HWY_INLINE void load(const T* const* at, V* v) const {
    hn::LoadInterleaved4(D(), at[0], v[0], v[1], v[2], v[3]);
  }
  template <bool kStream>
  HWY_INLINE void store(const V* v, T* const* at) const {
    hn::StoreInterleaved4(v[0], v[1], v[2], v[3], D(), at[0]);
  }
};

// The destination keeps its alpha.
template <class D>
struct Channels<AC4, D> : Channels<C4, D> {
  using T = hn::TFromD<D>;
  using V = hn::Vec<D>;

  template <bool kStream>
  HWY_INLINE void store(const V* v, T* const* at) const {
    V old[4];
    Channels<C4, D>::load(at, old);
    hn::StoreInterleaved4(v[0], v[1], v[2], old[3], D(), at[0]);
  }
};

// `op(d, v)` turns the vectors of the source's channels into those of the destination's, in their place.
template <class From, class To, class T, class Op>
struct PixelOperation {
  Op op;
  Channels<From, Tag<T>> from;
  Channels<To, Tag<T>> to;
  // Stores of four interleaved channels do not, and where alpha is kept, the line has been read.
  static constexpr bool kStreams = kIsPlanar<To> || To::channels != 4;

  HWY_INLINE explicit PixelOperation(const Op& operation) : op(operation) {}

  template <bool kStream = false, class D>
  HWY_INLINE void operator()(D d, const T* const* in, T* const* out) const {
    hn::Vec<D> v[HWY_MAX(From::channels, To::channels)];
    from.load(in, v);
    op(d, v);
    to.template store<kStream>(v, out);
  }
};

// The images of a layout, as a move sees them.
template <class Layout>
inline constexpr int kImages = kIsPlanar<Layout> ? Layout::channels : 1;
template <class Layout, class T>
HWY_INLINE Pixels<T, kImages<Layout>> pixelsOf(const Image<T>* images) {
  Pixels<T, kImages<Layout>> result{images, {}};
  for (int& samples : result.samples) samples = kIsPlanar<Layout> ? 1 : Layout::channels;
  return result;
}

// The rows of an operation that is built from their parameters. In place is fine.
template <class Op, class From, class To, class T, class... P>
void pixelRows(const Image<const T>* from, const Image<T>* to, Extent pixels, P... parameters) {
  mapPixels(PixelOperation<From, To, T, Op>(Op{parameters...}), pixelsOf<From>(from), pixelsOf<To>(to),
            pixels);
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
