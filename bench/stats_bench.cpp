// Statistics.
#include <benchmark/benchmark.h>

#include <array>
#include <string>
#include <tuple>

#include "harness.h"

namespace {

using bench::Frame;

// Functions of one image whose results are arrays.
template <class T, class... R>
void addReduction(const std::string& name, int channels,
                  ZopStatus (*function)(const T*, int, ZopImageSize, R*...)) {
  bench::add(name, {channels * static_cast<int>(sizeof(T))}, {}, [=](const Frame& f) {
    std::tuple<std::array<R, 4>...> results;
    std::apply([&](auto&... r) { function(f.source<T>(0), f.sourceStep(0), f.size, r.data()...); }, results);
    benchmark::DoNotOptimize(results);
  });
}

// The norm of a difference.
template <class T>
void addDifference(const std::string& name, int channels,
                   ZopStatus (*function)(const T*, int, const T*, int, ZopImageSize, Zop64f*)) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {bytes, bytes}, {}, [=](const Frame& f) {
    std::array<Zop64f, 4> norms;
    function(f.source<T>(0), f.sourceStep(0), f.source<T>(1), f.sourceStep(1), f.size, norms.data());
    benchmark::DoNotOptimize(norms);
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
  addReduction("zopiMinMax_8u_C1R", 1, zopiMinMax_8u_C1R);
  addReduction("zopiMinMax_16s_C1R", 1, zopiMinMax_16s_C1R);
  addReduction("zopiMinMax_32f_C1R", 1, zopiMinMax_32f_C1R);
  addReduction("zopiMax_8u_C3R", 3, zopiMax_8u_C3R);
  addReduction("zopiMin_8u_AC4R", 4, zopiMin_8u_AC4R);
  addReduction("zopiMinIndx_8u_C1R", 1, zopiMinIndx_8u_C1R);
  addReduction("zopiMinIndx_16s_C1R", 1, zopiMinIndx_16s_C1R);
  addReduction("zopiMinIndx_32f_C1R", 1, zopiMinIndx_32f_C1R);
  addReduction("zopiNorm_Inf_8u_C1R", 1, zopiNorm_Inf_8u_C1R);
  addReduction("zopiNorm_L1_8u_C1R", 1, zopiNorm_L1_8u_C1R);
  addReduction("zopiNorm_L2_8u_C1R", 1, zopiNorm_L2_8u_C1R);
  addReduction("zopiNorm_L2_16s_C1R", 1, zopiNorm_L2_16s_C1R);
  addReduction("zopiNorm_L2_8u_C3R", 3, zopiNorm_L2_8u_C3R);
  addReduction("zopiNorm_Inf_32f_C1R", 1, zopiNorm_Inf_32f_C1R);
  addReduction("zopiNorm_L1_32f_C1R", 1, zopiNorm_L1_32f_C1R);
  addReduction("zopiNorm_L2_32f_C1R", 1, zopiNorm_L2_32f_C1R);
  addDifference("zopiNormDiff_L1_8u_C1R", 1, zopiNormDiff_L1_8u_C1R);
  addDifference("zopiNormDiff_L2_8u_C1R", 1, zopiNormDiff_L2_8u_C1R);
  addDifference("zopiNormRel_L2_32f_C1R", 1, zopiNormRel_L2_32f_C1R);
  return true;
}();

}  // namespace
