// RGB to YCbCr and YUV, in full resolution, 4:2:2 and 4:2:0: which rows and numbers serve a form.
#include "color/to_luma_chroma_rows.h"

#include "color/subsampled.h"
#include "zopi/status.h"

namespace zopi {
namespace {

const ToLumaChromaRows<ToYCbCr>& rowsOf(const ToYCbCr&) { return toLumaChromaTable().yCbCr; }
const ToLumaChromaRows<ToYuv>& rowsOf(const ToYuv&) { return toLumaChromaTable().yuv; }

template <class From, class To, class Rows, class Set, class In, class Out>
ZopStatus convert(Rows rows, const Set& set, In from, Out to, ZopImageSize size) {
  mapPixelImages<From, To>(gateColour(size), rows, from, to, size, set);
  return zopStatusOk;
}

// The forms of full resolution.
template <class Layout, class Set>
ZopStatus converted(const Set& set, Image<const Zop8u> src, Image<Zop8u> dst, ZopImageSize size) {
  const auto& rows = rowsOf(set);
  return convert<Layout, Layout>(std::is_same_v<Layout, C3> ? rows.c3 : rows.ac4, set, src, dst, size);
}
template <class Layout, class Set>
ZopStatus converted(const Set& set, Image<const Zop8u> src, Planes<Zop8u, 3> dst, ZopImageSize size) {
  return convert<C3, P3>(rowsOf(set).c3ToPlanes.ofSize[0][0], set, src, dst, size);
}
template <class Layout, class Set>
ZopStatus converted(const Set& set, Planes<const Zop8u, 3> src, Planes<Zop8u, 3> dst, ZopImageSize size) {
  return convert<P3, P3>(rowsOf(set).planesToPlanes.ofSize[0][0], set, src, dst, size);
}

template <class Set, class In, class Out>
void run(bool parallel, typename ToLumaChromaRows<Set>::Rows rows, const Set& set, const In& from,
         const Out& to, Extent units) {
  walkImages(
      parallel, units,
      [&](const Image<const Zop8u>* in, const Image<Zop8u>* out, Extent e) { rows(in, out, e, set); }, from,
      to);
}

// The numbers for units of all sizes, by rows and columns less 1.
template <class Set>
struct Sets {
  Set ofSize[2][2];
};
constexpr Sets<ToYCbCr> kYCbCr420 = {{{kYCbCrPixel, kYCbCrPairOf420}, {kYCbCrPairOf420, kYCbCrBlock}}};
constexpr Sets<ToYuv> kYuv422 = {{{kYuvPixel, kYuvPairOf422}, {}}};
constexpr Sets<ToYuv> kYuv420 = {{{kYuvCornerOf420, kYuvPairOf420}, {kYuvPairOf420, kYuvBlock}}};

// To planes with subsampled chroma. The team, if there is one, takes the whole units.
template <int kRows, class Layout, class Set, class In>
ZopStatus subsampled(bool parallel, const Sets<Set>& sets, const In& src, const LumaChroma<Zop8u>& dst,
                     ZopImageSize size) {
  const auto& all = rowsOf(sets.ofSize[0][0]);
  const auto& rows = std::is_same_v<Layout, C3> ? all.c3ToPlanes : all.planesToPlanes;
  forParts<kRows>(size, [&](const auto& part) {
    constexpr int r = std::remove_reference_t<decltype(part)>::rows - 1,
                  c = std::remove_reference_t<decltype(part)>::columns - 1;
    const bool units = r == kRows - 1 && c == 1;
    run(parallel && units, rows.ofSize[r][c], sets.ofSize[r][c], imagesOf<Layout>(part, src),
        imagesOf(part, dst), part.units);
  });
  return zopStatusOk;
}

template <class Layout, class Set, class In>
ZopStatus to422(const Sets<Set>& sets, const In& src, const LumaChroma<Zop8u>& dst, ZopImageSize size) {
  return subsampled<1, Layout>(gateColour(size), sets, src, dst, size);
}
template <class Layout, class Set, class In>
ZopStatus to420(const Sets<Set>& sets, const In& src, const LumaChroma<Zop8u>& dst, ZopImageSize size) {
  return subsampled<2, Layout>(gateBlocks(size), sets, src, dst, size);
}

// Without gaps. 4:2:2 of some size and an even width is one run of pixels, always worth a team.
bool singleRun(ZopImageSize size) {
  return std::int64_t{size.width} * size.height >= 256 && size.width % 2 == 0;
}
ZopStatus gapless422(const Zop8u* src, Zop8u* const* dst, ZopImageSize size) {
  return subsampled<1, C3>(singleRun(size) || gateColour(size), kYuv422,
                           Image<const Zop8u>{src, std::ptrdiff_t{3} * size.width}, lumaChroma(dst, size),
                           size);
}
ZopStatus gapless422(const Zop8u* const* src, Zop8u* const* dst, ZopImageSize size) {
  return subsampled<1, P3>(singleRun(size) || gateColour(size), kYuv422, planes<3>(src, size.width),
                           lumaChroma(dst, size), size);
}
ZopStatus gapless420(const Zop8u* src, Zop8u* const* dst, ZopImageSize size) {
  return to420<C3>(kYuv420, Image<const Zop8u>{src, std::ptrdiff_t{3} * size.width}, lumaChroma(dst, size),
                   size);
}
ZopStatus gapless420(const Zop8u* const* src, Zop8u* const* dst, ZopImageSize size) {
  return to420<P3>(kYuv420, planes<3>(src, size.width), lumaChroma(dst, size), size);
}

// To Y0 U Y1 V. Of a last odd pixel there is no V: it goes to a byte that nobody reads.
template <class Layout, class Set, class In>
ZopStatus toPairs(const Set& pair, const Set& pixel, const In& src, Image<Zop8u> dst, ZopImageSize size) {
  const auto& rows = rowsOf(pair);
  forParts<1>(size, [&](const auto& part) {
    constexpr bool kPairs = std::remove_reference_t<decltype(part)>::columns == 2;
    const auto from = imagesOf<Layout>(part, src);
    if constexpr (kPairs) {
      run(gateColour(size), std::is_same_v<Layout, C3> ? rows.c3ToPairs : rows.planesToPairs, pair, from,
          pairsOf(dst), part.units);
    } else {
      Zop8u unread;
      const auto& toPlanes = std::is_same_v<Layout, C3> ? rows.c3ToPlanes : rows.planesToPlanes;
      run(false, toPlanes.ofSize[0][0], pixel, from, oddPixelOf(dst, part.u, Image<Zop8u>{&unread, 0}),
          part.units);
    }
  });
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "color/to_luma_chroma.exports.inc"
