// Scaled sums, differences and products of integers: which route a call takes.
//
// The exact result t is multiplied by 2^-scaleFactor, rounded to nearest with ties to even, and saturated.
// The scale factor picks the route once per call; beyond a limit that follows from the largest |t| every
// result is 0 and the source need not be read.

#include <algorithm>
#include <limits>
#include <type_traits>

#include "arith/add_sub_mul_rows.h"
#include "move/copy.h"
#include "move/set.h"

namespace zopi {
namespace {

struct Add {
  static constexpr ScaledOperation kReal = kAdd, kComplex = kAdd;
};
struct Sub {
  static constexpr ScaledOperation kReal = kSub, kComplex = kSub;
};
struct Mul {
  static constexpr ScaledOperation kReal = kMul, kComplex = kMulComplex;
};

template <class Op, class T>
constexpr ScaledOperation kOperation = kIsComplex<T> ? Op::kComplex : Op::kReal;

// Scale factors above this give 0 for all operands.
template <class T>
constexpr int kZeroAbove[kScaledOperations] = {};
template <>
constexpr int kZeroAbove<Zop8u>[] = {9, 8, 16, 0};
template <>
constexpr int kZeroAbove<Zop16s>[] = {16, 16, 30, 31};
template <>
constexpr int kZeroAbove<Zop32s>[] = {32, 32, 0, 63};

struct Step {
  ScaleRoute route;
  int shift;
};

// A left shift by all the bits of a magnitude turns every nonzero sample into the type's extreme, and so does
// every larger one.
template <class T>
Step lift(unsigned shift) {
  return {kLift, static_cast<int>(std::min<unsigned>(shift, std::numeric_limits<T>::digits))};
}

template <class T>
Step roundingStep(int scaleFactor) {
  if (scaleFactor == 0) return {kSaturate, 0};
  if (scaleFactor < 0) return lift<T>(0u - static_cast<unsigned>(scaleFactor));
  return {scaleFactor == 1 ? kHalve : kRound, scaleFactor};
}

// Forms that truncate know no limits: the shift counts modulo 32.
template <class T>
Step truncatingStep(int scaleFactor) {
  if (scaleFactor < 0) return lift<T>((0u - static_cast<unsigned>(scaleFactor)) % 32);
  return {kTruncate, scaleFactor % 32};
}

// What decides on threads: the operation and its form, and the step taken. Most paths always share their
// rows; the ones listed here only where the region passes the gate of its type. The complex types are serial,
// as are forms with alpha and constant forms of four channels.
struct GatedPath {
  ScaledOperation operation;
  bool constant;
  Form form;
  bool direct, halved, rounded;
};
constexpr GatedPath kGated8u[] = {
    {kAdd, true, InPlace, false, true, true},     {kSub, true, InPlace, false, true, true},
    {kAdd, false, InPlace, false, false, true},   {kSub, false, InPlace, false, false, true},
    {kMul, true, InPlace, false, false, true},    {kMul, false, InPlace, false, true, true},
    {kMul, false, OutOfPlace, false, true, true},
};
constexpr GatedPath kGated16s[] = {
    {kAdd, true, InPlace, false, true, true},    {kMul, true, InPlace, false, true, true},
    {kSub, true, InPlace, false, true, false},   {kAdd, true, OutOfPlace, true, true, true},
    {kSub, true, OutOfPlace, true, true, true},  {kAdd, false, OutOfPlace, true, true, true},
    {kSub, false, OutOfPlace, true, true, true}, {kSub, false, InPlace, false, true, true},
    {kMul, false, InPlace, false, true, true},   {kMul, false, OutOfPlace, false, true, true},
};

template <std::size_t Count>
constexpr GatedPath gatedPath(const GatedPath (&paths)[Count], ScaledOperation operation, bool constant,
                              Form form) {
  for (const GatedPath& path : paths) {
    if (path.operation == operation && path.constant == constant && path.form == form) return path;
  }
  return {operation, constant, form, false, false, false};
}

// `samples` is the region as one channel, as the gates see it.
template <class T, ScaledOperation kOperation, bool kConstant, Form kForm>
bool sharesRows(ScaleRoute route, ZopImageSize samples) {
  constexpr bool is8u = std::is_same_v<T, Zop8u>;
  constexpr GatedPath path = is8u ? gatedPath(kGated8u, kOperation, kConstant, kForm)
                                  : gatedPath(kGated16s, kOperation, kConstant, kForm);
  const bool gated = (route == kSaturate && path.direct) || (route == kHalve && path.halved) ||
                     (route == kRound && path.rounded);
  return !gated || (is8u ? gate8u(samples) : gate16s(samples));
}

template <class T, bool kTruncates>
Step stepOf(int scaleFactor) {
  return kTruncates ? truncatingStep<T>(scaleFactor) : roundingStep<T>(scaleFactor);
}

template <class Op, class Layout, Form kForm, class T>
ZopStatus withImage(Image<const T> a, std::type_identity_t<Image<const T>> b, Image<T> out, ZopImageSize size,
                    int scaleFactor) {
  constexpr ScaledOperation operation = kOperation<Op, T>;
  constexpr bool truncates = kIsComplex<T> && std::is_same_v<Layout, AC4>;
  if constexpr (!truncates) {
    if (scaleFactor > kZeroAbove<Real<T>>[operation]) return setZero<Layout>(out, size);
  }
  const Step step = stepOf<Real<T>, truncates>(scaleFactor);
  const ZopImageSize samples = {static_cast<int>(realExtent<Layout, T>(size).length), size.height};
  const bool parallel = !kIsComplex<T> && sharesRows<T, operation, false, kForm>(step.route, samples);
  const auto& rows = scaledTable().of<Real<T>>().rows[operation][step.route];
  mapImages<Layout>(parallel, rows, a, b, out, size, step.shift);
  return zopStatusOk;
}

// One-channel calls whose result needs no arithmetic: true if the call is done.
template <class Op, Form kForm, class T>
bool shortCut(std::type_identity_t<Image<const T>> source, T value, Image<T> out, ZopImageSize size,
              int scaleFactor) {
  constexpr bool multiplies = std::is_same_v<Op, Mul>;
  const bool keepsSamples = scaleFactor == 0 && value == (multiplies ? 1 : 0);
  if (keepsSamples) {
    if (kForm == OutOfPlace) copyPixels<C1>(source, out, size);
    return true;
  }
  if (multiplies && value == 0) {
    setZero<C1>(out, size);
    return true;
  }
  // Every 8-bit sum is positive here.
  if (std::is_same_v<Op, Add> && std::is_same_v<T, Zop8u> && scaleFactor <= -8 && value != 0) {
    constexpr T highest = std::numeric_limits<T>::max();
    setPixels<C1>(&highest, out, size);
    return true;
  }
  return false;
}

template <class Op, class Layout, Form kForm, class T>
ZopStatus withConstant(std::type_identity_t<Image<const T>> source, const T* values, Image<T> out,
                       ZopImageSize size, int scaleFactor) {
  constexpr ScaledOperation operation = kOperation<Op, T>;
  constexpr bool truncates = kIsComplex<T> && !std::is_same_v<Layout, C1>;
  if constexpr (!kIsComplex<T> && std::is_same_v<Layout, C1>) {
    if (shortCut<Op, kForm>(source, *values, out, size, scaleFactor)) return zopStatusOk;
  }
  if constexpr (!truncates) {
    if (scaleFactor > kZeroAbove<Real<T>>[operation]) return setZero<Layout>(out, size);
  }
  const Step step = stepOf<Real<T>, truncates>(scaleFactor);
  const bool parallel =
      !kIsComplex<T> &&
      (std::is_same_v<Layout, C3> ||
       (std::is_same_v<Layout, C1> && sharesRows<T, operation, true, kForm>(step.route, size)));
  const auto& rows = scaledTable().of<Real<T>>().rows[operation][step.route];
  mapConstant<Layout>(parallel, rows, values, source, out, size, step.shift);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "arith/add_sub_mul.exports.inc"
