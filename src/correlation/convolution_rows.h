// Rows of convolutions that are summed up as they stand, and of what becomes of sums and products.
#pragma once

#include "core/image.h"
#include "core/pixelwise.h"

namespace zopi {

// Sums of products as samples, of both multiplied by a factor first: in single precision what comes from
// transforms, in double precision sums.
template <class T>
struct QuotientRows {
  ConversionRow<Zop32f, T, float> ofProducts;
  ConversionRow<Zop32f, T, double> ofSums;
};

// A full convolution of numbers. Rows of the large image have a sample of zero on either side for each
// column of the small one but one, and room for `kFullRoom` more.
struct FullConvolution {
  Image<const double> large;  // the first of the zeros
  ZopImageSize size;
  const float* small;  // without gaps
  ZopImageSize smallSize;
};
inline constexpr int kFullRoom = 64;

struct ConvolutionTable : QuotientRows<Zop8u>, QuotientRows<Zop16s> {
  template <class T>
  constexpr const QuotientRows<T>& of() const {
    return *this;
  }
  // Numbers in double precision, at any distance.
  void (*widen)(Image<const Zop32f> numbers, Image<double> out, Extent e);
  // Rows from `begin` on; each sum is rounded to single precision after every product.
  void (*full)(const FullConvolution& call, int begin, int end, Image<float> out);
};

// The rows for this machine.
const ConvolutionTable& convolutionTable();

}  // namespace zopi
