// Copies into borders: of a constant, or of the nearest pixels.
#include <cstdint>
#include <type_traits>

#include "move/border_rows.h"
#include "move/copy.h"
#include "move/set.h"

namespace zopi {
namespace {

ZopStatus checkBorders(ZopImageSize src, ZopImageSize dst, int top, int left) {
  if (top < 0 || left < 0) return zopStatusBadSize;
  const bool fits =
      dst.width >= std::int64_t{left} + src.width && dst.height >= std::int64_t{top} + src.height;
  return fits ? zopStatusOk : zopStatusBadSize;
}

template <class T>
Image<T> at(Image<T> image, std::ptrdiff_t sample, std::ptrdiff_t y) {
  return {image.row(y) + sample, image.step};
}

// The rows of the source and what is left and right of them; a null pixel stands for the nearest one.
template <class Layout, class T>
void writeMiddle(const T* pixel, Image<const T> src, ZopImageSize srcSize, Image<T> dst, ZopImageSize dstSize,
                 int left) {
  const int right = dstSize.width - left - srcSize.width;
  if (left == 0 && right == 0) {
    copyPixels<Layout>(src, dst, srcSize);
    return;
  }
  constexpr std::ptrdiff_t kPixelBytes = Layout::channels * sizeof(T);
  const Image<const std::uint8_t> from = src.template as<std::uint8_t>();
  const Image<std::uint8_t> to = dst.template as<std::uint8_t>();
  Extent e = {srcSize.width * kPixelBytes, srcSize.height};
  e.stream = walk::streams(e, from, to);
  borderTable().ofPixel[kPixelBytes](reinterpret_cast<const std::uint8_t*>(pixel), from, to, e,
                                     {left * kPixelBytes, right * kPixelBytes});
}

// The same where alpha is not touched.
template <class T>
void writeMiddleColours(const T* pixel, Image<const T> src, ZopImageSize srcSize, Image<T> dst,
                        ZopImageSize dstSize, int left) {
  const int right = dstSize.width - left - srcSize.width;
  const Image<T> centre = at(dst, std::ptrdiff_t{left} * 4, 0);
  copyColours(src, centre, srcSize);
  // One fill of all rows where the pixel is constant, else one a row.
  const int rows = pixel != nullptr ? srcSize.height : 1;
  for (int y = 0; y < srcSize.height; y += rows) {
    const T* row = src.row(y);
    const std::ptrdiff_t end = std::ptrdiff_t{srcSize.width} * 4;
    if (left > 0) setColours(pixel != nullptr ? pixel : row, dst.from(y), {left, rows});
    if (right > 0) setColours(pixel != nullptr ? pixel : row + end - 4, at(centre, end, y), {right, rows});
  }
}

template <class Layout, class T>
void writeRows(const T* pixel, Image<const T> src, ZopImageSize srcSize, Image<T> dst, ZopImageSize dstSize,
               int left) {
  if constexpr (std::is_same_v<Layout, AC4>)
    writeMiddleColours(pixel, src, srcSize, dst, dstSize, left);
  else
    writeMiddle<Layout>(pixel, src, srcSize, dst, dstSize, left);
}

template <class Layout, class T>
void fillRows(const T* pixel, Image<T> dst, int width, int rows) {
  if (rows == 0) return;
  if constexpr (std::is_same_v<Layout, AC4>)
    setColours(pixel, dst, {width, rows});
  else
    setPixels<Layout>(pixel, dst, {width, rows});
}

// Copies of one row: an image whose rows all stand at the same place.
template <class Layout, class T>
void repeatRow(const T* row, Image<T> dst, int width, int rows) {
  if (rows == 0) return;
  const Image<const T> src = {row, 0};
  if constexpr (std::is_same_v<Layout, AC4>)
    copyColours(src, dst, {width, rows});
  else
    copyPixels<Layout>(src, dst, {width, rows});
}

template <class Layout, class T>
ZopStatus constBorder(Image<const T> src, ZopImageSize srcSize, Image<T> dst, ZopImageSize dstSize, int top,
                      int left, const T* value) {
  const int end = top + srcSize.height;
  fillRows<Layout>(value, dst, dstSize.width, top);
  writeRows<Layout>(value, src, srcSize, dst.from(top), dstSize, left);
  fillRows<Layout>(value, dst.from(end), dstSize.width, dstSize.height - end);
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus replicateBorder(Image<const T> src, ZopImageSize srcSize, Image<T> dst, ZopImageSize dstSize,
                          int top, int left) {
  const int end = top + srcSize.height;
  writeRows<Layout, T>(nullptr, src, srcSize, dst.from(top), dstSize, left);
  repeatRow<Layout>(dst.row(end - 1), dst.from(end), dstSize.width, dstSize.height - end);
  repeatRow<Layout>(dst.row(top), dst, dstSize.width, top);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "move/border.exports.inc"
