// Filters.
#include <string>
#include <type_traits>

#include "harness.h"

namespace {

using bench::Frame;

// `halo` is the mask's radius.
template <class S, class T, class... P>
void addFilter(const std::string& name, int channels, int halo,
               ZopStatus (*function)(const S*, int, T*, int, ZopImageSize, P...),
               std::type_identity_t<P>... p) {
  bench::add(
      name, {channels * static_cast<int>(sizeof(S))}, {channels * static_cast<int>(sizeof(T))},
      [=](const Frame& f) {
        function(f.source<S>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size, p...);
      },
      0, halo);
}

template <class T>
void addBox(const std::string& name, int channels,
            ZopStatus (*function)(const T*, int, T*, int, ZopImageSize, ZopImageSize, ZopImagePoint),
            int mask) {
  const std::string size = std::to_string(mask);
  addFilter(name + "/" + size + "x" + size, channels, mask / 2, function, ZopImageSize{mask, mask},
            ZopImagePoint{mask / 2, mask / 2});
}

const bool registered = [] {
  for (const int mask : {3, 5, 7, 31}) addBox("zopiFilterBox_8u_C1R", 1, zopiFilterBox_8u_C1R, mask);
  for (const int mask : {3, 5, 31}) addBox("zopiFilterBox_8u_C3R", 3, zopiFilterBox_8u_C3R, mask);
  addBox("zopiFilterBox_8u_AC4R", 4, zopiFilterBox_8u_AC4R, 5);
  addBox("zopiFilterBox_16s_C1R", 1, zopiFilterBox_16s_C1R, 5);
  addBox("zopiFilterBox_32f_C1R", 1, zopiFilterBox_32f_C1R, 5);
  addBox("zopiFilterBox_32f_C3R", 3, zopiFilterBox_32f_C3R, 5);
  addFilter("zopiFilterSobelHoriz_8u16s_C1R/3x3", 1, 1, zopiFilterSobelHoriz_8u16s_C1R, 33);
  addFilter("zopiFilterSobelVert_8u16s_C1R/5x5", 1, 2, zopiFilterSobelVert_8u16s_C1R, 55);
  addFilter("zopiFilterSobelHoriz_8u_C1R", 1, 1, zopiFilterSobelHoriz_8u_C1R);
  addFilter("zopiFilterSobelHoriz_16s_C1R", 1, 1, zopiFilterSobelHoriz_16s_C1R);
  addFilter("zopiFilterSobelHoriz_32f_C1R", 1, 1, zopiFilterSobelHoriz_32f_C1R);
  addFilter("zopiFilterSobelVert_32f_C1R", 1, 1, zopiFilterSobelVert_32f_C1R);
  addFilter("zopiFilterScharrHoriz_8u16s_C1R", 1, 1, zopiFilterScharrHoriz_8u16s_C1R);
  addFilter("zopiFilterLaplace_8u16s_C1R/3x3", 1, 1, zopiFilterLaplace_8u16s_C1R, 33);
  addFilter("zopiFilterLaplace_8u_C1R/5x5", 1, 2, zopiFilterLaplace_8u_C1R, 55);
  addFilter("zopiFilterRobertsUp_8u_C1R", 1, 1, zopiFilterRobertsUp_8u_C1R);
  addFilter("zopiFilterGauss_8u_C1R/3x3", 1, 1, zopiFilterGauss_8u_C1R, 33);
  addFilter("zopiFilterGauss_8u_C1R/5x5", 1, 2, zopiFilterGauss_8u_C1R, 55);
  addFilter("zopiFilterGauss_8u_C3R/3x3", 3, 1, zopiFilterGauss_8u_C3R, 33);
  addFilter("zopiFilterGauss_8u_AC4R/3x3", 4, 1, zopiFilterGauss_8u_AC4R, 33);
  addFilter("zopiFilterGauss_16s_C1R/5x5", 1, 2, zopiFilterGauss_16s_C1R, 55);
  addFilter("zopiFilterGauss_32f_C1R/3x3", 1, 1, zopiFilterGauss_32f_C1R, 33);
  addFilter("zopiFilterGauss_32f_C1R/5x5", 1, 2, zopiFilterGauss_32f_C1R, 55);
  addFilter("zopiFilterLowpass_8u_C1R/5x5", 1, 2, zopiFilterLowpass_8u_C1R, 55);
  addFilter("zopiFilterLowpass_32f_C1R/5x5", 1, 2, zopiFilterLowpass_32f_C1R, 55);
  addFilter("zopiFilterSharpen_8u_C1R", 1, 1, zopiFilterSharpen_8u_C1R);
  return true;
}();

}  // namespace
