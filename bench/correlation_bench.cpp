// Correlation.
#include <string>
#include <vector>

#include "harness.h"

namespace {

using bench::Frame;

// Templates and small images without any structure.
template <class T>
const std::vector<T> kSmall = [] {
  std::vector<T> samples;
  for (int i = 0; i < 4 * 64 * 64; ++i) samples.push_back(static_cast<T>(i * 37 % 251));
  return samples;
}();

constexpr ZopImageSize kSize = {640, 480};

template <class S, class T, class... P>
void addMatching(const std::string& name, int channels, int side,
                 ZopStatus (*function)(const S*, int, ZopImageSize, const S*, int, ZopImageSize, T*, int,
                                       P...),
                 std::type_identity_t<P>... p) {
  const std::string variant = "/tpl" + std::to_string(side) + "x" + std::to_string(side);
  const int bytes = channels * static_cast<int>(sizeof(S));
  bench::addAt({kSize}, name + variant, {bytes}, {channels * static_cast<int>(sizeof(T))},
               [=](const Frame& f) {
                 function(f.source<S>(0), f.sourceStep(0), f.size, kSmall<S>.data(), side * bytes,
                          {side, side}, f.destination<T>(), f.destinationStep(), p...);
               });
}

// The destination has room for a full result.
template <class T, class... P>
void addConvolution(const std::string& name, int channels, int side,
                    ZopStatus (*function)(const T*, int, ZopImageSize, const T*, int, ZopImageSize, T*, int,
                                          P...),
                    std::type_identity_t<P>... p) {
  const std::string variant = "/" + std::to_string(side) + "x" + std::to_string(side);
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::addAt(
      {kSize}, name + variant, {bytes}, {bytes},
      [=](const Frame& f) {
        function(f.source<T>(0), f.sourceStep(0), f.size, kSmall<T>.data(), side * bytes, {side, side},
                 f.destination<T>(), f.destinationStep(), p...);
      },
      side / 2);
}

const bool registered = [] {
  addMatching("zopiCrossCorrValid_Norm_8u32f_C1R", 1, 32, zopiCrossCorrValid_Norm_8u32f_C1R);
  addMatching("zopiCrossCorrValid_NormLevel_8u32f_C1R", 1, 32, zopiCrossCorrValid_NormLevel_8u32f_C1R);
  addMatching("zopiSqrDistanceValid_Norm_8u32f_C1R", 1, 32, zopiSqrDistanceValid_Norm_8u32f_C1R);
  addMatching("zopiCrossCorrSame_Norm_8u_C3RSfs", 3, 32, zopiCrossCorrSame_Norm_8u_C3RSfs, -7);
  for (const int side : {5, 9, 16, 64}) {
    addConvolution("zopiConvFull_32f_C1R", 1, side, zopiConvFull_32f_C1R);
    addConvolution("zopiConvValid_32f_C1R", 1, side, zopiConvValid_32f_C1R);
    addConvolution("zopiConvFull_8u_C1R", 1, side, zopiConvFull_8u_C1R, 1000);
  }
  addConvolution("zopiConvFull_8u_C3R", 3, 9, zopiConvFull_8u_C3R, 1000);
  addConvolution("zopiConvFull_32f_C3R", 3, 64, zopiConvFull_32f_C3R);
  return true;
}();

}  // namespace
