// Comparisons and thresholds.
#include <string>

#include "harness.h"

namespace {

using bench::Frame;

template <class T, class How>
void addImages(const std::string& name, int channels,
               ZopStatus (*function)(const T*, int, const T*, int, Zop8u*, int, ZopImageSize, How), How how) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {bytes, bytes}, {1}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.source<T>(1), f.sourceStep(1), f.destination(),
             f.destinationStep(), f.size, how);
  });
}

template <class T>
void addConstants(const std::string& name, int channels,
                  ZopStatus (*function)(const T*, int, const T*, Zop8u*, int, ZopImageSize, int), int cmpOp) {
  bench::add(name, {channels * static_cast<int>(sizeof(T))}, {1}, [=](const Frame& f) {
    const T values[4] = {T{3}, T{17}, T{90}, T{1}};
    function(f.source<T>(0), f.sourceStep(0), values, f.destination(), f.destinationStep(), f.size, cmpOp);
  });
}

template <class T>
void addClamp(const std::string& name, ZopStatus (*function)(const T*, int, T*, int, ZopImageSize, T)) {
  bench::add(name, {sizeof(T)}, {sizeof(T)}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size, T{90});
  });
}

template <class T>
void addReplace(const std::string& name, ZopStatus (*function)(const T*, int, T*, int, ZopImageSize, T, T)) {
  bench::add(name, {sizeof(T)}, {sizeof(T)}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size, T{90}, T{17});
  });
}

template <class T>
void addReplaces(const std::string& name, int channels,
                 ZopStatus (*function)(const T*, int, T*, int, ZopImageSize, const T*, const T*)) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {bytes}, {bytes}, [=](const Frame& f) {
    const T thresholds[4] = {T{3}, T{17}, T{90}, T{1}}, values[4] = {T{1}, T{2}, T{3}, T{4}};
    function(f.source<T>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size, thresholds,
             values);
  });
}

template <class T>
void addOutside(const std::string& name,
                ZopStatus (*function)(const T*, int, T*, int, ZopImageSize, T, T, T, T)) {
  bench::add(name, {sizeof(T)}, {sizeof(T)}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size, T{30}, T{0},
             T{90}, T{100});
  });
}

const bool registered = [] {
  addImages<Zop8u, int>("zopiCompare_8u_C1R/gt", 1, zopiCompare_8u_C1R, zopCmpGreater);
  addImages<Zop8u, int>("zopiCompare_8u_C3R/gt", 3, zopiCompare_8u_C3R, zopCmpGreater);
  addImages<Zop8u, int>("zopiCompare_8u_AC4R/gt", 4, zopiCompare_8u_AC4R, zopCmpGreater);
  addImages<Zop16s, int>("zopiCompare_16s_C1R/gt", 1, zopiCompare_16s_C1R, zopCmpGreater);
  addImages<Zop32f, int>("zopiCompare_32f_C1R/gt", 1, zopiCompare_32f_C1R, zopCmpGreater);
  addImages<Zop32f, int>("zopiCompare_32f_C3R/gt", 3, zopiCompare_32f_C3R, zopCmpGreater);
  addImages<Zop32f, int>("zopiCompare_32f_C1R/eq", 1, zopiCompare_32f_C1R, zopCmpEq);
  addImages<Zop32f, Zop32f>("zopiCompareEqualEps_32f_C1R", 1, zopiCompareEqualEps_32f_C1R, 1.0f);
  addConstants<Zop8u>("zopiCompareC_8u_C3R/ge", 3, zopiCompareC_8u_C3R, zopCmpGreaterEq);
  addConstants<Zop32f>("zopiCompareC_32f_C4R/le", 4, zopiCompareC_32f_C4R, zopCmpLessEq);
  addClamp("zopiThreshold_GT_8u_C1R", zopiThreshold_GT_8u_C1R);
  addClamp("zopiThreshold_GT_16s_C1R", zopiThreshold_GT_16s_C1R);
  addClamp("zopiThreshold_GT_32f_C1R", zopiThreshold_GT_32f_C1R);
  addReplace("zopiThreshold_LTVal_8u_C1R", zopiThreshold_LTVal_8u_C1R);
  addReplace("zopiThreshold_LTVal_16s_C1R", zopiThreshold_LTVal_16s_C1R);
  addReplace("zopiThreshold_LTVal_32f_C1R", zopiThreshold_LTVal_32f_C1R);
  addReplaces("zopiThreshold_GTVal_8u_C3R", 3, zopiThreshold_GTVal_8u_C3R);
  addReplaces("zopiThreshold_GTVal_8u_AC4R", 4, zopiThreshold_GTVal_8u_AC4R);
  addOutside("zopiThreshold_LTValGTVal_8u_C1R", zopiThreshold_LTValGTVal_8u_C1R);
  addOutside("zopiThreshold_LTValGTVal_32f_C1R", zopiThreshold_LTValGTVal_32f_C1R);
  return true;
}();

}  // namespace
