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
#include "transform/tile_filter.h"
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
  std::ptrdiff_t step() const { return ((std::ptrdiff_t{1} << x.order) + kTileGap) * kSampleBytes; }
  std::ptrdiff_t bytes() const { return step() << y.order; }
  ZopImageSize size() const { return {1 << x.order, 1 << y.order}; }
  Image<float> tileAt(void* memory) const { return {static_cast<float*>(memory), step()}; }

  // Zeros in a tile, but for a block that is going to be filled.
  void clearAround(Image<float> tile, ZopImagePoint at, ZopImageSize block) const {
    const int width = size().width + kTileGap, right = at.x + block.width, bottom = at.y + block.height;
    const auto clear = [&](int left, int top, ZopImageSize part) {
      if (part.width > 0 && part.height > 0) setZero<C1>(Image<float>{tile.row(top) + left, tile.step}, part);
    };
    clear(0, 0, {width, at.y});
    clear(0, at.y, {at.x, block.height});
    clear(right, at.y, {width - right, block.height});
    clear(0, bottom, {width, size().height - bottom});
  }

  Tile tile(int index) const {
    Tile t;
    cut(x, index % x.count(), t.results.x, t.size.width, t.samples.x, t.margin.x, t.block.width);
    cut(y, index / x.count(), t.results.y, t.size.height, t.samples.y, t.margin.y, t.block.height);
    return t;
  }

 private:
  static constexpr std::ptrdiff_t kSampleBytes = sizeof(float);

  static void cut(const TileAxis& axis, int i, int& result, int& results, int& sample, int& margin,
                  int& samples) {
    result = i * axis.step;
    results = std::min(axis.step, axis.results - result);
    margin = std::max(0, axis.before - result);
    sample = std::max(0, result - axis.before);
    samples = std::min(axis.samples - sample, (1 << axis.order) - margin);
  }
};

// The context of the transforms of tiles.
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
  const ZopFFTSpec_R_32f& spec() const { return *spec_; }
  // Also room for a row of samples of a tile.
  int bufferBytes() const { return bufferBytes_; }

 private:
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
//   image, smallSize()    the large image, and the size of the small one
//   bytes(tiling)         how much memory it needs for a tile
//   putSmall(c, tile, row)           puts channel c of the small image to the upper left of a tile of zeros
//   see(tiling, tile, memory)        sees a tile before it is transformed
//   give(tiling, c, tile, results, memory)   takes the results
template <class Job>
ZopStatus throughTiles(const Tiling& tiling, const Job& job) {
  using Layout = typename Job::Pixels;
  const RoundingToNearest nearest;
  TileTransform transform;
  if (const ZopStatus bad = transform.make(tiling)) return bad;
  const auto inLines = [](std::ptrdiff_t bytes) { return (bytes + 63) / 64 * 64; };
  const std::ptrdiff_t tileBytes = inLines(tiling.bytes()), bufferBytes = inLines(transform.bufferBytes()),
                       filterBytes = inLines(tileFilterBytes(tiling.x.order, tiling.y.order));
  const std::ptrdiff_t sliceBytes = tileBytes + bufferBytes + inLines(job.bytes(tiling));
  const Scratch memory = newScratch(Layout::colours * filterBytes + tileBytes + bufferBytes);
  if (memory == nullptr || sliceBytes > INT32_MAX) return zopStatusNoMemory;

  const auto filter = [&](int c) { return reinterpret_cast<float*>(memory.get() + c * filterBytes); };
  const auto bufferOf = [&](Image<float> tile) {
    return reinterpret_cast<unsigned char*>(tile.at) + tileBytes;
  };
  const Image<float> smallTile = tiling.tileAt(memory.get() + Layout::colours * filterBytes);
  for (int c = 0; c < Layout::colours; ++c) {
    unsigned char* buffer = bufferOf(smallTile);
    tiling.clearAround(smallTile, {0, 0}, {0, 0});
    job.putSmall(c, smallTile, buffer);
    makeTileFilter(transform.spec(), smallTile, job.smallSize().height,
                   Job::kProduct == Product::kCorrelation, filter(c), reinterpret_cast<float*>(buffer));
  }

  const auto one = [&](const Tile& t, int c, const TileMemory& m) {
    const auto channel = pixelsFrom<Layout>(channelOf<Layout>(job.image, c), t.samples.x, t.samples.y);
    tiling.clearAround(m.tile, t.margin, t.block);
    takeNumbers<Layout>(channel, pixelsFrom<C1>(m.tile, t.margin.x, t.margin.y), t.block, m.buffer);
    job.see(tiling, t, m);
    applyTileFilter(transform.spec(), filter(c), m.tile, {t.margin.y, t.margin.y + t.block.height},
                    {tiling.y.first, tiling.y.first + t.size.height}, reinterpret_cast<float*>(m.buffer));
    job.give(tiling, c, t, pixelsFrom<C1>(Image<const float>(m.tile), tiling.x.first, tiling.y.first), m);
  };
  return walkSlices(true, tiling.count(), static_cast<int>(sliceBytes),
                    [&](unsigned char* slice, int begin, int end) {
                      const RoundingToNearest inThread;
                      const Image<float> tile = tiling.tileAt(slice);
                      const TileMemory m = {tile, bufferOf(tile), bufferOf(tile) + bufferBytes};
                      for (int i = begin; i < end; ++i) {
                        for (int c = 0; c < Layout::colours; ++c) one(tiling.tile(i), c, m);
                      }
                    });
}

}  // namespace zopi
