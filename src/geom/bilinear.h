// Bilinear mappings: x' = c00 x y + c01 x + c02 y + c03, y' = c10 x y + c11 x + c12 y + c13.
#pragma once

#include <cmath>

#include "geom/affine.h"
#include "geom/quad.h"
#include "zopi/status.h"

namespace zopi {

struct Bilinear {
  double c[2][4];

  double row(int i, Point p) const { return c[i][0] * p.x * p.y + c[i][1] * p.x + c[i][2] * p.y + c[i][3]; }
  Point operator()(Point p) const { return {row(0, p), row(1, p)}; }
};

inline Bilinear bilinearOf(const double c[2][4]) {
  return {{{c[0][0], c[0][1], c[0][2], c[0][3]}, {c[1][0], c[1][1], c[1][2], c[1][3]}}};
}

inline ZopStatus checkBilinear(const Bilinear& map) {
  const double determinant = map.c[0][1] * map.c[1][2] + 0.0 - map.c[0][2] * map.c[1][1];
  return std::abs(determinant) <= kSingular ? zopStatusSingularCoefficients : zopStatusOk;
}

// Takes a box to a quad.
inline Bilinear bilinearTo(const Quad& q, const Box& box) {
  const auto [x0, y0, x1, y1] = box;
  const double k = 1 / ((x1 - x0) * (y1 - y0));
  const Point e = edge(q, 0, 1), f = edge(q, 2, 3), g = edge(q, 3, 0), h = edge(q, 1, 2);
  Bilinear b;
  b.c[0][0] = -(e.x + f.x) * k;
  b.c[0][1] = (e.x * y1 + f.x * y0) * k;
  b.c[0][2] = (-x1 * g.x + h.x * -x0) * k;
  b.c[0][3] = b.c[0][2] * -y0 + (b.c[0][1] * -x0 + q[0].x) + b.c[0][0] * x0 * -y0;
  b.c[1][0] = -(e.y + f.y) * k;
  b.c[1][1] = (y0 * f.y + e.y * y1) * k;
  b.c[1][2] = (-x0 * h.y + -x1 * g.y) * k;
  b.c[1][3] = b.c[1][2] * -y0 + (b.c[1][1] * -x0 + (x0 * b.c[1][0] * -y0 + q[0].y));
  return b;
}

// The inverse of a bilinear mapping. With s = c0 x + c1 y + c2, b = c4 x + c6 y + c8 and
// a = c5 x + c7 y + c9, the position is
//   Root         u = s +- sqrt(s s - b), x = u + c10, y = c3 u + a
//   QuotientX    x = b / s + c10,        y = a
//   QuotientY    x = b,                  y = a / s + c10
//   Linear       x = b,                  y = a
enum class Inverse { Root, QuotientX, QuotientY, Linear };

struct BilinearInverse {
  Inverse kind;
  bool adds;  // the root
  double c[11];
};

// Takes a quad to a box.
inline BilinearInverse bilinearFrom(const Quad& q, const Box& box, Winding winding) {
  constexpr double kSmall = 1e-10;
  const auto [x0, y0, x1, y1] = box;
  const double W = x1 - x0, H = y1 - y0;
  const Point e = edge(q, 0, 1), f = edge(q, 2, 3), g = edge(q, 3, 0), h = edge(q, 1, 2);
  const double A = f.x * e.y - e.x * f.y, B = f.y + e.y, C = h.x * g.y - g.x * h.y, D = g.x * e.y - e.x * g.y,
               S = f.x + e.x;
  const double m = 1 / (A / W), k = 1 / (A / W + A / W), n = 1 / (C / H), d = 1 / D;
  const auto [qx, qy] = q[0];
  const bool noRoot = !(std::abs(A) > kSmall), noQuotient = !(std::abs(C) > kSmall);
  BilinearInverse r = {};
  double u = 0, v = y0;
  if (noRoot && noQuotient) {
    r = {Inverse::Linear, false, {0, 0, 0, 0, -g.y * W * d, -e.y * H * d, g.x * W * d, e.x * H * d, 0, 0, 0}};
    u = x0;
  } else if (noRoot) {
    r = {Inverse::QuotientX,
         false,
         {B, -S, D - (-S * qy + B * qx), 0, -g.y * W, -B * n, g.x * W, S * n, 0, 0, x0}};
  } else if (noQuotient) {
    r = {Inverse::QuotientY,
         false,
         {B, -S, -(-S * qy + B * qx + D), 0, -B * m, e.y * H, S * m, -e.x * H, 0, 0, y0}};
    u = x0;
    v = 0;
  } else {
    r = {Inverse::Root,
         false,
         {-B * k, S * k, -D * k - (S * k * qy - B * k * qx), -(A / W) * n, g.y * W * m, -B * n, -g.x * W * m,
          S * n, 0, 0, x0}};
  }
  r.adds = winding == Winding::Front ? A > 0 : !(A >= 0);
  r.c[8] = u - (r.c[4] * qx + r.c[6] * qy);
  r.c[9] = v - (r.c[5] * qx + r.c[7] * qy);
  return r;
}

}  // namespace zopi
