// Affine mappings: x' = c00 x + c01 y + c02, y' = c10 x + c11 y + c12.
//
// Here and in the other mappings, every operation is one rounding to double precision, in the order that is
// written: results are defined to the bit.
#pragma once

#include <cmath>

#include "geom/quad.h"
#include "zopi/status.h"

namespace zopi {

struct Affine {
  double c[2][3];

  Point operator()(Point p) const {
    return {c[0][0] * p.x + c[0][1] * p.y + c[0][2], c[1][0] * p.x + c[1][1] * p.y + c[1][2]};
  }
};

inline Affine affineOf(const double c[2][3]) {
  return {{{c[0][0], c[0][1], c[0][2]}, {c[1][0], c[1][1], c[1][2]}}};
}

// A linear mapping whose determinant is no larger than this counts as singular.
inline constexpr double kSingular = 1e-7;

inline ZopStatus checkAffine(const Affine& map) {
  const double determinant = map.c[0][0] * map.c[1][1] + 0.0 - map.c[0][1] * map.c[1][0];
  return std::abs(determinant) <= kSingular ? zopStatusSingularCoefficients : zopStatusOk;
}

struct WoundAffine {
  Affine map;
  Winding winding;
};

inline WoundAffine inverseOf(const Affine& map) {
  const auto [c0, c1] = map.c;
  const double k = 1 / (c0[0] * c1[1] - c0[1] * c1[0]);
  return {{{{c1[1] * k, -c0[1] * k, (c0[1] * c1[2] - c1[1] * c0[2]) * k},
            {-c1[0] * k, c0[0] * k, (c1[0] * c0[2] - c0[0] * c1[2]) * k}}},
          windingOf(k)};
}

// Takes a box to a quad, of which corner 3 is not looked at.
inline Affine affineTo(const Quad& q, const Box& box) {
  const double u = 1 / box.width(), v = 1 / box.height();
  const Point across = edge(q, 0, 1), down = edge(q, 1, 2);
  const double c00 = across.x * u, c01 = down.x * v, c10 = across.y * u, c11 = down.y * v;
  return {{{c00, c01, c00 * -box.x0 + (c01 * -box.y0 + q[0].x)},
           {c10, c11, c11 * -box.y0 + (c10 * -box.x0 + q[0].y)}}};
}

// Takes a quad to a box.
inline WoundAffine affineFrom(const Quad& q, const Box& box) {
  const Point across = edge(q, 0, 1), down = edge(q, 1, 2);
  const double k = 1 / (across.x * down.y - down.x * across.y);
  const double b = box.height() * k, a = box.width() * k;
  const double c00 = down.y * a, c01 = -down.x * a, c10 = -across.y * b, c11 = across.x * b;
  return {{{{c00, c01, c00 * -q[0].x + (box.x0 - c01 * q[0].y)},
            {c10, c11, box.y0 - c10 * q[0].x - c11 * q[0].y}}},
          windingOf(k)};
}

// Takes corners 0, 1 and 2 of a quad to those of another.
inline WoundAffine affineBetween(const Quad& from, const Quad& to) {
  const Point d1 = edge(from, 0, 1), d2 = edge(from, 1, 2), s1 = edge(to, 0, 1), s2 = edge(to, 1, 2);
  const double k = 1 / (d1.x * d2.y - d2.x * d1.y);
  const double c00 = (d2.y * s1.x - s2.x * d1.y) * k, c01 = (s2.x * d1.x - s1.x * d2.x) * k;
  const double c10 = (d2.y * s1.y - d1.y * s2.y) * k, c11 = (s2.y * d1.x - d2.x * s1.y) * k;
  return {{{{c00, c01, to[2].x - c00 * from[2].x - c01 * from[2].y},
            {c10, c11, to[2].y - c10 * from[2].x - c11 * from[2].y}}},
          windingOf(k)};
}

// Whether opposite edges are parallel.
inline bool isParallelogram(const Quad& q) {
  const Point e0 = edge(q, 0, 1), e1 = edge(q, 1, 2), e2 = edge(q, 2, 3), e3 = edge(q, 3, 0);
  return !(std::abs(e2.x * e0.y + 0.0 - e0.x * e2.y) > kSingular) &&
         !(std::abs(0.0 + e3.y * e1.x - e3.x * e1.y) > kSingular);
}

// --------------------------------------------------------------------------------- Rotations and shears

// An angle in degrees, brought to 0 and above and below 360.
inline double normalised(double angle) {
  const double turned = angle + std::nearbyint(angle * (1.0 / 360)) * -360;
  return turned < 0 ? turned + 360 : turned;
}

struct Turn {
  double cosine, sine;
};

// Quarter turns are exact. The angle is normalised.
inline Turn turnBy(double angle) {
  if (angle == 90) return {0, 1};
  if (angle == 180) return {-1, 0};
  if (angle == 270) return {0, -1};
  constexpr double kPi = 3.14159265358979323846;
  const double t = angle * (1.0 / 180) * kPi;
  return {std::cos(t), std::sin(t)};
}

// Rows are counted downwards, so that a picture turns counter-clockwise.
inline Affine rotation(double angle, double xShift, double yShift) {
  const auto [c, s] = turnBy(normalised(angle));
  return {{{c, s, xShift}, {-s, c, yShift}}};
}

// The shift with which a rotation leaves a point in its place.
inline Point shiftAround(Point centre, double angle) {
  const double a = normalised(angle);
  const auto [x, y] = centre;
  if (a == 0) return {0, 0};
  if (a == 90) return {x - y, x + y};
  if (a == 180) return {x + x, y + y};
  if (a == 270) return {x + y, y - x};
  const auto [c, s] = turnBy(a);
  return {-x * c + x + -y * s, y + -y * c + x * s};
}

inline Affine shearing(double xShear, double yShear, double xShift, double yShift) {
  return {{{1, xShear, xShift}, {yShear, 1, yShift}}};
}

}  // namespace zopi
