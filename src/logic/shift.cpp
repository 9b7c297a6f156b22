// Shifts by constant counts: which route a call takes. All on the calling thread.
//
// All counts from the sample's width on act alike: every bit is lost, or becomes the sign. Where one count
// serves the whole pixel, the image is shifted as one channel, copied or filled.

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "core/walk.h"
#include "logic/shift_rows.h"
#include "move/copy.h"
#include "move/set.h"

namespace zopi {
namespace {

template <class T>
constexpr int kWidth = 8 * sizeof(T);

// The count that stands for all that are not below the width.
template <ShiftDirection kDirection, class T>
constexpr int kLargest = (kDirection == kRight && std::is_signed_v<T>) ? kWidth<T> - 1 : kWidth<T>;

template <class Layout, Form kForm, class T>
ZopStatus copied(Image<const T> src, Image<T> dst, ZopImageSize size) {
  if constexpr (kForm == InPlace) return zopStatusOk;
  if constexpr (std::is_same_v<Layout, AC4>)
    return copyColours(src, dst, size);
  else
    return copyPixels<Layout>(src, dst, size);
}

template <ShiftDirection kDirection, class Layout, Form kForm, class T>
ZopStatus shiftedAlike(Image<const T> src, int count, Image<T> dst, ZopImageSize size) {
  if (count == 0) return copied<Layout, kForm>(src, dst, size);
  if (count == kWidth<T>) return setZero<Layout>(dst, size);
  mapImage<Layout>(shiftTable().of<T>().rows[kDirection].alike, src, dst, size, count);
  return zopStatusOk;
}

template <ShiftDirection kDirection, class Layout, class T>
ZopStatus shiftedByChannel(Image<const T> src, const int* counts, Image<T> dst, ZopImageSize size) {
  ChannelShift<T> channels[Layout::colours];
  for (int c = 0; c < Layout::colours; ++c) {
    const bool lost = counts[c] == kWidth<T>;
    T pixel[Layout::channels] = {};
    if (!lost) pixel[c] = allOnes<T>();
    channels[c] = {lost ? 0 : counts[c], repeat(pixel, Layout::channels)};
  }
  const ShiftRow<T>& rows = shiftTable().of<T>().rows[kDirection];
  const auto row =
      std::is_same_v<Layout, AC4> ? rows.byChannelKeepingAlpha : rows.byChannel[Layout::channels];
  walkSerial(
      extent(size, Layout::channels),
      [&](Image<const T> from, Image<T> to, Extent band) { row(from, to, band, channels); }, src, dst);
  return zopStatusOk;
}

template <ShiftDirection kDirection, class Layout, Form kForm, class T>
ZopStatus shifted(std::type_identity_t<Image<const T>> src, const unsigned* values, Image<T> dst,
                  ZopImageSize size) {
  unsigned given[Layout::colours];
  std::memcpy(given, values, sizeof given);  // the array may stand at any address
  int counts[Layout::colours];
  for (int c = 0; c < Layout::colours; ++c) {
    counts[c] = static_cast<int>(std::min<unsigned>(given[c], kLargest<kDirection, T>));
  }
  const bool alike = std::equal(counts + 1, counts + Layout::colours, counts);
  return alike ? shiftedAlike<kDirection, Layout, kForm>(src, counts[0], dst, size)
               : shiftedByChannel<kDirection, Layout>(src, counts, dst, size);
}

}  // namespace
}  // namespace zopi

#include "logic/shift.exports.inc"
