// Statistics.
#include <benchmark/benchmark.h>

#include <string>

#include "harness.h"

namespace {

using bench::Frame;

// Functions of one image whose results are arrays.
template <class T, class... R>
void addReduction(const std::string& name, int channels,
                  ZopStatus (*function)(const T*, int, ZopImageSize, R*...)) {
  bench::add(name, {channels * static_cast<int>(sizeof(T))}, {}, [=](const Frame& f) {
    static double results[sizeof...(R)][4];
    int next = 0;
    function(f.source<T>(0), f.sourceStep(0), f.size, reinterpret_cast<R*>(results[next++])...);
    benchmark::DoNotOptimize(results);
  });
}

const bool registered = [] {
  addReduction("zopiSum_8u_C1R", 1, zopiSum_8u_C1R);
  addReduction("zopiSum_8u_C3R", 3, zopiSum_8u_C3R);
  addReduction("zopiSum_8u_AC4R", 4, zopiSum_8u_AC4R);
  addReduction("zopiSum_16s_C1R", 1, zopiSum_16s_C1R);
  addReduction("zopiSum_32f_C1R", 1, zopiSum_32f_C1R);
  addReduction("zopiSum_32f_C3R", 3, zopiSum_32f_C3R);
  addReduction("zopiMean_8u_C1R", 1, zopiMean_8u_C1R);
  addReduction("zopiMean_8u_C3R", 3, zopiMean_8u_C3R);
  addReduction("zopiMean_32f_C1R", 1, zopiMean_32f_C1R);
  return true;
}();

}  // namespace
