// Luma and chroma, hue, gamma, twists and gray.
#include <string>
#include <vector>

#include "harness.h"

namespace {

using bench::Frame;

template <class T, class... P>
void addMap(const std::string& name, int channels, int channelsOut,
            ZopStatus (*function)(const T*, int, T*, int, ZopImageSize, P...), P... parameters) {
  const int bytes = static_cast<int>(sizeof(T));
  bench::add(name, {channels * bytes}, {channelsOut * bytes}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size, parameters...);
  });
}

template <class T, class... P>
void addMapInPlace(const std::string& name, int channels, ZopStatus (*function)(T*, int, ZopImageSize, P...),
                   P... parameters) {
  bench::add(name, {}, {channels * static_cast<int>(sizeof(T))}, [=](const Frame& f) {
    function(f.destination<T>(), f.destinationStep(), f.size, parameters...);
  });
}

void addPacked(const std::string& name, int sourceBytes,
               ZopStatus (*function)(const Zop8u*, int, Zop16u*, int, ZopImageSize)) {
  bench::add(name, {sourceBytes}, {2}, [=](const Frame& f) {
    function(f.source(0), f.sourceStep(0), f.destination<Zop16u>(), f.destinationStep(), f.size);
  });
}

// Curves of `count` points between two levels, the same for all channels.
template <class T, class L>
void addCurve(const std::string& name,
              ZopStatus (*function)(const T*, int, T*, int, ZopImageSize, const L*, const L*, int), L lower,
              L upper, int count) {
  std::vector<L> levels, values;
  for (int k = 0; k < count; ++k) {
    levels.push_back(lower + (upper - lower) / static_cast<L>(count - 1) * static_cast<L>(k));
    values.push_back(upper - levels.back());
  }
  const int bytes = static_cast<int>(sizeof(T));
  bench::add(name, {bytes}, {bytes}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size, values.data(),
             levels.data(), count);
  });
}
template <class T, int kColours>
void addCurves(const std::string& name, int channels,
               ZopStatus (*function)(const T*, int, T*, int, ZopImageSize, const Zop32s* const[kColours],
                                     const Zop32s* const[kColours], const int[kColours])) {
  static const Zop32s levels[4] = {-30000, 0, 128, 30000}, values[4] = {30000, 255, 64, 0};
  static const Zop32s* const allLevels[4] = {levels, levels, levels, levels};
  static const Zop32s* const allValues[4] = {values, values, values, values};
  static const int counts[4] = {4, 4, 4, 4};
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {bytes}, {bytes}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size, allValues,
             allLevels, counts);
  });
}

// A plane of luma, and the two of chroma of 4:2:0 in the rows of one image, in turn.
template <class T>
struct Subsampled {
  T* planes[3];
  int steps[3];
  Subsampled(T* luma, int lumaStep, T* chroma, int chromaStep)
      : planes{luma, chroma, chroma + chromaStep}, steps{lumaStep, 2 * chromaStep, 2 * chromaStep} {}
};

void addToPlanes(const std::string& name,
                 ZopStatus (*function)(const Zop8u*, int, Zop8u* const*, const int*, ZopImageSize)) {
  bench::add(name, {3}, {1, 0.5}, [=](const Frame& f) {
    const Subsampled<Zop8u> to(f.destination(0), f.destinationStep(0), f.destination(1),
                               f.destinationStep(1));
    function(f.source(0), f.sourceStep(0), to.planes, to.steps, f.size);
  });
}

template <class T>
void addFromPlanes(const std::string& name, int destinationBytes,
                   ZopStatus (*function)(const Zop8u* const*, const int*, T*, int, ZopImageSize)) {
  bench::add(name, {1, 0.5}, {destinationBytes}, [=](const Frame& f) {
    const Subsampled<const Zop8u> from(f.source(0), f.sourceStep(0), f.source(1), f.sourceStep(1));
    function(from.planes, from.steps, f.destination<T>(), f.destinationStep(), f.size);
  });
}

