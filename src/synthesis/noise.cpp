// Noise: streams of random numbers, and how they run through the samples of an image.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "core/checks.h"
#include "core/image.h"
#include "synthesis/noise_rows.h"

namespace zopi {
namespace {

// A stream has blocks of `kNoiseBlock` numbers.
class UniformNoise {
 public:
  UniformNoise(std::uint32_t seed, double low, double high) : random_(seed), range_(low, high) {}

  // The next n numbers of the block; none is drawn before it is needed, since the caller gets the seed back.
  void fill(double* noise, int n) {
    alignas(64) std::int32_t integers[kNoiseBlock];
    for (int i = 0; i < n; ++i) integers[i] = random_();
    std::fill(integers + n, integers + std::min(n + 64, kNoiseBlock), 0);  // the rest of a vector
    noiseTable().uniform(integers, n, range_, noise);
  }
  std::uint32_t seed() const { return random_.newest(); }

 private:
  UniformRandom random_;
  UniformRange range_;
};

// The polar method (Marsaglia and Bray, A convenient method for generating normal variables, 1964).
class GaussNoise {
 public:
  GaussNoise(std::uint32_t seed, double mean, double deviation)
      : random_(seed), mean_(mean), deviation_(deviation) {}

  void fill(double* noise, int n) {
    constexpr double kUnit = 0x1.ffffffffffd09p-32;
    PolarPoints points = {};
    for (int i = 0; 2 * i < n; ++i) {
      double a, b, s;
      do {
        a = random_() * kUnit;
        b = random_() * kUnit;
        s = a * a + b * b;
      } while (s >= 1.0 || s == 0.0);
      points.a[i] = a;
      points.b[i] = b;
      points.s[i] = s;
      points.logarithm[i] = std::log(s);
    }
    noiseTable().gauss(points, n, mean_, deviation_, noise);
  }

 private:
  UniformRandom random_;
  double mean_, deviation_;
};

// Adds the noise to the samples that a form writes, in turn, in one stream through all rows.
template <class Layout, class T, class Noise>
void addNoise(Noise& noise, Image<T> image, ZopImageSize size) {
  constexpr bool kKeepsAlpha = Layout::colours < Layout::channels;
  const auto add = noiseTable().of<T>().add;
  alignas(64) double block[kNoiseBlock];
  const std::int64_t length = std::int64_t{size.width} * Layout::colours;
  std::int64_t remaining = length * size.height;
  int used = kNoiseBlock;
  for (int y = 0; y < size.height; ++y) {
    T* at = image.row(y);
    for (std::int64_t left = length; left > 0;) {
      if (used == kNoiseBlock) {
        noise.fill(block, static_cast<int>(std::min<std::int64_t>(kNoiseBlock, remaining)));
        used = 0;
      }
      const int n = static_cast<int>(std::min<std::int64_t>(left, kNoiseBlock - used));
      if constexpr (kKeepsAlpha) {
        T colours[kNoiseBlock];
        for (int i = 0; i < n; i += Layout::colours)
          std::copy_n(at + i / Layout::colours * Layout::channels, Layout::colours, colours + i);
        add(block + used, n, colours);
        for (int i = 0; i < n; i += Layout::colours)
          std::copy_n(colours + i, Layout::colours, at + i / Layout::colours * Layout::channels);
        at += n / Layout::colours * Layout::channels;
      } else {
        add(block + used, n, at);
        at += n;
      }
      used += n;
      left -= n;
      remaining -= n;
    }
  }
}

template <class Layout, class T>
ZopStatus addUniform(Image<T> image, ZopImageSize size, const T* low, const T* high, unsigned* seed) {
  UniformNoise noise(*seed, *low, *high);
  addNoise<Layout>(noise, image, size);
  *seed = noise.seed();
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus addGauss(Image<T> image, ZopImageSize size, const T* mean, const T* deviation,
                   const unsigned* seed) {
  GaussNoise noise(*seed, *mean, *deviation);
  addNoise<Layout>(noise, image, size);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "synthesis/noise.exports.inc"
