// Products of images and a small image through Fourier transforms, tile by tile (overlap-save).
//
// A tile is a block of the large image and 0 around it. Its transform times that of the small image, or its
// conjugate, transformed back, is their convolution, or correlation, as if both were periodic: right where
// the small image does not go over an edge of the tile onto samples of the other side.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/rounding.h"
#include "core/walk.h"
#include "correlation/channel.h"
#include "filter/window.h"
#include "move/set.h"
#include "transform/packed_products.h"
#include "zopi/transform.h"

namespace zopi {

// One axis of tiles: of the 2^order samples of a tile, `step` results from the one at `first` on are right.
struct TileAxis {
  int order;
  int step, first;
  int results;  // in all
  int samples;  // of the large image
  int before;   // how far the first tile starts ahead of them

  int count() const { return (results - 1) / step + 1; }
};

// The least n >= 1 with 2^n >= `samples`.
inline int orderFor(std::int64_t samples) {
  int order = 1;
  while (std::int64_t{1} << order < samples) ++order;
  return order;
}

// Twice as long as the small image, or four times where that is short and the results are longer.
inline int orderOfTiles(int small, int results, int shortBelow) {
  const int order = orderFor(2 * std::int64_t{small});
  return order < shortBelow && std::int64_t{1} << order < results ? order + 1 : order;
}

// One tile: its place among the results, and the block of the large image that goes into it.
struct Tile {
  ZopImagePoint results;
  ZopImageSize size;
  ZopImagePoint samples, margin;
  ZopImageSize block;
};

struct Tiling {
  TileAxis x, y;

  int count() const { return x.count() * y.count(); }
  // In memory a row has a few samples more: rows a power of two apart would share few lines of the caches.
  std::ptrdiff_t step() const { return ((std::ptrdiff_t{1} << x.order) + kGap) * kSampleBytes; }
  std::ptrdiff_t bytes() const { return step() << y.order; }
  ZopImageSize size() const { return {1 << x.order, 1 << y.order}; }
  Image<float> tileAt(void* memory) const { return {static_cast<float*>(memory), step()}; }
  void clear(Image<float> tile) const {
    setZero<C1>(tile, {static_cast<int>(step() / kSampleBytes), size().height});
  }

  Tile tile(int index) const {
    Tile t;
    cut(x, index % x.count(), t.results.x, t.size.width, t.samples.x, t.margin.x, t.block.width);
    cut(y, index / x.count(), t.results.y, t.size.height, t.samples.y, t.margin.y, t.block.height);
    return t;
  }

 private:
  static constexpr std::ptrdiff_t kGap = 16, kSampleBytes = sizeof(float);

  static void cut(const TileAxis& axis, int i, int& result, int& results, int& sample, int& margin,
                  int& samples) {
    result = i * axis.step;
    results = std::min(axis.step, axis.results - result);
    margin = std::max(0, axis.before - result);
    sample = std::max(0, result - axis.before);
    samples = std::min(axis.samples - sample, (1 << axis.order) - margin);
  }
};

// Fourier transforms of tiles.
class TileTransform {
 public:
  TileTransform() = default;
  TileTransform(const TileTransform&) = delete;
  ~TileTransform() {
    if (spec_ != nullptr) zopiFFTFree_R_32f(spec_);
  }

  ZopStatus make(const Tiling& tiling) {
    const ZopStatus status =
        zopiFFTInitAlloc_R_32f(&spec_, tiling.x.order, tiling.y.order, ZOP_FFT_DIV_INV_BY_N, 0);
    return status == zopStatusOk ? zopiFFTGetBufSize_R_32f(spec_, &bufferBytes_) : status;
  }
  // A context and memory for it are there, so these cannot fail.
  void forward(Image<float> tile, unsigned char* buffer) const {
    zopiFFTFwd_RToPack_32f_C1R(tile.at, stepOf(tile), tile.at, stepOf(tile), spec_, buffer);
  }
  void inverse(Image<float> tile, unsigned char* buffer) const {
    zopiFFTInv_PackToR_32f_C1R(tile.at, stepOf(tile), tile.at, stepOf(tile), spec_, buffer);
  }
  // Also room for a row of a tile.
  int bufferBytes() const { return bufferBytes_; }

