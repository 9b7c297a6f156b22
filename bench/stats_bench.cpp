// Statistics.
#include <benchmark/benchmark.h>

#include <array>
#include <string>
#include <tuple>
#include <vector>

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

// Histograms of one channel and of several, all with the same levels.
template <class T>
void addEven(const std::string& name,
             ZopStatus (*function)(const T*, int, ZopImageSize, Zop32s*, Zop32s*, int, int, int), int count,
             int lower, int upper) {
  bench::add(name, {static_cast<int>(sizeof(T))}, {}, [=](const Frame& f) {
    std::vector<Zop32s> counts(count), levels(count);
    function(f.source<T>(0), f.sourceStep(0), f.size, counts.data(), levels.data(), count, lower, upper);
    benchmark::DoNotOptimize(counts.data());
  });
}
template <class T, class L>
void addRange(const std::string& name,
              ZopStatus (*function)(const T*, int, ZopImageSize, Zop32s*, const L*, int),
              std::vector<L> levels) {
  bench::add(name, {static_cast<int>(sizeof(T))}, {}, [=](const Frame& f) {
    std::vector<Zop32s> counts(levels.size());
    function(f.source<T>(0), f.sourceStep(0), f.size, counts.data(), levels.data(),
             static_cast<int>(levels.size()));
    benchmark::DoNotOptimize(counts.data());
  });
}
template <class T, int kColours>
void addEvenOfColours(const std::string& name, int channels,
                      ZopStatus (*function)(const T*, int, ZopImageSize, Zop32s* const[kColours],
                                            Zop32s* const[kColours], const int[kColours], const int[kColours],
                                            const int[kColours]),
                      int count, int lower, int upper) {
  bench::add(name, {channels * static_cast<int>(sizeof(T))}, {}, [=](const Frame& f) {
    std::vector<Zop32s> counts(count), levels(count);
    std::array<Zop32s*, kColours> allCounts, allLevels;
    std::array<int, kColours> allOfCount, allLower, allUpper;
    allCounts.fill(counts.data());
    allLevels.fill(levels.data());
    allOfCount.fill(count);
    allLower.fill(lower);
    allUpper.fill(upper);
    function(f.source<T>(0), f.sourceStep(0), f.size, allCounts.data(), allLevels.data(), allOfCount.data(),
             allLower.data(), allUpper.data());
    benchmark::DoNotOptimize(counts.data());
  });
}

template <class T>
void addMoments(const std::string& name, int channels, ZopStatus (*init)(ZopMomentState**, unsigned),
                ZopStatus (*function)(const T*, int, ZopImageSize, ZopMomentState*)) {
  ZopMomentState* state = nullptr;
  init(&state, 0);
  bench::add(name, {channels * static_cast<int>(sizeof(T))}, {},
             [=](const Frame& f) { function(f.source<T>(0), f.sourceStep(0), f.size, state); });
}

template <class L>
std::vector<L> levelsBetween(L lower, L upper, int count) {
  std::vector<L> result;
  for (int k = 0; k < count; ++k)
    result.push_back(lower + (upper - lower) * static_cast<L>(k) / static_cast<L>(count - 1));
  return result;
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
  addEven("zopiHistogramEven_8u_C1R/256", zopiHistogramEven_8u_C1R, 257, 0, 256);
  addEvenOfColours<Zop8u, 3>("zopiHistogramEven_8u_C3R/256", 3, zopiHistogramEven_8u_C3R, 257, 0, 256);
  addEvenOfColours<Zop8u, 3>("zopiHistogramEven_8u_AC4R/256", 4, zopiHistogramEven_8u_AC4R, 257, 0, 256);
  addEven("zopiHistogramEven_16s_C1R/16", zopiHistogramEven_16s_C1R, 17, -32768, 32768);
  addEven("zopiHistogramEven_16s_C1R/1024", zopiHistogramEven_16s_C1R, 1025, -32768, 32768);
  addRange("zopiHistogramRange_16s_C1R/6levels", zopiHistogramRange_16s_C1R, levelsBetween(-30000, 30000, 6));
  addRange("zopiHistogramRange_16s_C1R/300levels", zopiHistogramRange_16s_C1R,
           levelsBetween(-30000, 30000, 300));
  addEvenOfColours<Zop16s, 3>("zopiHistogramEven_16s_C3R/16", 3, zopiHistogramEven_16s_C3R, 17, -32768,
                              32768);
  addRange("zopiHistogramRange_32f_C1R/16levels", zopiHistogramRange_32f_C1R,
           levelsBetween(0.0f, 256.0f, 16));
  addRange("zopiHistogramRange_32f_C1R/300levels", zopiHistogramRange_32f_C1R,
           levelsBetween(0.0f, 256.0f, 300));
  addMoments("zopiMoments64f_8u_C1R", 1, zopiMomentInitAlloc_64f, zopiMoments64f_8u_C1R);
  addMoments("zopiMoments64f_8u_C3R", 3, zopiMomentInitAlloc_64f, zopiMoments64f_8u_C3R);
  addMoments("zopiMoments64f_32f_C1R", 1, zopiMomentInitAlloc_64f, zopiMoments64f_32f_C1R);
  addMoments("zopiMoments64f_32f_C3R", 3, zopiMomentInitAlloc_64f, zopiMoments64f_32f_C3R);
  return true;
}();

}  // namespace
