// Warps, rotations, shears and remaps against the plain definition, pixel by pixel.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "support/guarded.h"
#include "support/sweep.h"
#include "zopi.h"

namespace {

using registry::Argument;
using registry::Function;
using registry::Role;
using registry::Value;

struct Point {
  double x, y;
};
using Corners = std::vector<Point>;

// ------------------------------------------------------------------------------------------- Samples

// What a pixel becomes, or nothing: of one channel of an image, whose samples are `get(x, y)`.
struct Image {
  int width, height;
  std::function<double(int, int)> get;

  double at(int x, int y) const { return get(std::clamp(x, 0, width - 1), std::clamp(y, 0, height - 1)); }
};

struct Tap {
  int index;
  double fraction;
};
Tap linearTap(double v, int size, bool numbers) {
  if (numbers) {
    const double i = std::max(std::rint(v - 0.4999999), 0.0);
    return i >= size - 1 ? Tap{size - 2, 1.0} : Tap{static_cast<int>(i), v - i};
  }
  const auto fine = static_cast<std::int64_t>(std::rint(v * 65536.0));
  if (fine >= std::int64_t{size - 1} << 16) return {size - 2, 65536};
  const std::int64_t i = std::max<std::int64_t>(fine >> 16, 0);
  return {static_cast<int>(i), static_cast<double>(fine - i * 65536)};
}

double linear(const Image& s, Point p, bool numbers) {
  const auto [i, fx] = linearTap(p.x, s.width, numbers);
  const auto [j, fy] = linearTap(p.y, s.height, numbers);
  const double a = s.at(i, j), b = s.at(i + 1, j), c = s.at(i, j + 1), d = s.at(i + 1, j + 1);
  if (numbers) {
    const double top = (b - a) * fx + a, bottom = c + fx * (d - c);
    return top + fy * (bottom - top);
  }
  const auto between = [](std::int64_t u, std::int64_t v, double f) {
    return u + (((v - u) * static_cast<std::int64_t>(f)) >> 16);
  };
  const auto fine = [](double v) { return static_cast<std::int64_t>(v) * 64; };
  return static_cast<double>(
      (between(between(fine(a), fine(b), fx), between(fine(c), fine(d), fx), fy) + 32) >> 6);
}

std::array<std::int64_t, 4> tableWeights(double position, int base) {
  const double k = std::clamp(std::rint((position - base) * 512.0), 0.0, 1536.0), t = k / 512, u = 3 - t;
  const auto outer = [](double v) { return std::llround(-(v - 1) * (v - 2) * (v - 3) / 6 * 16384); };
  const auto inner = [](double v) { return std::llround(v * (v - 2) * (v - 3) / 2 * 16384); };
  return {outer(t), inner(t), inner(u), outer(u)};
}
std::array<double, 4> lagrange(double t) {
  const double p = -t / 6, q = 0.5 * t * t;
  return {p * t * t + q + (-1.0 / 3) * t, q * t + 1 - t * t - 0.5 * t, q + (-0.5 * t) * t * t + t,
          t * (t * t / 6) + p};
}

double cubic(const Image& s, Point p, bool numbers, double highest) {
  const auto base = [numbers](double v, int size) {
    const double i = numbers ? std::rint(v - 0.4999999) : std::rint(v - 0.5);
    return static_cast<int>(std::clamp(i, 1.0, size - 3.0)) - 1;
  };
  const int i = base(p.x, s.width), j = base(p.y, s.height);
  if (numbers) {
    const auto wx = lagrange(-1.0 + p.x - i), wy = lagrange(-1.0 + p.y - j);
    double rows[4];
    for (int k = 0; k < 4; ++k)
      rows[k] = s.at(i, j + k) * wx[0] + s.at(i + 1, j + k) * wx[1] + s.at(i + 2, j + k) * wx[2] +
                s.at(i + 3, j + k) * wx[3];
    return rows[0] * wy[0] + rows[1] * wy[1] + rows[2] * wy[2] + rows[3] * wy[3];
  }
  const auto wx = tableWeights(p.x, i), wy = tableWeights(p.y, j);
  std::int64_t sum = 0x80000;
  for (int k = 0; k < 4; ++k) {
    std::int64_t row = 0;
    for (int m = 0; m < 4; ++m) row += wx[m] * static_cast<std::int64_t>(s.at(i + m, j + k));
    sum += wy[k] * (row >> 8);
  }
  return std::clamp(static_cast<double>(sum >> 20), 0.0, highest);
}

int served(int interpolation, int width, int height) {
  const int code = interpolation & 0x7fffffff, side = std::min(width, height);
  if (side == 1) return zopInterNearest;
  return side < 4 && code == zopInterCubic ? zopInterLinear : code;
}

std::int32_t bits(double v) { return std::bit_cast<std::int32_t>(static_cast<float>(v)); }

double single(double v) { return static_cast<float>(v); }

// Cubics of integers take positions in single precision.
Point taken(Point p, int code, bool numbers) {
  if (code != zopInterCubic || numbers) return p;
  return {single(p.x), single(p.y)};
}
// They leave pixels alone by the bits of coordinates.
bool reaches(const Image& s, Point p, int code, bool numbers) {
  if (code != zopInterCubic || numbers) return true;
  return bits(p.x) >= bits(-1) && bits(p.y) >= bits(-1) && bits(p.x) <= bits(s.width) &&
         bits(p.y) <= bits(s.height);
}

template <class T>
T sampled(const Image& s, Point p, int code) {
  constexpr bool kNumbers = std::is_same_v<T, Zop32f>;
  constexpr double kHighest = sizeof(T) == 1 ? 255 : 65535;
  if (code == zopInterNearest)
    return static_cast<T>(s.at(static_cast<int>(std::rint(p.x)), static_cast<int>(std::rint(p.y))));
  if (code == zopInterLinear) return static_cast<T>(linear(s, p, kNumbers));
  return static_cast<T>(cubic(s, p, kNumbers, kHighest));
}

// ------------------------------------------------------------------------------------------ Polygons

Corners clip(const Corners& in, ZopImageRect r) {
  const double x0 = r.x, y0 = r.y, x1 = x0 + r.width - 1, y1 = y0 + r.height - 1;
  const auto everywhere = [&](auto test) { return std::all_of(in.begin(), in.end(), test); };
  if (everywhere([&](Point p) { return p.x >= x0 && p.x <= x1 && p.y >= y0 && p.y <= y1; })) return in;
  if (everywhere([&](Point p) { return p.x < x0; }) || everywhere([&](Point p) { return p.x > x1; }) ||
      everywhere([&](Point p) { return p.y < y0; }) || everywhere([&](Point p) { return p.y > y1; }))
    return {};
  Corners now = in;
  for (int side = 0; side < 4; ++side) {
    const double limit = std::array{y0, y1, x0, x1}[side];
    const auto inside = [&](Point p) {
      const double v = side < 2 ? p.y : p.x;
      return side % 2 == 0 ? v >= limit : v <= limit;
    };
    Corners next;
    for (std::size_t i = 0; i < now.size(); ++i) {
      const Point a = now[i], b = now[(i + 1) % now.size()];
      if (inside(a)) next.push_back(a);
      if (inside(a) == inside(b)) continue;
      if (side < 2)
        next.push_back({(limit - a.y) * ((b.x - a.x) / (b.y - a.y)) + a.x, limit});
      else
        next.push_back({limit, (limit - a.x) * ((b.y - a.y) / (b.x - a.x)) + a.y});
    }
    now = next;
  }
  Corners result;
  for (std::size_t i = 0; i < now.size(); ++i) {
    const Point before = now[(i + now.size() - 1) % now.size()];
    if (now.size() == 1 || now[i].x != before.x || now[i].y != before.y) result.push_back(now[i]);
  }
  return result;
}

struct Span {
  int row, first, last;
};

// Of a convex polygon: its right edges lead down if it is seen from the front, its left ones up.
std::vector<Span> spans(const Corners& corners, bool front) {
  std::vector<Span> result;
  if (corners.empty()) return result;
  double low = HUGE_VAL, high = -HUGE_VAL, left = HUGE_VAL, right = -HUGE_VAL;
  for (const Point p : corners) {
    low = std::min(low, p.y);
    high = std::max(high, p.y);
    left = std::min(left, p.x);
    right = std::max(right, p.x);
  }
  for (double y = std::ceil(low); y <= high && std::ceil(left) <= right; y += 1) {
    double x[2] = {left, right}, top[2] = {HUGE_VAL, HUGE_VAL};
    for (std::size_t i = 0; i < corners.size(); ++i) {
      Point a = corners[i], b = corners[(i + 1) % corners.size()];
      if (a.y == b.y) continue;
      const int side = (a.y < b.y) == front ? 1 : 0;
      if (a.y > b.y) std::swap(a, b);
      if (y < a.y || y > b.y || a.y >= top[side]) continue;
      top[side] = a.y;
      x[side] = (y - a.y) * ((b.x - a.x) / (b.y - a.y)) + a.x;
    }
    double first = std::ceil(x[0]), last = std::floor(x[1]);
    if (1 - (first - x[0]) < 1e-14) first -= 1;
    if (1 - (x[1] - last) < 1e-14) last += 1;
    result.push_back({static_cast<int>(y), static_cast<int>(first), static_cast<int>(last)});
  }
  return result;
}

bool isFront(const Corners& q) {
  return (q[3].x - q[2].x) * (q[0].y - q[3].y) - (q[0].x - q[3].x) * (q[3].y - q[2].y) > 0;
}

// ---------------------------------------------------------------------------------------------- Calls

struct Case {
  ZopImageSize image;
  ZopImageRect region;
  ZopImageSize destination;
  ZopImageRect target;
  int interpolation;

