// Bilinear warps.
#include <cmath>

#include "core/rounding.h"
#include "geom/bilinear.h"
#include "geom/warp.h"

namespace zopi {
namespace {

// The positions of a mapping from the destination to the source. Along a row it is straight.
class BilinearRows {
 public:
  using Walk = StraightWalk;

  explicit BilinearRows(const Bilinear& map) : map_(map) {}

  Walk walk() const { return {}; }
  void begin(double row) {
    for (int i = 0; i < 2; ++i) {
      base_[i] = map_.c[i][2] * row + map_.c[i][3];
      slope_[i] = map_.c[i][0] * row + map_.c[i][1];
    }
  }
  void start(Walk& walk, int lane, Scan::Columns columns) const {
    const double first = columns.first;
    walk.x.at[lane] = slope_[0] * first + base_[0];
    walk.y.at[lane] = slope_[1] * first + base_[1];
    walk.dx.at[lane] = slope_[0];
    walk.dy.at[lane] = slope_[1];
  }
  void nextRow() {
    for (int i = 0; i < 2; ++i) {
      base_[i] += map_.c[i][2];
      slope_[i] += map_.c[i][0];
    }
  }
  void fill(Walk& walk, Positions& positions) const { positionTable().straight(walk, positions); }

 private:
  Bilinear map_;
  double base_[2] = {}, slope_[2] = {};
};

// The positions of the inverse of a mapping from the source to the destination.
class BilinearInverseRows {
 public:
  using Walk = BilinearInverseWalk;

  explicit BilinearInverseRows(const BilinearInverse& map) : map_(map) {}

  Walk walk() const { return {{}, {}, {}, map_}; }
  void begin(double row) {
    const double* c = map_.c;
    s_ = c[1] * row + c[2];
    a_ = c[7] * row + c[9];
    b_ = c[6] * row + c[8];
  }
  void start(Walk& walk, int lane, Scan::Columns columns) const {
    const double first = columns.first;
    walk.s.at[lane] = map_.c[0] * first + s_;
    walk.a.at[lane] = map_.c[5] * first + a_;
    walk.b.at[lane] = map_.c[4] * first + b_;
  }
  void nextRow() {
    s_ += map_.c[1];
    a_ += map_.c[7];
    b_ += map_.c[6];
  }
  void fill(Walk& walk, Positions& positions) const { positionTable().bilinearInverse(walk, positions); }

 private:
  BilinearInverse map_;
  double s_ = 0, a_ = 0, b_ = 0;
};

// By way of the unit square, from where another mapping goes on.
class BilinearPairRows : public BilinearInverseRows {
 public:
  BilinearPairRows(const BilinearInverse& toSquare, const Bilinear& onward)
      : BilinearInverseRows(toSquare), onward_(onward) {}

  void fill(Walk& walk, Positions& positions) const {
    BilinearInverseRows::fill(walk, positions);
    positionTable().onward(onward_, positions);
  }

 private:
  Bilinear onward_;
};

template <class L, class T, int kPlanes>
ZopStatus warpBilinear(const Warp<L, T, kPlanes>& w, const Bilinear& forward) {
  if (w.isBeyond()) return zopStatusOk;
  if (ZopStatus bad = checkTwoByTwo(w.part)) return bad;
  const RoundingToNearest nearest;
  const Quad quad = mapped(forward, w.source);
  if (!isConvex(quad)) return zopStatusSingularCoefficients;
  const Winding winding = windingOf(turnAtLastCorner(quad));
  return warpQuad(w, quad, winding, w.smooth, BilinearInverseRows(bilinearFrom(quad, w.source, winding)));
}

template <class L, class T, int kPlanes>
ZopStatus warpBilinearBack(const Warp<L, T, kPlanes>& w, const Bilinear& back) {
  if (w.isBeyond()) return zopStatusOk;
  const RoundingToNearest nearest;
  const Quad quad = mapped(back, w.target);
  if (clippedTo(w.source, boundsOf(quad).corners()).count == 0) return zopStatusNoOperation;
  return warpRows(w, Scan(w.target),
                  Within<BilinearRows>{BilinearRows(back), !w.source.holds(quad), w.source});
}

// Whether a quad is an upright rectangle that starts on the left, at the top.
bool isUpright(const Quad& q) {
  constexpr double kEqual = 1e-7;
  const auto isNear = [](double a, double b) { return std::abs(a - b) <= kEqual; };
  return isNear(q[0].y, q[1].y) && isNear(q[2].y, q[3].y) && isNear(q[0].x, q[3].x) &&
         isNear(q[1].x, q[2].x) && q[0].x < q[1].x && q[0].y < q[3].y;
}
Box boxOf(const Quad& q) { return {q[0].x, q[0].y, q[2].x, q[2].y}; }

template <class L, class T, int kPlanes>
ZopStatus warpBilinearQuad(const Warp<L, T, kPlanes>& w, const Quad& from, const Quad& to) {
  if (w.isBeyond()) return zopStatusOk;
  const RoundingToNearest nearest;
  if (clippedTo(w.source, from).count == 0) return zopStatusNoOperation;
  const Winding winding = windingOf(turnAtLastCorner(to));
  const auto warped = [&]<class Mapping>(const Mapping& mapping) {
    return warpQuad(w, to, winding, w.smooth, Within<Mapping>{mapping, !w.source.holds(from), w.source});
  };
  if (isUpright(to)) return warped(BilinearRows(bilinearTo(from, boxOf(to))));
  if (isUpright(from)) return warped(BilinearInverseRows(bilinearFrom(to, boxOf(from), winding)));
  return warped(BilinearPairRows(bilinearFrom(to, kUnitSquare, winding), bilinearTo(from, kUnitSquare)));
}

}  // namespace
}  // namespace zopi

#include "geom/warp_bilinear.exports.inc"
