// Filters with a kernel of the caller's: which lanes hold the sums.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "core/checks.h"
#include "core/rounding.h"
#include "core/walk.h"
#include "filter/general_rows.h"
#include "filter/window.h"

namespace zopi {
namespace {

ZopStatus checkKernelSize(ZopImageSize kernel) { return checkSize(kernel); }
ZopStatus checkKernelSize(int length) { return length < 1 ? zopStatusBadSize : zopStatusOk; }

ZopStatus checkKernelDivisor(int divisor) { return divisor == 0 ? zopStatusZeroDivisor : zopStatusOk; }

constexpr ZopImageSize row(int length) { return {length, 1}; }
constexpr ZopImageSize column(int length) { return {1, length}; }
constexpr ZopImagePoint onRow(int x) { return {x, 0}; }
constexpr ZopImagePoint onColumn(int y) { return {0, y}; }

// Taps of a kernel. Few of them need no memory from the heap.
template <class Lane>
class Taps {
 public:
  explicit Taps(std::int64_t count) : lanes_(few_) {
    if (count <= kFew) return;
    memory_ = newScratch(count < INT32_MAX ? count * static_cast<std::int64_t>(sizeof(Lane)) : count);
    lanes_ = reinterpret_cast<Lane*>(memory_.get());
  }
  Lane* lanes() const { return lanes_; }

 private:
  static constexpr std::int64_t kFew = 1024 / sizeof(Lane);
  Lane few_[kFew];
  Scratch memory_;
  Lane* lanes_;
};

// A call, but for its kernel.
template <class Layout, class T>
struct Filtering {
  Image<const T> src;
  Image<T> dst;
  ZopImageSize size, kernelSize;
  ZopImagePoint anchor;

  // Bands are cut by hand: the last thread takes the remainder.
  ZopStatus run(typename GeneralRows<T>::Band rows, const Kernel& kernel) const {
    const Image<const T> window = {src.row(std::ptrdiff_t{anchor.y} - (kernelSize.height - 1)) +
                                       (std::ptrdiff_t{anchor.x} - (kernelSize.width - 1)) * Layout::channels,
                                   src.step};
    const PixelShape shape = {Layout::channels, Layout::colours < Layout::channels};
    Extent whole = extent(size, Layout::channels);
    whole.stream = walk::streams(whole, src, dst);
    const auto band = [&](int begin, int end) {
      const RoundingToNearest nearest;
      rows(kernel, shape, window.from(begin), dst.from(begin), {whole.length, end - begin, whole.stream});
    };
    walkBands(size.height, band);
    return zopStatusOk;
  }

