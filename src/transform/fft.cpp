// Fourier transforms of images: contexts, and the order of rows and columns.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>

#include "core/context.h"
#include "core/memory.h"
#include "core/pixelwise.h"
#include "core/rounding.h"
#include "move/copy.h"
#include "transform/fft_rows.h"
#include "transform/packed_products.h"
#include "transform/tile_filter.h"
#include "zopi/transform.h"

namespace zopi {
namespace {

// What every context of a Fourier transform starts with.
struct FftContext {
  ContextTag tag;
  std::int32_t orderX, orderY;
  std::uint32_t hint;
  std::int32_t bufSize;

  int width() const { return 1 << orderX; }
  int height() const { return 1 << orderY; }
};

// By what the two directions of an axis multiply.
struct AxisScale {
  float forward, inverse;
};

}  // namespace
}  // namespace zopi

struct ZopFFTSpec_C_32fc : zopi::FftContext {
  static constexpr zopi::ContextTag kTag = zopi::ContextTag::FftComplex;
  zopi::RowFft rows;
  zopi::LaneFft columns;
  zopi::AxisScale scaleX, scaleY;
};

struct ZopFFTSpec_R_32f : zopi::FftContext {
  static constexpr zopi::ContextTag kTag = zopi::ContextTag::FftReal;
  zopi::RealFft rows, ends;  // the first and the last column are real
  zopi::LaneFft columns;
  zopi::AxisScale scaleX, scaleY;
};

struct ZopFFTSpec_R_32s : zopi::FftContext {
  static constexpr zopi::ContextTag kTag = zopi::ContextTag::FftInteger;
  ZopFFTSpec_R_32f* numbers;
};

