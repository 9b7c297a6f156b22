// Copies of regions, channels and masked pixels, and between interleaved and planar layouts.
#include "move/copy.h"

#include <utility>

namespace zopi {
namespace {

template <class Layout, class T>
ZopStatus copyChannel(Image<const T> src, Image<T> dst, ZopImageSize size) {
  constexpr int n = Layout::channels;
  return movePixels<n, n>(src, dst, size, copyTable().template of<BitsOf<T>>().channel[n]);
}

template <class T>
ZopStatus dropAlpha(Image<const T> src, Image<T> dst, ZopImageSize size) {
  return movePixels<4, 3>(src, dst, size, copyTable().template of<BitsOf<T>>().dropAlpha);
}

template <class T>
ZopStatus widenKeepingAlpha(Image<const T> src, Image<T> dst, ZopImageSize size) {
  return movePixels<3, 4>(src, dst, size, copyTable().template of<BitsOf<T>>().widenKeepingAlpha);
}

template <class T, std::size_t>
using PlaneOf = Image<T>;

// Planes go through the walk one by one; a row function takes them as an array.
template <class Layout, class T, int kChannels, std::size_t... kPlane>
void splitPlanes(Image<const T> src, Planes<T, kChannels> dst, ZopImageSize size,
                 std::index_sequence<kPlane...>) {
  using Bits = BitsOf<T>;
  const auto row = copyTable().template of<Bits>().split[kChannels];
  const auto body = [&](Image<const Bits, kChannels> from, PlaneOf<Bits, kPlane>... to, Extent band) {
    const Image<Bits> planes[] = {to...};
    row(from.template as<Bits, 1>(), planes, band);
  };
  walkSerial(extent(size), body, src.template as<Bits, kChannels>(),
             dst.plane(kPlane).template as<Bits>()...);
}

template <class Layout, class T, int kChannels, std::size_t... kPlane>
void joinPlanes(Planes<const T, kChannels> src, Image<T> dst, ZopImageSize size,
                std::index_sequence<kPlane...>) {
  using Bits = BitsOf<T>;
  const auto row = copyTable().template of<Bits>().join[kChannels];
  const auto body = [&](PlaneOf<const Bits, kPlane>... from, Image<Bits, kChannels> to, Extent band) {
    const Image<const Bits> planes[] = {from...};
    row(planes, to.template as<Bits, 1>(), band);
  };
  walkSerial(extent(size), body, src.plane(kPlane).template as<Bits>()...,
             dst.template as<Bits, kChannels>());
}

template <class Layout, class T, int kChannels>
ZopStatus split(Image<const T> src, Planes<T, kChannels> dst, ZopImageSize size) {
  splitPlanes<Layout>(src, dst, size, std::make_index_sequence<kChannels>());
  return zopStatusOk;
}

template <class Layout, class T, int kChannels>
ZopStatus join(Planes<const T, kChannels> src, Image<T> dst, ZopImageSize size) {
  joinPlanes<Layout>(src, dst, size, std::make_index_sequence<kChannels>());
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus copyMasked(Image<const T> src, Image<T> dst, ZopImageSize size, Image<const Zop8u> mask) {
  using Bits = BitsOf<T>;
  constexpr int n = Layout::channels;
  const CopyRows<Bits>& rows = copyTable().template of<Bits>();
  const auto row = std::is_same_v<Layout, AC4> ? rows.maskedColours : rows.masked[n];
  walkPixels(size, row, src.template as<Bits, n>(), dst.template as<Bits, n>(), mask);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "move/copy.exports.inc"
