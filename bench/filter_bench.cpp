// Filters.
#include <string>
#include <type_traits>
#include <vector>

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

// The 5x5 ellipse.
constexpr Zop8u kEllipse[25] = {0, 0, 1, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 1, 0, 0};
const std::vector<Zop8u> kFull(31 * 31, 1);

template <class T>
void addMorphology(const std::string& name, int channels,
                   ZopStatus (*function)(const T*, int, T*, int, ZopImageSize, const Zop8u*, ZopImageSize,
                                         ZopImagePoint),
                   const std::string& element, const Zop8u* mask, int size) {
  addFilter(name + "/" + element, channels, size / 2, function, mask, ZopImageSize{size, size},
            ZopImagePoint{size / 2, size / 2});
}

// Kernels without any structure, and one of halves and quarters, whose sums are exact.
const std::vector<Zop32s> kIntegers = [] {
  std::vector<Zop32s> kernel;
  for (int i = 0; i < 31 * 31; ++i) kernel.push_back(i * 7 % 23 - 5);
  return kernel;
}();
const std::vector<Zop32f> kFloats = [] {
  std::vector<Zop32f> kernel;
  for (int i = 0; i < 31 * 31; ++i) kernel.push_back(0.1f + 0.013f * static_cast<float>(i * 7 % 23));
  return kernel;
}();
const std::vector<Zop32f> kQuarters = [] {
  std::vector<Zop32f> kernel;
  for (int i = 0; i < 31 * 31; ++i) kernel.push_back(0.25f * static_cast<float>(i * 7 % 23));
  return kernel;
}();

// A kernel, its size and its anchor, and a divisor where there is one.
template <class T, class K, class... Divisor>
void addGeneral(const std::string& name, int channels,
                ZopStatus (*function)(const T*, int, T*, int, ZopImageSize, const K*, ZopImageSize,
                                      ZopImagePoint, Divisor...),
                const std::vector<K>& kernel, int size, std::type_identity_t<Divisor>... divisor) {
  const std::string text = std::to_string(size);
  addFilter(name + "/" + text + "x" + text, channels, size / 2, function, kernel.data(),
            ZopImageSize{size, size}, ZopImagePoint{size / 2, size / 2}, divisor...);
}

// Rows into an image that has the halo of the columns, then the columns.
void addRowAndColumn(int size) {
  const std::string text = std::to_string(size);
  const int radius = size / 2;
  bench::add(
      "zopiFilterRow+Column_32f_C1R/" + text + "x" + text, {4}, {4},
      [=](const Frame& f) {
        thread_local std::vector<Zop32f> between;
        const int rows = f.size.height + 2 * radius, step = f.size.width * 4;
        between.resize(static_cast<std::size_t>(f.size.width) * rows);
        const auto* above = reinterpret_cast<const Zop32f*>(
            f.source(0) - static_cast<std::ptrdiff_t>(radius) * f.sourceStep(0));
        zopiFilterRow_32f_C1R(above, f.sourceStep(0), between.data(), step, {f.size.width, rows},
                              kFloats.data(), size, radius);
        zopiFilterColumn_32f_C1R(between.data() + static_cast<std::ptrdiff_t>(radius) * f.size.width, step,
                                 f.destination<Zop32f>(), f.destinationStep(), f.size, kFloats.data(), size,
                                 radius);
      },
      0, radius);
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
  addFilter("zopiErode3x3_8u_C1R", 1, 1, zopiErode3x3_8u_C1R);
  addFilter("zopiErode3x3_8u_C3R", 3, 1, zopiErode3x3_8u_C3R);
  addFilter("zopiErode3x3_8u_AC4R", 4, 1, zopiErode3x3_8u_AC4R);
  addFilter("zopiErode3x3_32f_C1R", 1, 1, zopiErode3x3_32f_C1R);
  addMorphology("zopiDilate_8u_C1R", 1, zopiDilate_8u_C1R, "5x5-ellipse", kEllipse, 5);
  addMorphology("zopiDilate_8u_C3R", 3, zopiDilate_8u_C3R, "5x5-ellipse", kEllipse, 5);
  addMorphology("zopiDilate_32f_C1R", 1, zopiDilate_32f_C1R, "5x5-ellipse", kEllipse, 5);
  addMorphology("zopiDilate_8u_C1R", 1, zopiDilate_8u_C1R, "31x31", kFull.data(), 31);
  for (const int size : {3, 5, 7, 15, 31}) {
    addGeneral("zopiFilter_8u_C1R", 1, zopiFilter_8u_C1R, kIntegers, size, 121);
    addGeneral("zopiFilter32f_8u_C1R", 1, zopiFilter32f_8u_C1R, kFloats, size);
    addGeneral("zopiFilter_32f_C1R", 1, zopiFilter_32f_C1R, kFloats, size);
  }
  addGeneral("zopiFilter_8u_C3R", 3, zopiFilter_8u_C3R, kIntegers, 5, 121);
  addGeneral("zopiFilter_8u_AC4R", 4, zopiFilter_8u_AC4R, kIntegers, 5, 121);
  addGeneral("zopiFilter_16s_C1R", 1, zopiFilter_16s_C1R, kIntegers, 5, 121);
  addGeneral("zopiFilter32f_16s_C1R/quarters", 1, zopiFilter32f_16s_C1R, kQuarters, 5);
  addFilter("zopiFilterRow_8u_C1R/9", 1, 4, zopiFilterRow_8u_C1R, kIntegers.data(), 9, 4, 121);
  addFilter("zopiFilterRow_32f_C1R/9", 1, 4, zopiFilterRow_32f_C1R, kFloats.data(), 9, 4);
  addFilter("zopiFilterColumn_32f_C1R/9", 1, 4, zopiFilterColumn_32f_C1R, kFloats.data(), 9, 4);
  addRowAndColumn(9);
  return true;
}();

}  // namespace
