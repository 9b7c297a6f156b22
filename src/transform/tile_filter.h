// Filters of real images by a spectrum, for families that filter many tiles of one size: there and back at
// once.
//
// Spectra are those of ZopFFTSpec_R_32f contexts. Rows of a tile must have room for kTileGap samples more,
// which hold zeros, and do again afterwards.
#pragma once

#include <cstddef>

#include "core/image.h"
#include "zopi/transform.h"

namespace zopi {

inline constexpr int kTileGap = 16;

// Rows of a tile: those that hold more than zeros, or those whose results are wanted.
struct TileRows {
  int begin, end;
};

// Memory for a filter: a spectrum, or its conjugate, in the order in which tiles meet it.
std::ptrdiff_t tileFilterBytes(int orderX, int orderY);

// Makes a filter of an image, which is overwritten; rows from `rows` on are zeros. `buffer` is one of the
// context, at a multiple of 16 bytes.
void makeTileFilter(const ZopFFTSpec_R_32f& spec, Image<float> tile, int rows, bool conjugate, float* filter,
                    float* buffer);

// Brings a tile to its spectrum, multiplies it by that of a filter, and brings it back.
void applyTileFilter(const ZopFFTSpec_R_32f& spec, const float* filter, Image<float> tile, TileRows filled,
                     TileRows wanted, float* buffer);

}  // namespace zopi
