// YCbCr and YUV to RGB, from full resolution, 4:2:2, 4:2:0 and 4:1:1: which rows and numbers serve a form.
#include "color/from_luma_chroma_rows.h"

#include "color/subsampled.h"
#include "zopi/status.h"

namespace zopi {
namespace {

using Rows = FromLumaChromaTable::Rows;
using Set = FromLumaChroma;

// The forms of full resolution.
template <class Layout>
ZopStatus converted(const Set& set, Image<const Zop8u> src, Image<Zop8u> dst, ZopImageSize size) {
  const FromLumaChromaTable& table = fromLumaChromaTable();
  mapPixelImages<Layout, Layout>(gateColour(size), std::is_same_v<Layout, C3> ? table.c3 : table.ac4, src,
                                 dst, size, set);
  return zopStatusOk;
}
ZopStatus converted(const Set& set, Planes<const Zop8u, 3> src, Image<Zop8u> dst, ZopImageSize size) {
  mapPixelImages<P3, C3>(gateColour(size), fromLumaChromaTable().planesToC3.ofSize[0][0], src, dst, size,
                         set);
  return zopStatusOk;
}
ZopStatus converted(const Set& set, Planes<const Zop8u, 3> src, Planes<Zop8u, 3> dst, ZopImageSize size) {
  mapPixelImages<P3, P3>(gateColour(size), fromLumaChromaTable().planesToPlanes.ofSize[0][0], src, dst, size,
                         set);
  return zopStatusOk;
}

// Whether an image is one run of pixels without gaps, always worth a team.
bool isRun(ZopImageSize size, Image<const Zop8u> src, int srcChannels, Image<Zop16u> dst) {
  return src.step == std::ptrdiff_t{srcChannels} * size.width && dst.step == std::ptrdiff_t{2} * size.width;
}

ZopStatus packed(const Set& set, const Packing& packing, Image<const Zop8u> src, Image<Zop16u> dst,
                 ZopImageSize size) {
  dst = inWholeSamples(dst);
  mapPixelImages<C3, C1>(isRun(size, src, 3, dst) || gateColour(size), fromLumaChromaTable().c3ToPacked, src,
                         dst, size, set, packing);
  return zopStatusOk;
}

template <class T, class In, class Out, class RowsOfT, class... P>
void run(bool parallel, RowsOfT rows, const In& from, const Out& to, Extent units, const P&... parameters) {
  walkImages(
      parallel, units,
      [&](const Image<const Zop8u>* in, const Image<T>* out, Extent e) { rows(in, out, e, parameters...); },
      from, to);
}

// What holds for whole units, and for the parts that are left over.
struct Sets {
  const Set &ofUnits, &ofRest;
};

// From planes with subsampled chroma. `Layout` is that of the destination.
template <int kRows, class Layout, class T, class Out, class... P>
ZopStatus upsampled(bool parallel, const FromPlanarRows<T, const P&...>& rows, Sets sets,
                    const LumaChroma<const Zop8u>& src, const Out& dst, ZopImageSize size,
                    const P&... packing) {
  forParts<kRows>(size, [&](const auto& part) {
    constexpr int r = std::remove_reference_t<decltype(part)>::rows - 1,
                  c = std::remove_reference_t<decltype(part)>::columns - 1;
    const bool units = r == kRows - 1 && c == 1;
    run<T>(parallel && units, rows.ofSize[r][c], imagesOf(part, src), imagesOf<Layout>(part, dst), part.units,
           units ? sets.ofUnits : sets.ofRest, packing...);
  });
  return zopStatusOk;
}

ZopStatus from422(const Set& set, const Zop8u* const* src, const int* steps, Image<Zop8u> dst,
                  ZopImageSize size) {
  return upsampled<1, C3>(gateColour(size), fromLumaChromaTable().planesToC3, {set, set},
                          lumaChroma(src, steps), dst, size);
}
ZopStatus from422(const Set& set, const Zop8u* const* src, const int* steps, Planes<Zop8u, 3> dst,
                  ZopImageSize size) {
  return upsampled<1, P3>(gateColour(size), fromLumaChromaTable().planesToPlanes, {set, set},
                          lumaChroma(src, steps), dst, size);
}
ZopStatus from420(bool parallel, const Set& set, const Zop8u* const* src, const int* steps, Image<Zop8u> dst,
                  ZopImageSize size) {
  return upsampled<2, C3>(parallel, fromLumaChromaTable().planesToC3, {set, set}, lumaChroma(src, steps), dst,
                          size);
}
ZopStatus from420(bool parallel, const Set& set, const Zop8u* const* src, const int* steps,
                  Planes<Zop8u, 3> dst, ZopImageSize size) {
  return upsampled<2, P3>(parallel, fromLumaChromaTable().planesToPlanes, {set, set}, lumaChroma(src, steps),
                          dst, size);
}

// Blue first, blocks rounded and the rest not, on the calling thread.
ZopStatus from420ToBgr(const Zop8u* const* src, const int* steps, Image<Zop8u> dst, ZopImageSize size) {
  static constexpr Set kBlocks = blueFirst(kYCbCrRounded), kRest = blueFirst(kYCbCr);
  const auto [y, u, v] = lumaChroma(src, steps);
  return upsampled<2, C3>(false, fromLumaChromaTable().planesToC3, {kBlocks, kRest},
                          LumaChroma<const Zop8u>{y, v, u}, dst, size);
}

// With an alpha of 0, on the calling thread.
template <int kRows>
ZopStatus withoutAlpha(const Set& ofUnits, const Zop8u* const* src, const int* steps, Image<Zop8u> dst,
                       ZopImageSize size) {
  return upsampled<kRows, C4>(false, fromLumaChromaTable().planesToC4, {ofUnits, kYuv},
                              lumaChroma(src, steps), dst, size);
}

ZopStatus from420ToPacked(const Packing& packing, const Zop8u* const* src, const int* steps,
                          Image<Zop16u> dst, ZopImageSize size) {
  if (size.width == 1 || size.height == 1) return zopStatusOk;
  return upsampled<2, C1>(gateBlocks(size), fromLumaChromaTable().planesToPacked, {kYuv, kYuv},
                          lumaChroma(src, steps), inWholeSamples(dst), size, packing);
}

// Without gaps. 4:2:2 of some size and an even width is one run of pixels, always worth a team.
bool singleRun(ZopImageSize size) {
  return std::int64_t{size.width} * size.height >= 256 && size.width % 2 == 0;
}
Image<Zop8u> gaplessOf(Zop8u* dst, ZopImageSize size) { return {dst, std::ptrdiff_t{3} * size.width}; }
Planes<Zop8u, 3> gaplessOf(Zop8u* const* dst, ZopImageSize size) { return planes<3>(dst, size.width); }
const FromPlanarRows<Zop8u>& rowsTo(Zop8u*) { return fromLumaChromaTable().planesToC3; }
const FromPlanarRows<Zop8u>& rowsTo(Zop8u* const*) { return fromLumaChromaTable().planesToPlanes; }

template <int kRows, class Layout, class Out>
ZopStatus gapless(const Zop8u* const* src, Out dst, ZopImageSize size) {
  const bool parallel = kRows == 2 ? gateBlocks(size) : singleRun(size) || gateColour(size);
  return upsampled<kRows, Layout>(parallel, rowsTo(dst), {kYuv, kYuv}, lumaChroma(src, size),
                                  gaplessOf(dst, size), size);
}

// 4:1:1: four pixels of a row share chroma, and so do the one to three that may be left over.
ZopStatus from411ToBgr(const Zop8u* const* src, const int* steps, Image<Zop8u> dst, ZopImageSize size) {
  static constexpr Set kSet = blueFirst(kYCbCrOf411);
  const auto [y, u, v] = lumaChroma(src, steps);
  const int groups = size.width / 4;
  const FromLumaChromaTable& table = fromLumaChromaTable();
  if (groups > 0) {
    run<Zop8u>(false, table.fourfoldToC3, Images<const Zop8u, 4, 1, 1>{{y, v, u}}, Images<Zop8u, 12>{{dst}},
               Extent{groups, size.height}, kSet);
  }
  for (int x = 4 * groups; x < size.width; ++x) {
    const Images<const Zop8u, 1, 1, 1> pixel = {
        {{y.at + x, y.step}, {v.at + groups, v.step}, {u.at + groups, u.step}}};
    run<Zop8u>(false, table.planesToC3.ofSize[0][0], pixel, Images<Zop8u, 3>{{{dst.at + 3 * x, dst.step}}},
               Extent{1, size.height}, kSet);
  }
  return zopStatusOk;
}

// From Y0 U Y1 V. The V of a last odd pixel is that of the pixels before; where there are none, U stands for
// both.
Images<const Zop8u, 1, 1, 1> oddPixelOf(Image<const Zop8u> src, std::ptrdiff_t pairs) {
  const Zop8u* v = src.at + 4 * pairs + (pairs > 0 ? -1 : 1);
  return oddPixelOf(src, pairs, Image<const Zop8u>{v, src.step});
}

template <class Layout, class T, class Out, class... P>
ZopStatus fromPairs(bool parallel, typename FromPlanarRows<T, const P&...>::Rows pairs,
                    typename FromPlanarRows<T, const P&...>::Rows pixels, const Set& set,
                    Image<const Zop8u> src, const Out& dst, ZopImageSize size, const P&... packing) {
  forParts<1>(size, [&](const auto& part) {
    const auto to = imagesOf<Layout>(part, dst);
    if constexpr (std::remove_reference_t<decltype(part)>::columns == 2)
      run<T>(parallel, pairs, pairsOf(src), to, part.units, set, packing...);
    else
      run<T>(false, pixels, oddPixelOf(src, part.u), to, part.units, set, packing...);
  });
  return zopStatusOk;
}

ZopStatus fromPairs(const Set& set, Image<const Zop8u> src, Image<Zop8u> dst, ZopImageSize size) {
  const FromLumaChromaTable& table = fromLumaChromaTable();
  return fromPairs<C3, Zop8u>(gateColour(size), table.pairsToC3, table.planesToC3.ofSize[0][0], set, src, dst,
                              size);
}
ZopStatus fromPairs(const Set& set, Image<const Zop8u> src, Planes<Zop8u, 3> dst, ZopImageSize size) {
  const FromLumaChromaTable& table = fromLumaChromaTable();
  return fromPairs<P3, Zop8u>(gateColour(size), table.pairsToPlanes, table.planesToPlanes.ofSize[0][0], set,
                              src, dst, size);
}

// A width of 1 leaves the packed formats: three bytes a row, R, G and B, at half the step.
ZopStatus pairsToPacked(const Packing& packing, Image<const Zop8u> src, Image<Zop16u> dst,
                        ZopImageSize size) {
  if (size.width == 1) {
    return fromPairs(kYCbCrOf422, src, Image<Zop8u>{reinterpret_cast<Zop8u*>(dst.at), dst.step >> 1}, size);
  }
  dst = inWholeSamples(dst);
  const bool oneRun = size.width % 2 == 0 && isRun(size, src, 2, dst);
  const FromLumaChromaTable& table = fromLumaChromaTable();
  return fromPairs<C1, Zop16u>(oneRun || gateColour(size), table.pairsToPacked,
                               table.planesToPacked.ofSize[0][0], kYCbCrOf422, src, dst, size, packing);
}

}  // namespace
}  // namespace zopi

#include "color/from_luma_chroma.exports.inc"
