// Rows of erosion and dilation.
//
// A structuring element is taken apart into runs: cells of a row of the mask that follow each other. The
// extremes under runs of one length are made once for each row of the source, those of long runs from those
// of shorter ones, and whatever run has that length takes them from there.
#pragma once

#include "core/row_table.h"
#include "filter/stencil.h"

namespace zopi {

enum Morphology { kErode, kDilate, kMorphologies };

// Runs of `length` cells, made of two of the kind before that may overlap. Kind 0 is a single cell. In the
// working memory a kind has `rows` from `firstRow` on: as many as the mask, if the element has such runs, or
// one, if it only serves to make longer ones.
struct RunKind {
  int length, rows;
  std::ptrdiff_t firstRow;
};

// A run of the element: its row, its first column and its kind.
struct Run {
  int row, column, kind;
};

struct Element {
  int width, height;  // of the mask
  const RunKind* kinds;
  int kindCount;
  const Run* runs;
  int runCount;

  std::ptrdiff_t widthAround(int channels) const { return static_cast<std::ptrdiff_t>(width - 1) * channels; }
};

// A row of the region has `samples`, of which `channels` make a pixel.
struct ElementShape {
  std::ptrdiff_t samples;
  int channels;
  bool keepsAlpha;  // of every four samples the last is left alone
};

template <class T>
struct MorphologyRows {
  StencilRows<T, T> square;  // of 3x3
  std::ptrdiff_t (*scratchBytes)(const Element& element, const ElementShape& shape);
  // `window` is the upper left sample of the first window.
  void (*band)(const Element& element, const ElementShape& shape, void* scratch, Image<const T> window,
               Image<T> out, Extent e);
};

template <class T>
struct MorphologyTable {
  MorphologyRows<T> rows[kMorphologies];
};

// The rows for this machine.
const RowTable<MorphologyTable, Zop8u, Zop32f>& morphologyTable();

}  // namespace zopi