  ZopImageRect clipped() const {
    return {region.x, region.y, std::min(region.width, image.width - region.x),
            std::min(region.height, image.height - region.y)};
  }
};

// A destination pixel and its position.
struct Pixel {
  int x, y;
  Point position;
};

// What a call must do. An edge pass goes along `edges`, seen from the front or not.
struct Expected {
  ZopStatus status = zopStatusOk;
  std::vector<Pixel> pixels;
  Corners edges;
  bool front = true;
  bool isRemap = false;
};

using Parameters = std::map<std::string, Value>;

struct Picture {
  std::vector<guarded::Region> planes;
  std::vector<std::vector<unsigned char>> before;
  int samples, sampleBytes;

  Picture(const Argument& a, ZopImageSize s, std::mt19937& random)
      : samples(a.samples), sampleBytes(a.sampleBytes) {
    const int rowBytes = s.width * samples * sampleBytes,
              step = rowBytes + static_cast<int>(random() % 3) * sampleBytes;
    planes.reserve(4);
    for (int p = 0; p < std::max(a.planes, 1); ++p) {
      planes.emplace_back(s.height, rowBytes, step, guarded::Placement{random() % 2 == 0, p * sampleBytes},
                          random);
      for (int i = 0; sampleBytes == 4 && i < s.height * s.width * samples; ++i) {
        const float number = static_cast<float>(random() % 65536) * (random() % 2 == 0 ? 0x1p-8f : -7.7f);
        const int width = s.width * samples;
        std::memcpy(planes[p].at() + std::ptrdiff_t{i / width} * step + i % width * 4, &number, 4);
      }
      before.push_back(planes[p].bytes());
    }
  }
  int channels() const { return planes.size() > 1 ? static_cast<int>(planes.size()) : samples; }
  unsigned char* in(std::vector<std::vector<unsigned char>>& copy, int x, int y, int c) const {
    const std::size_t p = planes.size() > 1 ? c : 0;
    const int sample = planes.size() > 1 ? x : x * samples + c;
    return planes[p].in(copy[p]) + std::ptrdiff_t{y} * planes[p].step() +
           std::ptrdiff_t{sample} * sampleBytes;
  }
};

template <class T>
void blendEdges(const Expected& e, const Case& c, const std::function<unsigned char*(int, int, int)>& at,
                int channels) {
  const Corners polygon = clip(e.edges, c.target);
  const auto holds = [&](double x, double y) {
    return x >= c.target.x && x < c.target.x + c.target.width && y >= c.target.y &&
           y < c.target.y + c.target.height;
  };
  for (std::size_t i = 0; polygon.size() >= 3 && i < polygon.size(); ++i) {
    const Point a = polygon[i], b = polygon[(i + 1) % polygon.size()];
    const double dx = b.x - a.x, dy = b.y - a.y;
    if (dx == 0 || dy == 0) continue;
    const bool flat = std::abs(dy) <= std::abs(dx);
    const double from = flat ? a.x : a.y, to = flat ? b.x : b.y;
    for (double k = std::ceil(std::min(from, to)); k <= std::floor(std::max(from, to)); k += 1) {
      const double v = flat ? (k - a.x) * (dy / dx) + a.y : (k - a.y) * (dx / dy) + a.x;
      const double lo = std::floor(v), hi = std::ceil(v);
      if (lo == hi) continue;
      const bool targetHigh = flat ? e.front == (dx <= 0) : e.front == (dy > 0);
      const double target = targetHigh ? hi : lo, source = targetHigh ? lo : hi;
      if (!holds(flat ? k : target, flat ? target : k) || !holds(flat ? k : source, flat ? source : k))
        continue;
      for (int ch = 0; ch < channels; ++ch) {
        const auto address = [&](double across) {
          return flat ? at(static_cast<int>(k), static_cast<int>(across), ch)
                      : at(static_cast<int>(across), static_cast<int>(k), ch);
        };
        T t, s;
        std::memcpy(&t, address(target), sizeof t);
        std::memcpy(&s, address(source), sizeof s);
        const double sum = t * std::abs(v - target) + s * std::abs(v - source);
        t = static_cast<T>(sizeof(T) == 4 ? sum : sum + 0.5);
        std::memcpy(address(target), &t, sizeof t);
      }
    }
  }
}

// The bytes that a call must leave behind.
template <class T>
std::vector<std::vector<unsigned char>> after(const Function& f, const Case& c, const Expected& e,
                                              Picture& src, Picture& dst) {
  auto bytes = dst.before;
  const int channels = std::string(f.sourceLayout) == "AC4" ? 3 : dst.channels();
  const int code = served(c.interpolation, c.image.width, c.image.height);
  for (int ch = 0; ch < channels; ++ch) {
    const Image image = {c.image.width, c.image.height, [&](int x, int y) {
                           T value;
                           std::memcpy(&value, src.in(src.before, x, y, ch), sizeof value);
                           return static_cast<double>(value);
                         }};
    for (const Pixel& p : e.pixels) {
      const Point position = taken(p.position, code, sizeof(T) == 4);
      if (!e.isRemap && !reaches(image, position, code, sizeof(T) == 4)) continue;
      const T value = sampled<T>(image, position, code);
      std::memcpy(dst.in(bytes, p.x, p.y, ch), &value, sizeof value);
    }
  }
  if (!e.edges.empty() && c.interpolation < 0)
    blendEdges<T>(
        e, c, [&](int x, int y, int ch) { return dst.in(bytes, x, y, ch); }, channels);
  return bytes;
}

void compare(const Function& f, const Case& c, Parameters parameters, const Expected& e) {
  std::mt19937 random(c.image.width * 31 + c.destination.width);
  std::vector<Picture> pictures;
  pictures.reserve(4);
  std::vector<std::vector<void*>> planes;
  planes.reserve(4);
  std::vector<Value> values;
  parameters["dstRoi"] = c.target;
  parameters["interpolation"] = c.interpolation;
  for (const Argument& a : f.arguments) {
    if (a.isImage() && std::string(a.name).ends_with("Map")) {
      values.push_back(parameters.at(a.name));
    } else if (a.isImage()) {
      pictures.emplace_back(a, a.role == Role::Source ? c.image : c.destination, random);
      planes.emplace_back();
      for (guarded::Region& r : pictures.back().planes) planes.back().push_back(r.at());
      values.emplace_back(a.planes > 0 ? static_cast<void*>(planes.back().data()) : planes.back()[0]);
    } else if (a.role == Role::Step) {
      values.push_back(parameters.contains(a.name) ? parameters.at(a.name)
                                                   : Value(pictures.back().planes[0].step()));
    } else if (a.role == Role::WholeSize) {
      values.emplace_back(c.image);
    } else if (a.role == Role::Region) {
      values.emplace_back(c.region);
    } else if (a.role == Role::Size) {
      values.emplace_back(c.destination);
    } else {
      values.push_back(parameters.at(a.name));
    }
  }
  // The destination's step stands behind it, the source's too.
  Picture &src = pictures[0], &dst = pictures[1];
  const auto pointers = planes;
  const std::string type = f.sourceType;
  const auto expected = type == "8u"    ? after<Zop8u>(f, c, e, src, dst)
                        : type == "16u" ? after<Zop16u>(f, c, e, src, dst)
                                        : after<Zop32f>(f, c, e, src, dst);
  sweep::onEveryTarget([&] {
    for (std::size_t p = 0; p < dst.planes.size(); ++p) {
      std::memcpy(dst.planes[p].at() - (dst.planes[p].in(dst.before[p]) - dst.before[p].data()),
                  dst.before[p].data(), dst.before[p].size());
    }
    ASSERT_EQ(e.status, f.invoke(values.data())) << f.name;
    EXPECT_EQ(pointers, planes) << "pointers to planes have changed";
    for (std::size_t p = 0; p < dst.planes.size(); ++p) {
      if (dst.planes[p].equals(expected[p])) continue;
      auto got = dst.planes[p].bytes();
      std::size_t i = 0;
      while (got[i] == expected[p][i]) ++i;
      const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(i) - (dst.planes[p].in(got)-got.data());
      FAIL() << f.name << " code " << c.interpolation << " image " << c.image.width << 'x' << c.image.height
             << " to " << c.destination.width << 'x' << c.destination.height << ": plane " << p << " row "
             << offset / dst.planes[p].step() << " byte " << offset % dst.planes[p].step() << " is "
             << int{got[i]} << ", not " << int{expected[p][i]};
    }
  });
}

constexpr int kCodes[] = {zopInterNearest, zopInterLinear, zopInterCubic};

// Images of sizes, regions and destinations that try each edge: whole images, parts, destinations that cut
// the picture off, images too small for an interpolation.
std::vector<Case> cases(int interpolation) {
  return {{{23, 17}, {0, 0, 23, 17}, {61, 45}, {0, 0, 61, 45}, interpolation},
          {{40, 31}, {5, 7, 50, 20}, {33, 29}, {2, 3, 28, 21}, interpolation},
          {{3, 9}, {0, 2, 3, 5}, {20, 24}, {0, 0, 20, 24}, interpolation},
          {{150, 90}, {1, 0, 149, 90}, {180, 150}, {0, 0, 180, 150}, interpolation}};
}

void forCases(const std::vector<std::string>& operations,
              const std::function<void(const Function&, const Case&)>& body) {
  for (const std::string& operation : operations) {
    for (const Function* f : sweep::functionsOf(operation)) {
      for (const int code : kCodes) {
        for (const int flag : {0, int{zopSmoothEdge}}) {
          for (const Case& c : cases(code | flag)) {
            if (c.image.width > 100 && f->sourceLayout != std::string("C1") && code != zopInterLinear)
              continue;
            ASSERT_NO_FATAL_FAILURE(body(*f, c));
          }
        }
      }
    }
  }
}

// --------------------------------------------------------------------------------------------- Affine

struct Affine {
  double c[2][3];
  Point operator()(Point p) const {
    return {c[0][0] * p.x + c[0][1] * p.y + c[0][2], c[1][0] * p.x + c[1][1] * p.y + c[1][2]};
  }
};

Corners cornersOf(ZopImageRect r) {
  const double x0 = r.x, y0 = r.y, x1 = x0 + r.width - 1, y1 = y0 + r.height - 1;
  return {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
}
template <class Map>
Corners mapped(const Map& map, Corners corners) {
  for (Point& p : corners) p = map(p);
  return corners;
}

std::vector<Pixel> walked(const std::vector<Span>& rows, const Affine& m) {
  std::vector<Pixel> result;
  if (rows.empty()) return result;
  double bx = m.c[0][1] * rows[0].row + m.c[0][2], by = m.c[1][1] * rows[0].row + m.c[1][2];
  for (const Span& s : rows) {
    double x = s.first * m.c[0][0] + bx, y = s.first * m.c[1][0] + by;
    for (int i = s.first; i <= s.last; ++i, x += m.c[0][0], y += m.c[1][0])
      result.push_back({i, s.row, {x, y}});
    bx += m.c[0][1];
    by += m.c[1][1];
  }
  return result;
}

Expected affine(const Case& c, const Affine& forward) {
  const ZopImageRect r = c.clipped();
  const Corners q = mapped(forward, cornersOf(r));
  const double ax = q[1].x - q[0].x, bx = q[2].x - q[1].x, ay = q[1].y - q[0].y, by = q[2].y - q[1].y;
  const double k = 1 / (ax * by - bx * ay), B = (r.height - 1) * k, A = (r.width - 1) * k;
  Affine back = {{{by * A, -bx * A, 0}, {-ay * B, ax * B, 0}}};
  back.c[0][2] = back.c[0][0] * -q[0].x + (r.x - back.c[0][1] * q[0].y);
  back.c[1][2] = r.y - back.c[1][0] * q[0].x - back.c[1][1] * q[0].y;
  Expected e;
  const auto rows = spans(clip(q, c.target), k > 0);
  e.pixels = walked(rows, back);
  e.edges = q;
  e.front = k > 0;
  e.status = rows.empty() ? zopStatusNoOperation : zopStatusOk;
  return e;
}

const std::vector<Affine>& affines() {
  static const std::vector<Affine> all = {
      {{{1, 0, 0}, {0, 1, 0}}},
      {{{0.94, 0.34, 3.25}, {-0.34, 0.94, 12.5}}},
      {{{-1.3, 0.2, 40}, {0.1, 1.7, 2}}},  // a mirror image
      {{{0.5, 0.75, -4.1}, {0.25, 2.5, 1}}},
      {{{0.1, 0, 7.3}, {0, 0.07, 5.9}}},  // smaller
      {{{1, 0, 500}, {0, 1, 0}}},         // elsewhere
  };
  return all;
}

TEST(Warp, AffineEqualsTheDefinition) {
  forCases({"WarpAffine"}, [](const Function& f, const Case& c) {
    for (const Affine& m : affines())
      ASSERT_NO_FATAL_FAILURE(compare(f, c, {{"coeffs", static_cast<const void*>(m.c)}}, affine(c, m)));
  });
}

// Wider than positions with 16 more bits fit 32.
TEST(Warp, WideImages) {
  for (const Function* f : sweep::functionsOf("WarpAffine")) {
    for (const int code : kCodes) {
      const Case c = {{40000, 5}, {33000, 0, 7000, 5}, {7, 9}, {0, 0, 7, 9}, code};
      const Case d = {{40000, 5}, {33000, 0, 7000, 5}, {70, 9}, {0, 0, 70, 9}, code};
      const Affine smaller = {{{0.001, 0, -33}, {0, 1.75, 0.5}}},
                   shifted = {{{1, 0.25, -39960.25}, {0, 1.5, 0.3}}};
      ASSERT_NO_FATAL_FAILURE(
          compare(*f, c, {{"coeffs", static_cast<const void*>(smaller.c)}}, affine(c, smaller)));
      ASSERT_NO_FATAL_FAILURE(
          compare(*f, d, {{"coeffs", static_cast<const void*>(shifted.c)}}, affine(d, shifted)));
    }
  }
}

TEST(Warp, AffineBackEqualsTheDefinition) {
  forCases({"WarpAffineBack"}, [](const Function& f, const Case& c) {
    for (const Affine& m : affines()) {
      const auto& b = m.c;
      const double k = 1 / (b[0][0] * b[1][1] - b[0][1] * b[1][0]);
      const Affine forward = {{{b[1][1] * k, -b[0][1] * k, (b[0][1] * b[1][2] - b[1][1] * b[0][2]) * k},
                               {-b[1][0] * k, b[0][0] * k, (b[1][0] * b[0][2] - b[0][0] * b[1][2]) * k}}};
      const auto rows = spans(clip(mapped(forward, cornersOf(c.clipped())), c.target), k > 0);
      Expected e;
      e.pixels = walked(rows, m);
      e.status = rows.empty() ? zopStatusNoOperation : zopStatusOk;
      ASSERT_NO_FATAL_FAILURE(compare(f, c, {{"coeffs", static_cast<const void*>(m.c)}}, e));
    }
  });
}

TEST(Warp, ShearsAndRotationsAreAffineWarps) {
  forCases({"Shear"}, [](const Function& f, const Case& c) {
    const Affine m = {{{1, 0.7, -3.5}, {-0.25, 1, 6}}};
    compare(f, c, {{"xShear", 0.7}, {"yShear", -0.25}, {"xShift", -3.5}, {"yShift", 6.0}}, affine(c, m));
  });
  forCases({"Rotate", "RotateCenter"}, [](const Function& f, const Case& c) {
    for (const double angle : {20.0, 0.0, 270.0, 333.0}) {
      Point shift = {5.25, 14.5};
      if (f.operation == std::string("RotateCenter"))
        zopiGetRotateShift(12.3, 8.1, angle, &shift.x, &shift.y);
      const double t = angle * (1.0 / 180) * 3.14159265358979323846, co = angle == 270 ? 0 : std::cos(t),
                   si = angle == 270 ? -1 : std::sin(t);
      const Affine m = {{{co, si, shift.x}, {-si, co, shift.y}}};
      ASSERT_NO_FATAL_FAILURE(compare(
          f, c,
          {{"angle", angle}, {"xShift", shift.x}, {"yShift", shift.y}, {"xCenter", 12.3}, {"yCenter", 8.1}},
          affine(c, m)));
    }
  });
}

// Pixels are copied, whatever the code.
TEST(Warp, QuarterTurnsCopyPixels) {
  for (const Function* f : sweep::functionsOf("Rotate")) {
    for (Case c : cases(zopInterNearest)) {
      for (const double angle : {90.0, 180.0, 270.0, -270.0, 540.0}) {
        for (const Point shift : {Point{0, 0}, {30, 20}, {3, 160}, {100, 40}, {-7, 700}}) {
          const double a = std::fmod(angle + 720, 360);
          const ZopImageRect r = c.clipped();
          Expected e;
          for (int y = c.target.y; y < c.target.y + c.target.height; ++y) {
            for (int x = c.target.x; x < c.target.x + c.target.width; ++x) {
              const Point p = a == 90    ? Point{shift.y - y, x - shift.x}
                              : a == 180 ? Point{shift.x - x, shift.y - y}
                                         : Point{y - shift.y, shift.x - x};
              if (p.x >= r.x && p.x < r.x + r.width && p.y >= r.y && p.y < r.y + r.height)
                e.pixels.push_back({x, y, p});
            }
          }
          e.status = e.pixels.empty() ? zopStatusNoOperation : zopStatusOk;
          ASSERT_NO_FATAL_FAILURE(
              compare(*f, c, {{"angle", angle}, {"xShift", shift.x}, {"yShift", shift.y}}, e));
        }
      }
    }
  }
  Zop8u pixels[6] = {1, 2, 3, 4, 5, 6}, out[6] = {};
  EXPECT_EQ(zopStatusOk,
            zopiRotate_8u_C1R(pixels, {3, 2}, 3, {0, 0, 3, 2}, out, 2, {0, 0, 2, 3}, 450, 0, 2, 77));
  EXPECT_EQ(std::vector<Zop8u>({3, 6, 2, 5, 1, 4}), std::vector<Zop8u>(out, out + 6));
  EXPECT_EQ(zopStatusBadInterpolation,
            zopiRotate_8u_C1R(pixels, {3, 2}, 3, {0, 0, 3, 2}, out, 2, {0, 0, 2, 3}, 90, 0.5, 2, 77));
}

// --------------------------------------------------------------------------------------- Other mappings

struct Perspective {
  double c[3][3];
  Point operator()(Point p) const {
    const auto row = [&](int i) { return c[i][0] * p.x + c[i][1] * p.y + c[i][2]; };
    return {row(0) / row(2), row(1) / row(2)};
  }
};
Perspective adjugate(const Perspective& m) {
  Perspective r;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      const int a = (j + 1) % 3, b = (j + 2) % 3, u = (i + 1) % 3, v = (i + 2) % 3;
      r.c[i][j] = m.c[a][u] * m.c[b][v] - m.c[a][v] * m.c[b][u];
    }
  }
  return r;
}

