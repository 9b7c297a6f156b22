// Rows of template matching: sums over windows, and what becomes of a product of template and window.
#pragma once

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

// What a call knows of its template. The letters are those of the definition.
struct TemplateLevels {
  float floor = 0;        // below it, a window has no energy
  float replacement = 0;  // which stands for its energy then
  float factor = 0;       // the template's part of the denominator
  float energy = 0;       // the same of levels, squared
  float pixels = 0;       // the reciprocal of their number
  float squares = 0;      // the sum of the template's squares
};

// Windows of `window` samples at `places` places, over an image of which `samples` are there and those
// around zeros. A row of the image has room for a vector more.
struct Windows {
  ZopImageSize window, places, samples;
};

// From products of template and window, sums of the window's squares, and sums of its samples to results.
template <class T>
struct MatchRows {
  using Band = void (*)(const TemplateLevels& levels, Image<const float> products, Image<const float> squares,
                        Image<const float> sums, Image<T> out, Extent e);
  Band correlation, levelCorrelation, squareDistance;
};

// Sums over windows, of squares or of samples, each rounded to single precision once.
struct WindowRows {
  using Sums = void (*)(const Windows& windows, Image<const float> image, Image<float> out, void* scratch);
  Sums ofSquares, ofSamples;
};

struct MatchTable : RowTable<MatchRows, Zop8u, Zop32f> {
  std::ptrdiff_t (*scratchBytes)(const Windows& windows);  // of any sums
  WindowRows inDoubles;
  WindowRows inIntegers;  // of whole numbers, as long as all sums have 31 bits
};

// The rows for this machine.
const MatchTable& matchTable();

}  // namespace zopi
