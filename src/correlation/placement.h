// Where a small image may stand on a large one, which is 0 beyond its edges.
#pragma once

#include <algorithm>

#include "zopi/types.h"

namespace zopi {

// Along one axis, for n samples and a small image of k: how many places there are, and how far the first one
// lies before the large image.
struct Full {
  static constexpr int places(int n, int k) { return n + k - 1; }
  static constexpr int before(int k) { return k - 1; }
};
struct Same {
  static constexpr int places(int n, int) { return n; }
  static constexpr int before(int k) { return k / 2; }
};
struct Valid {
  static constexpr int places(int n, int k) { return n - k + 1; }
  static constexpr int before(int) { return 0; }
};

template <class Places>
constexpr ZopImageSize placesOf(ZopImageSize large, ZopImageSize small) {
  return {Places::places(large.width, small.width), Places::places(large.height, small.height)};
}

}  // namespace zopi