// Rows in groups of four pixels, of which the last may be smaller.
std::vector<Pixel> walked(const std::vector<Span>& rows, const Perspective& m) {
  std::vector<Pixel> result;
  if (rows.empty()) return result;
  double base[3];
  for (int i = 0; i < 3; ++i) base[i] = m.c[i][1] * rows[0].row + m.c[i][2];
  for (const Span& s : rows) {
    double w = single(m.c[2][0] * s.first + base[2]), x = single(m.c[0][0] * s.first + base[0]),
           y = single(m.c[1][0] * s.first + base[1]);
    const double dw = single(m.c[2][0]), dx = single(m.c[0][0]), dy = single(m.c[1][0]);
    for (int i = s.first; i <= s.last; i += 4) {
      const int n = std::min(4, s.last - i + 1);
      double ws[4] = {w, w + dw, w + dw + dw, w + dw + dw + dw}, product = ws[0];
      for (int k = 1; k < n; ++k) product *= ws[k];
      const double r = 1 / product;
      for (int k = 0; k < n; ++k) {
        double others = 1;
        for (int j = 0; j < n; ++j) others *= j == k ? 1 : ws[j];
        const double reciprocal = single(others * r);
        result.push_back({i + k, s.row, {single(reciprocal * x), single(reciprocal * y)}});
        x += dx;
        y += dy;
      }
      w += 4 * dw;
    }
    for (int i = 0; i < 3; ++i) base[i] += m.c[i][1];
  }
  return result;
}