void addLumaChroma() {
  addMap("zopiRGBToYCbCr_8u_C3R", 3, 3, zopiRGBToYCbCr_8u_C3R);
  addMap("zopiYCbCrToRGB_8u_C3R", 3, 3, zopiYCbCrToRGB_8u_C3R);
  addMap("zopiYCbCrToRGB_8u_AC4R", 4, 4, zopiYCbCrToRGB_8u_AC4R);
  addMap("zopiRGBToYCbCr422_8u_C3C2R", 3, 2, zopiRGBToYCbCr422_8u_C3C2R);
  addMap("zopiYCbCr422ToRGB_8u_C2C3R", 2, 3, zopiYCbCr422ToRGB_8u_C2C3R);
  addMap("zopiRGBToYUV_8u_C3R", 3, 3, zopiRGBToYUV_8u_C3R);
  addMap("zopiYUVToRGB_8u_C3R", 3, 3, zopiYUVToRGB_8u_C3R);
  addPacked("zopiYCbCrToRGB565_8u16u_C3R", 3, zopiYCbCrToRGB565_8u16u_C3R);
  addPacked("zopiYCbCr422ToBGR555_8u16u_C2C3R", 2, zopiYCbCr422ToBGR555_8u16u_C2C3R);
  addToPlanes("zopiRGBToYUV420_8u_C3P3R", zopiRGBToYUV420_8u_C3P3R);
  addToPlanes("zopiRGBToYCbCr420_8u_C3P3R", zopiRGBToYCbCr420_8u_C3P3R);
  addFromPlanes("zopiYUV420ToRGB_8u_P3C3R", 3, zopiYUV420ToRGB_8u_P3C3R);
  addFromPlanes("zopiYCbCr420ToBGR_8u_P3C3R", 3, zopiYCbCr420ToBGR_8u_P3C3R);
  addFromPlanes("zopiYUV420ToRGB565_8u16u_P3C3R", 2, zopiYUV420ToRGB565_8u16u_P3C3R);
}

constexpr Zop32f kSepia[12] = {0.393f, 0.769f, 0.189f, 0,      0.349f, 0.686f,
                               0.168f, 0,      0.272f, 0.534f, 0.131f, 0};

void addGammaTwistsAndGray() {
  addMap("zopiGammaFwd_8u_C3R", 3, 3, zopiGammaFwd_8u_C3R);
  addMap("zopiGammaFwd_8u_AC4R", 4, 4, zopiGammaFwd_8u_AC4R);
  addMapInPlace("zopiGammaInv_8u_C3IR", 3, zopiGammaInv_8u_C3IR);
  addMap("zopiGammaFwd_16u_C3R", 3, 3, zopiGammaFwd_16u_C3R);
  addMap("zopiGammaFwd_16u_AC4R", 4, 4, zopiGammaFwd_16u_AC4R);
  addMap("zopiGammaFwd_32f_C3R", 3, 3, zopiGammaFwd_32f_C3R, 0.0f, 256.0f);
  addMap("zopiGammaInv_32f_C3R", 3, 3, zopiGammaInv_32f_C3R, 0.0f, 256.0f);
  addMap("zopiColorTwist32f_8u_C3R", 3, 3, zopiColorTwist32f_8u_C3R, &kSepia[0]);
  addMap("zopiColorTwist32f_8u_AC4R", 4, 4, zopiColorTwist32f_8u_AC4R, &kSepia[0]);
  addMapInPlace("zopiColorTwist32f_8u_C3IR", 3, zopiColorTwist32f_8u_C3IR, &kSepia[0]);
  addMap("zopiColorTwist32f_16u_C3R", 3, 3, zopiColorTwist32f_16u_C3R, &kSepia[0]);
  addMap("zopiColorTwist32f_16s_C3R", 3, 3, zopiColorTwist32f_16s_C3R, &kSepia[0]);
  addMap("zopiColorTwist_32f_C3R", 3, 3, zopiColorTwist_32f_C3R, &kSepia[0]);
  addMap("zopiColorTwist_32f_AC4R", 4, 4, zopiColorTwist_32f_AC4R, &kSepia[0]);
  addMap("zopiRGBToGray_8u_C3C1R", 3, 1, zopiRGBToGray_8u_C3C1R);
  addMap("zopiRGBToGray_8u_AC4C1R", 4, 1, zopiRGBToGray_8u_AC4C1R);
  addMap("zopiRGBToGray_16u_C3C1R", 3, 1, zopiRGBToGray_16u_C3C1R);
  addMap("zopiRGBToGray_16s_AC4C1R", 4, 1, zopiRGBToGray_16s_AC4C1R);
  addMap("zopiRGBToGray_32f_C3C1R", 3, 1, zopiRGBToGray_32f_C3C1R);
}

