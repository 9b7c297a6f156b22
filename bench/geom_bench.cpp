// Geometry. The sizes are those of the source.
#include <string>

#include "harness.h"

namespace {

using bench::Frame;

template <class T>
using Resize = ZopStatus (*)(const T*, ZopImageSize, int, ZopImageRect, T*, int, ZopImageSize, Zop64f, Zop64f,
                             int);

template <class T>
void addResize(const std::string& name, int channels, Resize<T> function, const char* way, double factor,
               int interpolation) {
  const int pixelBytes = channels * static_cast<int>(sizeof(T));
  bench::add(
      name + "/" + way, {pixelBytes}, {pixelBytes},
      [=](const Frame& f) {
        function(f.source<T>(0), f.size, f.sourceStep(0), {0, 0, f.size.width, f.size.height},
                 f.destination<T>(), f.destinationStep(), f.sizeWithBorder, factor, factor, interpolation);
      },
      0, 0, factor);
}

template <class T>
void addResizes(const std::string& name, int channels, Resize<T> function) {
  addResize(name, channels, function, "nearest2x", 2, zopInterNearest);
  addResize(name, channels, function, "linear0.5x", 0.5, zopInterLinear);
  addResize(name, channels, function, "linear1.5x", 1.5, zopInterLinear);
  addResize(name, channels, function, "cubic1.5x", 1.5, zopInterCubic);
  addResize(name, channels, function, "super0.4x", 0.4, zopInterSuper);
}

const bool registered = [] {
  addResizes("zopiResize_8u_C1R", 1, zopiResize_8u_C1R);
  addResizes("zopiResize_8u_C3R", 3, zopiResize_8u_C3R);
  addResizes("zopiResize_8u_C4R", 4, zopiResize_8u_C4R);
  addResizes("zopiResize_8u_AC4R", 4, zopiResize_8u_AC4R);
  addResizes("zopiResize_16u_C1R", 1, zopiResize_16u_C1R);
  addResizes("zopiResize_32f_C1R", 1, zopiResize_32f_C1R);
  addResizes("zopiResize_32f_C3R", 3, zopiResize_32f_C3R);
  return true;
}();

}  // namespace
