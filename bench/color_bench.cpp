// Colour.
#include <string>

#include "harness.h"

namespace {

using bench::Frame;

template <class T>
void addInterleaved(const std::string& name, int channels,
                    ZopStatus (*function)(const T*, int, T*, int, ZopImageSize)) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {bytes}, {bytes}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size);
  });
}

void addHues() {
  addInterleaved("zopiRGBToHSV_8u_C3R", 3, zopiRGBToHSV_8u_C3R);
  addInterleaved("zopiRGBToHSV_8u_AC4R", 4, zopiRGBToHSV_8u_AC4R);
  addInterleaved("zopiRGBToHSV_16u_C3R", 3, zopiRGBToHSV_16u_C3R);
  addInterleaved("zopiHSVToRGB_8u_C3R", 3, zopiHSVToRGB_8u_C3R);
  addInterleaved("zopiHSVToRGB_16u_C3R", 3, zopiHSVToRGB_16u_C3R);
  addInterleaved("zopiRGBToHLS_8u_C3R", 3, zopiRGBToHLS_8u_C3R);
  addInterleaved("zopiRGBToHLS_16u_C3R", 3, zopiRGBToHLS_16u_C3R);
  addInterleaved("zopiRGBToHLS_32f_C3R", 3, zopiRGBToHLS_32f_C3R);
  addInterleaved("zopiHLSToRGB_8u_C3R", 3, zopiHLSToRGB_8u_C3R);
  addInterleaved("zopiHLSToRGB_32f_C3R", 3, zopiHLSToRGB_32f_C3R);
  bench::add("zopiBGRToHLS_8u_C3P3R", {3}, {1, 1, 1}, [](const Frame& f) {
    Zop8u* const to[3] = {f.destination(0), f.destination(1), f.destination(2)};
    zopiBGRToHLS_8u_C3P3R(f.source(0), f.sourceStep(0), to, f.destinationStep(), f.size);
  });
}

const bool registered = [] {
  addHues();
  return true;
}();

}  // namespace
