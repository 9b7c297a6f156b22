// Rows of noise: random integers become noise, and noise is added to samples.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/row_table.h"
#include "core/uniform_random.h"
#include "zopi/types.h"

namespace zopi {

// Numbers are handed on in blocks on the stack, all of this size.
inline constexpr int kNoiseBlock = 768;

// Accepted points (a, b) of the unit circle, and the logarithms of their squared distances s from its middle.
struct PolarPoints {
  alignas(64) double a[kNoiseBlock / 2], b[kNoiseBlock / 2], s[kNoiseBlock / 2], logarithm[kNoiseBlock / 2];
};

template <class T>
struct NoiseRows {
  // samples[i] += noise[i], rounded to nearest and saturated where samples are integers.
  void (*add)(const double* noise, std::ptrdiff_t n, T* samples);
};

struct NoiseTable : RowTable<NoiseRows, Zop8u, Zop16s, Zop32f> {
  void (*uniform)(const std::int32_t* random, std::ptrdiff_t n, UniformRange range, double* noise);
  // Two numbers a point, n in all.
  void (*gauss)(const PolarPoints& points, std::ptrdiff_t n, double mean, double deviation, double* noise);
};

// The rows for this machine.
const NoiseTable& noiseTable();

}  // namespace zopi
