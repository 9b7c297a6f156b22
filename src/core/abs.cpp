// Magnitudes: the model of a family.
#include <cstdint>
#include <type_traits>

#include "core/abs_rows.h"
#include "core/memory.h"
#include "core/walk.h"
#include "move/copy.h"

namespace zopi {
namespace {

// The scratch row is never released: that is how these functions have always behaved, and callers' memory use
// is planned around it. The sanitizer suppressions know this function by name.
template <class T>
ZopStatus absKeepingAlpha(Image<const T> src, Image<T> dst, ZopImageSize size) {
  const std::int64_t samples = std::int64_t{size.width} * 4;
  const int count = samples <= INT32_MAX ? static_cast<int>(samples) : 0;
  T* scratch = static_cast<T*>(sizeof(T) == 2 ? zopAlloc16(count) : zopAlloc32(count));
  if (scratch == nullptr) return zopStatusNoMemory;
  const Image<T> row = {scratch, 0};
  for (int y = 0; y < size.height; ++y) {
    absTable().template of<T>().row(src.from(y), row, {count, 1});
    copyColours<T>(row, dst.from(y), {size.width, 1});
  }
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus magnitudes(std::type_identity_t<Image<const T>> src, Image<T> dst, ZopImageSize size) {
  if constexpr (std::is_same_v<Layout, AC4>) return absKeepingAlpha(src, dst, size);
  if constexpr (std::is_same_v<Layout, C1> || std::is_same_v<Layout, C3>) {
    src = inWholeSamples(src);
    dst = inWholeSamples(dst);
  }
  walkSerial(extent(size, Layout::channels), absTable().template of<T>().row, src, dst);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "core/abs.exports.inc"
