#include "support/arguments.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>

#include "zopi/color.h"
#include "zopi/geom.h"
#include "zopi/stats.h"
#include "zopi/transform.h"
#include "zopi/warp.h"

namespace registry {

// Coefficients of a mapping that leaves everything where it is, and the corners of the region.
std::span<const double> goodMapping(const Function& function, const Argument& argument) {
  static constexpr double affine[] = {1, 0, 0, 0, 1, 0}, perspective[] = {1, 0, 0, 0, 1, 0, 0, 0, 1},
                          bilinear[] = {0, 1, 0, 0, 0, 0, 1, 0}, quad[] = {0, 0, 4, 0, 4, 2, 0, 2};
  const std::string name = argument.name, operation = function.operation;
  if (name == "quad" || name == "srcQuad" || name == "dstQuad") return quad;
  if (name != "coeffs" || argument.sampleBytes != sizeof(double)) return {};
  if (operation.find("Affine") != std::string::npos) return affine;
  return operation.find("Perspective") != std::string::npos ? std::span<const double>(perspective) : bilinear;
}

int goodConstant(const Argument& argument) {
  return std::strcmp(argument.name, "dstOrder") == 0 ? 0 : kGoodConstant;
}

namespace {

// A mask of any size up to this, and a kernel whose weights are small in every type.
unsigned char cells[64] = {1, 1, 0, 1};
Zop32f weights[1024] = {1, 2, -1};

// A context for transforms of 4x2 samples, of the kind that a function takes.
template <class Spec>
void* contextFrom(ZopStatus (*init)(Spec**, int, int, int, unsigned)) {
  static Spec* const spec = [init] {
    Spec* made = nullptr;
    init(&made, 2, 1, ZOP_FFT_NODIV_BY_ANY, 0);
    return made;
  }();
  return spec;
}
Value fourierContext(const Function& function) {
  const std::string name = function.name;
  if (name.find("32fc") != std::string::npos) return contextFrom(zopiFFTInitAlloc_C_32fc);
  if (name.find("32s") != std::string::npos) return contextFrom(zopiFFTInitAlloc_R_32s);
  return contextFrom(zopiFFTInitAlloc_R_32f);
}
thread_local int bufferBytes;

// A state that holds moments of three channels, of the kind that a function takes. Calls fill it anew.
struct StateReleaser {
  void operator()(ZopMomentState* state) const {
    if (zopiMomentFree_64f(state) != zopStatusOk) zopiMomentFree_64s(state);
  }
};
template <auto kInit, auto kCompute>
void* stateFrom() {
  thread_local const std::unique_ptr<ZopMomentState, StateReleaser> state([] {
    ZopMomentState* made = nullptr;
    kInit(&made, 0);
    return made;
  }());
  const Zop8u pixel[3] = {1, 2, 3};
  kCompute(pixel, 3, {1, 1}, state.get());
  return state.get();
}

// A context with filters of two and three taps, of the kind that a function takes.
template <class State>
void* contextFrom(ZopStatus (*init)(State**, const Zop32f*, int, int, const Zop32f*, int, int)) {
  static State* const state = [init] {
    State* made = nullptr;
    init(&made, weights, 2, 1, weights, 3, 1);
    return made;
  }();
  return state;
}
Value momentState(const Function& function) {
  const bool integers = std::string(function.name).find("64s") != std::string::npos;
  return integers ? stateFrom<zopiMomentInitAlloc_64s, zopiMoments64s_8u_C3R>()
                  : stateFrom<zopiMomentInitAlloc_64f, zopiMoments64f_8u_C3R>();
}

// Five points of a curve or levels of a histogram, the same ones for every channel, and memory for counts.
constexpr int kLevels = 5;
template <class T>
using OfChannels = T[4];
Zop32s levels[kLevels] = {0, 10, 20, 90, 100};
Zop32f numberLevels[kLevels] = {0, 10, 20, 90, 100};
OfChannels<Zop32s*> allLevels = {levels, levels, levels, levels};
OfChannels<Zop32f*> allNumberLevels = {numberLevels, numberLevels, numberLevels, numberLevels};
OfChannels<int> levelCounts = {kLevels, kLevels, kLevels, kLevels}, lowest = {0, 0, 0, 0},
                highest = {100, 100, 100, 100};
thread_local Zop32s counts[kLevels], evenLevels[kLevels];  // are written
thread_local OfChannels<Zop32s*> allCounts = {counts, counts, counts, counts},
                                 allEvenLevels = {evenLevels, evenLevels, evenLevels, evenLevels};

Value forEachChannel(const Function& function, void* one, void* all) {
  return function.sourceLayout == std::string("C1") ? one : all;
}
Value forEachChannel(const Function& function, OfChannels<int>& numbers) {
  if (function.sourceLayout == std::string("C1")) return numbers[0];
  return static_cast<void*>(numbers);
}
Value levelParameter(const Function& function, const std::string& name) {
  if (name == "nLevels") return forEachChannel(function, levelCounts);
  if (name == "lowerLevel") return forEachChannel(function, lowest);
  if (name == "upperLevel") return forEachChannel(function, highest);
  if (name == "pHist") return forEachChannel(function, counts, allCounts);
  if (function.operation == std::string("HistogramEven"))
    return forEachChannel(function, evenLevels, allEvenLevels);
  if (function.sourceType == std::string("32f"))
    return forEachChannel(function, numberLevels, allNumberLevels);
  return forEachChannel(function, levels, allLevels);
}
Value waveletContext(const Function& function) {
  const std::string name = function.name;
  const bool ofC1 = name.ends_with("C1R");
  if (name.starts_with("zopiWTFwd"))
    return ofC1 ? contextFrom(zopiWTFwdInitAlloc_32f_C1R) : contextFrom(zopiWTFwdInitAlloc_32f_C3R);
  return ofC1 ? contextFrom(zopiWTInvInitAlloc_32f_C1R) : contextFrom(zopiWTInvInitAlloc_32f_C3R);
}
thread_local Zop8u waveletBuffer[1 << 14];

bool ofWavelets(const Function& function) { return std::strncmp(function.operation, "WT", 2) == 0; }

Value goodParameter(const Function& function, const Argument& argument) {
  const std::string operation = function.operation, name = argument.name;
  if (name == "vMax") return 1.0f;  // vMin is 0
  if (name == "maskCode")
    return operation == "FilterMedianHoriz" ? 51 : operation == "FilterMedianVert" ? 15 : 55;
  if (name == "maskSize") return operation == "FilterMedian" ? ZopImageSize{3, 5} : ZopImageSize{4, 5};
  if (name == "pMask") return static_cast<void*>(cells);
  // A kernel of one size serves as a length, too.
  if (name == "kernelSize") return ZopImageSize{40, 20};
  if (name == "pKernel") return static_cast<void*>(weights);
  if (name == "divisor") return 3;
  if (name == "xFactor" || name == "yFactor" || name == "xFr" || name == "yFr") return 1.0;
  if (name == "interpolation") return zopInterLinear;
  if (name == "levelCount") return 2;
  if (name == "ditherType") return static_cast<int>(zopDitherStucki);
  if (name == "noise") return 50;
  if (name == "srcSize") return ZopImageSize{5, 3};
  // As many places as the image has pixels, whatever the function takes for a place.
  if (name == "src2Size" || name == "tplRoiSize") return ZopImageSize{1, 1};
  if (name == "srcRoi" || name == "dstRoi") return ZopImageRect{0, 0, 5, 3};
  if (name == "angle") return 30.0;
  if (name == "xShear" || name == "yShear") return 0.5;
  if (name == "pFFTSpec") return fourierContext(function);
  if (name == "pState") return ofWavelets(function) ? waveletContext(function) : momentState(function);
  if (name == "pBuffer" && ofWavelets(function)) return static_cast<void*>(waveletBuffer);
  if (name == "pBufSize" || name == "pSize") return &bufferBytes;
  if (operation.starts_with("Histogram") || operation == "LUT") return levelParameter(function, name);
  return {};
}

// Wavelets go from or to an image of twice the size, and from images with borders: all of theirs have the
// room.
Halo haloOf(const Function& function, const Argument& argument, const std::vector<Value>& parameters,
            ZopImageSize size) {
  if (ofWavelets(function)) return {2, size.width + 2, 2, size.height + 2};
  return function.halo(argument, parameters);
}

}  // namespace

Arguments::Arguments(const Function& function, ZopImageSize size)
    : planes_(function.arguments.size()), steps_(function.arguments.size()) {
  if (std::strncmp(function.operation, "DCT8x8", 6) == 0) size = {8, 8};
  std::mt19937 random(1);
  std::vector<Value> parameters;
  for (const Argument& a : function.arguments) parameters.push_back(goodParameter(function, a));
  int step = 0;
  for (std::size_t i = 0; i < function.arguments.size(); ++i) {
    const Argument& a = function.arguments[i];
    if (a.role == Role::Steps) {
      steps_[i].assign(a.planes, step);
      values.emplace_back(static_cast<void*>(steps_[i].data()));
    } else if (a.isPointer()) {
      const int pixelBytes = a.samples * a.sampleBytes;
      const Halo halo = haloOf(function, a, parameters, size);
      const int rows = a.isImage() ? halo.above + size.height + halo.below : 1;
      step = (a.isImage() ? halo.left + size.width + halo.right : 1) * pixelBytes;
      for (int p = 0; p < std::max(a.planes, 1); ++p) {
        memory_.push_back(std::make_unique<guarded::Region>(rows, step, step, guarded::Placement{}, random,
                                                            halo.above * step + halo.left * pixelBytes));
        if (a.role == Role::Constant) std::memset(memory_.back()->at(), goodConstant(a), step);
        const std::span<const double> mapping = goodMapping(function, a);
        if (a.role == Role::Constant && !mapping.empty())
          std::memcpy(memory_.back()->at(), mapping.data(), mapping.size_bytes());
        before_.push_back(memory_.back()->bytes());
        planes_[i].push_back(memory_.back()->at());
      }
      values.emplace_back(a.planes > 0 ? static_cast<void*>(planes_[i].data()) : planes_[i][0]);
    } else if (a.role == Role::Step) {
      values.emplace_back(step);
    } else if (a.role == Role::Size || a.role == Role::WholeSize) {
      values.emplace_back(size);
    } else if (a.role == Role::Region) {
      values.emplace_back(ZopImageRect{0, 0, size.width, size.height});
    } else if (a.role == Role::Sample) {
      std::int64_t sample;
      std::memset(&sample, kGoodConstant, sizeof sample);
      values.emplace_back(sample);
    } else {
      values.push_back(parameters[i]);
    }
  }
}

std::vector<std::vector<unsigned char>> Arguments::bytes() const {
  std::vector<std::vector<unsigned char>> result;
  for (const auto& region : memory_) result.push_back(region->bytes());
  return result;
}

bool Arguments::untouched() const {
  for (std::size_t i = 0; i < memory_.size(); ++i) {
    if (!memory_[i]->equals(before_[i])) return false;
  }
  return true;
}

}  // namespace registry
