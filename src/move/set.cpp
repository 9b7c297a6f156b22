// Fills of regions, channels and masked pixels.
#include "move/set.h"

namespace zopi {
namespace {

template <class Layout, class T>
ZopStatus setChannel(const T* value, Image<T> dst, ZopImageSize size) {
  using Bits = BitsOf<T>;
  const Pattern<Bits> pattern = bitPattern<C1>(value);
  const auto row = setTable().template of<Bits>().channel[Layout::channels];
  walkPixels(
      size, [&](Image<Bits> to, Extent band) { row(pattern, to, band); },
      dst.template as<Bits, Layout::channels>());
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus setMasked(const T* values, Image<T> dst, ZopImageSize size, Image<const Zop8u> mask) {
  using Bits = BitsOf<T>;
  const Pattern<Bits> pattern = bitPattern<Layout>(values);
  const SetRows<Bits>& rows = setTable().template of<Bits>();
  const auto row = std::is_same_v<Layout, AC4> ? rows.maskedColours : rows.masked[Layout::channels];
  walkPixels(
      size, [&](Image<Bits> to, Image<const Zop8u> chosen, Extent band) { row(pattern, to, chosen, band); },
      dst.template as<Bits, Layout::channels>(), mask);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "move/set.exports.inc"