struct Bilinear {
  double c[2][4];
  Point operator()(Point p) const {
    const auto row = [&](int i) { return c[i][0] * p.x * p.y + c[i][1] * p.x + c[i][2] * p.y + c[i][3]; };
    return {row(0), row(1)};
  }
};

std::vector<Pixel> walked(const std::vector<Span>& rows, const Bilinear& m) {
  std::vector<Pixel> result;
  double base[2] = {}, slope[2] = {};
  for (int i = 0; i < 2 && !rows.empty(); ++i) {
    base[i] = m.c[i][2] * rows[0].row + m.c[i][3];
    slope[i] = m.c[i][0] * rows[0].row + m.c[i][1];
  }
  for (const Span& s : rows) {
    double x = slope[0] * s.first + base[0], y = slope[1] * s.first + base[1];
    for (int i = s.first; i <= s.last; ++i, x += slope[0], y += slope[1])
      result.push_back({i, s.row, {x, y}});
    for (int i = 0; i < 2; ++i) {
      base[i] += m.c[i][2];
      slope[i] += m.c[i][0];
    }
  }
  return result;
}

// The inverse of the mapping from a rectangle to a quad, as the interface lays it down: a root, a quotient or
// neither, by which edges are parallel.
std::vector<Pixel> walkedBack(const std::vector<Span>& rows, const Corners& q, double x0, double y0, double W,
                              double H, bool front) {
  const double e1 = q[1].x - q[0].x, e2 = q[1].y - q[0].y, f1 = q[3].x - q[2].x, f2 = q[3].y - q[2].y;
  const double g1 = q[0].x - q[3].x, g2 = q[0].y - q[3].y, h1 = q[2].x - q[1].x, h2 = q[2].y - q[1].y;
  const double A = f1 * e2 - e1 * f2, B = f2 + e2, C = h1 * g2 - g1 * h2, D = g1 * e2 - e1 * g2, S = f1 + e1;
  const double m = 1 / (A / W), k = 1 / (A / W + A / W), n = 1 / (C / H), d = 1 / D, qx = q[0].x, qy = q[0].y;
  const bool smallA = std::abs(A) <= 1e-10, smallC = std::abs(C) <= 1e-10;
  const int kind = smallA ? (smallC ? 3 : 1) : smallC ? 2 : 0;
  double c[11] = {};
  const double u = kind < 2 ? 0 : x0, v = kind == 2 ? 0 : y0;
  if (kind == 0) {
    const double all[] = {-B * k,
                          S * k,
                          -D * k - (S * k * qy - B * k * qx),
                          -(A / W) * n,
                          g2 * W * m,
                          -B * n,
                          -g1 * W * m,
                          S * n,
                          0,
                          0,
                          x0};
    std::copy(all, all + 11, c);
  } else if (kind == 3) {
    const double all[] = {0, 0, 0, 0, -g2 * W * d, -e2 * H * d, g1 * W * d, e1 * H * d, 0, 0, 0};
    std::copy(all, all + 11, c);
  } else if (kind == 1) {
    const double all[] = {B, -S, D - (-S * qy + B * qx), 0, -g2 * W, -B * n, g1 * W, S * n, 0, 0, x0};
    std::copy(all, all + 11, c);
  } else {
    const double all[] = {B, -S, -(-S * qy + B * qx + D), 0, -B * m, e2 * H, S * m, -e1 * H, 0, 0, y0};
    std::copy(all, all + 11, c);
  }
  c[8] = u - (c[4] * qx + c[6] * qy);
  c[9] = v - (c[5] * qx + c[7] * qy);
  const bool adds = front ? A > 0 : !(A >= 0);
  std::vector<Pixel> result;
  if (rows.empty()) return result;
  const double top = rows[0].row;
  double sBase = c[1] * top + c[2], aBase = c[7] * top + c[9], bBase = c[6] * top + c[8];
  for (const Span& span : rows) {
    double s = c[0] * span.first + sBase, a = c[5] * span.first + aBase, b = c[4] * span.first + bBase;
    for (int i = span.first; i <= span.last; ++i, s += c[0], a += c[5], b += c[4]) {
      Point p = {b, a};
      if (kind == 0) {
        const double root = std::sqrt(s * s - b), w = adds ? s + root : s - root;
        p = {w + c[10], c[3] * w + a};
      } else if (kind == 1) {
        p.x = b / s + c[10];
      } else if (kind == 2) {
        p.y = a / s + c[10];
      }
      result.push_back({i, span.row, {single(p.x), single(p.y)}});
    }
    sBase += c[1];
    aBase += c[7];
    bBase += c[6];
  }
  return result;
}

