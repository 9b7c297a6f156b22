// Samples mapped by a table: the way of every function of one byte that takes more than a few instructions,
// and of a function of one word that takes many.
#pragma once

#include "core/pixel_images.h"
#include "core/pixelwise.h"

namespace zopi {

struct LookupTable {
  UnaryRow<Zop8u, const Zop8u*> bytes;    // the parameter is a table of 256
  UnaryRow<Zop16u, const Zop16u*> words;  // the parameter is a table of 65536
  // The parameter is a table of 256 for each colour, one after the other.
  PixelRows<Zop8u, Zop8u, const Zop8u*> bytesOfC3, bytesOfC4, bytesOfAC4;

  template <class Layout>
  PixelRows<Zop8u, Zop8u, const Zop8u*> bytesOf() const {
    return std::is_same_v<Layout, C3> ? bytesOfC3 : std::is_same_v<Layout, C4> ? bytesOfC4 : bytesOfAC4;
  }
};

// The rows for this machine.
const LookupTable& lookupTable();

// An operation on bytes, done once for each of the 256: `rows(a, out, extent)` fills the table. Rows that
// watch their samples would see them all.
struct ByteMap {
  Zop8u table[256];

  template <class Rows>
  explicit ByteMap(const Rows& rows) {
    for (int i = 0; i < 256; ++i) table[i] = static_cast<Zop8u>(i);
    const Image<Zop8u> bytes = {table, 256};
    rows(bytes, bytes, Extent{256, 1});
  }

  void operator()(Image<const Zop8u> a, Image<Zop8u> out, Extent e) const {
    lookupTable().bytes.image(a, out, e, table);
  }

  template <class Layout>
  void image(Image<const Zop8u> a, Image<Zop8u> out, ZopImageSize size) const {
    mapImage<Layout>(lookupTable().bytes, a, out, size, table);
  }
};

}  // namespace zopi
