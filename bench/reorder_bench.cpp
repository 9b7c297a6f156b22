// Mirrors, channel orders, 4:2:2.
#include <string>

#include "harness.h"

namespace {

using bench::Frame;

constexpr const char* kFlips[] = {"/up-down", "/left-right", "/both"};

template <class T>
void addMirror(const std::string& name, int channels,
               ZopStatus (*function)(const T*, int, T*, int, ZopImageSize, int)) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  for (int flip = 0; flip < 3; ++flip) {
    bench::add(name + kFlips[flip], {bytes}, {bytes}, [=](const Frame& f) {
      function(f.source<T>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size, flip);
    });
  }
}

template <class T>
void addMirrorInPlace(const std::string& name, int channels,
                      ZopStatus (*function)(T*, int, ZopImageSize, int)) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  for (int flip = 0; flip < 3; ++flip) {
    bench::add(name + kFlips[flip], {}, {bytes},
               [=](const Frame& f) { function(f.destination<T>(), f.destinationStep(), f.size, flip); });
  }
}

constexpr Zop32s kReversed[3] = {2, 1, 0};

template <class T>
void addSwap(const std::string& name, int channels,
             ZopStatus (*function)(const T*, int, T*, int, ZopImageSize, const Zop32s*)) {
  const int bytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {bytes}, {bytes}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), f.size, kReversed);
  });
}

const bool registered = [] {
  addMirror("zopiMirror_8u_C1R", 1, zopiMirror_8u_C1R);
  addMirror("zopiMirror_8u_C3R", 3, zopiMirror_8u_C3R);
  addMirror("zopiMirror_8u_C4R", 4, zopiMirror_8u_C4R);
  addMirror("zopiMirror_8u_AC4R", 4, zopiMirror_8u_AC4R);
  addMirror("zopiMirror_16u_C3R", 3, zopiMirror_16u_C3R);
  addMirror("zopiMirror_32s_C1R", 1, zopiMirror_32s_C1R);
  addMirror("zopiMirror_32s_C4R", 4, zopiMirror_32s_C4R);
  addMirrorInPlace("zopiMirror_8u_C1IR", 1, zopiMirror_8u_C1IR);
  addMirrorInPlace("zopiMirror_8u_C3IR", 3, zopiMirror_8u_C3IR);
  addSwap("zopiSwapChannels_8u_C3R", 3, zopiSwapChannels_8u_C3R);
  addSwap("zopiSwapChannels_8u_AC4R", 4, zopiSwapChannels_8u_AC4R);
  addSwap("zopiSwapChannels_16u_C3R", 3, zopiSwapChannels_16u_C3R);
  addSwap("zopiSwapChannels_32f_C3R", 3, zopiSwapChannels_32f_C3R);
  bench::add("zopiSwapChannels_8u_C3IR", {}, {3}, [](const Frame& f) {
    zopiSwapChannels_8u_C3IR(f.destination(), f.destinationStep(), f.size, kReversed);
  });
  // The planes of chroma are the halves of one image.
  bench::add("zopiJoin422_8u_P3C2R", {1, 1}, {2}, [](const Frame& f) {
    const Zop8u* planes[3] = {f.source(0), f.source(1), f.source(1) + f.size.width / 2};
    const int steps[3] = {f.sourceStep(0), f.sourceStep(1), f.sourceStep(1)};
    zopiJoin422_8u_P3C2R(planes, steps, f.destination(), f.destinationStep(), f.size);
  });
  bench::add("zopiSplit422_8u_C2P3R", {2}, {1, 1}, [](const Frame& f) {
    Zop8u* planes[3] = {f.destination(0), f.destination(1), f.destination(1) + f.size.width / 2};
    const int steps[3] = {f.destinationStep(0), f.destinationStep(1), f.destinationStep(1)};
    zopiSplit422_8u_C2P3R(f.source(0), f.sourceStep(0), planes, steps, f.size);
  });
  return true;
}();

}  // namespace
