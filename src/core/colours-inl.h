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
    for (int c = 0; c < kPlanes; ++c) v[c] = hn::LoadU(D(), at[c]);
  }
  HWY_INLINE void store(const V* v, T* const* at) const {
    for (int c = 0; c < kPlanes; ++c) hn::StoreU(v[c], D(), at[c]);
  }
};

// Samples move as bits, whatever their type.
template <class D>
struct Channels<C3, D> {
  using DU = hn::RebindToUnsigned<D>;
  using T = hn::TFromD<D>;
  using U = hn::TFromD<DU>;
  using V = hn::Vec<D>;
  ThreeChannels<DU> channels;

  HWY_INLINE Channels() {}
  HWY_INLINE void load(const T* const* at, V* v) const {
    hn::Vec<DU> a, b, c;
    channels.load(reinterpret_cast<const U*>(at[0]), a, b, c);
    v[0] = hn::BitCast(D(), a);
    v[1] = hn::BitCast(D(), b);
    v[2] = hn::BitCast(D(), c);
  }
  HWY_INLINE void store(const V* v, T* const* at) const {
    const DU d;
    channels.store(hn::BitCast(d, v[0]), hn::BitCast(d, v[1]), hn::BitCast(d, v[2]),
                   reinterpret_cast<U*>(at[0]));
  }
};

template <class D>
struct Channels<C4, D> {
  using T = hn::TFromD<D>;
  using V = hn::Vec<D>;

  HWY_INLINE void load(const T* const* at, V* v) const {
    hn::LoadInterleaved4(D(), at[0], v[0], v[1], v[2], v[3]);
  }
  HWY_INLINE void store(const V* v, T* const* at) const {
    hn::StoreInterleaved4(v[0], v[1], v[2], v[3], D(), at[0]);
  }
};

// The destination keeps its alpha.
template <class D>
struct Channels<AC4, D> : Channels<C4, D> {
  using T = hn::TFromD<D>;
  using V = hn::Vec<D>;

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

  HWY_INLINE explicit PixelOperation(const Op& operation) : op(operation) {}

  template <class D>
  HWY_INLINE void operator()(D d, const T* const* in, T* const* out) const {
    hn::Vec<D> v[HWY_MAX(From::channels, To::channels)];
    from.load(in, v);
    op(d, v);
    to.store(v, out);
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
