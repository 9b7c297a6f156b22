#include "synthesis/test_images_rows.h"

#include <limits>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "synthesis/test_images_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/colours-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

using Doubles = Tag<double>;
constexpr std::ptrdiff_t N = kLanes<Doubles>;
template <class T>
using Samples = hn::Rebind<T, Doubles>;

// Doubles in the range of the samples.
template <class T, class V>
HWY_INLINE hn::Vec<Samples<T>> truncated(V v) {
  return fromReal(Samples<T>(), v);
}

// Rounded to nearest, halves away from zero.
template <class T>
HWY_INLINE hn::Vec<Samples<T>> nearest(hn::Vec<Doubles> v) {
  if constexpr (std::is_floating_point_v<T>) {
    return truncated<T>(v);
  } else {
    const Doubles d;
    using Limits = std::numeric_limits<T>;
    const auto held =
        hn::Min(hn::Max(v, hn::Set(d, double{Limits::min()})), hn::Set(d, double{Limits::max()}));
    return truncated<T>(hn::Add(held, hn::CopySign(hn::Set(d, 0.5), held)));
  }
}

template <class T>
void ramp(double offset, double slope, int64_t first, double pace, std::ptrdiff_t n, T* out) {
  const Doubles d;
  const auto start = hn::Set(d, offset), rise = hn::Set(d, slope), step = hn::Set(d, pace);
  for (std::ptrdiff_t i = 0; i < n; i += N) {
    const auto place = hn::Iota(d, static_cast<double>(first + i));
    const auto v = hn::Add(start, hn::Mul(rise, hn::Mul(place, step)));
    storePart(Samples<T>(), nearest<T>(v), out + i, HWY_MIN(N, n - i));
  }
}

template <class T>
struct Brightness {
  static constexpr double kScale = std::is_signed_v<T> ? std::numeric_limits<T>::max() + 0.99999
                                                       : std::numeric_limits<T>::max() / 2 + 0.99999;
  static constexpr double kMiddle = std::is_signed_v<T> ? 0 : 1;
};
template <>
struct Brightness<float> {
  static constexpr double kScale = 0.49999, kMiddle = 1;
};

template <class T>
void sines(const double* sines, std::ptrdiff_t n, T* out) {
  const Doubles d;
  const auto scale = hn::Set(d, Brightness<T>::kScale), middle = hn::Set(d, Brightness<T>::kMiddle);
  for (std::ptrdiff_t i = 0; i < n; i += N) {
    const auto v = hn::Mul(hn::Add(hn::LoadU(d, sines + i), middle), scale);
    storePart(Samples<T>(), truncated<T>(v), out + i, HWY_MIN(N, n - i));
  }
}

// One sample in all channels.
template <class Layout>
struct Spread {
  template <class D, class V>
  HWY_INLINE void operator()(D, V* v) const {
#pragma GCC unroll 4
    for (int c = 1; c < Layout::channels; ++c) v[c] = v[0];
  }
};

template <class Layout, class Bits>
void spread(const Bits* values, std::ptrdiff_t n, Bits* pixels) {
  const Image<const Bits> from = {values, 0};
  const Image<Bits> to = {pixels, 0};
  pixelRows<Spread<Layout>, C1, Layout, Bits>(&from, &to, {n, 1});
}

template <class T>
constexpr TestImageRows<T> rowsOf() {
  return {ramp<T>, sines<T>};
}
template <class Bits>
constexpr SpreadRows<Bits> spreadRowsOf() {
  return {spread<C3, Bits>, spread<C4, Bits>, spread<AC4, Bits>};
}

constexpr TestImageTable kTable = {
    {rowsOf<Zop8u>(), rowsOf<Zop8s>(), rowsOf<Zop16u>(), rowsOf<Zop16s>(), rowsOf<Zop32s>(),
     rowsOf<Zop32f>()},
    {spreadRowsOf<uint8_t>(), spreadRowsOf<uint16_t>(), spreadRowsOf<uint32_t>()}};

}  // namespace

const TestImageTable* testImageTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(testImageTableOfTarget);

const TestImageTable& testImageTable() { return *HWY_DYNAMIC_DISPATCH(testImageTableOfTarget)(); }

}  // namespace zopi
#endif