  // `weight(i)` is the weight i of the kernel as a lane. `kTogether` weights of a row share one.
  template <class Lane, int kTogether, class Weight>
  ZopStatus runWith(typename GeneralRows<T>::Band rows, Kernel kernel, const Weight& weight) const {
    const Taps<Lane> memory(tapCount(kernelSize, kTogether));
    if (memory.lanes() == nullptr) return zopStatusNoMemory;
    turn<Lane, kTogether>(kernelSize, weight, memory.lanes());
    kernel.width = kernelSize.width;
    kernel.height = kernelSize.height;
    kernel.taps = memory.lanes();
    return run(rows, kernel);
  }
};

// The largest 2^k of which all weights are multiples, and their sum in units of it: sums of samples of up to
// `most` in magnitude that stay in 32 bits, with weights of 16 bits, are exact, in doubles and in integers.
struct Unit {
  bool exact;
  int exponent;
};
template <class Weight>
Unit unitOf(std::int64_t count, double most, const Weight& weight) {
  int lowest = INT32_MAX;
  double sum = 0, largest = 0;
  for (std::int64_t i = 0; i < count; ++i) {
    const auto bits = std::bit_cast<std::uint32_t>(weight(i)) & 0x7fffffffu;
    if (bits >= 0x7f800000u) return {false, 0};
    if (bits == 0) continue;
    const auto exponent = static_cast<int>(bits >> 23);
    const std::uint32_t digits = exponent == 0 ? bits : (bits & 0x7fffffu) | 0x800000u;
    lowest = std::min(lowest, std::max(exponent, 1) - 150 + std::countr_zero(digits));
    const double magnitude = std::abs(double{weight(i)});
    largest = std::max(largest, magnitude);
    sum += magnitude;
  }
  if (largest == 0) return {true, 0};
  return {std::ldexp(largest, -lowest) <= 32767 && std::ldexp(sum, -lowest) * most < 0x1p31, lowest};
}

// Kernels of floats. `weight(i)` is a float.
template <class Layout, class T, class Weight>
ZopStatus weightedByFloats(const Filtering<Layout, T>& call, const Weight& weight) {
  const GeneralRows<T>& rows = generalTable().of<T>();
  if constexpr (!std::is_same_v<T, Zop32f>) {
    const Unit unit = unitOf(areaOf(call.kernelSize), sizeof(T) == 1 ? 255 : 32768, weight);
    if (unit.exact) {
      const Kernel kernel = {0, 0, nullptr, Division::kFactor, 0, std::ldexp(1.0, unit.exponent)};
      return call.template runWith<std::int32_t, 2>(rows.pairs, kernel, [&](std::int64_t i) {
        return static_cast<std::int32_t>(std::ldexp(double{weight(i)}, -unit.exponent));
      });
    }
  }
  return call.template runWith<double, 1>(rows.doubles, {},
                                          [&](std::int64_t i) { return double{weight(i)}; });
}

template <class Layout, class T>
ZopStatus weighted(Image<const T> src, Image<T> dst, ZopImageSize size, const Zop32f* weights,
                   ZopImageSize kernelSize, ZopImagePoint anchor) {
  return weightedByFloats(Filtering<Layout, T>{src, dst, size, kernelSize, anchor},
                          [=](std::int64_t i) { return weights[i]; });
}

// Words: the weights are multiplied by the reciprocal in single precision.
template <class Layout>
ZopStatus weighted(Image<const Zop16s> src, Image<Zop16s> dst, ZopImageSize size, const Zop32s* weights,
                   ZopImageSize kernelSize, ZopImagePoint anchor, int divisor) {
  const RoundingToNearest nearest;
  const auto factor = static_cast<float>(1.0 / divisor);
  return weightedByFloats(Filtering<Layout, Zop16s>{src, dst, size, kernelSize, anchor},
                          [=](std::int64_t i) { return static_cast<float>(weights[i]) * factor; });
}

Kernel divided(int divisor) {
  const bool isPower = divisor > 0 && std::has_single_bit(static_cast<unsigned>(divisor));
  const Division division = divisor == 1 ? Division::kNone : isPower ? Division::kShift : Division::kFactor;
  const RoundingToNearest nearest;
  return {0,
          0,
          nullptr,
          division,
          isPower ? std::countr_zero(static_cast<unsigned>(divisor)) : 0,
          static_cast<float>(1.0 / divisor)};
}

template <class Layout>
ZopStatus weighted(Image<const Zop8u> src, Image<Zop8u> dst, ZopImageSize size, const Zop32s* weights,
                   ZopImageSize kernelSize, ZopImagePoint anchor, int divisor) {
  const Filtering<Layout, Zop8u> call = {src, dst, size, kernelSize, anchor};
  const GeneralRows<Zop8u>& rows = generalTable().of<Zop8u>();
  const bool narrow = std::all_of(weights, weights + areaOf(kernelSize),
                                  [](Zop32s w) { return w == static_cast<std::int16_t>(w); });
  const auto weight = [=](std::int64_t i) { return weights[i]; };
  return narrow ? call.template runWith<std::int32_t, 2>(rows.pairs, divided(divisor), weight)
                : call.template runWith<std::int32_t, 1>(rows.words, divided(divisor), weight);
}

}  // namespace
}  // namespace zopi

#include "filter/general.exports.inc"
