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
void addSquare(const std::string& name, int channels,
               ZopStatus (*function)(const T*, int, T*, int, ZopImageSize, ZopImageSize, ZopImagePoint),
               int mask) {
  const std::string size = std::to_string(mask);
  addFilter(name + "/" + size + "x" + size, channels, mask / 2, function, ZopImageSize{mask, mask},
            ZopImagePoint{mask / 2, mask / 2});
}

const bool registered = [] {
  for (const int mask : {3, 5, 7, 31}) addSquare("zopiFilterBox_8u_C1R", 1, zopiFilterBox_8u_C1R, mask);
  for (const int mask : {3, 5, 31}) addSquare("zopiFilterBox_8u_C3R", 3, zopiFilterBox_8u_C3R, mask);
  addSquare("zopiFilterBox_8u_AC4R", 4, zopiFilterBox_8u_AC4R, 5);
  addSquare("zopiFilterBox_16s_C1R", 1, zopiFilterBox_16s_C1R, 5);
  addSquare("zopiFilterBox_32f_C1R", 1, zopiFilterBox_32f_C1R, 5);
  addSquare("zopiFilterBox_32f_C3R", 3, zopiFilterBox_32f_C3R, 5);
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
  for (const int mask : {3, 5, 7, 11, 21, 51})
    addSquare("zopiFilterMedian_8u_C1R", 1, zopiFilterMedian_8u_C1R, mask);
  for (const int mask : {3, 5}) addSquare("zopiFilterMedian_8u_C3R", 3, zopiFilterMedian_8u_C3R, mask);
  addSquare("zopiFilterMedian_8u_AC4R", 4, zopiFilterMedian_8u_AC4R, 3);
  for (const int mask : {3, 5, 7}) addSquare("zopiFilterMedian_16s_C1R", 1, zopiFilterMedian_16s_C1R, mask);
  addFilter("zopiFilterMedianHoriz_8u_C1R/51", 1, 2, zopiFilterMedianHoriz_8u_C1R, 51);
  addFilter("zopiFilterMedianVert_8u_C1R/15", 1, 2, zopiFilterMedianVert_8u_C1R, 15);
  addFilter("zopiFilterMedianCross_8u_C1R/55", 1, 2, zopiFilterMedianCross_8u_C1R, 55);
  addFilter("zopiFilterMedianColor_8u_C3R/3x3", 3, 1, zopiFilterMedianColor_8u_C3R, 33);
  addFilter("zopiFilterMedianColor_8u_C3R/5x5", 3, 2, zopiFilterMedianColor_8u_C3R, 55);
  addFilter("zopiFilterMedianColor_32f_C3R/3x3", 3, 1, zopiFilterMedianColor_32f_C3R, 33);
  for (const int mask : {3, 5, 7, 15, 31}) addSquare("zopiFilterMin_8u_C1R", 1, zopiFilterMin_8u_C1R, mask);
  for (const int mask : {3, 7}) addSquare("zopiFilterMax_8u_C3R", 3, zopiFilterMax_8u_C3R, mask);
  addSquare("zopiFilterMin_16s_C1R", 1, zopiFilterMin_16s_C1R, 7);
  for (const int mask : {3, 7}) addSquare("zopiFilterMin_32f_C1R", 1, zopiFilterMin_32f_C1R, mask);
  return true;
}();

}  // namespace