// Corners for a picture of the source region: a parallelogram, trapezia of both kinds, a quad without
// parallel edges, its mirror image, and one that hangs over the destination.
std::vector<Corners> quads() {
  return {{{3, 4}, {25, 7}, {29, 27}, {7, 24}},        {{4, 3.5}, {30, 3.5}, {25, 22}, {9, 22}},
          {{5, 2}, {24, 8}, {24, 17}, {5, 26}},        {{2.5, 3.25}, {31, 6}, {26, 24.5}, {5, 19}},
          {{31, 6}, {2.5, 3.25}, {5, 19}, {26, 24.5}}, {{-20, 5}, {20, -9}, {70, 30}, {4, 80}}};
}

template <class Map>
void copyTo(double (*quad)[2], const Map& corners) {
  for (int i = 0; i < 4; ++i) {
    quad[i][0] = corners[i].x;
    quad[i][1] = corners[i].y;
  }
}

TEST(Warp, PerspectiveEqualsTheDefinition) {
  forCases({"WarpPerspective", "WarpPerspectiveBack"}, [](const Function& f, const Case& c) {
    const ZopImageRect r = c.clipped();
    const bool isBack = f.operation == std::string("WarpPerspectiveBack");
    for (const Corners& corners : quads()) {
      double quad[4][2];
      copyTo(quad, corners);
      Perspective m, back;
      ASSERT_EQ(zopStatusOk, zopiGetPerspectiveTransform(r, quad, m.c));
      if (std::abs(m.c[2][2]) <= 1e-7 || std::abs(m.c[0][0] * m.c[1][1] - m.c[0][1] * m.c[1][0]) <= 1e-7)
        continue;
      if (isBack) {
        back = adjugate(m);
        if (std::abs(back.c[2][2]) <= 1e-7 ||
            std::abs(back.c[0][0] * back.c[1][1] - back.c[0][1] * back.c[1][0]) <= 1e-7)
          continue;
        m = adjugate(back);
      }
      const Corners q = mapped(m, cornersOf(r));
      if (!isBack) {
        copyTo(quad, q);
        Perspective solved;
        ASSERT_EQ(zopStatusOk, zopiGetPerspectiveTransform(r, quad, solved.c));
        back = adjugate(solved);
      }
      Expected e;
      e.front = isFront(q);
      const auto rows = spans(clip(q, c.target), e.front);
      e.pixels = walked(rows, back);
      if (!isBack) e.edges = q;
      e.status = rows.empty() ? zopStatusNoOperation : zopStatusOk;
      ASSERT_NO_FATAL_FAILURE(
          compare(f, c, {{"coeffs", static_cast<const void*>(isBack ? back.c : m.c)}}, e));
    }
  });
}

