// Alpha composition.
#include <string>

#include "harness.h"

namespace {

using bench::Frame;

template <class T>
using Composition = ZopStatus (*)(const T*, int, const T*, int, T*, int, ZopImageSize, int);

template <class T>
void addComposition(const std::string& name, int channels, Composition<T> function, int type) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {bytes, bytes}, {bytes}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.source<T>(1), f.sourceStep(1), f.destination<T>(),
             f.destinationStep(), f.size, type);
  });
}

template <class T>
void addConstants(const std::string& name, int channels,
                  ZopStatus (*function)(const T*, int, T, const T*, int, T, T*, int, ZopImageSize, int)) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {bytes, bytes}, {bytes}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), T{100}, f.source<T>(1), f.sourceStep(1), T{200},
             f.destination<T>(), f.destinationStep(), f.size, zopAlphaOver);
  });
}

template <class T>
void addPremultiplication(const std::string& name,
                          ZopStatus (*function)(const T*, int, T*, int, ZopImageSize)) {
  const int bytes = 4 * static_cast<int>(sizeof(T));
  bench::add(name, {bytes}, {bytes}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size);
  });
}

void addPlanes() {
  bench::add("zopiAlphaComp_8u_AP4R/OverPremul", std::vector<bench::PixelBytes>(8, 1),
             std::vector<bench::PixelBytes>(4, 1), [](const Frame& f) {
               const Zop8u *a[4], *b[4];
               Zop8u* out[4];
               for (int c = 0; c < 4; ++c) {
                 a[c] = f.source(c);
                 b[c] = f.source(4 + c);
                 out[c] = f.destination(c);
               }
               zopiAlphaComp_8u_AP4R(a, f.sourceStep(0), b, f.sourceStep(4), out, f.destinationStep(), f.size,
                                     zopAlphaOverPremul);
             });
  bench::add("zopiAlphaPremul_8u_AP4R", std::vector<bench::PixelBytes>(4, 1),
             std::vector<bench::PixelBytes>(4, 1), [](const Frame& f) {
               const Zop8u* from[4];
               Zop8u* to[4];
               for (int c = 0; c < 4; ++c) {
                 from[c] = f.source(c);
                 to[c] = f.destination(c);
               }
               zopiAlphaPremul_8u_AP4R(from, f.sourceStep(0), to, f.destinationStep(), f.size);
             });
}

const bool registered = [] {
  const std::pair<const char*, int> types[] = {{"Over", zopAlphaOver},
                                               {"ATop", zopAlphaATop},
                                               {"Xor", zopAlphaXor},
                                               {"OverPremul", zopAlphaOverPremul}};
  for (const auto& [name, type] : types) {
    addComposition("zopiAlphaComp_8u_AC4R/" + std::string(name), 4, zopiAlphaComp_8u_AC4R, type);
  }
  addComposition("zopiAlphaComp_16u_AC4R/Over", 4, zopiAlphaComp_16u_AC4R, zopAlphaOver);
  addComposition("zopiAlphaComp_16u_AC4R/OverPremul", 4, zopiAlphaComp_16u_AC4R, zopAlphaOverPremul);
  addComposition("zopiAlphaComp_8u_AC1R/Over", 1, zopiAlphaComp_8u_AC1R, zopAlphaOver);
  addConstants("zopiAlphaCompC_8u_C3R/Over", 3, zopiAlphaCompC_8u_C3R);
  addConstants("zopiAlphaCompC_8u_AC4R/Over", 4, zopiAlphaCompC_8u_AC4R);
  addPremultiplication("zopiAlphaPremul_8u_AC4R", zopiAlphaPremul_8u_AC4R);
  addPremultiplication("zopiAlphaPremul_16u_AC4R", zopiAlphaPremul_16u_AC4R);
  addPlanes();
  return true;
}();

}  // namespace
