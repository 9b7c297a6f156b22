// Rows of pixels between red, green and blue, and hue with saturation and value or lightness.
#pragma once

#include "core/image.h"
#include "core/pixel_images.h"
#include "core/row_table.h"

namespace zopi {

template <class T>
struct InterleavedHueRows {
  PixelRows<T, T> c3, ac4;
};

// There is no HSV of signed samples and of numbers.
template <class T>
struct HueRows {
  InterleavedHueRows<T> rgbToHls, hlsToRgb, rgbToHsv, hsvToRgb;
};

// Where planes have an alpha, it is carried along; interleaved pixels with one then count as C4.
struct PlanarHueRows {
  PixelRows<Zop8u, Zop8u> c3p3, p3c3, p3, c4ap4, ap4c4, ap4;
};

struct HueTable {
  RowTable<HueRows, Zop8u, Zop16u, Zop16s, Zop32f> rows;
  PixelRows<Zop8u, Zop8u> bgrToHlsKeepingAlpha;
  PlanarHueRows bgrToHls, hlsToBgr;
};

// The rows for this machine.
const HueTable& hueTable();

}  // namespace zopi