TEST(Warp, BilinearEqualsTheDefinition) {
  forCases({"WarpBilinear"}, [](const Function& f, const Case& c) {
    const ZopImageRect r = c.clipped();
    for (const Corners& corners : quads()) {
      double quad[4][2];
      copyTo(quad, corners);
      Bilinear m;
      ASSERT_EQ(zopStatusOk, zopiGetBilinearTransform(r, quad, m.c));
      const Corners q = mapped(m, cornersOf(r));
      Expected e;
      e.front = isFront(q);
      const auto rows = spans(clip(q, c.target), e.front);
      e.pixels = walkedBack(rows, q, r.x, r.y, r.width - 1, r.height - 1, e.front);
      e.edges = q;
      e.status = rows.empty() ? zopStatusNoOperation : zopStatusOk;
      ASSERT_NO_FATAL_FAILURE(compare(f, c, {{"coeffs", static_cast<const void*>(m.c)}}, e));
    }
  });
}

TEST(Warp, BilinearBackEqualsTheDefinition) {
  forCases({"WarpBilinearBack"}, [](const Function& f, const Case& c) {
    const ZopImageRect r = c.clipped();
    // Within the region, partly, and nowhere.
    const Bilinear maps[] = {{{{1e-4, 0.02, 0.03, r.x + 0.2}, {2e-4, 0.01, 0.02, r.y + 0.4}}},
                             {{{0.01, 0.5, -0.2, 1}, {-0.004, 0.2, 0.6, 0.3}}},
                             {{{0, 1, 0, 900}, {0, 0, 1, 0}}}};
    for (const Bilinear& m : maps) {
      const Corners q = mapped(m, cornersOf(c.target));
      const auto inside = [&](Point p) {
        return p.x >= r.x && p.x <= r.x + r.width - 1 && p.y >= r.y && p.y <= r.y + r.height - 1;
      };
      Expected e;
      e.pixels = walked(spans(cornersOf(c.target), true), m);
      std::erase_if(e.pixels, [&](const Pixel& p) { return !inside(p.position); });
      const auto beyond = [&](auto test) { return std::all_of(q.begin(), q.end(), test); };
      if (beyond([&](Point p) { return p.x > r.x + r.width - 1; })) e.status = zopStatusNoOperation;
      ASSERT_NO_FATAL_FAILURE(compare(f, c, {{"coeffs", static_cast<const void*>(m.c)}}, e));
    }
  });
}