namespace zopi {
namespace {

constexpr std::int64_t kAlignment = 16;  // of a caller's buffer, which has room to be moved up to it

std::int64_t pointsOf(int order) { return std::int64_t{1} << order; }

// What an axis takes from the buffer because the stack does not hold it.
std::int64_t axisBytes(int order) { return order <= kFftStackOrder ? 0 : 32 * pointsOf(order); }

std::int64_t complexBytes(int orderX, int orderY) {
  return std::max(axisBytes(orderX), axisBytes(orderY) + 64 * pointsOf(orderY)) + kAlignment;
}
std::int64_t realBytes(int orderX, int orderY) {
  const std::int64_t rows = 16 * pointsOf(orderX) + axisBytes(orderX),
                     columns = 32 * pointsOf(orderY) + axisBytes(orderY),
                     ends = 16 * pointsOf(orderY) + axisBytes(orderY);
  return std::max(rows, std::max(columns, ends)) + kAlignment;
}
std::int64_t integerBytes(int orderX, int orderY) {
  return 16 * pointsOf(orderX + orderY) + 4 * pointsOf(orderX) + 16 + realBytes(orderX, orderY);
}

AxisScale scaleOf(int order, int flag) {
  const double n = std::ldexp(1, order);
  const auto quotient = static_cast<float>(1 / n), root = static_cast<float>(1 / std::sqrt(n));
  return {flag == ZOP_FFT_DIV_FWD_BY_N   ? quotient
          : flag == ZOP_FFT_DIV_BY_SQRTN ? root
                                         : 1.0f,
          flag == ZOP_FFT_DIV_INV_BY_N   ? quotient
          : flag == ZOP_FFT_DIV_BY_SQRTN ? root
                                         : 1.0f};
}

ZopStatus checkOrders(int orderX, int orderY) {
  const auto bad = [](int order) { return order < 0 || order > 30; };
  return bad(orderX) || bad(orderY) ? zopStatusBadOrder : zopStatusOk;
}

ZopStatus checkFlag(int flag) {
  const bool known = flag == ZOP_FFT_DIV_FWD_BY_N || flag == ZOP_FFT_DIV_INV_BY_N ||
                     flag == ZOP_FFT_DIV_BY_SQRTN || flag == ZOP_FFT_NODIV_BY_ANY;
  return known ? zopStatusOk : zopStatusBadFlag;
}

void build(TableSpace& space, ZopFFTSpec_C_32fc& spec) {
  // A single column is transformed as if it were a row.
  spec.rows = rowFft(space, spec.orderX == 0 ? spec.orderY : spec.orderX);
  spec.columns = laneFft(space, spec.orderY);
}
void build(TableSpace& space, ZopFFTSpec_R_32f& spec) {
  spec.rows = realFft(space, spec.orderX);
  spec.ends = realFft(space, spec.orderY);
  spec.columns = laneFft(space, spec.orderY);
}

template <class Spec>
ZopStatus newFloatSpec(Spec** out, const FftContext& context, int flag) {
  Spec spec = {};
  static_cast<FftContext&>(spec) = context;
  spec.scaleX = scaleOf(context.orderX, flag);
  spec.scaleY = scaleOf(context.orderY, flag);
  TableSpace size(nullptr);
  size.take<Spec>(1);
  build(size, spec);
  Spec* made = newContext<Spec>(size.bytes());
  if (made == nullptr) return zopStatusNoMemory;
  TableSpace space(reinterpret_cast<unsigned char*>(made));
  space.take<Spec>(1);
  build(space, spec);
  *made = spec;
  *out = made;
  return zopStatusOk;
}

ZopStatus newSpec(ZopFFTSpec_C_32fc** out, const FftContext& context, int flag) {
  return newFloatSpec(out, context, flag);
}
ZopStatus newSpec(ZopFFTSpec_R_32f** out, const FftContext& context, int flag) {
  return newFloatSpec(out, context, flag);
}
ZopStatus newSpec(ZopFFTSpec_R_32s** out, const FftContext& context, int flag) {
  auto* made = newContext<ZopFFTSpec_R_32s>(sizeof(ZopFFTSpec_R_32s));
  if (made == nullptr) return zopStatusNoMemory;
  FftContext inner = context;
  inner.tag = ContextTag::FftReal;
  inner.bufSize = static_cast<std::int32_t>(realBytes(context.orderX, context.orderY));
  static_cast<FftContext&>(*made) = context;
  const ZopStatus status = newSpec(&made->numbers, inner, flag);
  if (status != zopStatusOk)
    releaseContext(made);
  else
    *out = made;
  return status;
}

template <class Spec>
ZopStatus createSpec(Spec** out, int orderX, int orderY, int flag, unsigned hint,
                     std::int64_t (*bytes)(int, int)) {
  const std::int64_t bufSize = bytes(orderX, orderY);
  if (bufSize > INT32_MAX) return zopStatusNoMemory;
  return newSpec(out, {Spec::kTag, orderX, orderY, hint, static_cast<std::int32_t>(bufSize)}, flag);
}

template <class Spec>
ZopStatus freeSpec(Spec* spec) {
  if constexpr (std::is_same_v<Spec, ZopFFTSpec_R_32s>) releaseContext(spec->numbers);
  releaseContext(spec);
  return zopStatusOk;
}

template <class Spec>
ZopStatus bufferSize(const Spec* spec, int* bytes) {
  *bytes = spec->bufSize;
  return zopStatusOk;
}

// The scratch memory of a call: the caller's, or memory of our own.
class Buffer {
 public:
  Buffer(const FftContext& context, Zop8u* callers)
      : own_(callers == nullptr ? static_cast<unsigned char*>(zopAllocBytes(context.bufSize)) : nullptr) {
    const auto address = reinterpret_cast<std::uintptr_t>(callers == nullptr ? own_.get() : callers);
    at_ = reinterpret_cast<float*>((address + kAlignment - 1) / kAlignment * kAlignment);
  }
  float* at() const { return at_; }

