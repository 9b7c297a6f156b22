#include "geom/turn_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geom/turn_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Pixels one by one, for the edges and for sizes that are no lane's.
template <int kBytes, int kWritten>
void turnSingly(Image<const std::uint8_t> src, Image<std::uint8_t> dst, ZopImageSize size) {
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x)
      std::memcpy(dst.row(y) + std::ptrdiff_t{x} * kBytes, src.row(x) + std::ptrdiff_t{y} * kBytes, kWritten);
  }
}

// Square tiles of lanes: 16-byte blocks of as many rows as a block has lanes. A vector has blocks of several
// tiles, one below the other in the source and side by side in the destination.
template <class Lane>
struct Tiles {
  using D = Tag<Lane>;
  using V = hn::Vec<D>;
  using Block = hn::CappedTag<Lane, 16 / sizeof(Lane)>;
  static constexpr int kSide = 16 / static_cast<int>(sizeof(Lane)),
                       kBlocks = static_cast<int>(kLanes<D>) / kSide;

  // Interleaving the halves of a list over and over exchanges rows and columns.
  static HWY_INLINE void transpose(V (&v)[kSide]) {
    const D d;
#pragma GCC unroll 4
    for (int pass = 1; pass < kSide; pass *= 2) {
      V zipped[kSide];
#pragma GCC unroll 8
      for (int i = 0; i < kSide / 2; ++i) {
        zipped[2 * i] = hn::InterleaveLower(d, v[i], v[i + kSide / 2]);
        zipped[2 * i + 1] = hn::InterleaveUpper(d, v[i], v[i + kSide / 2]);
      }
#pragma GCC unroll 16
      for (int i = 0; i < kSide; ++i) v[i] = zipped[i];
    }
  }

  // Blocks of rows that are kSide apart.
  template <class DB, class Load>
  static HWY_INLINE hn::Vec<DB> blocks(DB d, int row, const Load& load) {
    if constexpr (kLanes<DB> == kSide) {
      return load(row);
    } else {
      const hn::Half<DB> half;
      const hn::Vec<hn::Half<DB>> low = blocks(half, row, load);
      return hn::Combine(d, blocks(half, row + static_cast<int>(kLanes<DB>) / 2, load), low);
    }
  }
};

// How pixels become lanes, and lanes pixels. Where pixels follow, what is behind those of a tile may be read,
// and written, as others are written later.
template <class Lane, bool kKeepsAlpha = false>
struct WholeLanes {
  using T = Tiles<Lane>;
  static constexpr int kPixelBytes = sizeof(Lane), kWritten = kKeepsAlpha ? kPixelBytes / 4 * 3 : kPixelBytes;

  template <bool kFollowed>
  static HWY_INLINE hn::Vec<typename T::Block> load(const std::uint8_t* from) {
    return hn::LoadU(typename T::Block(), reinterpret_cast<const Lane*>(from));
  }
  template <bool kFollowed>
  static HWY_INLINE void store(typename T::V v, std::uint8_t* to) {
    const typename T::D d;
    auto* at = reinterpret_cast<Lane*>(to);
    if constexpr (kKeepsAlpha) {
      const auto colours = hn::Set(d, static_cast<Lane>(~Lane{0} >> (8 * sizeof(Lane) / 4)));
      v = hn::OrAnd(hn::And(v, colours), hn::LoadU(d, at), hn::Not(colours));
    }
    hn::StoreU(v, d, at);
  }
};

// Three bytes of a lane of four.
struct ThreeBytes {
  using T = Tiles<std::uint32_t>;
  static constexpr int kPixelBytes = 3, kWritten = 3;
  using Bytes = hn::FixedTag<std::uint8_t, 16>;

  template <bool kFollowed>
  static HWY_INLINE hn::Vec<T::Block> load(const std::uint8_t* from) {
    HWY_ALIGN static constexpr std::uint8_t kApart[16] = {0, 1, 2, 0, 3, 4, 5, 0, 6, 7, 8, 0, 9, 10, 11, 0};
    const auto apart = [](auto pixels) HWY_ATTR {
      return hn::BitCast(T::Block(),
                         hn::TableLookupBytes(hn::BitCast(Bytes(), pixels), hn::Load(Bytes(), kApart)));
    };
    if constexpr (kFollowed) return apart(hn::LoadU(Bytes(), from));
    std::uint64_t low;
    std::uint32_t high;
    std::memcpy(&low, from, 8);
    std::memcpy(&high, from + 8, 4);
    const hn::FixedTag<std::uint64_t, 1> half;
    return apart(hn::Combine(hn::FixedTag<std::uint64_t, 2>(), hn::Set(half, high), hn::Set(half, low)));
  }
  template <bool kFollowed>
  static HWY_INLINE void store(T::V v, std::uint8_t* to) {
    HWY_ALIGN static constexpr std::uint8_t kJoined[16] = {0,  1,  2,  4,  5, 6, 8,  9,
                                                           10, 12, 13, 14, 3, 7, 11, 15};
    const Tag<std::uint8_t> d;
    storeBlocks<kFollowed>(d, hn::TableLookupBytes(hn::BitCast(d, v), hn::LoadDup128(d, kJoined)), to);
  }

