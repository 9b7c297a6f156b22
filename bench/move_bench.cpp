// Copies, fills and borders.
#include <string>

#include "harness.h"

namespace {

using bench::Call;
using bench::Frame;

template <class T>
void addCopy(const std::string& name, int from, int to,
             ZopStatus (*function)(const T*, int, T*, int, ZopImageSize)) {
  const int bytes = sizeof(T);
  bench::add(name, {from * bytes}, {to * bytes}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size);
  });
}

template <class T>
void addPlanar(const std::string& type, ZopStatus (*split)(const T*, int, T* const*, int, ZopImageSize),
               ZopStatus (*join)(const T* const*, int, T*, int, ZopImageSize), int channels) {
  const int bytes = sizeof(T);
  const std::string c = std::to_string(channels);
  bench::add("zopiCopy_" + type + "_C" + c + "P" + c + "R", {channels * bytes},
             std::vector<bench::PixelBytes>(channels, bytes), [=](const Frame& f) {
               T* planes[4];
               for (int p = 0; p < channels; ++p) planes[p] = f.destination<T>(p);
               split(f.source<T>(0), f.sourceStep(0), planes, f.destinationStep(), f.size);
             });
  bench::add("zopiCopy_" + type + "_P" + c + "C" + c + "R", std::vector<bench::PixelBytes>(channels, bytes),
             {channels * bytes}, [=](const Frame& f) {
               const T* planes[4];
               for (int p = 0; p < channels; ++p) planes[p] = f.source<T>(p);
               join(planes, f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size);
             });
}

template <class T>
void addMasked(const std::string& name, int channels,
               ZopStatus (*function)(const T*, int, T*, int, ZopImageSize, const Zop8u*, int)) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {bytes, 1}, {bytes}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size, f.source(1),
             f.sourceStep(1));
  });
}

template <class T>
void addFill(const std::string& name, int channels, ZopStatus (*function)(const T*, T*, int, ZopImageSize)) {
  bench::add(name, {}, {channels * static_cast<int>(sizeof(T))}, [=](const Frame& f) {
    const T values[4] = {T{3}, T{17}, T{90}, T{1}};
    function(values, f.destination<T>(), f.destinationStep(), f.size);
  });
}

constexpr int kBorder = 8;

template <class T>
void addReplicate(const std::string& name, int channels,
                  ZopStatus (*function)(const T*, int, ZopImageSize, T*, int, ZopImageSize, int, int)) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  const Call call = [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.size, f.destination<T>(), f.destinationStep(),
             f.sizeWithBorder, kBorder, kBorder);
  };
  bench::add(name + "/8px", {bytes}, {bytes}, call, kBorder);
}

const bool registered = [] {
  addCopy("zopiCopy_8u_C1R", 1, 1, zopiCopy_8u_C1R);
  addCopy("zopiCopy_8u_C3R", 3, 3, zopiCopy_8u_C3R);
  addCopy("zopiCopy_8u_AC4R", 4, 4, zopiCopy_8u_AC4R);
  addCopy("zopiCopy_8u_AC4C3R", 4, 3, zopiCopy_8u_AC4C3R);
  addCopy("zopiCopy_8u_C3AC4R", 3, 4, zopiCopy_8u_C3AC4R);
  addCopy("zopiCopy_8u_C3C1R", 3, 1, zopiCopy_8u_C3C1R);
  addCopy("zopiCopy_16s_C3R", 3, 3, zopiCopy_16s_C3R);
  addCopy("zopiCopy_32f_C1R", 1, 1, zopiCopy_32f_C1R);
  addMasked("zopiCopy_8u_C1MR", 1, zopiCopy_8u_C1MR);
  addMasked("zopiCopy_8u_C3MR", 3, zopiCopy_8u_C3MR);
  addMasked("zopiCopy_32f_C1MR", 1, zopiCopy_32f_C1MR);
  addPlanar("8u", zopiCopy_8u_C3P3R, zopiCopy_8u_P3C3R, 3);
  addPlanar("8u", zopiCopy_8u_C4P4R, zopiCopy_8u_P4C4R, 4);
  addPlanar("16s", zopiCopy_16s_C3P3R, zopiCopy_16s_P3C3R, 3);
  addPlanar("32f", zopiCopy_32f_C3P3R, zopiCopy_32f_P3C3R, 3);
  bench::add("zopiSet_8u_C1R", {}, {1},
             [](const Frame& f) { zopiSet_8u_C1R(9, f.destination(), f.destinationStep(), f.size); });
  addFill("zopiSet_8u_C3R", 3, zopiSet_8u_C3R);
  addFill("zopiSet_8u_AC4R", 4, zopiSet_8u_AC4R);
  addFill("zopiSet_32f_C3R", 3, zopiSet_32f_C3R);
  addReplicate("zopiCopyReplicateBorder_8u_C1R", 1, zopiCopyReplicateBorder_8u_C1R);
  addReplicate("zopiCopyReplicateBorder_8u_C3R", 3, zopiCopyReplicateBorder_8u_C3R);
  addReplicate("zopiCopyReplicateBorder_8u_AC4R", 4, zopiCopyReplicateBorder_8u_AC4R);
  addReplicate("zopiCopyReplicateBorder_32s_C1R", 1, zopiCopyReplicateBorder_32s_C1R);
  const Call border = [](const Frame& f) {
    zopiCopyConstBorder_8u_C1R(f.source(0), f.sourceStep(0), f.size, f.destination(), f.destinationStep(),
                               f.sizeWithBorder, kBorder, kBorder, 9);
  };
  bench::add("zopiCopyConstBorder_8u_C1R/8px", {1}, {1}, border, kBorder);
  return true;
}();

}  // namespace
