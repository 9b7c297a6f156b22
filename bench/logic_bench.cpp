// Logic and shifts.
#include <string>

#include "harness.h"

namespace {

using bench::Frame;

template <class T>
void addTwoImages(const std::string& name, int channels,
                  ZopStatus (*function)(const T*, int, const T*, int, T*, int, ZopImageSize)) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {bytes, bytes}, {bytes}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.source<T>(1), f.sourceStep(1), f.destination<T>(),
             f.destinationStep(), f.size);
  });
}

// One constant for each channel: samples, or the counts of a shift.
template <class T, class C>
void addConstants(const std::string& name, int channels,
                  ZopStatus (*function)(const T*, int, const C*, T*, int, ZopImageSize)) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {bytes}, {bytes}, [=](const Frame& f) {
    const C values[4] = {3, 5, 2, 1};
    function(f.source<T>(0), f.sourceStep(0), values, f.destination<T>(), f.destinationStep(), f.size);
  });
}

template <class T, class C>
void addConstant(const std::string& name, ZopStatus (*function)(const T*, int, C, T*, int, ZopImageSize)) {
  bench::add(name, {sizeof(T)}, {sizeof(T)}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), 3, f.destination<T>(), f.destinationStep(), f.size);
  });
}

const bool registered = [] {
  addTwoImages("zopiAnd_8u_C1R", 1, zopiAnd_8u_C1R);
  addTwoImages("zopiXor_8u_C1R", 1, zopiXor_8u_C1R);
  addTwoImages("zopiOr_8u_AC4R", 4, zopiOr_8u_AC4R);
  addTwoImages("zopiAnd_32s_C3R", 3, zopiAnd_32s_C3R);
  addConstant("zopiAndC_8u_C1R", zopiAndC_8u_C1R);
  addConstants("zopiAndC_8u_C3R", 3, zopiAndC_8u_C3R);
  addConstants("zopiXorC_16u_AC4R", 4, zopiXorC_16u_AC4R);
  bench::add("zopiNot_8u_C1R", {1}, {1}, [](const Frame& f) {
    zopiNot_8u_C1R(f.source(0), f.sourceStep(0), f.destination(), f.destinationStep(), f.size);
  });
  addConstant("zopiLShiftC_8u_C1R", zopiLShiftC_8u_C1R);
  addConstant("zopiRShiftC_8s_C1R", zopiRShiftC_8s_C1R);
  addConstant("zopiRShiftC_16u_C1R", zopiRShiftC_16u_C1R);
  addConstants("zopiRShiftC_8u_C3R", 3, zopiRShiftC_8u_C3R);
  addConstants("zopiRShiftC_8s_C4R", 4, zopiRShiftC_8s_C4R);
  addConstants("zopiLShiftC_16u_AC4R", 4, zopiLShiftC_16u_AC4R);
  return true;
}();

}  // namespace
