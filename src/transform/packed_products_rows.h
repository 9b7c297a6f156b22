// Rows of products of packed spectra: pixels in pairs, a real part and the imaginary part beside it.
#pragma once

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

// `out` may be `b`. Rows have an even number of pixels.
template <class T, class... P>
using PairRows = void (*)(Image<const T> a, Image<const T> b, Image<T> out, Extent pixels, P... parameters);

// Integers are multiplied by 2^-scale and saturated.
template <class Layout>
struct ProductRows {
  PairRows<Zop32f> product, productWithConjugate;
  PairRows<Zop16s, int> words;
  PairRows<Zop32s, int> integers;
};

struct PackedTable : RowTable<ProductRows, C1, C3, C4, AC4> {
  // Pairs as their conjugates, the last one first.
  void (*conjugateNumbers)(const Zop32f* pairs, std::ptrdiff_t count, Zop32f* out);
  void (*conjugateIntegers)(const Zop32s* pairs, std::ptrdiff_t count, Zop32s* out);
};

// The rows for this machine.
const PackedTable& packedTable();

}  // namespace zopi
