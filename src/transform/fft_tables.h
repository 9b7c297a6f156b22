// What a Fourier transform of 2^order points knows before it sees a sample. Tables are in the usual order of
// complex numbers, whatever the vector target, and lie in one block with the context that owns them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "zopi/types.h"

namespace zopi {

// Hands out parts of one block of memory. Without a block it only counts.
class TableSpace {
 public:
  explicit TableSpace(unsigned char* block) : block_(block) {}

  // Null while it counts.
  template <class T>
  T* take(std::ptrdiff_t count) {
    constexpr std::ptrdiff_t kLine = 64;
    const std::ptrdiff_t at = bytes_;
    bytes_ += (count * static_cast<std::ptrdiff_t>(sizeof(T)) + kLine - 1) / kLine * kLine;
    return block_ == nullptr ? nullptr : reinterpret_cast<T*>(block_ + at);
  }
  std::ptrdiff_t bytes() const { return bytes_; }

 private:
  unsigned char* block_;
  std::ptrdiff_t bytes_ = 0;
};

// Transforms of several signals at once, one in each lane. A first pass goes over groups of up to 8 points,
// the passes behind it have radix 4.
struct LaneFft {
  int order;
  const std::int32_t* starts;  // the first point of each group; the others follow at a distance of `groups`
  const Zop32fc* twiddles;     // pass after pass: of each butterfly w, w^2 and w^3

  std::ptrdiff_t points() const { return std::ptrdiff_t{1} << order; }
  int firstOrder() const { return order <= 3 ? order : 2 + order % 2; }
  std::ptrdiff_t groups() const { return points() >> firstOrder(); }
};
LaneFft laneFft(TableSpace& space, int order);

// The transform of one contiguous signal. Where it is long enough it is taken for a matrix, whose columns go
// through lanes, then its rows (Bailey's four steps, 1990); a short one needs other signals beside it.
struct RowFft {
  int order;
  LaneFft down, across;     // of the columns and of the rows; of short ones, `down` is the transform itself
  const Zop32fc* twiddles;  // in between, element by element of the matrix

  std::ptrdiff_t points() const { return std::ptrdiff_t{1} << order; }
  bool isShort() const { return order < 6; }
};
RowFft rowFft(TableSpace& space, int order);

// The transform of 2^order real samples, through one of half as many complex ones.
struct RealFft {
  int order;
  RowFft half;
  const Zop32fc *forward, *inverse;  // factors from point 1 to the middle, and at least a vector of them

  std::ptrdiff_t samples() const { return std::ptrdiff_t{1} << order; }
};
RealFft realFft(TableSpace& space, int order);

}  // namespace zopi
