// Rows of norms.
#pragma once

#include <cstdint>
#include <type_traits>

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

// The largest magnitude, the sum of magnitudes, and the sum of squares.
enum NormKind { kInf, kL1, kL2, kNormKinds };

// Integers have exact norms, numbers norms in double precision.
template <class T>
using NormSum = std::conditional_t<std::is_same_v<T, Zop32f>, double, std::int64_t>;

// For images whose samples belong to 1, 2, 3 or 4 norms in turn: brings the norms of an image, or of the
// difference of two, into `norms`. Numbers are added in the order of their columns. Two norms in turn, for
// even and odd columns of one channel, exist for sums of numbers only.
template <class T>
struct NormRows {
  using Norm = NormSum<T>;
  void (*ofImage[kNormKinds][5])(Image<const T> a, Extent samples, Norm* norms);
  void (*ofDifference[kNormKinds][5])(Image<const T> a, Image<const T> b, Extent samples, Norm* norms);
};

struct NormTable : RowTable<NormRows, Zop8u, Zop16s, Zop32f> {
  void (*largestOf32s)(Image<const Zop32s> a, Extent samples, std::int64_t* norms);
};

// The rows for this machine.
const NormTable& normTable();

}  // namespace zopi
