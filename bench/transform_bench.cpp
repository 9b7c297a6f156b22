// Transforms.
#include <map>
#include <string>
#include <vector>

#include "harness.h"

namespace {

using bench::Frame;

// Contexts live as long as the program.
template <class Spec>
Spec* newContext(ZopStatus (*init)(Spec**, int, int, int, unsigned), int order) {
  Spec* spec = nullptr;
  init(&spec, order, order, ZOP_FFT_DIV_INV_BY_N, 0);
  return spec;
}

template <class T, class Spec>
void addFourier(const std::string& name, int channels, int order,
                ZopStatus (*init)(Spec**, int, int, int, unsigned),
                ZopStatus (*function)(const T*, int, T*, int, const Spec*, Zop8u*)) {
  const int side = 1 << order, pixelBytes = channels * static_cast<int>(sizeof(T));
  bench::addAt({{side, side}}, name, {pixelBytes}, {pixelBytes}, [=](const Frame& f) {
    static std::map<int, Spec*> specs;
    Spec*& spec = specs[order];
    if (spec == nullptr) spec = newContext(init, order);
    function(f.source<T>(0), f.sourceStep(0), f.destination<T>(), f.destinationStep(), spec, nullptr);
  });
}

template <class T, class... P>
void addProduct(const std::string& name, int channels,
                ZopStatus (*function)(const T*, int, const T*, int, T*, int, ZopImageSize, P...),
                P... parameters) {
  const int pixelBytes = channels * static_cast<int>(sizeof(T));
  bench::add(name, {pixelBytes, pixelBytes}, {pixelBytes}, [=](const Frame& f) {
    function(f.source<T>(0), f.sourceStep(0), f.source<T>(1), f.sourceStep(1), f.destination<T>(),
             f.destinationStep(), f.size, parameters...);
  });
}

// Every whole block of an image, from and to blocks that follow each other.
template <class Function>
void addBlocks(const std::string& name, Function function) {
  bench::add(name + "/blocks", {2}, {2}, [=](const Frame& f) {
    const int blocks = f.size.width * f.size.height / 64;
    for (int i = 0; i < blocks; ++i) function(f.source<Zop16s>(0) + 64 * i, f.destination<Zop16s>() + 64 * i);
  });
}

// The filters of nine and seven taps of JPEG 2000: only their lengths matter here.
void addWavelet() {
  static constexpr Zop32f kLow[] = {.0267f, -.0169f, -.0782f, .2669f, .6029f,
                                    .2669f, -.0782f, -.0169f, .0267f};
  static constexpr Zop32f kHigh[] = {.0456f, -.0288f, -.2956f, .5575f, -.2956f, -.0288f, .0456f};
  constexpr int kBorder = 5;
  // Frames have no borders: the transform takes their middle.
  const auto inner = [](const Frame& f) {
    return ZopImageSize{f.size.width / 2 - kBorder, f.size.height / 2 - kBorder};
  };
  const auto at = [](auto* data, int step, int x, int y) {
    return data + static_cast<std::ptrdiff_t>(y) * (step / static_cast<int>(sizeof *data)) + x;
  };
  bench::add("zopiWTFwd_32f_C1R/9-7", {4}, {4}, [=](const Frame& f) {
    static ZopWTFwdState_32f_C1R* state = nullptr;
    static std::vector<Zop8u> buffer(1 << 14);
    if (state == nullptr) zopiWTFwdInitAlloc_32f_C1R(&state, kLow, 9, 4, kHigh, 7, 3);
    const auto [w, h] = inner(f);
    Zop32f* const out = f.destination<Zop32f>();
    const int step = f.destinationStep();
    zopiWTFwd_32f_C1R(at(f.source<Zop32f>(0), f.sourceStep(0), kBorder, kBorder), f.sourceStep(0), out, step,
                      at(out, step, 0, h), step, at(out, step, w, 0), step, at(out, step, w, h), step, {w, h},
                      state, buffer.data());
  });
  bench::add("zopiWTInv_32f_C1R/9-7", {4}, {4}, [=](const Frame& f) {
    static ZopWTInvState_32f_C1R* state = nullptr;
    static std::vector<Zop8u> buffer(1 << 14);
    if (state == nullptr) zopiWTInvInitAlloc_32f_C1R(&state, kHigh, 7, 3, kLow, 9, 4);
    const auto [w, h] = inner(f);
    const Zop32f* const src = at(f.source<Zop32f>(0), f.sourceStep(0), kBorder, kBorder);
    const int step = f.sourceStep(0);
    zopiWTInv_32f_C1R(src, step, src, step, src, step, src, step, {w, h}, f.destination<Zop32f>(),
                      f.destinationStep(), state, buffer.data());
  });
}

const bool registered = [] {
  for (const int order : {6, 8, 9, 10}) {
    addFourier("zopiFFTFwd_RToPack_32f_C1R", 1, order, zopiFFTInitAlloc_R_32f, zopiFFTFwd_RToPack_32f_C1R);
    addFourier("zopiFFTInv_PackToR_32f_C1R", 1, order, zopiFFTInitAlloc_R_32f, zopiFFTInv_PackToR_32f_C1R);
    addFourier("zopiFFTFwd_CToC_32fc_C1R", 1, order, zopiFFTInitAlloc_C_32fc, zopiFFTFwd_CToC_32fc_C1R);
  }
  addFourier("zopiFFTFwd_RToPack_32f_C3R", 3, 9, zopiFFTInitAlloc_R_32f, zopiFFTFwd_RToPack_32f_C3R);
  addBlocks("zopiDCT8x8Fwd_16s_C1", zopiDCT8x8Fwd_16s_C1);
  addBlocks("zopiDCT8x8Inv_16s_C1", zopiDCT8x8Inv_16s_C1);
  addProduct("zopiMulPack_32f_C1R", 1, zopiMulPack_32f_C1R);
  addProduct("zopiMulPack_32f_C3R", 3, zopiMulPack_32f_C3R);
  addProduct("zopiMulPack_16s_C1RSfs/scale4", 1, zopiMulPack_16s_C1RSfs, 4);
  addProduct("zopiMulPack_32s_C1RSfs/scale4", 1, zopiMulPack_32s_C1RSfs, 4);
  bench::add("zopiPackToCplxExtend_32f32fc_C1R", {4}, {8}, [](const Frame& f) {
    zopiPackToCplxExtend_32f32fc_C1R(f.source<Zop32f>(0), f.size, f.sourceStep(0), f.destination<Zop32fc>(),
                                     f.destinationStep());
  });
  addWavelet();
  return true;
}();

}  // namespace
