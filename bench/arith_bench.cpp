// Arithmetic and logic.
#include <benchmark/benchmark.h>

#include <string>

#include "harness.h"

namespace {

using bench::Frame;

template <class T>
using TwoImages = ZopStatus (*)(const T*, int, const T*, int, T*, int, ZopImageSize, int);

template <class T>
void addTwoImages(const std::string& name, int channels, TwoImages<T> function, int scale) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name + "/s" + std::to_string(scale), {bytes, bytes}, {bytes}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.source<T>(1), f.sourceStep(1), f.destination<T>(),
             f.destinationStep(), f.size, scale);
  });
}

template <class T>
void addConstant(const std::string& name, ZopStatus (*function)(const T*, int, T, T*, int, ZopImageSize, int),
                 int scale) {
  bench::add(name + "/s" + std::to_string(scale), {sizeof(T)}, {sizeof(T)}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), T{3}, f.destination<T>(), f.destinationStep(), f.size, scale);
  });
}

template <class T>
void addConstants(const std::string& name, int channels,
                  ZopStatus (*function)(const T*, int, const T*, T*, int, ZopImageSize, int), int scale) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name + "/s" + std::to_string(scale), {bytes}, {bytes}, [=](const Frame& f) {
    const T values[4] = {T{3}, T{17}, T{90}, T{1}};
    function(f.source<T>(0), f.sourceStep(0), values, f.destination<T>(), f.destinationStep(), f.size, scale);
  });
}

// One complex form a route: the ladder and the truncating one.
void addComplex() {
  bench::add("zopiMul_16sc_C1RSfs/s12", {4, 4}, {4}, [](const Frame& f) {
    zopiMul_16sc_C1RSfs(f.source<Zop16sc>(0), f.sourceStep(0), f.source<Zop16sc>(1), f.sourceStep(1),
                        f.destination<Zop16sc>(), f.destinationStep(), f.size, 12);
  });
  bench::add("zopiMul_32sc_C1RSfs/s20", {8, 8}, {8}, [](const Frame& f) {
    zopiMul_32sc_C1RSfs(f.source<Zop32sc>(0), f.sourceStep(0), f.source<Zop32sc>(1), f.sourceStep(1),
                        f.destination<Zop32sc>(), f.destinationStep(), f.size, 20);
  });
  bench::add("zopiAdd_16sc_AC4RSfs/s1", {16, 16}, {16}, [](const Frame& f) {
    zopiAdd_16sc_AC4RSfs(f.source<Zop16sc>(0), f.sourceStep(0), f.source<Zop16sc>(1), f.sourceStep(1),
                         f.destination<Zop16sc>(), f.destinationStep(), f.size, 1);
  });
}

const bool registered = [] {
  for (const int scale : {0, 1, 4, -2}) {
    addTwoImages("zopiAdd_8u_C1RSfs", 1, zopiAdd_8u_C1RSfs, scale);
    addTwoImages("zopiSub_8u_C1RSfs", 1, zopiSub_8u_C1RSfs, scale);
    addTwoImages("zopiAdd_16s_C1RSfs", 1, zopiAdd_16s_C1RSfs, scale);
    addTwoImages("zopiSub_16s_C1RSfs", 1, zopiSub_16s_C1RSfs, scale);
    addConstant("zopiAddC_8u_C1RSfs", zopiAddC_8u_C1RSfs, scale);
    addConstant("zopiAddC_16s_C1RSfs", zopiAddC_16s_C1RSfs, scale);
    addConstants("zopiAddC_8u_C3RSfs", 3, zopiAddC_8u_C3RSfs, scale);
  }
  for (const int scale : {0, 1}) {
    addTwoImages("zopiAdd_8u_C3RSfs", 3, zopiAdd_8u_C3RSfs, scale);
    addTwoImages("zopiSub_8u_C3RSfs", 3, zopiSub_8u_C3RSfs, scale);
    addTwoImages("zopiAdd_8u_AC4RSfs", 4, zopiAdd_8u_AC4RSfs, scale);
    addConstants("zopiAddC_8u_C4RSfs", 4, zopiAddC_8u_C4RSfs, scale);
    addConstants("zopiAddC_8u_AC4RSfs", 4, zopiAddC_8u_AC4RSfs, scale);
  }
  for (const int scale : {0, 8}) {
    addTwoImages("zopiMul_8u_C1RSfs", 1, zopiMul_8u_C1RSfs, scale);
    addTwoImages("zopiMul_8u_C3RSfs", 3, zopiMul_8u_C3RSfs, scale);
    addConstant("zopiMulC_8u_C1RSfs", zopiMulC_8u_C1RSfs, scale);
  }
  addTwoImages("zopiMul_16s_C1RSfs", 1, zopiMul_16s_C1RSfs, 12);
  addComplex();
  return true;
}();

}  // namespace
