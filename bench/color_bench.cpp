// Luma and chroma.
#include <string>

#include "harness.h"

namespace {

using bench::Frame;

using Interleaved = ZopStatus (*)(const Zop8u*, int, Zop8u*, int, ZopImageSize);

void addInterleaved(const std::string& name, int sourceBytes, int destinationBytes, Interleaved function) {
  bench::add(name, {sourceBytes}, {destinationBytes}, [=](const Frame& f) {
    function(f.source(0), f.sourceStep(0), f.destination(), f.destinationStep(), f.size);
  });
}

void addPacked(const std::string& name, int sourceBytes,
               ZopStatus (*function)(const Zop8u*, int, Zop16u*, int, ZopImageSize)) {
  bench::add(name, {sourceBytes}, {2}, [=](const Frame& f) {
    function(f.source(0), f.sourceStep(0), f.destination<Zop16u>(), f.destinationStep(), f.size);
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
  addInterleaved("zopiRGBToYCbCr_8u_C3R", 3, 3, zopiRGBToYCbCr_8u_C3R);
  addInterleaved("zopiYCbCrToRGB_8u_C3R", 3, 3, zopiYCbCrToRGB_8u_C3R);
  addInterleaved("zopiYCbCrToRGB_8u_AC4R", 4, 4, zopiYCbCrToRGB_8u_AC4R);
  addInterleaved("zopiRGBToYCbCr422_8u_C3C2R", 3, 2, zopiRGBToYCbCr422_8u_C3C2R);
  addInterleaved("zopiYCbCr422ToRGB_8u_C2C3R", 2, 3, zopiYCbCr422ToRGB_8u_C2C3R);
  addInterleaved("zopiRGBToYUV_8u_C3R", 3, 3, zopiRGBToYUV_8u_C3R);
  addInterleaved("zopiYUVToRGB_8u_C3R", 3, 3, zopiYUVToRGB_8u_C3R);
  addPacked("zopiYCbCrToRGB565_8u16u_C3R", 3, zopiYCbCrToRGB565_8u16u_C3R);
  addPacked("zopiYCbCr422ToBGR555_8u16u_C2C3R", 2, zopiYCbCr422ToBGR555_8u16u_C2C3R);
  addToPlanes("zopiRGBToYUV420_8u_C3P3R", zopiRGBToYUV420_8u_C3P3R);
  addToPlanes("zopiRGBToYCbCr420_8u_C3P3R", zopiRGBToYCbCr420_8u_C3P3R);
  addFromPlanes("zopiYUV420ToRGB_8u_P3C3R", 3, zopiYUV420ToRGB_8u_P3C3R);
  addFromPlanes("zopiYCbCr420ToBGR_8u_P3C3R", 3, zopiYCbCr420ToBGR_8u_P3C3R);
  addFromPlanes("zopiYUV420ToRGB565_8u16u_P3C3R", 2, zopiYUV420ToRGB565_8u16u_P3C3R);
}

const bool registered = [] {
  addLumaChroma();
  return true;
}();

}  // namespace
