// What all warps have in common: which destination pixels are written, row by row, and from where.
//
// A mapping tells the positions of a row's pixels in the source. Rows go side by side through
// `position_rows`, and `sample_rows` make pixels of the positions, block by block, so that no call needs
// memory of its own.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "core/pixel_images.h"
#include "geom/polygon.h"
#include "geom/position_rows.h"
#include "geom/quad.h"
#include "geom/sample_rows.h"
#include "geom/smooth_edges.h"
#include "geom/whole.h"
#include "zopi/status.h"
#include "zopi/warp.h"

namespace zopi {

constexpr int withoutFlags(int interpolation) { return interpolation & ~zopSmoothEdge; }
constexpr bool asksForSmoothEdges(int interpolation) { return (interpolation & zopSmoothEdge) != 0; }

inline ZopStatus checkCode(int code) {
  const bool known = code == zopInterNearest || code == zopInterLinear || code == zopInterCubic;
  return known ? zopStatusOk : zopStatusBadInterpolation;
}
inline ZopStatus checkInterpolation(int interpolation) { return checkCode(withoutFlags(interpolation)); }

// A mapped region has pixels to either side of each.
inline ZopStatus checkTwoByTwo(ZopImageSize size) {
  return size.width < 2 || size.height < 2 ? zopStatusBadRect : zopStatusOk;
}

inline ZopStatus checkQuads(const double (*srcQuad)[2], const double (*dstQuad)[2]) {
  return isConvex(quadOf(srcQuad)) && isConvex(quadOf(dstQuad)) ? zopStatusOk : zopStatusBadQuad;
}

// A call's images, plane by plane, and what of them takes part.
template <class L, class T, int kPlanes>
struct Warp {
  Image<const T> from[kPlanes];
  Image<T> to[kPlanes];
  ZopImageSize size;   // of the whole source image
  ZopImageSize part;   // of the source region, as far as it lies in the image
  Box source, target;  // the regions
  int code;            // of the interpolation that the image is large enough for
  bool smooth;

