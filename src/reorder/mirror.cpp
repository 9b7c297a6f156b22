// Images turned over: a row in reverse is vector code, rows in reverse are an image that is walked upwards.
#include "reorder/mirror_rows.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "move/copy.h"

namespace zopi {
namespace {

constexpr int kUpsideDown = 0, kLeftRight = 1, kBoth = 2;

ZopStatus checkFlip(int flip) { return flip < kUpsideDown || flip > kBoth ? zopStatusBadAxis : zopStatusOk; }

// The functions of a form: rows of bytes, copied or in reverse.
template <class Layout, class T>
struct Moves {
  static constexpr bool kKeepsAlpha = std::is_same_v<Layout, AC4>;
  static constexpr std::ptrdiff_t kPixelBytes = Layout::channels * sizeof(T);

  static void copy(Image<const std::uint8_t> src, Image<std::uint8_t> dst, Extent e) {
    using Bits = BitsOf<T>;
    if constexpr (kKeepsAlpha) {
      const Extent pixels = {e.length / kPixelBytes, e.rows};
      copyTable().template of<Bits>().colours(src.template as<Bits>(), dst.template as<Bits>(), pixels);
    } else {
      copyTable().template of<std::uint8_t>().samples(src, dst, e);
    }
  }
  static void reverse(Image<const std::uint8_t> src, Image<std::uint8_t> dst, Extent e) {
    const MirrorTable& rows = mirrorTable();
    (kKeepsAlpha ? rows.colours : rows.pixels)[kPixelBytes](src, dst, e);
  }
};

template <class T>
Image<T> upwards(Image<T> image, int rows) {
  return {image.row(rows - 1), -image.step};
}

// 16u and 32s rows advance by whole samples, but for those of C4.
template <class Layout, class T>
auto rowsOf(Image<T> image) {
  if constexpr (!std::is_same_v<Layout, C4>) image = inWholeSamples(image);
  return image.template as<std::uint8_t>();
}

// Rows in reverse. One of the images is walked upwards: it costs least for the one that is read, unless rows
// go past the caches.
template <class Row>
void reverseOrder(Image<const std::uint8_t> src, Image<std::uint8_t> dst, Extent e, const Row& row) {
  if (e.stream)
    row(src, upwards(dst, e.rows), e);
  else
    row(upwards(src, e.rows), dst, e);
}

template <class Layout, class T>
ZopStatus mirror(Image<const T> source, Image<T> destination, ZopImageSize size, int flip) {
  using Move = Moves<Layout, T>;
  const Image<const std::uint8_t> src = rowsOf<Layout>(source);
  const Image<std::uint8_t> dst = rowsOf<Layout>(destination);
  Extent e = {size.width * Move::kPixelBytes, size.height};
  e.stream = walk::streams(e, src, dst);
  if (flip == kUpsideDown) {
    reverseOrder(src, dst, e, Move::copy);
  } else if (flip == kLeftRight) {
    Move::reverse(src, dst, e);
  } else if (walk::gapFree(e.length, src) && walk::gapFree(e.length, dst)) {
    Move::reverse(src, dst, {e.length * e.rows, 1, e.stream});
  } else {
    reverseOrder(src, dst, e, Move::reverse);
  }
  return zopStatusOk;
}

// Exchanges two images that do not overlap, or one of them with the reverse of the other's rows, piece by
// piece through a buffer that stays in the innermost cache.
template <class Layout, class T>
void exchange(Image<std::uint8_t> a, Image<std::uint8_t> b, Extent e, bool reversed) {
  using Move = Moves<Layout, T>;
  constexpr std::ptrdiff_t kBufferBytes = 4080;  // whole pixels of every layout
  static_assert(kBufferBytes % Move::kPixelBytes == 0);
  alignas(64) std::uint8_t buffer[kBufferBytes];
  const auto move = reversed ? Move::reverse : Move::copy;
  const std::ptrdiff_t length = std::min(e.length, kBufferBytes);
  const int rows = length > 0 ? static_cast<int>(kBufferBytes / length) : e.rows;
  for (int y = 0; y < e.rows; y += rows) {
    for (std::ptrdiff_t x = 0; x < e.length; x += length) {
      const Extent piece = {std::min(length, e.length - x), std::min(rows, e.rows - y)};
      const Image<std::uint8_t> kept = {buffer, piece.length};
      const Image<std::uint8_t> p = {a.row(y) + x, a.step};
      const Image<std::uint8_t> q = {b.row(y) + (reversed ? e.length - x - piece.length : x), b.step};
      copyTable().of<std::uint8_t>().samples(p, kept, piece);
      move(q, p, piece);
      move(kept, q, piece);
    }
  }
}

// The middle column of an odd width stays where it is.
template <class Layout, class T>
void reverseRows(Image<std::uint8_t> image, std::ptrdiff_t pixels, int rows) {
  constexpr std::ptrdiff_t kPixelBytes = Moves<Layout, T>::kPixelBytes;
  const std::ptrdiff_t half = pixels / 2 * kPixelBytes;
  const Image<std::uint8_t> right = {image.at + pixels * kPixelBytes - half, image.step};
  exchange<Layout, T>(image, right, {half, rows}, true);
}

template <class Layout, class T>
ZopStatus mirrorInPlace(Image<T> samples, ZopImageSize size, int flip) {
  const Image<std::uint8_t> image = rowsOf<Layout>(samples);
  const std::ptrdiff_t length = size.width * Moves<Layout, T>::kPixelBytes;
  if (flip == kLeftRight) {
    reverseRows<Layout, T>(image, size.width, size.height);
  } else if (flip == kBoth && walk::gapFree(length, image)) {
    reverseRows<Layout, T>(image, std::ptrdiff_t{size.width} * size.height, 1);
  } else {
    const int half = size.height / 2;
    exchange<Layout, T>(image, upwards(image, size.height), {length, half}, flip == kBoth);
    if (flip == kBoth && size.height % 2 != 0) reverseRows<Layout, T>(image.from(half), size.width, 1);
  }
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "reorder/mirror.exports.inc"
