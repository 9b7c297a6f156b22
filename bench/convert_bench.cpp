// Conversions between sample types.
#include <string>

#include "harness.h"

namespace {

using bench::Frame;

// An image to an image of another type, with any parameters behind the region.
template <class S, class T, class... P>
void addConversion(const std::string& name, int channels,
                   ZopStatus (*function)(const S*, int, T*, int, ZopImageSize, P...), P... p) {
  const int from = channels * static_cast<int>(sizeof(S)), to = channels * static_cast<int>(sizeof(T));
  bench::add(name, {from}, {to}, [=](const Frame& f) {
    function(f.source<S>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size, p...);
  });
}

const bool registered = [] {
  addConversion("zopiConvert_8u16u_C1R", 1, zopiConvert_8u16u_C1R);
  addConversion("zopiConvert_8u32s_C1R", 1, zopiConvert_8u32s_C1R);
  addConversion("zopiConvert_8u32f_C1R", 1, zopiConvert_8u32f_C1R);
  addConversion("zopiConvert_8u32f_C3R", 3, zopiConvert_8u32f_C3R);
  addConversion("zopiConvert_8u32f_AC4R", 4, zopiConvert_8u32f_AC4R);
  addConversion("zopiConvert_16s32f_C1R", 1, zopiConvert_16s32f_C1R);
  addConversion("zopiConvert_16u8u_C1R", 1, zopiConvert_16u8u_C1R);
  addConversion("zopiConvert_16s8u_C1R", 1, zopiConvert_16s8u_C1R);
  addConversion("zopiConvert_32s8u_C1R", 1, zopiConvert_32s8u_C1R);
  addConversion("zopiConvert_32f8u_C1R/round", 1, zopiConvert_32f8u_C1R, 1);
  addConversion("zopiConvert_32f8u_C1R/truncate", 1, zopiConvert_32f8u_C1R, 0);
  addConversion("zopiConvert_32f8u_C3R/round", 3, zopiConvert_32f8u_C3R, 1);
  addConversion("zopiConvert_32f8u_AC4R/round", 4, zopiConvert_32f8u_AC4R, 1);
  addConversion("zopiConvert_32f16s_C1R/round", 1, zopiConvert_32f16s_C1R, 1);
  addConversion("zopiConvert_32f16u_C1R/round", 1, zopiConvert_32f16u_C1R, 1);
  addConversion("zopiScale_8u16u_C1R", 1, zopiScale_8u16u_C1R);
  addConversion("zopiScale_8u32s_C1R", 1, zopiScale_8u32s_C1R);
  addConversion("zopiScale_8u32f_C1R", 1, zopiScale_8u32f_C1R, -0.5f, 1.5f);
  for (const int hint : {0, 2}) {
    const std::string name = hint == 2 ? "/accurate" : "/fast";
    addConversion("zopiScale_16u8u_C1R" + name, 1, zopiScale_16u8u_C1R, hint);
    addConversion("zopiScale_32s8u_C1R" + name, 1, zopiScale_32s8u_C1R, hint);
  }
  addConversion("zopiScale_32f8u_C1R", 1, zopiScale_32f8u_C1R, -1.0f, 257.0f);
  return true;
}();

}  // namespace
