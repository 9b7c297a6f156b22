// Arithmetic and logic.
#include <benchmark/benchmark.h>

#include <string>

#include "harness.h"

namespace {

using bench::Frame;

// Functions of two images, of an image and a constant, and of one image, with any parameters behind the
// region.
template <class T, class... P>
void addTwoImages(const std::string& name, int channels,
                  ZopStatus (*function)(const T*, int, const T*, int, T*, int, ZopImageSize, P...), P... p) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {bytes, bytes}, {bytes}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.source<T>(1), f.sourceStep(1), f.destination<T>(),
             f.destinationStep(), f.size, p...);
  });
}

template <class T, class... P>
void addConstant(const std::string& name, T value,
                 ZopStatus (*function)(const T*, int, T, T*, int, ZopImageSize, P...), P... p) {
  bench::add(name, {sizeof(T)}, {sizeof(T)}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), value, f.destination<T>(), f.destinationStep(), f.size, p...);
  });
}

template <class T, class... P>
void addConstants(const std::string& name, int channels,
                  ZopStatus (*function)(const T*, int, const T*, T*, int, ZopImageSize, P...), P... p) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {bytes}, {bytes}, [=](const Frame& f) {
    const T values[4] = {T{3}, T{17}, T{90}, T{1}};
    function(f.source<T>(0), f.sourceStep(0), values, f.destination<T>(), f.destinationStep(), f.size, p...);
  });
}

template <class T, class... P>
void addImage(const std::string& name, int channels,
              ZopStatus (*function)(const T*, int, T*, int, ZopImageSize, P...), P... p) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {bytes}, {bytes}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size, p...);
  });
}

