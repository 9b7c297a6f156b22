// Convolutions: which image is the small one, and which way is the shortest for its size.
#include <cstdint>
#include <cstring>
#include <utility>

#include "core/checks.h"
#include "correlation/convolution_rows.h"
#include "correlation/placement.h"
#include "correlation/tiles.h"
#include "filter/general_rows.h"
#include "zopi/arith.h"
#include "zopi/filter.h"

namespace zopi {
namespace {

ZopStatus checkConvolutionDivisor(int divisor) { return divisor == 0 ? zopStatusZeroDivisor : zopStatusOk; }

// A call whose images are in order.
template <class Layout, class T>
struct Convolution {
  Image<const T> large, small;
  ZopImageSize largeSize, smallSize;
  Image<T> out;
  ZopImageSize size;
  int divisor;
  float factor;  // its reciprocal
};

float reciprocalOf(int divisor) {
  const RoundingToNearest nearest;
  return static_cast<float>(1.0 / divisor);
}

// Below so many pixels, sums are made as they stand: of a full result, of a small image, and of a result
// inside the large image.
constexpr int kFewResults = 1705, kFewWeights = 121, kFewPlaces = 81;
// So many times the pixels of the small image make it worth while to cut the large one into tiles.
constexpr int kTimesForTiles = 7;

// Planes of working memory, from one block.
class PlaneMemory {
 public:
  template <class T>
  static std::ptrdiff_t bytes(ZopImageSize size) {
    return step<T>(size) * size.height;
  }
  explicit PlaneMemory(std::ptrdiff_t bytes)
      : memory_(newScratch(bytes)), exists_(bytes == 0 || memory_ != nullptr), next_(memory_.get()) {}
  bool exists() const { return exists_; }

  template <class T>
  Image<T> take(ZopImageSize size) {
    return {reinterpret_cast<T*>(std::exchange(next_, next_ + bytes<T>(size))), step<T>(size)};
  }

 private:
  template <class T>
  static std::ptrdiff_t step(ZopImageSize size) {
    return (size.width * static_cast<std::ptrdiff_t>(sizeof(T)) + 31) / 32 * 32;
  }
  Scratch memory_;
  bool exists_;
  unsigned char* next_;
};

template <class T>
int stepOf(Image<T> image) {
  return static_cast<int>(image.step);
}

// The weights of one channel of the small image, whose rows may stand at any address.
template <class Layout, class T, class Weight>
void takeWeights(Image<const T> channel, ZopImageSize size, Weight* weights) {
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      T sample;
      std::memcpy(&sample, channel.row(y) + std::ptrdiff_t{x} * Layout::channels, sizeof sample);
      *weights++ = sample;
    }
  }
}

// Where results of one channel are made: at their place, or in a plane from which they are given there.
template <class Layout, class T, class Make>
void throughPlane(Image<T> out, int c, ZopImageSize size, Image<T> plane, const Make& make) {
  const Image<T> channel = channelOf<Layout>(out, c);
  if constexpr (Layout::channels == 1) {
    make(channel);
  } else {
    make(plane);
    insertChannel<Layout>(Image<const T>(plane), channel, size);
  }
}
template <class Layout>
constexpr ZopImageSize planeSize(ZopImageSize size) {
  return Layout::channels == 1 ? ZopImageSize{0, 0} : size;
}