void addHues() {
  addMap("zopiRGBToHSV_8u_C3R", 3, 3, zopiRGBToHSV_8u_C3R);
  addMap("zopiRGBToHSV_8u_AC4R", 4, 4, zopiRGBToHSV_8u_AC4R);
  addMap("zopiRGBToHSV_16u_C3R", 3, 3, zopiRGBToHSV_16u_C3R);
  addMap("zopiHSVToRGB_8u_C3R", 3, 3, zopiHSVToRGB_8u_C3R);
  addMap("zopiHSVToRGB_16u_C3R", 3, 3, zopiHSVToRGB_16u_C3R);
  addMap("zopiRGBToHLS_8u_C3R", 3, 3, zopiRGBToHLS_8u_C3R);
  addMap("zopiRGBToHLS_16u_C3R", 3, 3, zopiRGBToHLS_16u_C3R);
  addMap("zopiRGBToHLS_32f_C3R", 3, 3, zopiRGBToHLS_32f_C3R);
  addMap("zopiHLSToRGB_8u_C3R", 3, 3, zopiHLSToRGB_8u_C3R);
  addMap("zopiHLSToRGB_32f_C3R", 3, 3, zopiHLSToRGB_32f_C3R);
  bench::add("zopiBGRToHLS_8u_C3P3R", {3}, {1, 1, 1}, [](const Frame& f) {
    Zop8u* const to[3] = {f.destination(0), f.destination(1), f.destination(2)};
    zopiBGRToHLS_8u_C3P3R(f.source(0), f.sourceStep(0), to, f.destinationStep(), f.size);
  });
}

// To four levels.
template <class S, class T>
void addDither(const std::string& name, int channels,
               ZopStatus (*function)(const S*, int, T*, int, ZopImageSize, int, int, int), int noise,
               int dither) {
  bench::add(name, {channels * static_cast<int>(sizeof(S))}, {channels * static_cast<int>(sizeof(T))},
             [=](const Frame& f) {
               function(f.source<S>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size,
                        noise, dither, 4);
             });
}

const bool registered = [] {
  addLumaChroma();
  addHues();
  addGammaTwistsAndGray();
  addCurve("zopiLUT_8u_C1R/257levels", zopiLUT_8u_C1R, 0, 256, 257);
  addCurve("zopiLUT_Linear_8u_C1R/5levels", zopiLUT_Linear_8u_C1R, 0, 256, 5);
  addCurve("zopiLUT_Cubic_8u_C1R/5levels", zopiLUT_Cubic_8u_C1R, 0, 256, 5);
  addCurves<Zop8u, 3>("zopiLUT_8u_C3R/4levels", 3, zopiLUT_8u_C3R);
  addCurves<Zop8u, 4>("zopiLUT_8u_C4R/4levels", 4, zopiLUT_8u_C4R);
  addCurves<Zop8u, 3>("zopiLUT_8u_AC4R/4levels", 4, zopiLUT_8u_AC4R);
  addCurve("zopiLUT_16s_C1R/17levels", zopiLUT_16s_C1R, -30000, 30000, 17);
  addCurve("zopiLUT_Linear_16s_C1R/17levels", zopiLUT_Linear_16s_C1R, -30000, 30000, 17);
  addCurve("zopiLUT_Cubic_16s_C1R/17levels", zopiLUT_Cubic_16s_C1R, -30000, 30000, 17);
  addCurves<Zop16s, 3>("zopiLUT_16s_C3R/4levels", 3, zopiLUT_16s_C3R);
  addCurve("zopiLUT_32f_C1R/17levels", zopiLUT_32f_C1R, 0.0f, 256.0f, 17);
  addCurve("zopiLUT_Linear_32f_C1R/17levels", zopiLUT_Linear_32f_C1R, 0.0f, 256.0f, 17);
  addCurve("zopiLUT_Cubic_32f_C1R/17levels", zopiLUT_Cubic_32f_C1R, 0.0f, 256.0f, 17);
  addDither<Zop8u, Zop8u>("zopiReduceBits_8u_C1R/Bayer", 1, zopiReduceBits_8u_C1R, 0, zopDitherBayer);
  addDither<Zop8u, Zop8u>("zopiReduceBits_8u_C1R/Bayer-noise", 1, zopiReduceBits_8u_C1R, 20, zopDitherBayer);
  addDither<Zop8u, Zop8u>("zopiReduceBits_8u_C1R/FS", 1, zopiReduceBits_8u_C1R, 0, zopDitherFS);
  addDither<Zop8u, Zop8u>("zopiReduceBits_8u_C3R/Stucki", 3, zopiReduceBits_8u_C3R, 0, zopDitherStucki);
  addDither<Zop16u, Zop8u>("zopiReduceBits_16u8u_C1R/Bayer", 1, zopiReduceBits_16u8u_C1R, 0, zopDitherBayer);
  return true;
}();

}  // namespace
