// Rows of wavelet transforms: one level, with filters of the caller's.
#pragma once

#include <cstddef>

#include "core/image.h"

namespace zopi {

// y(n) = sum of taps[k] x(n + anchor - (count - 1) + k): the last tap of a caller's filter comes first.
struct WaveletFilter {
  const double* taps;
  int count, anchor;

  int left() const { return count - 1 - anchor; }  // how far it reaches before an output's place
};

// Both filters go down the columns of the image and along its rows. Borders are in pixels.
struct WaveletAnalysis {
  WaveletFilter low, high;
  int leftBorder, rightBorder;
};

// A filter that puts every other sample in: the taps that meet samples where the output's place is even, and
// where it is odd. The extents are in pixels of a subband.
struct WaveletSynthesis {
  WaveletFilter phases[2];
  int leftExtent, rightExtent;
};

// Columns of a subband that are made at a time.
inline constexpr int kWaveletStrip = 256;

// The images that a level splits into, by the filters that make them.
template <class T>
struct Subbands {
  Image<T> approx;    // low down the columns, low along the rows
  Image<T> detailX;   // high, low
  Image<T> detailY;   // low, high
  Image<T> detailXY;  // high, high
};

// Two rows of samples, at any address.
struct WaveletBuffer {
  Zop32f *first, *second;
};

// By the number of channels. Sizes are those of a subband.
struct WaveletRows {
  void (*analyse)(const WaveletAnalysis& wavelet, Image<const Zop32f> src, const Subbands<Zop32f>& out,
                  ZopImageSize size, WaveletBuffer buffer);
  void (*synthesise)(const WaveletSynthesis& low, const WaveletSynthesis& high,
                     const Subbands<const Zop32f>& src, Image<Zop32f> out, ZopImageSize size,
                     WaveletBuffer buffer);
};
struct WaveletTable {
  WaveletRows ofC1, ofC3;
};

// The rows for this machine.
const WaveletTable& waveletTable();

}  // namespace zopi