// Full convolutions as they stand. Integers see zeros all around the large image,
template <class Layout, class T>
ZopStatus sumUp(const Convolution<Layout, T>& call) {
  const ZopImageSize kernel = call.smallSize;
  const int before = kernel.width - 1, above = kernel.height - 1;
  const ZopImageSize padded = {call.largeSize.width + 2 * before, call.largeSize.height + 2 * above},
                     weightCount = {static_cast<int>(areaOf(kernel)), 1},
                     tapsSize = {static_cast<int>(tapCount(kernel, 2)), 1},
                     outPlane = planeSize<Layout>(call.size);
  PlaneMemory planes(PlaneMemory::bytes<T>(padded) + PlaneMemory::bytes<Zop32s>(weightCount) +
                     PlaneMemory::bytes<Zop32s>(tapsSize) + PlaneMemory::bytes<T>(outPlane));
  if (!planes.exists()) return zopStatusNoMemory;
  const Image<T> large = planes.take<T>(padded);
  Zop32s* const weights = planes.take<Zop32s>(weightCount).at;
  Zop32s* const taps = planes.take<Zop32s>(tapsSize).at;
  const Image<T> plane = planes.take<T>(outPlane);
  const Kernel pairs = {kernel.width, kernel.height, taps, Division::kFactorAndHalf, 0, call.factor};

  setZero<C1>(large, padded);
  for (int c = 0; c < Layout::colours; ++c) {
    extractChannel<Layout>(channelOf<Layout>(call.large, c), pixelsFrom<C1>(large, before, above),
                           call.largeSize);
    takeWeights<Layout>(channelOf<Layout>(call.small, c), kernel, weights);
    turn<Zop32s, 2>(
        kernel, [=](std::int64_t i) { return weights[i]; }, taps);
    throughPlane<Layout>(call.out, c, call.size, plane, [&](Image<T> to) {
      walkBands(call.size.height, [&](int begin, int end) {
        const RoundingToNearest nearest;
        generalTable().of<T>().pairs(pairs, {1, false}, large.from(begin), to.from(begin),
                                     {call.size.width, end - begin});
      });
    });
  }
  return zopStatusOk;
}

// numbers only beside it.
template <class Layout>
ZopStatus sumUp(const Convolution<Layout, Zop32f>& call) {
  const ZopImageSize kernel = call.smallSize, row = {call.largeSize.width, 1};
  const int before = kernel.width - 1;
  const ZopImageSize padded = {call.largeSize.width + 2 * before + kFullRoom, call.largeSize.height},
                     weightCount = {static_cast<int>(areaOf(kernel)), 1},
                     outPlane = planeSize<Layout>(call.size);
  PlaneMemory planes(PlaneMemory::bytes<double>(padded) + PlaneMemory::bytes<float>(row) +
                     PlaneMemory::bytes<float>(weightCount) + PlaneMemory::bytes<float>(outPlane));
  if (!planes.exists()) return zopStatusNoMemory;
  const Image<double> large = planes.take<double>(padded);
  const Image<float> samples = planes.take<float>(row);
  float* const weights = planes.take<float>(weightCount).at;
  const Image<float> plane = planes.take<float>(outPlane);

  setZero<C1>(large.template as<float>(), {2 * padded.width, padded.height});
  for (int c = 0; c < Layout::colours; ++c) {
    for (int y = 0; y < call.largeSize.height; ++y) {
      extractChannel<Layout>(channelOf<Layout>(call.large, c).from(y), samples, row);
      convolutionTable().widen(samples, pixelsFrom<C1>(large, before, y), extent(row));
    }
    takeWeights<Layout>(channelOf<Layout>(call.small, c), kernel, weights);
    const FullConvolution full = {large, call.largeSize, weights, kernel};
    throughPlane<Layout>(call.out, c, call.size, plane, [&](Image<float> to) {
      walkBands(call.size.height,
                [&](int begin, int end) { convolutionTable().full(full, begin, end, to.from(begin)); });
    });
  }
  return zopStatusOk;
}

void filter(Image<const Zop8u> src, Image<Zop8u> dst, ZopImageSize size, const Zop32s* kernel,
            ZopImageSize kernelSize, ZopImagePoint anchor, int divisor) {
  zopiFilter_8u_C1R(src.at, stepOf(src), dst.at, stepOf(dst), size, kernel, kernelSize, anchor, divisor);
}
void filter(Image<const Zop16s> src, Image<Zop16s> dst, ZopImageSize size, const Zop32s* kernel,
            ZopImageSize kernelSize, ZopImagePoint anchor, int divisor) {
  zopiFilter_16s_C1R(src.at, stepOf(src), dst.at, stepOf(dst), size, kernel, kernelSize, anchor, divisor);
}
void filter(Image<const Zop32f> src, Image<Zop32f> dst, ZopImageSize size, const Zop32f* kernel,
            ZopImageSize kernelSize, ZopImagePoint anchor, int) {
  zopiFilter_32f_C1R(src.at, stepOf(src), dst.at, stepOf(dst), size, kernel, kernelSize, anchor);
}