 private:
  static int stepOf(Image<float> tile) { return static_cast<int>(tile.step); }
  ZopFFTSpec_R_32f* spec_ = nullptr;
  int bufferBytes_ = 0;
};

enum class Product { kConvolution, kCorrelation };

// What a thread has for a tile: the tile itself, and as much memory as the job asked for.
struct TileMemory {
  Image<float> tile;
  unsigned char* buffer;  // of the transform, free between transforms
  unsigned char* own;
};

// Goes through all tiles, of all channels. A job has
//   kProduct, Pixels      the product, and the layout of the large image
//   image                 the large image
//   bytes(tiling)         how much memory it needs for a tile
//   putSmall(c, tile, row)           puts channel c of the small image to the upper left of a tile of zeros
//   see(tiling, tile, memory)        sees a tile before it is transformed
//   give(tiling, c, tile, results, memory)   takes the results
template <class Job>
ZopStatus throughTiles(const Tiling& tiling, const Job& job) {
  using Layout = typename Job::Pixels;
  TileTransform transform;
  if (const ZopStatus bad = transform.make(tiling)) return bad;
  constexpr std::ptrdiff_t kLine = 64;
  const auto inLines = [](std::ptrdiff_t bytes) { return (bytes + kLine - 1) / kLine * kLine; };
  const std::ptrdiff_t tileBytes = inLines(tiling.bytes()), bufferBytes = inLines(transform.bufferBytes());
  const std::ptrdiff_t sliceBytes = tileBytes + bufferBytes + inLines(job.bytes(tiling));
  if (sliceBytes > INT32_MAX) return zopStatusNoMemory;

  const Scratch memory = newScratch(Layout::colours * tileBytes + bufferBytes);
  if (memory == nullptr) return zopStatusNoMemory;
  const auto spectrum = [&](int c) { return tiling.tileAt(memory.get() + c * tileBytes); };
  for (int c = 0; c < Layout::colours; ++c) {
    unsigned char* buffer = memory.get() + Layout::colours * tileBytes;
    tiling.clear(spectrum(c));
    job.putSmall(c, spectrum(c), buffer);
    transform.forward(spectrum(c), buffer);
  }

  const auto one = [&](const Tile& t, int c, const TileMemory& m) {
    const auto channel = pixelsFrom<Layout>(channelOf<Layout>(job.image, c), t.samples.x, t.samples.y);
    if (t.block.width < tiling.size().width || t.block.height < tiling.size().height) tiling.clear(m.tile);
    takeNumbers<Layout>(channel, pixelsFrom<C1>(m.tile, t.margin.x, t.margin.y), t.block, m.buffer);
    job.see(tiling, t, m);
    transform.forward(m.tile, m.buffer);
    if constexpr (Job::kProduct == Product::kCorrelation)
      multiplyPackedByConjugate<C1>(m.tile, spectrum(c), m.tile, tiling.size());
    else
      multiplyPacked<C1>(spectrum(c), m.tile, m.tile, tiling.size());
    transform.inverse(m.tile, m.buffer);
    job.give(tiling, c, t, pixelsFrom<C1>(Image<const float>(m.tile), tiling.x.first, tiling.y.first), m);
  };
  return walkSlices(
      true, tiling.count(), static_cast<int>(sliceBytes), [&](unsigned char* slice, int begin, int end) {
        const RoundingToNearest nearest;
        const TileMemory m = {tiling.tileAt(slice), slice + tileBytes, slice + tileBytes + bufferBytes};
        tiling.clear(m.tile);
        for (int i = begin; i < end; ++i) {
          for (int c = 0; c < Layout::colours; ++c) one(tiling.tile(i), c, m);
        }
      });
}

}  // namespace zopi
