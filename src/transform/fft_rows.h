// Rows and columns of Fourier transforms, and the conversions of their integer forms.
#pragma once

#include <cstddef>

#include "core/image.h"
#include "core/pixelwise.h"
#include "transform/fft_tables.h"

namespace zopi {

enum class Direction { Forward, Inverse };

// Signals of the same length: samples of one are `stride` bytes apart, signals `step` bytes.
template <class T>
struct Signals {
  T* at;
  std::ptrdiff_t stride, step;
};

// The complex columns of an image of floats: column k of pixel distance d and channel c has its real parts at
// sample first + (2 k d + c) of each row, and its imaginary ones d samples further.
struct ComplexColumns {
  Image<float> image;
  std::ptrdiff_t count;     // of columns, for each channel
  std::ptrdiff_t distance;  // samples of a pixel
  int channels;             // of them, those that are transformed
};

// How many columns go through lanes together, at most.
inline constexpr int kFftLanes = 8;

// Transforms of up to 2^10 complex points work on the stack, longer ones in scratch memory of the caller's.
inline constexpr int kFftStackOrder = 10;

struct FftRows {
  // Each signal by itself; every value is multiplied by `scale`. In place is fine.
  void (*complexRows)(const RowFft& fft, Direction direction, float scale, Signals<const Zop32fc> src,
                      Signals<Zop32fc> dst, std::ptrdiff_t count, float* scratch);
  // From real samples to the packed order, and back.
  void (*toPack)(const RealFft& fft, float scale, Signals<const float> src, Signals<float> dst,
                 std::ptrdiff_t count, float* scratch);
  void (*fromPack)(const RealFft& fft, float scale, Signals<const float> src, Signals<float> dst,
                   std::ptrdiff_t count, float* scratch);
  // In place.
  void (*columns)(const LaneFft& fft, Direction direction, float scale, const ComplexColumns& columns,
                  float* scratch);
  // Of tile filters. Lanes hold one complex column each, row after row; behind the last column they are
  // zeros.
  void (*takeLanes)(const ComplexColumns& columns, int height, bool conjugate, float* lanes);
  // Columns there, times lanes, and back, in place. Whole vectors of columns are overwritten. Up to
  // 2^kFftStackOrder rows.
  void (*filterColumns)(const LaneFft& fft, float scale, const ComplexColumns& columns, const float* lanes);
  // Of the integer forms, whose results are multiplied by a power of two and saturate.
  ConversionRow<Zop8u, Zop32f> fromBytes;
  ConversionRow<Zop32s, Zop32f> fromIntegers;
  ConversionRow<Zop32f, Zop8u, double> toBytes;
  ConversionRow<Zop32f, Zop32s, double> toIntegers;
};

// The rows for this machine.
const FftRows& fftTable();

}  // namespace zopi