// A small image of few pixels is a kernel. Filters need no memory for so few weights.
template <class Layout, class T>
ZopStatus filterBySmall(const Convolution<Layout, T>& call) {
  using Weight = std::conditional_t<std::is_same_v<T, Zop32f>, Zop32f, Zop32s>;
  Weight kernel[kFewWeights];
  const ZopImageSize largePlane = planeSize<Layout>(call.largeSize), outPlane = planeSize<Layout>(call.size);
  PlaneMemory planes(PlaneMemory::bytes<T>(largePlane) + PlaneMemory::bytes<T>(outPlane));
  if (!planes.exists()) return zopStatusNoMemory;
  const Image<T> samples = planes.take<T>(largePlane), plane = planes.take<T>(outPlane);
  const ZopImagePoint anchor = {call.smallSize.width - 1, call.smallSize.height - 1};
  for (int c = 0; c < Layout::colours; ++c) {
    Image<const T> large = call.large;
    if constexpr (Layout::channels > 1) {
      extractChannel<Layout>(channelOf<Layout>(call.large, c), samples, call.largeSize);
      large = samples;
    }
    takeWeights<Layout>(channelOf<Layout>(call.small, c), call.smallSize, kernel);
    throughPlane<Layout>(call.out, c, call.size, plane, [&](Image<T> to) {
      filter(large, to, call.size, kernel, call.smallSize, anchor, call.divisor);
    });
  }
  return zopStatusOk;
}

// Few places: each row of the small image is a kernel of its own, the last one first.
template <class Layout, class T>
ZopStatus filterByRows(const Convolution<Layout, T>& call) {
  const ZopImageSize row = {call.largeSize.width, 1};
  PlaneMemory planes(PlaneMemory::bytes<float>(call.largeSize) + PlaneMemory::bytes<float>(call.smallSize) +
                     PlaneMemory::bytes<T>(row));
  if (!planes.exists()) return zopStatusNoMemory;
  const Image<float> large = planes.take<float>(call.largeSize), small = planes.take<float>(call.smallSize);
  auto* const samples = reinterpret_cast<unsigned char*>(planes.take<T>(row).at);
  float sums[Layout::colours][kFewPlaces] = {}, products[kFewPlaces];
  const int step = call.size.width * static_cast<int>(sizeof(float)), last = call.smallSize.height - 1;
  for (int c = 0; c < Layout::colours; ++c) {
    takeNumbers<Layout>(channelOf<Layout>(call.large, c), large, call.largeSize, samples);
    takeNumbers<Layout>(channelOf<Layout>(call.small, c), small, call.smallSize, samples);
    for (int j = last; j >= 0; --j) {
      const ZopStatus status =
          zopiFilterRow_32f_C1R(large.row(last - j), stepOf(large), products, step, call.size, small.row(j),
                                call.smallSize.width, call.smallSize.width - 1);
      if (status != zopStatusOk) return status;
      zopiAdd_32f_C1IR(products, step, sums[c], step, call.size);
    }
  }
  for (int c = 0; c < Layout::colours; ++c) {
    const Image<const float> from = {sums[c], step};
    const Image<T> to = channelOf<Layout>(call.out, c);
    if constexpr (std::is_same_v<T, Zop32f>) {
      insertChannel<Layout>(from, to, call.size);
    } else {
      const RoundingToNearest nearest;
      T results[kFewPlaces];
      const Image<T> made = {results, call.size.width * static_cast<std::ptrdiff_t>(sizeof(T))};
      mapImage<C1>(convolutionTable().of<T>().ofSums, from, made, call.size, call.factor);
      insertChannel<Layout>(Image<const T>(made), to, call.size);
    }
  }
  return zopStatusOk;
}

// What goes through transforms.
template <class Layout, class T>
struct ByTransform {
  using Pixels = Layout;
  static constexpr Product kProduct = Product::kConvolution;

  Convolution<Layout, T> call;
  Image<const T> image;
  ZopImageSize smallSize() const { return call.smallSize; }

