// Fewer levels: quantities of the types, thresholds, and which rows a kind of dither takes.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "color/dither_rows.h"
#include "convert/scale.h"
#include "core/checks.h"
#include "core/memory.h"
#include "core/uniform_random.h"
#include "core/walk.h"
#include "move/copy.h"
#include "zopi/color.h"

namespace zopi {
namespace {

ZopStatus checkNoise(int noise, int ditherType) {
  return ditherType != zopDitherNone && (noise < 0 || noise > 100) ? zopStatusBadNoise : zopStatusOk;
}
ZopStatus checkLevels(int levelCount, int ditherType) {
  return ditherType != zopDitherNone && (levelCount < 2 || levelCount > 256) ? zopStatusBadLevels
                                                                             : zopStatusOk;
}

// Of four channels and of diffused errors, the number of a level of bytes becomes a byte by a factor that is
// truncated after it was rounded down: white becomes 254.
template <class S>
DitherLevels levelsOf(int count, bool truncates) {
  const int n = count - 1;
  constexpr double kRange = std::is_same_v<S, Zop8u> ? 255 : std::is_same_v<S, Zop32f> ? 1 : 65535;
  constexpr float kInverse = std::is_same_v<S, Zop8u>    ? 0x1.010102p-8f
                             : std::is_same_v<S, Zop32f> ? 1.0f
                                                         : 0x1.0001p-16f;
  const double factor = 65280.0 / n - 0.49999;
  return {static_cast<float>(kRange / n), static_cast<float>(n * kInverse),
          static_cast<std::int32_t>(truncates ? factor : std::nearbyint(factor))};
}

void fillNoise(DitherNoise& noise, double low, double high) {
  UniformRandom forNumbers(0), forPlaces(0);
  const UniformRange numbers(low, high), places(0, DitherNoise::kSize);
  for (int i = 0; i < DitherNoise::kSize; ++i) {
    noise.numbers[i] = static_cast<float>(numbers(forNumbers()));
    noise.places[i] = static_cast<std::uint16_t>(places(forPlaces()));
  }
}

// Noise tables for a call, or none. They are on the heap, and may not be had.
class NoiseTables {
 public:
  NoiseTables(int noise, double low, double high) : wanted_(noise > 0) {
    if (!wanted_) return;
    tables_ = static_cast<DitherNoise*>(zopAllocBytes(sizeof(DitherNoise)));
    if (tables_ != nullptr) fillNoise(*tables_, low, high);
  }
  ~NoiseTables() { zopFreeAligned(tables_); }
  NoiseTables(const NoiseTables&) = delete;

  bool lack() const { return wanted_ && tables_ == nullptr; }
  const DitherNoise* get() const { return tables_; }

