// Rows of test images: values of one channel, and their way to all channels.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

template <class T>
struct TestImageRows {
  // offset + slope * t for t = first * pace, (first + 1) * pace ..., as n samples.
  void (*ramp)(double offset, double slope, std::int64_t first, double pace, std::ptrdiff_t n, T* out);
  // The brightness of n sines, as samples.
  void (*sines)(const double* sines, std::ptrdiff_t n, T* out);
};

// Samples are bits here.
template <class Bits>
struct SpreadRows {
  // n samples to every channel of as many pixels.
  using Row = void (*)(const Bits* values, std::ptrdiff_t n, Bits* pixels);
  Row toC3, toC4, toAC4;
};

struct TestImageTable : RowTable<TestImageRows, Zop8u, Zop8s, Zop16u, Zop16s, Zop32s, Zop32f>,
                        RowTable<SpreadRows, std::uint8_t, std::uint16_t, std::uint32_t> {
  template <class T>
  const TestImageRows<T>& values() const {
    return *this;
  }
  template <class Bits>
  const SpreadRows<Bits>& spread() const {
    return *this;
  }
};

// The rows for this machine.
const TestImageTable& testImageTable();

}  // namespace zopi