// From quad to quad, mappings are solved in an order of the library's own, so that only affine ones, and
// those to and from upright rectangles, are the same to the bit.
TEST(Warp, QuadsEqualTheDefinition) {
  forCases({"WarpAffineQuad", "WarpBilinearQuad"}, [](const Function& f, const Case& c) {
    const ZopImageRect r = c.clipped();
    const bool isAffine = f.operation == std::string("WarpAffineQuad");
    const Corners inside = cornersOf({r.x, r.y, std::max(r.width - 1, 2), std::max(r.height - 1, 2)});
    const Corners across = {
        {r.x - 5.0, r.y + 1.0}, {r.x + 12.0, r.y - 2.0}, {r.x + 30.0, r.y + 9.5}, {r.x + 13.0, r.y + 12.5}};
    for (const Corners& s : {inside, across}) {
      for (const Corners& d : {quads()[0], quads()[3], cornersOf({4, 3, 19, 15})}) {
        const bool parallel = std::abs((d[3].x - d[2].x) - (d[0].x - d[1].x)) < 1e-9 &&
                              std::abs((d[3].y - d[2].y) - (d[0].y - d[1].y)) < 1e-9;
        const bool upright = d[0].y == d[1].y && d[0].x == d[3].x;
        const bool sourceIn = std::all_of(s.begin(), s.end(), [&](Point p) {
          return p.x >= r.x && p.x <= r.x + r.width - 1 && p.y >= r.y && p.y <= r.y + r.height - 1;
        });
        double from[4][2], to[4][2];
        copyTo(from, s);
        copyTo(to, d);
        Expected e;
        e.edges = d;
        e.front = true;
        if (isAffine) {
          if (!parallel) continue;
          const auto solved = [](const Corners& a, const Corners& b) {
            const double dx1 = a[1].x - a[0].x, dx2 = a[2].x - a[1].x, dy1 = a[1].y - a[0].y,
                         dy2 = a[2].y - a[1].y;
            const double sx1 = b[1].x - b[0].x, sx2 = b[2].x - b[1].x, sy1 = b[1].y - b[0].y,
                         sy2 = b[2].y - b[1].y;
            const double k = 1 / (dx1 * dy2 - dx2 * dy1);
            Affine m = {{{(dy2 * sx1 - sx2 * dy1) * k, (sx2 * dx1 - sx1 * dx2) * k, 0},
                         {(dy2 * sy1 - dy1 * sy2) * k, (sy2 * dx1 - dx2 * sy1) * k, 0}}};
            m.c[0][2] = b[2].x - m.c[0][0] * a[2].x - m.c[0][1] * a[2].y;
            m.c[1][2] = b[2].y - m.c[1][0] * a[2].x - m.c[1][1] * a[2].y;
            return m;
          };
          const Corners polygon = sourceIn ? d : mapped(solved(s, d), clip(s, r));
          const auto rows = spans(clip(polygon, c.target), true);
          e.pixels = walked(rows, solved(d, s));
          e.status = rows.empty() ? zopStatusNoOperation : zopStatusOk;
        } else {
          const auto rows = spans(clip(d, c.target), true);
          if (upright) {
            Bilinear m;
            ASSERT_EQ(zopStatusOk, zopiGetBilinearTransform({4, 3, 19, 15}, from, m.c));
            e.pixels = walked(rows, m);
          } else if (s[0].y == s[1].y) {
            e.pixels = walkedBack(rows, d, s[0].x, s[0].y, s[2].x - s[0].x, s[2].y - s[0].y, true);
          } else {
            continue;
          }
          if (!sourceIn) {
            std::erase_if(e.pixels, [&](const Pixel& p) {
              const auto [x, y] = p.position;
              return x < r.x || x > r.x + r.width - 1 || y < r.y || y > r.y + r.height - 1;
            });
          }
          e.status = rows.empty() ? zopStatusNoOperation : zopStatusOk;
        }
        ASSERT_NO_FATAL_FAILURE(compare(
            f, c, {{"srcQuad", static_cast<const void*>(from)}, {"dstQuad", static_cast<const void*>(to)}},
            e));
      }
    }
  });
}

