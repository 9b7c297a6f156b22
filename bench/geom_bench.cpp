// Geometry. The sizes are those of the source.
#include <algorithm>
#include <cmath>
#include <map>
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

// Warps turn the picture by 20 degrees about its middle, into a destination of its size.
constexpr double kAngle = 20;

template <class T>
using WarpAffine = ZopStatus (*)(const T*, ZopImageSize, int, ZopImageRect, T*, int, ZopImageRect,
                                 const Zop64f[2][3], int);

template <class T>
void addWarp(const std::string& name, int channels, WarpAffine<T> function, const char* way,
             int interpolation) {
  const int pixelBytes = channels * static_cast<int>(sizeof(T));
  bench::add(name + "/20deg-" + way, {pixelBytes}, {pixelBytes}, [=](const Frame& f) {
    const double t = kAngle * 3.14159265358979323846 / 180, c = std::cos(t), s = std::sin(t);
    double xShift, yShift;
    zopiGetRotateShift((f.size.width - 1) / 2.0, (f.size.height - 1) / 2.0, kAngle, &xShift, &yShift);
    const double coeffs[2][3] = {{c, s, xShift}, {-s, c, yShift}};
    const ZopImageRect all = {0, 0, f.size.width, f.size.height};
    function(f.source<T>(0), f.size, f.sourceStep(0), all, f.destination<T>(), f.destinationStep(), all,
             coeffs, interpolation);
  });
}
template <class T>
void addWarps(const std::string& name, int channels, WarpAffine<T> function) {
  addWarp(name, channels, function, "nearest", zopInterNearest);
  addWarp(name, channels, function, "linear", zopInterLinear);
  addWarp(name, channels, function, "cubic", zopInterCubic);
}

// The corners move inwards by up to a tenth, each by another part.
void addPerspective() {
  bench::add("zopiWarpPerspective_8u_C1R/linear", {1}, {1}, [](const Frame& f) {
    const auto [w, h] = f.size;
    const double quad[4][2] = {
        {0.05 * w, 0.02 * h}, {0.9 * w, 0.06 * h}, {0.98 * w, 0.95 * h}, {0.01 * w, 0.9 * h}};
    double coeffs[3][3];
    const ZopImageRect all = {0, 0, w, h};
    zopiGetPerspectiveTransform(all, quad, coeffs);
    zopiWarpPerspective_8u_C1R(f.source(0), f.size, f.sourceStep(0), all, f.destination(),
                               f.destinationStep(), all, coeffs, zopInterLinear);
  });
}
void addBilinear() {
  bench::add("zopiWarpBilinear_8u_C1R/linear", {1}, {1}, [](const Frame& f) {
    const auto [w, h] = f.size;
    const double quad[4][2] = {
        {0.05 * w, 0.02 * h}, {0.9 * w, 0.06 * h}, {0.98 * w, 0.95 * h}, {0.01 * w, 0.9 * h}};
    double coeffs[2][4];
    const ZopImageRect all = {0, 0, w, h};
    zopiGetBilinearTransform(all, quad, coeffs);
    zopiWarpBilinear_8u_C1R(f.source(0), f.size, f.sourceStep(0), all, f.destination(), f.destinationStep(),
                            all, coeffs, zopInterLinear);
  });
}

// Maps of a smooth swirl. They count as sources.
void addRemap() {
  bench::add("zopiRemap_8u_C1R/linear", {1, 4, 4}, {1}, [](const Frame& f) {
    static std::map<const void*, bool> filled;
    const auto [w, h] = f.size;
    auto* const xMap = const_cast<float*>(f.source<float>(1));
    auto* const yMap = const_cast<float*>(f.source<float>(2));
    if (!filled[xMap]) {
      filled[xMap] = true;
      for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
          const auto at = [&](float* map, int step) {
            return reinterpret_cast<float*>(reinterpret_cast<char*>(map) + std::ptrdiff_t{y} * step) + x;
          };
          *at(xMap, f.sourceStep(1)) =
              static_cast<float>(std::clamp(x + 3 * std::sin(y * 0.05), 0.0, w - 1.0));
          *at(yMap, f.sourceStep(2)) =
              static_cast<float>(std::clamp(y + 3 * std::cos(x * 0.05), 0.0, h - 1.0));
        }
      }
    }
    zopiRemap_8u_C1R(f.source(0), f.size, f.sourceStep(0), {0, 0, w, h}, xMap, f.sourceStep(1), yMap,
                     f.sourceStep(2), f.destination(), f.destinationStep(), f.size, zopInterLinear);
  });
}

template <class T>
using Rotate = ZopStatus (*)(const T*, ZopImageSize, int, ZopImageRect, T*, int, ZopImageRect, Zop64f, Zop64f,
                             Zop64f, int);

// The destination has the source's memory, with rows and columns exchanged.
template <class T>
void addRotate(const std::string& name, int channels, Rotate<T> function) {
  const int pixelBytes = channels * static_cast<int>(sizeof(T));
  bench::add(name + "/90", {pixelBytes}, {pixelBytes}, [=](const Frame& f) {
    const auto [w, h] = f.size;
    function(f.source<T>(0), f.size, f.sourceStep(0), {0, 0, w, h}, f.destination<T>(), h * pixelBytes,
             {0, 0, h, w}, 90, 0, w - 1, zopInterNearest);
  });
}

const bool registered = [] {
  addResizes("zopiResize_8u_C1R", 1, zopiResize_8u_C1R);
  addResizes("zopiResize_8u_C3R", 3, zopiResize_8u_C3R);
  addResizes("zopiResize_8u_C4R", 4, zopiResize_8u_C4R);
  addResizes("zopiResize_8u_AC4R", 4, zopiResize_8u_AC4R);
  addResizes("zopiResize_16u_C1R", 1, zopiResize_16u_C1R);
  addResizes("zopiResize_32f_C1R", 1, zopiResize_32f_C1R);
  addResizes("zopiResize_32f_C3R", 3, zopiResize_32f_C3R);
  addWarps("zopiWarpAffine_8u_C1R", 1, zopiWarpAffine_8u_C1R);
  addWarps("zopiWarpAffine_8u_C3R", 3, zopiWarpAffine_8u_C3R);
  addWarps("zopiWarpAffine_32f_C1R", 1, zopiWarpAffine_32f_C1R);
  addPerspective();
  addBilinear();
  addRemap();
  addRotate("zopiRotate_8u_C1R", 1, zopiRotate_8u_C1R);
  addRotate("zopiRotate_8u_C3R", 3, zopiRotate_8u_C3R);
  addRotate("zopiRotate_8u_C4R", 4, zopiRotate_8u_C4R);
  addRotate("zopiRotate_32f_C4R", 4, zopiRotate_32f_C4R);
  return true;
}();

}  // namespace