 private:
  struct Release {
    void operator()(unsigned char* block) const { zopFreeAligned(block); }
  };
  std::unique_ptr<unsigned char, Release> own_;
  float* at_;
};

template <class T>
Signals<T> rowSignals(Image<T> image, std::ptrdiff_t distance = 1) {
  return {image.at, distance * static_cast<std::ptrdiff_t>(sizeof(T)), image.step};
}

ZopStatus transform(Direction direction, Image<const Zop32fc> src, Image<Zop32fc> dst,
                    const ZopFFTSpec_C_32fc* spec, Zop8u* callersBuffer) {
  const Buffer buffer(*spec, callersBuffer);
  if (buffer.at() == nullptr) return zopStatusNoMemory;
  const bool forward = direction == Direction::Forward;
  const float scaleX = forward ? spec->scaleX.forward : spec->scaleX.inverse,
              scaleY = forward ? spec->scaleY.forward : spec->scaleY.inverse;
  const FftRows& rows = fftTable();
  if (spec->orderX == 0) {
    rows.complexRows(spec->rows, direction, scaleY, {src.at, src.step, 0}, {dst.at, dst.step, 0}, 1,
                     buffer.at());
    return zopStatusOk;
  }
  rows.complexRows(spec->rows, direction, scaleX, rowSignals(src), rowSignals(dst), spec->height(),
                   buffer.at());
  if (spec->orderY > 0) {
    rows.columns(spec->columns, direction, scaleY,
                 {{reinterpret_cast<float*>(dst.at), dst.step}, spec->width(), 1, 1}, buffer.at());
  }
  return zopStatusOk;
}

// The first and the last column, which are real, one channel after the other.
template <class Layout, class Transform>
void transformEnds(const ZopFFTSpec_R_32f& spec, Transform transform, float scale, Image<float> image,
                   float* buffer) {
  const std::ptrdiff_t last = std::ptrdiff_t{spec.width() - 1} * Layout::channels;
  for (int c = 0; c < Layout::colours; ++c) {
    const auto column = [&](float* at) {
      transform(spec.ends, scale, {at, image.step, 0}, {at, image.step, 0}, 1, buffer);
    };
    column(image.at + c);
    if (last > 0) column(image.at + c + last);
  }
}

template <class Layout>
void transformColumns(const ZopFFTSpec_R_32f& spec, Direction direction, float scale, Image<float> image,
                      float* buffer) {
  if (spec.width() < 4) return;
  const ComplexColumns columns = {
      {image.at + Layout::channels, image.step}, spec.width() / 2 - 1, Layout::channels, Layout::colours};
  fftTable().columns(spec.columns, direction, scale, columns, buffer);
}

template <class Layout>
void toPack(const ZopFFTSpec_R_32f& spec, Image<const float> src, Image<float> dst, float* buffer) {
  const FftRows& rows = fftTable();
  for (int c = 0; c < Layout::colours; ++c) {
    rows.toPack(spec.rows, spec.scaleX.forward,
                rowSignals(Image<const float>{src.at + c, src.step}, Layout::channels),
                rowSignals(Image<float>{dst.at + c, dst.step}, Layout::channels), spec.height(), buffer);
  }
  if (spec.orderY == 0) return;
  transformEnds<Layout>(spec, rows.toPack, spec.scaleY.forward, dst, buffer);
  transformColumns<Layout>(spec, Direction::Forward, spec.scaleY.forward, dst, buffer);
}

// Columns are transformed in the destination, so that rows of the source are copied there first.
template <class Layout>
void fromPack(const ZopFFTSpec_R_32f& spec, Image<const float> src, Image<float> dst, float* buffer) {
  const FftRows& rows = fftTable();
  Image<const float> packed = src;
  if (spec.orderY > 0) {
    if (src.at != dst.at) {
      const ZopImageSize size = {spec.width(), spec.height()};
      copyWritten<Layout>(src, dst, size);
    }
    packed = dst;
    transformEnds<Layout>(spec, rows.fromPack, spec.scaleY.inverse, dst, buffer);
    transformColumns<Layout>(spec, Direction::Inverse, spec.scaleY.inverse, dst, buffer);
  }
  for (int c = 0; c < Layout::colours; ++c) {
    rows.fromPack(spec.rows, spec.scaleX.inverse,
                  rowSignals(Image<const float>{packed.at + c, packed.step}, Layout::channels),
                  rowSignals(Image<float>{dst.at + c, dst.step}, Layout::channels), spec.height(), buffer);
  }
}

// A filter of tiles that are no higher than what goes through lanes on the stack: the first and the last
// column of the spectrum, in packed order, then the columns between, in lanes. Of higher tiles it is the
// spectrum as it is.
bool isInLanes(int orderY) { return orderY <= kFftStackOrder; }

template <class T>
T* lanesOf(const ZopFFTSpec_R_32f& spec, T* filter) {
  return filter + 2 * std::ptrdiff_t{spec.height()};
}

ComplexColumns innerColumns(const ZopFFTSpec_R_32f& spec, Image<float> tile) {
  return {{tile.at + 1, tile.step}, spec.width() / 2 - 1, 1, 1};
}

// The first and the last column, one after the other.
void takeEnds(const ZopFFTSpec_R_32f& spec, Image<const float> tile, float* ends) {
  for (int y = 0; y < spec.height(); ++y) {
    ends[y] = tile.row(y)[0];
    ends[spec.height() + y] = tile.row(y)[spec.width() - 1];
  }
}
void giveEnds(const ZopFFTSpec_R_32f& spec, const float* ends, Image<float> tile) {
  for (int y = 0; y < spec.height(); ++y) {
    tile.row(y)[0] = ends[y];
    tile.row(y)[spec.width() - 1] = ends[spec.height() + y];
  }
}

// Rows of tiles there and back.
void tileRowsToPack(const ZopFFTSpec_R_32f& spec, Image<float> tile, TileRows rows, float* buffer) {
  const Image<float> from = tile.from(rows.begin);
  fftTable().toPack(spec.rows, spec.scaleX.forward, rowSignals(Image<const float>(from)), rowSignals(from),
                    rows.end - rows.begin, buffer);
}
void tileRowsFromPack(const ZopFFTSpec_R_32f& spec, Image<float> tile, TileRows rows, float* buffer) {
  const Image<float> from = tile.from(rows.begin);
  fftTable().fromPack(spec.rows, spec.scaleX.inverse, rowSignals(Image<const float>(from)), rowSignals(from),
                      rows.end - rows.begin, buffer);
}
void tileColumns(const ZopFFTSpec_R_32f& spec, Direction direction, Image<float> tile, float* buffer) {
  const bool forward = direction == Direction::Forward;
  const float scale = forward ? spec.scaleY.forward : spec.scaleY.inverse;
  transformEnds<C1>(spec, forward ? fftTable().toPack : fftTable().fromPack, scale, tile, buffer);
  transformColumns<C1>(spec, direction, scale, tile, buffer);
}

template <class Layout>
ZopStatus transformToPack(Image<const float> src, Image<float> dst, const ZopFFTSpec_R_32f* spec,
                          Zop8u* callersBuffer) {
  const Buffer buffer(*spec, callersBuffer);
  if (buffer.at() == nullptr) return zopStatusNoMemory;
  toPack<Layout>(*spec, src, dst, buffer.at());
  return zopStatusOk;
}
template <class Layout>
ZopStatus transformFromPack(Image<const float> src, Image<float> dst, const ZopFFTSpec_R_32f* spec,
                            Zop8u* callersBuffer) {
  const Buffer buffer(*spec, callersBuffer);
  if (buffer.at() == nullptr) return zopStatusNoMemory;
  fromPack<Layout>(*spec, src, dst, buffer.at());
  return zopStatusOk;
}

// Integers become numbers in the buffer, which is transformed in place. Alpha goes along, but only that far.
template <class Layout, class S, class T, class Transform>
ZopStatus throughNumbers(const ConversionRow<S, float>& toNumbers,
                         const ConversionRow<float, T, double>& back, Transform transform, Image<const S> src,
                         Image<T> dst, const ZopFFTSpec_R_32s* spec, int scaleFactor, Zop8u* callersBuffer) {
  const Buffer buffer(*spec, callersBuffer);
  if (buffer.at() == nullptr) return zopStatusNoMemory;
  const RoundingToNearest nearest;
  const ZopImageSize size = {spec->width(), spec->height()};
  const std::ptrdiff_t rowSamples = std::ptrdiff_t{size.width} * Layout::channels;
  const Image<float> numbers = {buffer.at(), rowSamples * static_cast<std::ptrdiff_t>(sizeof(float))};
  using All = std::conditional_t<std::is_same_v<Layout, AC4>, C4, Layout>;
  mapImage<All>(toNumbers, src, numbers, size);
  transform(*spec->numbers, numbers, numbers, numbers.row(size.height));
  // Beyond that every number saturates, or is 0.
  const double factor = std::ldexp(1.0, -std::clamp(scaleFactor, -1000, 1000));
  mapImage<Layout>(back, Image<const float>(numbers), dst, size, factor);
  return zopStatusOk;
}
template <class Layout>
ZopStatus transformToPack(Image<const Zop8u> src, Image<Zop32s> dst, const ZopFFTSpec_R_32s* spec,
                          int scaleFactor, Zop8u* callersBuffer) {
  return throughNumbers<Layout>(fftTable().fromBytes, fftTable().toIntegers, toPack<Layout>, src, dst, spec,
                                scaleFactor, callersBuffer);
}
template <class Layout>
ZopStatus transformFromPack(Image<const Zop32s> src, Image<Zop8u> dst, const ZopFFTSpec_R_32s* spec,
                            int scaleFactor, Zop8u* callersBuffer) {
  return throughNumbers<Layout>(fftTable().fromIntegers, fftTable().toBytes, fromPack<Layout>, src, dst, spec,
                                scaleFactor, callersBuffer);
}

}  // namespace

std::ptrdiff_t tileFilterBytes(int orderX, int orderY) {
  const std::int64_t width = std::int64_t{1} << orderX, height = std::int64_t{1} << orderY;
  const std::int64_t columns = std::max<std::int64_t>(width / 2, kFftLanes);
  return static_cast<std::ptrdiff_t>(height * (isInLanes(orderY) ? 2 + 2 * columns : width) * 4);
}

void makeTileFilter(const ZopFFTSpec_R_32f& spec, Image<float> tile, int rows, bool conjugate, float* filter,
                    float* buffer) {
  tileRowsToPack(spec, tile, {0, rows}, buffer);
  tileColumns(spec, Direction::Forward, tile, buffer);
  // The imaginary parts of the ends stand in every second row.
  const auto conjugateColumn = [&](float* at, std::ptrdiff_t stride) {
    for (int y = 2; conjugate && y < spec.height(); y += 2) at[y * stride] = -at[y * stride];
  };
  if (isInLanes(spec.orderY)) {
    takeEnds(spec, tile, filter);
    conjugateColumn(filter, 1);
    conjugateColumn(filter + spec.height(), 1);
    if (spec.width() > 2)
      fftTable().takeLanes(innerColumns(spec, tile), spec.height(), conjugate, lanesOf(spec, filter));
    return;
  }
  const Image<float> spectrum = {filter, spec.width() * static_cast<std::ptrdiff_t>(sizeof(float))};
  copyPixels<C1>(Image<const float>(tile), spectrum, {spec.width(), spec.height()});
  conjugateColumn(filter, spec.width());
  conjugateColumn(filter + spec.width() - 1, spec.width());
  for (int y = 0; conjugate && y < spec.height(); ++y) {
    for (int x = 2; x < spec.width() - 1; x += 2) spectrum.row(y)[x] = -spectrum.row(y)[x];
  }
}

void applyTileFilter(const ZopFFTSpec_R_32f& spec, const float* filter, Image<float> tile, TileRows filled,
                     TileRows wanted, float* buffer) {
  tileRowsToPack(spec, tile, filled, buffer);
  if (isInLanes(spec.orderY)) {
    // The last vector of columns goes over the last column, and overwrites it. Both ends are elsewhere until
    // then.
    const std::ptrdiff_t step = spec.height() * static_cast<std::ptrdiff_t>(sizeof(float));
    const Image<float> ends = {buffer, step};
    takeEnds(spec, tile, ends.at);
    fftTable().toPack(spec.ends, spec.scaleY.forward, rowSignals(Image<const float>(ends)), rowSignals(ends),
                      2, nullptr);
    for (int i = 0; i < 2; ++i) {
      const Image<float> column = {ends.row(i), sizeof(float)};
      multiplyPackedColumn<C1>(packedTable().of<C1>().product, 0.0f,
                               Image<const float>{filter + i * spec.height(), sizeof(float)},
                               Image<const float>(column), column, spec.height());
    }
    fftTable().fromPack(spec.ends, spec.scaleY.inverse, rowSignals(Image<const float>(ends)),
                        rowSignals(ends), 2, nullptr);
    if (spec.width() > 2)
      fftTable().filterColumns(spec.columns, spec.scaleY.inverse, innerColumns(spec, tile),
                               lanesOf(spec, filter));
    giveEnds(spec, ends.at, tile);
  } else {
    const Image<const float> spectrum = {filter, spec.width() * static_cast<std::ptrdiff_t>(sizeof(float))};
    tileColumns(spec, Direction::Forward, tile, buffer);
    multiplyPacked<C1>(spectrum, tile, tile, {spec.width(), spec.height()});
    tileColumns(spec, Direction::Inverse, tile, buffer);
  }
  tileRowsFromPack(spec, tile, wanted, buffer);
}

}  // namespace zopi

#include "transform/fft.exports.inc"