 private:
  template <bool kFollowed, class D, class V>
  static HWY_INLINE void storeBlocks(D d, V v, std::uint8_t* to) {
    if constexpr (kLanes < D >> 16) {
      const hn::Half<D> half;
      storeBlocks<true>(half, hn::LowerHalf(half, v), to);
      storeBlocks<kFollowed>(half, hn::UpperHalf(half, v), to + kLanes<D> / 2 / 16 * 12);
    } else if constexpr (kFollowed) {
      hn::StoreU(v, d, to);
    } else {
      HWY_ALIGN std::uint8_t last[16];
      hn::Store(v, d, last);
      std::memcpy(to, last, 12);
    }
  }
};

template <class Pixels, bool kFollowed>
HWY_INLINE void turnTile(Image<const std::uint8_t> src, Image<std::uint8_t> dst, int x, int y) {
  using T = typename Pixels::T;
  constexpr int kBytes = Pixels::kPixelBytes;
  typename T::V v[T::kSide];
#pragma GCC unroll 16
  for (int i = 0; i < T::kSide; ++i) {
    v[i] = T::blocks(typename T::D(), x + i, [&](int row) HWY_ATTR {
      return Pixels::template load<kFollowed>(src.row(row) + std::ptrdiff_t{y} * kBytes);
    });
  }
  T::transpose(v);
#pragma GCC unroll 16
  for (int i = 0; i < T::kSide; ++i)
    Pixels::template store<kFollowed>(v[i], dst.row(y + i) + std::ptrdiff_t{x} * kBytes);
}

// The last tiles overlap those before. What of the source shares a cache line is read together.
template <class Pixels>
void turnTiles(Image<const std::uint8_t> src, Image<std::uint8_t> dst, ZopImageSize size) {
  using T = typename Pixels::T;
  constexpr int kBytes = Pixels::kPixelBytes, kHeight = T::kSide, kWidth = T::kSide * T::kBlocks;
  constexpr int kBand = 16 * kHeight, kMargin = 2;
  if (size.width < kWidth || size.height < kHeight)
    return turnSingly<kBytes, Pixels::kWritten>(src, dst, size);
  const int lastX = size.width - kWidth, lastY = size.height - kHeight;
  for (int top = 0; top < size.height; top += kBand) {
    const int bottom = std::min(top + kBand, size.height);
    for (int left = 0; left < size.width; left += kWidth) {
      for (int at = top; at < bottom; at += kHeight) {
        const int x = std::min(left, lastX), y = std::min(at, lastY);
        if (x <= lastX - kMargin && y <= lastY - kMargin)
          turnTile<Pixels, true>(src, dst, x, y);
        else
          turnTile<Pixels, false>(src, dst, x, y);
      }
    }
  }
}

// Pixels of more bytes than lanes have.
template <int kBytes, int kWritten = kBytes>
void turnPixels(Image<const std::uint8_t> src, Image<std::uint8_t> dst, ZopImageSize size) {
  constexpr int kTile = 16;
  for (int y = 0; y < size.height; y += kTile) {
    for (int x = 0; x < size.width; x += kTile) {
      turnSingly<kBytes, kWritten>({src.row(x) + std::ptrdiff_t{y} * kBytes, src.step},
                                   {dst.row(y) + std::ptrdiff_t{x} * kBytes, dst.step},
                                   {std::min(kTile, size.width - x), std::min(kTile, size.height - y)});
    }
  }
}

constexpr TurnTable makeTable() {
  TurnTable table{};
  table.pixels[1] = turnTiles<WholeLanes<std::uint8_t>>;
  table.pixels[2] = turnTiles<WholeLanes<std::uint16_t>>;
  table.pixels[3] = turnTiles<ThreeBytes>;
  table.pixels[4] = turnTiles<WholeLanes<std::uint32_t>>;
  table.pixels[6] = turnPixels<6>;
  table.pixels[8] = turnTiles<WholeLanes<std::uint64_t>>;
  table.pixels[12] = turnPixels<12>;
  table.pixels[16] = turnPixels<16>;
  table.colours[4] = turnTiles<WholeLanes<std::uint32_t, true>>;
  table.colours[8] = turnTiles<WholeLanes<std::uint64_t, true>>;
  table.colours[16] = turnPixels<16, 12>;
  return table;
}
constexpr TurnTable kTable = makeTable();

}  // namespace

const TurnTable* turnTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(turnTableOfTarget);

const TurnTable& turnTable() { return *HWY_DYNAMIC_DISPATCH(turnTableOfTarget)(); }

}  // namespace zopi
#endif
