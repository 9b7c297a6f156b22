// Copies of regions, channels and masked pixels, and between interleaved and planar layouts.
#include "move/copy.h"

namespace zopi {
namespace {

// Walks the pixels of two interleaved images that hold `kFrom` and `kTo` samples a pixel. A row function counts
// pixels and knows the layouts.
template <int kFrom, int kTo, class T, class Row>
ZopStatus walkPixels(Image<const T> src, Image<T> dst, ZopImageSize size, Row row) {
  using Bits = BitsOf<T>;
  walkSerial(extent(size),
             [&](Image<const Bits, kFrom> from, Image<Bits, kTo> to, Extent band) {
               row(from.template as<Bits, 1>(), to.template as<Bits, 1>(), band);
             },
             src.template as<Bits, kFrom>(), dst.template as<Bits, kTo>());
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus copyChannel(Image<const T> src, Image<T> dst, ZopImageSize size) {
  constexpr int n = Layout::channels;
  return walkPixels<n, n>(src, dst, size, copyRows<BitsOf<T>>().channel[n]);
}

template <class Layout, class T>
ZopStatus extractChannel(Image<const T> src, Image<T> dst, ZopImageSize size) {
  return walkPixels<Layout::channels, 1>(src, dst, size, copyRows<BitsOf<T>>().extract[Layout::channels]);
}

template <class Layout, class T>
ZopStatus insertChannel(Image<const T> src, Image<T> dst, ZopImageSize size) {
  return walkPixels<1, Layout::channels>(src, dst, size, copyRows<BitsOf<T>>().insert[Layout::channels]);
}

template <class T>
ZopStatus dropAlpha(Image<const T> src, Image<T> dst, ZopImageSize size) {
  return walkPixels<4, 3>(src, dst, size, copyRows<BitsOf<T>>().dropAlpha);
}

template <class T>
ZopStatus widenKeepingAlpha(Image<const T> src, Image<T> dst, ZopImageSize size) {
  return walkPixels<3, 4>(src, dst, size, copyRows<BitsOf<T>>().widenKeepingAlpha);
}

template <class Layout, class T, int kChannels>
ZopStatus split(Image<const T> src, Planes<T, kChannels> dst, ZopImageSize size) {
  using Bits = BitsOf<T>;
  Image<Bits> planes[kChannels];
  for (int c = 0; c < kChannels; ++c) planes[c] = Image<T>{dst.at[c], dst.step}.template as<Bits>();
  copyRows<Bits>().split[kChannels](src.template as<Bits>(), planes, extent(size));
  return zopStatusOk;
}

template <class Layout, class T, int kChannels>
ZopStatus join(Planes<const T, kChannels> src, Image<T> dst, ZopImageSize size) {
  using Bits = BitsOf<T>;
  Image<const Bits> planes[kChannels];
  for (int c = 0; c < kChannels; ++c) planes[c] = Image<const T>{src.at[c], src.step}.template as<Bits>();
  copyRows<Bits>().join[kChannels](planes, dst.template as<Bits>(), extent(size));
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus copyMasked(Image<const T> src, Image<T> dst, ZopImageSize size, Image<const Zop8u> mask) {
  using Bits = BitsOf<T>;
  const CopyRows<Bits>& rows = copyRows<Bits>();
  const auto row = std::is_same_v<Layout, AC4> ? rows.maskedColours : rows.masked[Layout::channels];
  row(src.template as<Bits>(), dst.template as<Bits>(), extent(size), mask);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "move/copy.exports.inc"