TEST(Remap, EqualsTheDefinition) {
  std::mt19937 random(5);
  for (const Function* f : sweep::functionsOf("Remap")) {
    for (const int code : kCodes) {
      for (Case c : cases(code)) {
        // The region may hang over the image, and so may positions.
        const ZopImageRect r = c.region;
        const int width = c.destination.width, height = c.destination.height, step = (width + 1) * 4;
        std::vector<float> x((width + 1) * height), y(x.size());
        for (std::size_t i = 0; i < x.size(); ++i) {
          const auto position = [&](int origin, int extent) {
            const float v = static_cast<float>(origin) +
                            static_cast<float>(random() % 100000) * static_cast<float>(extent + 1) / 100000 -
                            1;
            const unsigned choice = random() % 16;
            return choice == 0                        ? std::round(v)
                   : choice == 1                      ? -0.0f
                   : choice == 2                      ? std::round(v) + 0.5f
                   : choice == 3 && random() % 8 == 0 ? NAN
                                                      : v;
          };
          x[i] = position(r.x, r.width);
          y[i] = position(r.y, r.height);
        }
        const int served_ = served(code, c.image.width, c.image.height);
        const bool byBits =
            served_ == zopInterLinear || (served_ == zopInterCubic && f->sourceType != std::string("32f"));
        const auto isIn = [&](float v, int first, int extent) {
          const auto low = static_cast<float>(first), high = static_cast<float>(first + extent - 1);
          return byBits ? bits(v) >= bits(low) && bits(v) <= bits(high) : v >= low && v <= high;
        };
        Expected e;
        e.isRemap = true;
        for (int i = 0; i < height; ++i) {
          for (int j = 0; j < width; ++j) {
            const float u = x[i * (width + 1) + j], v = y[i * (width + 1) + j];
            if (isIn(u, r.x, r.width) && isIn(v, r.y, r.height)) e.pixels.push_back({j, i, {u, v}});
          }
        }
        ASSERT_NO_FATAL_FAILURE(compare(*f, c,
                                        {{"pxMap", static_cast<const void*>(x.data())},
                                         {"pyMap", static_cast<const void*>(y.data())},
                                         {"xMapStep", step},
                                         {"yMapStep", step}},
                                        e));
      }
    }
  }
}

}  // namespace