  // A region beyond the image is no error, but nothing is done.
  bool isBeyond() const { return part.width < 1 || part.height < 1; }
};

template <class L, class T, int... kFrom, int... kTo>
Warp<L, T, sizeof...(kFrom)> warpOf(const Images<const T, kFrom...>& src, const Images<T, kTo...>& dst,
                                    ZopImageSize size, ZopImageRect srcRoi, ZopImageRect dstRoi,
                                    int interpolation) {
  Warp<L, T, sizeof...(kFrom)> w;
  std::copy_n(src.at, sizeof...(kFrom), w.from);
  std::copy_n(dst.at, sizeof...(kTo), w.to);
  w.size = size;
  w.part = clipped(size, srcRoi);
  w.source = boxOf({srcRoi.x, srcRoi.y, w.part.width, w.part.height});
  w.target = boxOf(dstRoi);
  w.code = served(withoutFlags(interpolation), size);
  w.smooth = asksForSmoothEdges(interpolation);
  return w;
}
template <class L, class I, class O>
auto warpOf(const Whole<I>& src, const O& dst, ZopImageRect dstRoi, int interpolation) {
  return warpOf<L>(imagesOf<L>(src.image), imagesOf<L>(dst), src.size, src.region, dstRoi, interpolation);
}

template <class L, class T>
Sample<T> sampleFor(int code) {
  const SampleRows<T>& rows = sampleTable().of<T>();
  if constexpr (L::channels == 1) return rows.c1.by(code);
  if constexpr (L::channels == 3) return rows.c3.by(code);
  if constexpr (L::channels == 4) return (L::colours == 4 ? rows.c4 : rows.ac4).by(code);
}

// By design, cubics of integers tell positions a pixel ahead of the image or behind it by the bits of their
// coordinates: those between -1 and 0 are out of range, those below -1 are not.
template <class T>
SampledImage<T> withinReach(Image<const T> image, ZopImageSize size) {
  const auto bits = [](double v) { return std::bit_cast<std::int32_t>(static_cast<float>(v)); };
  return {image, size.width, size.height, bits(-1), bits(size.width), bits(size.height)};
}

// Hands blocks of positions to `use(positions, row, columns, done)`: `columns` are those of the rows from
// `row` on, of which `done` have been there before. A mapping begins at a row, starts each row, and fills in
// the positions that come next.
template <class Mapping, class Use>
void forBlocks(Scan scan, Mapping mapping, const Use& use) {
  Positions positions;
  mapping.begin(scan.firstRow());
  positions.rows = positionTable().rows;
  const int columnsOfBlock = kPositions / positions.rows;
  const std::int64_t last = scan.lastRow();
  for (std::int64_t row = scan.firstRow(); row <= last; row += positions.rows) {
    Scan::Columns columns[kMostRows];
    typename Mapping::Walk walk = mapping.walk();
    int most = 0;
    for (int r = 0; r < positions.rows; ++r) {
      columns[r] = {0, -1};
      if (row + r > last) continue;
      columns[r] = scan.next();
      most = std::max(most, columns[r].count());
      mapping.start(walk, r, columns[r]);
      mapping.nextRow();
    }
    for (int done = 0; done < most; done += columnsOfBlock) {
      positions.columns = std::min(columnsOfBlock, most - done);
      mapping.fill(walk, positions);
      use(positions, static_cast<int>(row), columns, done);
    }
  }
}

template <class L, class T, int kPlanes, class Mapping>
ZopStatus warpRows(const Warp<L, T, kPlanes>& w, const Scan& scan, const Mapping& mapping) {
  if (scan.empty()) return zopStatusNoOperation;
  const Sample<T> sample = sampleFor<L, T>(w.code);
  forBlocks(scan, mapping, [&](Positions& positions, int row, const Scan::Columns* columns, int done) {
    for (int p = 0; p < kPlanes; ++p) {
      Target<T> target;
      for (int r = 0; r < positions.rows; ++r) {
        const std::ptrdiff_t column = std::ptrdiff_t{columns[r].first} + done;
        target.counts[r] = std::clamp(columns[r].count() - done, 0, positions.columns);
        target.at[r] = target.counts[r] > 0 ? w.to[p].row(row + r) + column * L::channels : nullptr;
      }
      sample(withinReach(w.from[p], w.size), positions, target);
    }
  });
  return zopStatusOk;
}

// The pixels of a quad, and then its edges, which lie between what was written and what was there before.
template <class L, class T, int kPlanes, class Mapping>
ZopStatus warpQuad(const Warp<L, T, kPlanes>& w, const Quad& quad, Winding winding, bool smooth,
                   const Mapping& mapping) {
  const ZopStatus status = warpRows(w, Scan(clippedTo(w.target, quad), winding, w.target), mapping);
  if (status == zopStatusOk && smooth) {
    for (const Image<T>& image : w.to) smoothEdges<L>(image, quad, winding, w.target);
  }
  return status;
}

// The same for a quad of the source, of which only what lies in the region is mapped, by `forward`.
template <class L, class T, int kPlanes, class Forward, class Mapping>
ZopStatus warpBetween(const Warp<L, T, kPlanes>& w, const Quad& from, const Quad& to, Winding winding,
                      const Forward& forward, const Mapping& mapping) {
  if (w.source.holds(from)) return warpQuad(w, to, winding, w.smooth, mapping);
  Polygon polygon = clippedTo(w.source, from);
  for (Point& p : polygon) p = forward(p);
  const ZopStatus status = warpRows(w, Scan(clippedTo(w.target, polygon), winding, w.target), mapping);
  if (status == zopStatusOk && w.smooth) {
    for (const Image<T>& image : w.to) smoothEdges<L>(image, to, winding, w.target);
  }
  return status;
}

// The positions of a mapping, but for those outside a region if it `isTested`.
template <class Mapping>
struct Within {
  Mapping mapping;
  bool isTested;
  Box box;

  using Walk = typename Mapping::Walk;
  Walk walk() const { return mapping.walk(); }
  void begin(double row) { mapping.begin(row); }
  void start(Walk& walk, int lane, Scan::Columns columns) { mapping.start(walk, lane, columns); }
  void nextRow() { mapping.nextRow(); }
  void fill(Walk& walk, Positions& positions) {
    mapping.fill(walk, positions);
    if (isTested) positionTable().within(box, positions);
  }
};

}  // namespace zopi
