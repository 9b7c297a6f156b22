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

constexpr int kTile = 32;

template <int kBytes, int kWritten = kBytes>
void turnPixels(Image<const std::uint8_t> src, Image<std::uint8_t> dst, ZopImageSize size) {
  for (int top = 0; top < size.height; top += kTile) {
    for (int left = 0; left < size.width; left += kTile) {
      const int bottom = std::min(top + kTile, size.height), right = std::min(left + kTile, size.width);
      for (int y = top; y < bottom; ++y) {
        for (int x = left; x < right; ++x) {
          std::memcpy(dst.row(y) + std::ptrdiff_t{x} * kBytes, src.row(x) + std::ptrdiff_t{y} * kBytes,
                      kWritten);
        }
      }
    }
  }
}

constexpr TurnTable makeTable() {
  TurnTable table{};
  table.pixels[1] = turnPixels<1>;
  table.pixels[2] = turnPixels<2>;
  table.pixels[3] = turnPixels<3>;
  table.pixels[4] = turnPixels<4>;
  table.pixels[6] = turnPixels<6>;
  table.pixels[8] = turnPixels<8>;
  table.pixels[12] = turnPixels<12>;
  table.pixels[16] = turnPixels<16>;
  table.colours[4] = turnPixels<4, 3>;
  table.colours[8] = turnPixels<8, 6>;
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