const bool registered = [] {
  for (const int scale : {0, 1, 4, -2}) {
    const std::string s = "/s" + std::to_string(scale);
    addTwoImages("zopiAdd_8u_C1RSfs" + s, 1, zopiAdd_8u_C1RSfs, scale);
    addTwoImages("zopiSub_8u_C1RSfs" + s, 1, zopiSub_8u_C1RSfs, scale);
    addTwoImages("zopiAdd_16s_C1RSfs" + s, 1, zopiAdd_16s_C1RSfs, scale);
    addTwoImages("zopiSub_16s_C1RSfs" + s, 1, zopiSub_16s_C1RSfs, scale);
    addConstant("zopiAddC_8u_C1RSfs" + s, Zop8u{3}, zopiAddC_8u_C1RSfs, scale);
    addConstant("zopiAddC_16s_C1RSfs" + s, Zop16s{3}, zopiAddC_16s_C1RSfs, scale);
    addConstants("zopiAddC_8u_C3RSfs" + s, 3, zopiAddC_8u_C3RSfs, scale);
  }
  for (const int scale : {0, 1}) {
    const std::string s = "/s" + std::to_string(scale);
    addTwoImages("zopiAdd_8u_C3RSfs" + s, 3, zopiAdd_8u_C3RSfs, scale);
    addTwoImages("zopiSub_8u_C3RSfs" + s, 3, zopiSub_8u_C3RSfs, scale);
    addTwoImages("zopiAdd_8u_AC4RSfs" + s, 4, zopiAdd_8u_AC4RSfs, scale);
    addConstants("zopiAddC_8u_C4RSfs" + s, 4, zopiAddC_8u_C4RSfs, scale);
    addConstants("zopiAddC_8u_AC4RSfs" + s, 4, zopiAddC_8u_AC4RSfs, scale);
  }
  for (const int scale : {0, 8}) {
    const std::string s = "/s" + std::to_string(scale);
    addTwoImages("zopiMul_8u_C1RSfs" + s, 1, zopiMul_8u_C1RSfs, scale);
    addTwoImages("zopiMul_8u_C3RSfs" + s, 3, zopiMul_8u_C3RSfs, scale);
    addConstant("zopiMulC_8u_C1RSfs" + s, Zop8u{3}, zopiMulC_8u_C1RSfs, scale);
  }
  addTwoImages("zopiMul_16s_C1RSfs/s12", 1, zopiMul_16s_C1RSfs, 12);
  // One complex form a route: the ladder and the truncating one.
  addTwoImages("zopiMul_16sc_C1RSfs/s12", 1, zopiMul_16sc_C1RSfs, 12);
  addTwoImages("zopiMul_32sc_C1RSfs/s20", 1, zopiMul_32sc_C1RSfs, 20);
  addTwoImages("zopiAdd_16sc_AC4RSfs/s1", 4, zopiAdd_16sc_AC4RSfs, 1);

  addTwoImages("zopiAdd_32f_C1R", 1, zopiAdd_32f_C1R);
  addTwoImages("zopiSub_32f_C1R", 1, zopiSub_32f_C1R);
  addTwoImages("zopiMul_32f_C1R", 1, zopiMul_32f_C1R);
  addTwoImages("zopiAdd_32f_AC4R", 4, zopiAdd_32f_AC4R);
  addConstant("zopiAddC_32f_C1R", 3.0f, zopiAddC_32f_C1R);
  addConstant("zopiMulC_32f_C1R", 3.0f, zopiMulC_32f_C1R);
  addConstants("zopiMulC_32f_C3R", 3, zopiMulC_32f_C3R);
  addTwoImages("zopiAdd_32fc_C1R", 1, zopiAdd_32fc_C1R);
  addTwoImages("zopiMul_32fc_C1R", 1, zopiMul_32fc_C1R);
  addTwoImages("zopiMulScale_8u_C1R", 1, zopiMulScale_8u_C1R);
  addTwoImages("zopiMulScale_16u_C1R", 1, zopiMulScale_16u_C1R);
  addConstants("zopiMulCScale_8u_C3R", 3, zopiMulCScale_8u_C3R);

  addTwoImages("zopiDiv_32f_C1R", 1, zopiDiv_32f_C1R);
  addTwoImages("zopiDiv_32f_AC4R", 4, zopiDiv_32f_AC4R);
  addTwoImages("zopiDiv_32fc_C1R", 1, zopiDiv_32fc_C1R);
  addTwoImages("zopiDiv_8u_C1RSfs/s-4", 1, zopiDiv_8u_C1RSfs, -4);
  addTwoImages("zopiDiv_16s_C1RSfs/s-4", 1, zopiDiv_16s_C1RSfs, -4);
  addTwoImages("zopiDiv_16s_C1RSfs/s-9", 1, zopiDiv_16s_C1RSfs, -9);
  addTwoImages("zopiDiv_16sc_C1RSfs/s-4", 1, zopiDiv_16sc_C1RSfs, -4);
  addConstant("zopiDivC_32f_C1R", 3.0f, zopiDivC_32f_C1R);
  addConstant("zopiDivC_8u_C1RSfs/s0", Zop8u{3}, zopiDivC_8u_C1RSfs, 0);
  addConstants("zopiDivC_8u_C3RSfs/s0", 3, zopiDivC_8u_C3RSfs, 0);
  addConstant("zopiDivC_16s_C1RSfs/s0", Zop16s{3}, zopiDivC_16s_C1RSfs, 0);

  addImage("zopiSqr_8u_C1RSfs/s4", 1, zopiSqr_8u_C1RSfs, 4);
  addImage("zopiSqr_16u_C1RSfs/s8", 1, zopiSqr_16u_C1RSfs, 8);
  addImage("zopiSqr_16s_C1RSfs/s8", 1, zopiSqr_16s_C1RSfs, 8);
  addImage("zopiSqr_32f_C1R", 1, zopiSqr_32f_C1R);
  addImage("zopiSqrt_8u_C1RSfs/s-4", 1, zopiSqrt_8u_C1RSfs, -4);
  addImage("zopiSqrt_8u_AC4RSfs/s-4", 4, zopiSqrt_8u_AC4RSfs, -4);
  addImage("zopiSqrt_16u_C1RSfs/s0", 1, zopiSqrt_16u_C1RSfs, 0);
  addImage("zopiSqrt_16u_C1RSfs/s-8", 1, zopiSqrt_16u_C1RSfs, -8);
  addImage("zopiSqrt_32f_C1R", 1, zopiSqrt_32f_C1R);
  addImage("zopiLn_8u_C1RSfs/s-5", 1, zopiLn_8u_C1RSfs, -5);
  addImage("zopiLn_16s_C1RSfs/s0", 1, zopiLn_16s_C1RSfs, 0);
  addImage("zopiLn_32f_C1R", 1, zopiLn_32f_C1R);
  addImage("zopiExp_8u_C1RSfs/s0", 1, zopiExp_8u_C1RSfs, 0);
  addImage("zopiExp_16s_C1RSfs/s0", 1, zopiExp_16s_C1RSfs, 0);
  addImage("zopiExp_32f_C1R", 1, zopiExp_32f_C1R);
  return true;
}();

}  // namespace
