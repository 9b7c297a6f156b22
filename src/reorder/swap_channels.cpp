// Channels in another order.
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/walk.h"
#include "move/set.h"
#include "reorder/swap_channels_rows.h"

namespace zopi {
namespace {

struct Order {
  std::int32_t of[3];
};
Order orderAt(const Zop32s* dstOrder) {
  Order order;
  std::memcpy(order.of, dstOrder, sizeof order.of);
  return order;
}

ZopStatus checkChannelOrder(const Zop32s* dstOrder) {
  const Order order = orderAt(dstOrder);
  for (const std::int32_t channel : order.of) {
    if (channel < 0 || channel > 2) return zopStatusBadChannelOrder;
  }
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus swapChannels(Image<const T> src, Image<T> dst, ZopImageSize size, const Zop32s* dstOrder) {
  const Order order = orderAt(dstOrder);
  const SwapRows<BitsOf<T>>& rows = swapTable().template of<BitsOf<T>>();
  const SwapRow row = std::is_same_v<Layout, AC4> ? rows.colours : rows.pixels;
  walkSerial(
      extent(size, Layout::channels * sizeof(T)),
      [&](Image<const std::uint8_t> from, Image<std::uint8_t> to, Extent e) { row(order.of, from, to, e); },
      src.template as<std::uint8_t>(), dst.template as<std::uint8_t>());
  return zopStatusOk;
}

// Piece by piece from a copy, for a vector looks at more than it replaces.
ZopStatus swapInPlace(Image<Zop8u> pixels, ZopImageSize size, const Zop32s* dstOrder) {
  const Order order = orderAt(dstOrder);
  const SwapRow row = swapTable().of<std::uint8_t>().pixels;
  walkPieces(
      extent(size),
      [&](Image<Zop8u, 3> piece, Extent e) {
        alignas(64) std::uint8_t copy[3 * kPiece];
        const std::ptrdiff_t bytes = 3 * e.length;
        std::memcpy(copy, piece.at, bytes);
        row(order.of, {copy, bytes}, {piece.at, bytes}, {bytes, 1});
      },
      pixels.as<Zop8u, 3>());
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "reorder/swap_channels.exports.inc"
