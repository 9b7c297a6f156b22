// Perspective mappings: x' = (c00 x + c01 y + c02) / w, y' = (c10 x + c11 y + c12) / w with
// w = c20 x + c21 y + c22.
#pragma once

#include <cmath>

#include "geom/affine.h"
#include "geom/quad.h"
#include "zopi/status.h"

namespace zopi {

struct Perspective {
  double c[3][3];

  double row(int i, Point p) const { return c[i][0] * p.x + c[i][1] * p.y + c[i][2]; }
  Point operator()(Point p) const {
    const double w = row(2, p);
    return {row(0, p) / w, row(1, p) / w};
  }
};

inline Perspective perspectiveOf(const double c[3][3]) {
  return {{{c[0][0], c[0][1], c[0][2]}, {c[1][0], c[1][1], c[1][2]}, {c[2][0], c[2][1], c[2][2]}}};
}

inline ZopStatus checkPerspective(const Perspective& map) {
  const double determinant = map.c[0][0] * map.c[1][1] + 0.0 - map.c[0][1] * map.c[1][0];
  const bool bad = std::abs(determinant) <= kSingular || std::abs(map.c[2][2] + 0.0) <= kSingular;
  return bad ? zopStatusSingularCoefficients : zopStatusOk;
}

// The adjugate, which is an inverse: a factor of all coefficients does not show.
inline Perspective inverseOf(const Perspective& map) {
  const auto [a, b, c] = map.c;
  return {{{b[1] * c[2] - b[2] * c[1], a[2] * c[1] - a[1] * c[2], a[1] * b[2] - a[2] * b[1]},
           {b[2] * c[0] - b[0] * c[2], a[0] * c[2] - a[2] * c[0], a[2] * b[0] - a[0] * b[2]},
           {b[0] * c[1] - b[1] * c[0], a[1] * c[0] - a[0] * c[1], a[0] * b[1] - a[1] * b[0]}}};
}

// First one mapping, then another.
inline Perspective composed(const Perspective& first, const Perspective& then) {
  Perspective result;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      result.c[i][j] =
          then.c[i][0] * first.c[0][j] + then.c[i][1] * first.c[1][j] + then.c[i][2] * first.c[2][j];
    }
  }
  return result;
}

// Takes a box to a quad, by way of the unit square.
inline Perspective perspectiveTo(const Quad& q, const Box& box) {
  const Point e0 = edge(q, 0, 1), e1 = edge(q, 1, 2), e2 = edge(q, 2, 3), back = edge(q, 3, 0);
  const double sx = q[0].x - q[3].x + e1.x, sy = q[0].y - q[3].y + e1.y;
  const double m = 1 / (-e1.x * e2.y + e2.x * e1.y);
  const double g = (e2.y * sx - e2.x * sy) * m, h = m * (sx * e1.y - e1.x * sy);
  const double u = 1 / box.width(), v = 1 / box.height();
  const double c00 = (q[1].x * g + e0.x) * u, c01 = (q[3].x * h - back.x) * v;
  const double c10 = (q[1].y * g + e0.y) * u, c11 = v * (q[3].y * h - back.y);
  const double c20 = g * u, c21 = h * v;
  return {{{c00, c01, c00 * -box.x0 + q[0].x + c01 * -box.y0},
           {c10, c11, c10 * -box.x0 + q[0].y + c11 * -box.y0},
           {c20, c21, -box.x0 * c20 + 1 + -box.y0 * c21}}};
}

// Takes a quad to a box.
inline Perspective perspectiveFrom(const Quad& q, const Box& box) { return inverseOf(perspectiveTo(q, box)); }

// Takes a quad to another.
inline Perspective perspectiveBetween(const Quad& from, const Quad& to) {
  return composed(perspectiveFrom(from, kUnitSquare), perspectiveTo(to, kUnitSquare));
}

}  // namespace zopi
