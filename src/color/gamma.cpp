// Gamma curves. Bytes and large images of words look their results up. All on the calling thread.

#include "color/gamma_rows.h"

#include <cstdint>

#include "core/lookup_rows.h"
#include "core/rounding.h"
#include "zopi/status.h"

namespace zopi {
namespace {

// The curve at k / 255, times 255 and rounded to nearest with ties to even.
template <class Direction>
constexpr Zop8u kBytes[256] = {};
template <>
constexpr Zop8u kBytes<GammaFwd>[256] = {
    0,   4,   9,   14,  18,  23,  27,  30,  34,  37,  40,  43,  46,  48,  51,  53,  55,  58,  60,  62,
    64,  66,  68,  70,  72,  73,  75,  77,  78,  80,  82,  83,  85,  86,  88,  89,  91,  92,  94,  95,
    97,  98,  99,  101, 102, 103, 104, 106, 107, 108, 109, 111, 112, 113, 114, 115, 116, 118, 119, 120,
    121, 122, 123, 124, 125, 126, 127, 128, 129, 130, 131, 132, 133, 134, 135, 136, 137, 138, 139, 140,
    141, 142, 143, 144, 145, 146, 147, 147, 148, 149, 150, 151, 152, 153, 154, 154, 155, 156, 157, 158,
    159, 159, 160, 161, 162, 163, 164, 164, 165, 166, 167, 168, 168, 169, 170, 171, 171, 172, 173, 174,
    174, 175, 176, 177, 177, 178, 179, 180, 180, 181, 182, 182, 183, 184, 185, 185, 186, 187, 187, 188,
    189, 189, 190, 191, 191, 192, 193, 193, 194, 195, 195, 196, 197, 197, 198, 199, 199, 200, 201, 201,
    202, 203, 203, 204, 205, 205, 206, 206, 207, 208, 208, 209, 209, 210, 211, 211, 212, 213, 213, 214,
    214, 215, 216, 216, 217, 217, 218, 218, 219, 220, 220, 221, 221, 222, 223, 223, 224, 224, 225, 225,
    226, 227, 227, 228, 228, 229, 229, 230, 230, 231, 232, 232, 233, 233, 234, 234, 235, 235, 236, 236,
    237, 238, 238, 239, 239, 240, 240, 241, 241, 242, 242, 243, 243, 244, 244, 245, 245, 246, 246, 247,
    247, 248, 248, 249, 249, 250, 251, 251, 252, 252, 253, 253, 254, 254, 255, 255,
};
template <>
constexpr Zop8u kBytes<GammaInv>[256] = {
    0,   0,   0,   1,   1,   1,   1,   2,   2,   2,   2,   2,   3,   3,   3,   3,   4,   4,   4,   4,
    4,   5,   5,   5,   5,   6,   6,   6,   6,   7,   7,   7,   7,   8,   8,   8,   9,   9,   9,   10,
    10,  10,  11,  11,  11,  12,  12,  13,  13,  13,  14,  14,  15,  15,  15,  16,  16,  17,  17,  18,
    18,  19,  19,  20,  20,  21,  21,  22,  22,  23,  23,  24,  24,  25,  25,  26,  27,  27,  28,  28,
    29,  30,  30,  31,  31,  32,  33,  33,  34,  35,  35,  36,  37,  37,  38,  39,  40,  40,  41,  42,
    43,  43,  44,  45,  46,  46,  47,  48,  49,  50,  51,  51,  52,  53,  54,  55,  56,  57,  57,  58,
    59,  60,  61,  62,  63,  64,  65,  66,  67,  68,  69,  70,  71,  72,  73,  74,  75,  76,  77,  78,
    79,  80,  81,  82,  83,  84,  85,  86,  88,  89,  90,  91,  92,  93,  94,  96,  97,  98,  99,  100,
    102, 103, 104, 105, 107, 108, 109, 110, 112, 113, 114, 116, 117, 118, 119, 121, 122, 124, 125, 126,
    128, 129, 130, 132, 133, 135, 136, 138, 139, 140, 142, 143, 145, 146, 148, 149, 151, 152, 154, 155,
    157, 158, 160, 162, 163, 165, 166, 168, 170, 171, 173, 174, 176, 178, 179, 181, 183, 184, 186, 188,
    190, 191, 193, 195, 197, 198, 200, 202, 204, 205, 207, 209, 211, 213, 214, 216, 218, 220, 222, 224,
    226, 228, 229, 231, 233, 235, 237, 239, 241, 243, 245, 247, 249, 251, 253, 255,
};

// The same for words. It is made when it is first asked for: spelled out, it would be four thousand lines.
template <class Direction>
struct Words {
  Zop16u of[65536];

  Words() {
    for (int i = 0; i < 65536; ++i) of[i] = static_cast<Zop16u>(i);
    const Image<Zop16u> all = {of, sizeof of};
    gammaTable().of<Direction>().words.image(all, all, {65536, 1});
  }
};
template <class Direction>
const Zop16u* words() {
  static const Words<Direction> made;
  return made.of;
}

// Images of fewer samples do not ask for a table: it takes as long to make as eight images of this size take
// without.
constexpr std::int64_t kManyWords = 12288;

template <class Direction, class Layout>
void map(Image<const Zop8u> src, Image<Zop8u> dst, ZopImageSize size) {
  mapImage<Layout>(lookupTable().bytes, src, dst, size, kBytes<Direction>);
}

template <class Direction, class Layout>
void map(Image<const Zop16u> src, Image<Zop16u> dst, ZopImageSize size) {
  const RoundingToNearest mode;
  if (std::int64_t{size.width} * size.height * Layout::channels < kManyWords)
    mapImage<Layout>(gammaTable().of<Direction>().words, src, dst, size);
  else
    mapImage<Layout>(lookupTable().words, src, dst, size, words<Direction>());
}

template <class Direction, class Layout>
void map(Image<const Zop32f> src, Image<Zop32f> dst, ZopImageSize size, Zop32f vMin, Zop32f vMax) {
  const RoundingToNearest mode;
  const double span = double{vMax} - vMin;
  mapImage<Layout>(gammaTable().of<Direction>().numbers, src, dst, size, double{vMin}, span, 1.0 / span);
}

template <class Direction, class Layout, class S, class T, class... Range>
ZopStatus curved(Image<S> src, Image<T> dst, ZopImageSize size, Range... range) {
  map<Direction, Layout>(src, dst, size, range...);
  return zopStatusOk;
}
template <class Direction, class Layout, class S, class T, class... Range>
ZopStatus curved(Planes<S, 3> src, Planes<T, 3> dst, ZopImageSize size, Range... range) {
  for (int c = 0; c < 3; ++c) map<Direction, C1>(src.plane(c), dst.plane(c), size, range...);
  return zopStatusOk;
}

// Says yes to not-a-numbers.
ZopStatus checkGammaRange(Zop32f vMin, Zop32f vMax) {
  return double{vMax} - vMin <= 0.0 ? zopStatusBadGammaRange : zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "color/gamma.exports.inc"