  // Results of integers are made in a plane where they have to be parted.
  static std::ptrdiff_t planeStep(const Tiling& tiling) {
    return (tiling.x.step * static_cast<std::ptrdiff_t>(sizeof(T)) + 63) / 64 * 64;
  }
  static std::ptrdiff_t bytes(const Tiling& tiling) {
    return std::is_same_v<T, Zop32f> || Layout::channels == 1 ? 0 : planeStep(tiling) * tiling.y.step;
  }
  void putSmall(int c, Image<float> tile, unsigned char* row) const {
    takeNumbers<Layout>(channelOf<Layout>(call.small, c), tile, call.smallSize, row);
  }
  static void see(const Tiling&, const Tile&, const TileMemory&) {}
  void give(const Tiling& tiling, int c, const Tile& t, Image<const float> products,
            const TileMemory& m) const {
    const Image<T> to = pixelsFrom<Layout>(call.out, t.results.x, t.results.y);
    if constexpr (std::is_same_v<T, Zop32f>) {
      insertChannel<Layout>(products, channelOf<Layout>(to, c), t.size);
    } else {
      const Image<T> plane = {reinterpret_cast<T*>(m.own), planeStep(tiling)};
      throughPlane<Layout>(to, c, t.size, plane, [&](Image<T> made) {
        mapImage<C1>(convolutionTable().of<T>().ofProducts, products, made, t.size, call.factor);
      });
    }
  }
};

template <class Layout, class T>
ZopStatus transformed(const Convolution<Layout, T>& call, const Tiling& tiling) {
  return throughTiles(tiling, ByTransform<Layout, T>{call, call.large});
}

// Tiles overlap by what the small image needs; of each, the first results are not right.
template <class Places>
TileAxis tiled(int samples, int small) {
  const int places = Places::places(samples, small), order = orderOfTiles(small, places, 8);
  const std::int64_t length = std::int64_t{1} << order;
  return {order, static_cast<int>(length + 1 - small), small - 1, places, samples, Places::before(small)};
}
template <class Places, class Layout, class T>
ZopStatus byTiles(const Convolution<Layout, T>& call) {
  return transformed(call, {tiled<Places>(call.largeSize.width, call.smallSize.width),
                            tiled<Places>(call.largeSize.height, call.smallSize.height)});
}

// One tile that holds the whole result.
TileAxis whole(int samples, int small) {
  const int places = Full::places(samples, small);
  return {orderFor(places), places, 0, places, samples, 0};
}

template <class Layout, class T>
ZopStatus convolveFull(Image<const T> a, ZopImageSize aSize, Image<const T> b, ZopImageSize bSize,
                       Image<T> dst, int divisor = 1) {
  if (aSize.width < bSize.width) {
    std::swap(a, b);
    std::swap(aSize, bSize);
  }
  const Convolution<Layout, T> call = {
      a, b, aSize, bSize, dst, placesOf<Full>(aSize, bSize), divisor, reciprocalOf(divisor)};
  if (areaOf(call.size) < kFewResults || areaOf(bSize) < kFewWeights) return sumUp(call);
  if (areaOf(aSize) > kTimesForTiles * areaOf(bSize)) return byTiles<Full>(call);
  return transformed(call, {whole(aSize.width, bSize.width), whole(aSize.height, bSize.height)});
}

template <class Layout, class T>
ZopStatus convolveValid(Image<const T> a, ZopImageSize aSize, Image<const T> b, ZopImageSize bSize,
                        Image<T> dst, int divisor = 1) {
  if (aSize.width < bSize.width || aSize.height < bSize.height) {
    std::swap(a, b);
    std::swap(aSize, bSize);
  }
  const Convolution<Layout, T> call = {
      a, b, aSize, bSize, dst, placesOf<Valid>(aSize, bSize), divisor, reciprocalOf(divisor)};
  if (ZopStatus bad = checkSize(call.size)) return bad;
  if (areaOf(bSize) < kFewWeights) return filterBySmall(call);
  if (areaOf(call.size) < kFewPlaces) return filterByRows(call);
  return byTiles<Valid>(call);
}

}  // namespace
}  // namespace zopi

#include "correlation/convolution.exports.inc"
