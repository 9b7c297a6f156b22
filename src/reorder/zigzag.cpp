// The zigzag order of an 8x8 block. 64 samples are too few for vector code.
#include <cstdint>
#include <cstring>

#include "zopi/status.h"
#include "zopi/types.h"

namespace zopi {
namespace {

struct Scan {
  std::int32_t places[64];
};

// Along the anti-diagonals: up on the even ones, down on the odd ones.
constexpr Scan makeScan() {
  Scan scan{};
  int next = 0;
  for (int diagonal = 0; diagonal < 15; ++diagonal) {
    for (int i = 0; i <= diagonal; ++i) {
      const int x = diagonal % 2 == 0 ? i : diagonal - i, y = diagonal - x;
      if (x < 8 && y < 8) scan.places[next++] = 8 * y + x;
    }
  }
  return scan;
}
constexpr Scan kScan = makeScan();

ZopStatus zigzag(const Zop16s* src, Zop16s* dst) {
  for (int k = 0; k < 64; ++k) std::memcpy(dst + k, src + kScan.places[k], sizeof *dst);
  return zopStatusOk;
}

ZopStatus unzigzag(const Zop16s* src, Zop16s* dst) {
  for (int k = 0; k < 64; ++k) std::memcpy(dst + kScan.places[k], src + k, sizeof *dst);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "reorder/zigzag.exports.inc"