 private:
  bool wanted_;
  DitherNoise* tables_ = nullptr;
};

constexpr double kPercent = 0.01f;

// An ordered dither (Bayer, An optimum method for two-level rendition of continuous-tone pictures, 1973), in
// fifteenths.
constexpr int kBayer[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};

// Thresholds for pixels x ... x + n - 1 of row y, one for each channel.
void fillThresholds(const DitherLevels& levels, const DitherNoise* noise, int x, int y, int n, int channels,
                    double* thresholds) {
  for (int i = 0; i < n; ++i) {
    const float cell = kBayer[y & 3][(x + i) & 3] / 15.0f;
    const double threshold = noise == nullptr ? static_cast<float>(cell * levels.step)
                                              : (cell + double{noise->at(x + i, y)}) * levels.step;
    std::fill_n(thresholds + i * channels, channels, threshold);
  }
}

// A row in pieces of so many pixels, `change(from, to, x, n)`. Where alpha is kept, pieces are made beside
// the image.
constexpr int kPiece = 64;

template <class Layout, class S, class T, class Change>
void inPieces(const S* from, T* to, int width, const Change& change) {
  for (int x = 0; x < width; x += kPiece) {
    const int n = std::min(kPiece, width - x);
    const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(x) * Layout::channels;
    if constexpr (Layout::colours < Layout::channels) {
      T pixels[kPiece * Layout::channels];
      change(from + at, pixels, x, n);
      copyColours(Image<const T>{pixels, 0}, Image<T>{to + at, 0}, {n, 1});
    } else {
      change(from + at, to + at, x, n);
    }
  }
}

template <class Layout, class S, class T>
ZopStatus ordered(Image<const S> src, Image<T> dst, ZopImageSize size, int noisePercent, int levelCount) {
  constexpr int kChannels = Layout::channels;
  const DitherLevels levels = levelsOf<S>(levelCount, std::is_same_v<Layout, C4>);
  const NoiseTables noise(noisePercent, -noisePercent * kPercent, noisePercent * kPercent);
  if (noise.lack()) return zopStatusNoMemory;
  const auto row = ditherTable().of<Depths<S, T>>().ordered;
  // Without noise, thresholds repeat with the rows of the matrix, and with every piece of a row.
  double repeated[4][kPiece * kChannels];
  if (noise.get() == nullptr) {
    for (int y = 0; y < 4; ++y) fillThresholds(levels, nullptr, 0, y, kPiece, kChannels, repeated[y]);
  }
  walkBands(size.height, [&](int begin, int end) {
    for (int y = begin; y < end; ++y) {
      inPieces<Layout>(src.row(y), dst.row(y), size.width, [&](const S* from, T* to, int x, int n) {
        double own[kPiece * kChannels];
        if (noise.get() != nullptr) fillThresholds(levels, noise.get(), x, y, n, kChannels, own);
        row(levels, from, noise.get() == nullptr ? repeated[y & 3] : own, n * kChannels, to);
      });
    }
  });
  return zopStatusOk;
}

// Channels are shared by the threads, each with errors of its own.
template <class Layout, class S, class T>
ZopStatus diffused(Diffusion kind, Image<const S> src, Image<T> dst, ZopImageSize size, int noisePercent,
                   int levelCount) {
  const DitherLevels levels = levelsOf<S>(levelCount, true);
  const NoiseTables noise(noisePercent, levels.step * (50 - noisePercent) * kPercent,
                          levels.step * (50 + noisePercent) * kPercent);
  const std::int64_t bytes = 2 * std::int64_t{size.width} * sizeof(float);
  if (noise.lack() || bytes > INT32_MAX) return zopStatusNoMemory;
  const auto channel = ditherTable().of<Depths<S, T>>().diffuse[static_cast<int>(kind)];
  return walkSlices(Layout::colours > 1, Layout::colours, static_cast<int>(bytes),
                    [&](unsigned char* slice, int begin, int end) {
                      float* const errors = reinterpret_cast<float*>(slice);
                      for (int c = begin; c < end; ++c) {
                        std::memset(slice, 0, bytes);
                        channel(levels, noise.get(), {src.at + c, src.step}, {dst.at + c, dst.step}, size,
                                Layout::channels, {errors, errors + size.width});
                      }
                    });
}

template <class Layout, class T>
ZopStatus wordsOfNumbers(Image<const Zop32f> src, Image<T> dst, ZopImageSize size) {
  const auto row = [] {
    if constexpr (std::is_signed_v<T>)
      return ditherTable().toSigned;
    else
      return ditherTable().toUnsigned;
  }();
  for (int y = 0; y < size.height; ++y) {
    inPieces<Layout>(src.row(y), dst.row(y), size.width,
                     [row](const Zop32f* from, T* to, int, int n) { row(from, n * Layout::channels, to); });
  }
  return zopStatusOk;
}

// As many levels as there are: copies, or changes of the depth.
template <class Layout, class S, class T>
ZopStatus undithered(Image<const S> src, Image<T> dst, ZopImageSize size) {
  if constexpr (std::is_same_v<S, T>)
    return copyWritten<Layout>(src, dst, size);
  else if constexpr (std::is_same_v<S, Zop32f> && std::is_same_v<T, Zop8u>)
    return scale<Layout>(src, dst, size, 0.0f, 1.0f);
  else if constexpr (std::is_same_v<T, Zop8u>)
    return scale<Layout>(src, dst, size, 0);
  else
    return wordsOfNumbers<Layout>(src, dst, size);
}

template <class Layout, class S, class T>
ZopStatus reduceBits(Image<const S> src, Image<T> dst, ZopImageSize size, int noise, int ditherType,
                     int levelCount) {
  switch (ditherType) {
    case zopDitherNone:
      return undithered<Layout>(src, dst, size);
    case zopDitherFS:
      return diffused<Layout>(Diffusion::FloydSteinberg, src, dst, size, noise, levelCount);
    case zopDitherJJN:
      return diffused<Layout>(Diffusion::JarvisJudiceNinke, src, dst, size, noise, levelCount);
    case zopDitherStucki:
      return diffused<Layout>(Diffusion::Stucki, src, dst, size, noise, levelCount);
    case zopDitherBayer:
      return ordered<Layout>(src, dst, size, noise, levelCount);
    default:
      return zopStatusOk;
  }
}

}  // namespace
}  // namespace zopi

#include "color/dither.exports.inc"
