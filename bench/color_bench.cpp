// Colour: gamma, twists, gray.
#include <string>

#include "harness.h"

namespace {

using bench::Frame;

constexpr Zop32f kSepia[12] = {0.393f, 0.769f, 0.189f, 0,      0.349f, 0.686f,
                               0.168f, 0,      0.272f, 0.534f, 0.131f, 0};

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

const bool registered = [] {
  addGammaTwistsAndGray();
  return true;
}();

}  // namespace
