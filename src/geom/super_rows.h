// Rows of images that are made smaller: each pixel is the mean of what it covers of the source.
#pragma once

#include <cstddef>

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

// A row or column of the source, and how much of it is covered.
struct Covered {
  int index;
  double weight;
};
// What each row or column of the destination covers, one after the other: those of i end where those of i + 1
// start.
struct Footprints {
  const int* starts;
  const Covered* covered;
};

struct SuperCall {
  int width, height, channels;  // of the destination and of a pixel
  bool keepsAlpha;              // of every four samples the last is left alone
  int columns;                  // of the source that are read
  bool counts;                  // sums of integers are integers of 32 bits, which wrap
  double area;                  // what sums are multiplied by
  Footprints across, down;

  std::ptrdiff_t samples() const { return static_cast<std::ptrdiff_t>(width) * channels; }
  std::ptrdiff_t sourceSamples() const { return static_cast<std::ptrdiff_t>(columns) * channels; }
};

// Scales some images, all with the same tables. Rows of the source are counted from the first of the image.
template <class T>
struct SuperRows {
  void (*means)(const SuperCall& call, unsigned char* scratch, const Image<const T>* from, const Image<T>* to,
                int images);
};

std::ptrdiff_t superScratchBytes(const SuperCall& call);

using SuperTable = RowTable<SuperRows, Zop8u, Zop16u, Zop32f>;
const SuperTable& superTable();

}  // namespace zopi
