// Test images and noise.
#include <string>

#include "harness.h"

namespace {

using bench::Frame;

template <class T, class... P>
void addImage(const std::string& name, int channels, ZopStatus (*function)(T*, int, ZopImageSize, P...),
              P... parameters) {
  bench::add(name, {}, {channels * static_cast<int>(sizeof(T))}, [=](const Frame& f) {
    function(f.destination<T>(), f.destinationStep(), f.size, parameters...);
  });
}

template <class T>
void addNoise(const std::string& name, int channels, T a, T b,
              ZopStatus (*function)(T*, int, ZopImageSize, T, T, unsigned*)) {
  const int pixelBytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {pixelBytes}, {pixelBytes}, [=](const Frame& f) {
    unsigned seed = 1;
    function(f.destination<T>(), f.destinationStep(), f.size, a, b, &seed);
  });
}

const bool registered = [] {
  addImage<Zop8u>("zopiImageRamp_8u_C1R/axis0", 1, zopiImageRamp_8u_C1R, 0.f, .1f, 0);
  addImage<Zop32f>("zopiImageRamp_32f_C3R/axis2", 3, zopiImageRamp_32f_C3R, 0.f, .1f, 2);
  addImage<Zop8u>("zopiImageJaehne_8u_C1R", 1, zopiImageJaehne_8u_C1R);
  addNoise<Zop8u>("zopiAddRandUniform_Direct_8u_C1IR", 1, 0, 50, zopiAddRandUniform_Direct_8u_C1IR);
  addNoise<Zop32f>("zopiAddRandUniform_Direct_32f_C1IR", 1, -1, 1, zopiAddRandUniform_Direct_32f_C1IR);
  addNoise<Zop8u>("zopiAddRandUniform_Direct_8u_AC4IR", 4, 0, 50, zopiAddRandUniform_Direct_8u_AC4IR);
  addNoise<Zop8u>("zopiAddRandGauss_Direct_8u_C1IR", 1, 0, 20, zopiAddRandGauss_Direct_8u_C1IR);
  return true;
}();

}  // namespace
