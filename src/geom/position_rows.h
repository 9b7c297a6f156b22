// Where destination pixels lie in the source.
//
// Positions follow from each other by addition along a row, and every rounding counts. Rows have nothing to
// do with each other: some go side by side, one in each lane of a vector, each from a column of its own on.
#pragma once

#include "geom/bilinear.h"
#include "geom/quad.h"

namespace zopi {

inline constexpr int kMostRows = 8;
inline constexpr int kPositions = 256;

// The positions of a block: column after column, each with one position for each row.
struct Positions {
  int rows = 1, columns = 0;
  // Whether there are not-a-numbers among x: their pixels are left alone.
  bool hasGaps = false;
  alignas(64) double x[kPositions] = {};
  alignas(64) double y[kPositions] = {};

  int count() const { return rows * columns; }
};

// A number for each row.
struct alignas(64) RowNumbers {
  double at[kMostRows];
};

// Walks hold the position of the next column, which they advance. Ahead of the first column, the mappings
// that go with them have started each row.
struct StraightWalk {
  RowNumbers x = {}, y = {}, dx = {}, dy = {};
};
struct PerspectiveWalk {
  RowNumbers w = {}, x = {}, y = {};
  RowNumbers left = {};  // columns of the row that are still to come
  double dw, dx, dy;
};
struct BilinearInverseWalk {
  RowNumbers s = {}, a = {}, b = {};
  const BilinearInverse& map;
};

// Coordinates that a caller gives, pixel by pixel, and those that count. `onBits` compares them as the
// integers that they would be.
struct Maps {
  const float *x, *y;
  float x0, y0, x1, y1;
  bool onBits;
};

struct PositionTable {
  int rows;  // side by side
  // The next columns, `positions.columns` of them. Perspective and inverse bilinear positions are rounded to
  // single precision.
  void (*straight)(StraightWalk& walk, Positions& positions);
  void (*perspective)(PerspectiveWalk& walk, Positions& positions);
  void (*bilinearInverse)(BilinearInverseWalk& walk, Positions& positions);
  // A single row of at most kPositions columns.
  void (*maps)(const Maps& maps, Positions& positions);
  // Takes positions on, and makes gaps of those outside a box.
  void (*onward)(const Bilinear& map, Positions& positions);
  void (*within)(const Box& box, Positions& positions);
};

const PositionTable& positionTable();

}  // namespace zopi
