// Linear maps of the channels. All on the calling thread.

#include "color/twist_rows.h"

#include "core/rounding.h"
#include "zopi/status.h"

namespace zopi {
namespace {

template <int kRows>
TwistOf<kRows> inDoubles(const Zop32f* twist) {
  TwistOf<kRows> result;
  for (int i = 0; i < 4 * kRows; ++i) result.at[i / 4][i % 4] = twist[i];
  return result;
}

template <class Layout, class T>
PixelRows<T, T, TwistOf<3>> rowsFor(Image<T>) {
  const TwistRows<T>& rows = twistTable().of<T>();
  return std::is_same_v<Layout, AC4> ? rows.ofAC4 : rows.ofC3;
}
template <class Layout, class T>
PixelRows<T, T, TwistOf<3>> rowsFor(Planes<T, 3>) {
  return twistTable().of<T>().ofP3;
}

// `In` and `Out` are images, or planes of them.
template <class Layout, class In, class Out>
ZopStatus twisted(In src, Out dst, ZopImageSize size, const Zop32f* twist) {
  const RoundingToNearest mode;
  if constexpr (std::is_same_v<Layout, C4>)
    mapPixelImages<C4, C4>(false, twistTable().numbersOfC4, src, dst, size, inDoubles<4>(twist));
  else
    mapPixelImages<Layout, Layout>(false, rowsFor<Layout>(dst), src, dst, size, inDoubles<3>(twist));
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "color/twist.exports.inc"
