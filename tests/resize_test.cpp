// Scaled images against the plain definition, position by position.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "support/guarded.h"
#include "support/sweep.h"
#include "zopi.h"

namespace {

using registry::Function;
using registry::Value;

// A call: positions by factors, or by distances and shifts.
struct Case {
  ZopImageSize image;
  ZopImageRect region;
  ZopImageSize destination;
  double x, y;
  int interpolation;
  double xShift = 0, yShift = 0;
};

std::string describe(const Function& f, const Case& c) {
  const auto text = [](auto... v) { return ((std::to_string(v) + " ") + ...); };
  return std::string(f.name) + " image " + text(c.image.width, c.image.height) + "region " +
         text(c.region.x, c.region.y, c.region.width, c.region.height) + "to " +
         text(c.destination.width, c.destination.height) + "by " + text(c.x, c.y) + "shifts " +
         text(c.xShift, c.yShift) + "code " + text(c.interpolation);
}

// Where the taps of a row or column are, counted from the region's first.
struct Tap {
  int base;
  float weight;
};

struct Axis {
  int size, origin, clipped, wanted;
  double factor, shift;
  bool byDistance, numbers;
  int interpolation;

  std::vector<Tap> taps() const {
    const double q = factor >= 1 ? factor : 1 / factor;
    const bool exact = q - std::trunc(q) == 0, near = std::abs(q - std::trunc(q + 1e-7)) < 1e-7;
    const bool nearest = interpolation == zopInterNearest, integral = nearest && (byDistance ? near : exact);
    int count = wanted;
    double step = factor;
    if (byDistance) {
      const double extent = integral ? clipped * (1 / factor) : (clipped - 1) * (1 / factor);
      const auto k = static_cast<std::int64_t>(extent + 1e-7);
      if (k < count - 1) count = std::max(1, static_cast<int>(integral ? k : k + 1));
    } else {
      const auto k = static_cast<std::int64_t>(1e-7 + clipped * factor);
      if (k < count) count = std::max(1, static_cast<int>(k));
      const double scaled = clipped * factor;
      step = integral ? 1 / factor : scaled > 1 ? (clipped - 1) * (1 / (scaled - 1)) : 0.0;
    }
    std::vector<Tap> result;
    double position = shift + (nearest && !exact ? 0.5 : 0.0);
    for (int i = 0; i < count; ++i, position += step) result.push_back(tap(position));
    return result;
  }

  Tap tap(double position) const {
    double at = std::trunc(position + 1e-7);
    if (at + origin < 0) at = position = -origin;
    if (at + origin > size - 1) at = position = size - 1 - origin;
    const int index = static_cast<int>(at), inImage = index + origin;
    if (interpolation == zopInterNearest) return {index, 0};
    if (interpolation == zopInterLinear) {
      if (inImage == size - 1) return {index - 1, numbers ? 1.0f : 16384.0f};
      const double w = numbers ? position - index : std::trunc(1e-7 + (position - index) * 16384.0);
      return {index, static_cast<float>(numbers ? w : std::max(w, 0.0))};
    }
    if (inImage == size - 1) return {index - 2, 2.0f};
    const int base = inImage == 0 ? index + 1 : inImage == size - 2 ? index - 1 : index;
    return {base, static_cast<float>(position - base)};
  }
};

std::int64_t blend(std::int64_t a, std::int64_t b, float weight, int shift) {
  const auto w = static_cast<std::int64_t>(weight);
  return (a * (16384 - w) + b * w) >> shift;
}
std::int64_t blendWords(std::int64_t a, std::int64_t b, float weight, bool isShort) {
  return blend(a >> 1, b >> 1, weight, 13) + (isShort ? 0 : blend(a & 1, b & 1, weight, 14));
}

struct Cubic {
  double a, b, c;
  explicit Cubic(float weight) {
    const double t = weight;
    a = 1 + t;
    b = a * t * 0.5;
    c = (t - 1) * b * 0.3333333432674408;
  }
};

// One channel of the result. `get(x, y)` is a sample, counted from the region's first.
template <class T, class Get>
std::vector<std::vector<T>> scaledChannel(const Case& c, bool byDistance, bool alone, bool contiguous,
                                          int channels, int channel, const Get& get) {
  constexpr bool kNumbers = sizeof(T) == 4;
  const int side = std::min(c.image.width, c.image.height);
  int code = c.interpolation;
  if (side < 2) code = zopInterNearest;
  if (side < 4 && code == zopInterCubic) code = zopInterLinear;
  const auto axis = [&](int size, int origin, int extent, int wanted, double f, double shift) {
    return Axis{size, origin, std::min(extent, size - origin), wanted, f, shift, byDistance, kNumbers, code}
        .taps();
  };
  const auto xs = axis(c.image.width, c.region.x, c.region.width, c.destination.width, c.x, c.xShift);
  const auto ys = axis(c.image.height, c.region.y, c.region.height, c.destination.height, c.y, c.yShift);
  const int width = static_cast<int>(xs.size());
  std::vector<std::vector<T>> result(ys.size(), std::vector<T>(xs.size()));
  const auto across = [&](int row, int x) -> double {
    const auto [i, w] = xs[x];
    const double a = get(i, row);
    if (code == zopInterLinear) {
      const double b = get(i + 1, row);
      if (kNumbers) return static_cast<float>(a + (b - a) * double{w});
      const auto ia = static_cast<std::int64_t>(a), ib = static_cast<std::int64_t>(b);
      if (sizeof(T) == 1) return static_cast<double>(blend(ia, ib, w, 8));
      return static_cast<double>(blendWords(ia, ib, w, alone && width % 2 == 1 && x == width - 1));
    }
    const double s0 = get(i - 1, row), s1 = a, s2 = get(i + 1, row), s3 = get(i + 2, row);
    const double d1 = s1 - s0, d2 = s2 - s1 - d1, d3 = s1 - (s2 + s2) + s3 - d2;
    const Cubic f(w);
    return static_cast<float>(s0 + d3 * f.c + f.b * d2 + f.a * d1);
  };
  int last = ys[0].base - 1, upper = 0;
  for (std::size_t y = 0; y < ys.size(); ++y) {
    const auto [row, w] = ys[y];
    if (y > 0 && row > last) upper = row;
    last = row;
    for (int x = 0; x < width; ++x) {
      T& out = result[y][x];
      if (code == zopInterNearest) {
        out = static_cast<T>(get(xs[x].base, row));
      } else if (code == zopInterLinear) {
        // The first pair of rows has the region's first row above.
        const double a = across(upper, x), b = across(row + 1, x);
        if constexpr (kNumbers) {
          out = static_cast<float>(b * double{w} + a * (1 - double{w}));
        } else {
          const auto ia = static_cast<std::int64_t>(a), ib = static_cast<std::int64_t>(b);
          const int n = width * channels, s = x * channels + channel;
          out = static_cast<T>(sizeof(T) == 1 ? blend(ia, ib, w, 20)
                                              : blendWords(ia, ib, w, contiguous && s >= n - n % 4));
        }
      } else {
        const double s0 = across(row - 1, x), s1 = across(row, x), s2 = across(row + 1, x),
                     s3 = across(row + 2, x);
        const double d1 = s1 - s0, d2 = s2 - s1 - d1, d3 = s3 - s2 - s2 + s1 - d2;
        const Cubic f(w);
        const double e = kNumbers ? double{static_cast<float>(f.c)} : f.c;
        const double sum = d1 * f.a + (d2 * f.b + (s0 + d3 * e));
        if constexpr (kNumbers) {
          out = static_cast<float>(sum);
        } else {
          out = static_cast<T>(std::clamp(std::trunc(sum + 1e-7), 0.0, sizeof(T) == 1 ? 255.0 : 65535.0));
        }
      }
    }
  }
  return result;
}

// The means of one channel, step by step. `get(x, y)` counts columns from the region's, rows from where it
// starts.
template <class T, class Get>
std::vector<std::vector<T>> meansOfChannel(const Case& c, int lastRow, const Get& get) {
  const int w = std::min(c.region.width, c.image.width - c.region.x);
  const int h = std::min(c.region.height, c.image.height - c.region.y);
  const auto fit = [](int size, double f, int wanted) {
    const int k = static_cast<int>(size * f + 1e-7);
    return k < wanted ? std::max(k, 1) : wanted;
  };
  const int width = fit(w, c.x, c.destination.width), height = fit(h, c.y, c.destination.height);
  const double rx = 1 / c.x, ry = 1 / c.y, area = c.x * c.y;
  const int nx = static_cast<int>(rx), ny = static_cast<int>(ry);
  const bool xFraction = rx != nx, yFraction = ry != ny, counts = !xFraction && !yFraction && sizeof(T) < 4;
  const int columns = static_cast<int>(std::min<double>(std::trunc(rx * (width + 1)) + 1, w));
  std::vector<std::vector<T>> result(height, std::vector<T>(width));
  int row = 0;
  double p = 0;
  for (int r = 0; r < height; ++r) {
    std::vector<double> sums(columns, 0.0);
    const auto add = [&](int at, double g) {
      for (int x = 0; x < columns; ++x) {
        const double sum = sums[x] + g * get(x, std::min(at, lastRow));
        sums[x] = counts ? sum : static_cast<float>(sum);
      }
    };
    const auto addWhole = [&](int n) {
      // Rows beyond the image count as its last, all at once.
      const int inside = std::clamp(lastRow + 1 - row, 0, n);
      for (int i = 0; i < inside; ++i) add(row + i, 1.0);
      if (n > inside) add(lastRow, n - inside);
      row += n;
    };
    if (!yFraction) {
      addWhole(ny);
    } else if (r == 0) {
      addWhole(ny);
      p = ry - ny;
      if (p != 0) add(row, p);
    } else {
      const double g = 1 - p, u = ry - g;
      const int n = static_cast<int>(std::floor(1e-7 + u));
      p = u - n;
      if (g > 1e-7) add(row++, g);
      addWhole(n);
      if (p > 1e-7) add(row, p);
    }
    const auto element = [&](int i) { return sums[std::min(i, columns - 1)]; };
    const auto whole = [&](double sum, int from, int n) {
      const int inside = std::clamp(columns - from, 0, n);
      for (int i = 0; i < inside; ++i) sum += element(from + i);
      if (n > inside) sum += (n - inside) * sums[columns - 1];
      return sum;
    };
    std::vector<double> reduced;
    const auto store = [&](double sum) {
      reduced.push_back(counts ? std::fmod(sum, 4294967296.0) : static_cast<float>(sum));
    };
    if (!xFraction) {
      for (int i = 0; i * nx < columns; ++i) store(whole(0, i * nx, nx));
    } else {
      double rest = rx - nx;
      int k = nx;
      store(whole(0, 0, nx) + rest * element(nx));
      const int limit = columns - k;
      while (k < limit) {
        const double g = 1 - rest, u = rx - g;
        const int n = static_cast<int>(std::floor(1e-7 + u));
        rest = u - n;
        double sum = 0;
        int j = 0;
        if (g > 1e-7) {
          sum = g * element(k);
          j = 1;
        }
        if (n + 1 > j) {
          sum = whole(sum, k + j, n + 1 - j);
          j = n + 1;
        }
        if (rest > 1e-7) sum += rest * element(k + j);
        k += j;
        store(sum);
      }
    }
    for (int x = 0; x < width; ++x) {
      const double value = (x < static_cast<int>(reduced.size()) ? reduced[x] : element(x)) * area + 0.5;
      if constexpr (sizeof(T) == 4)
        result[r][x] = static_cast<float>(value);
      else
        result[r][x] = static_cast<T>(static_cast<std::int64_t>(value));
    }
  }
  return result;
}

// The images of a call between unmapped pages. Numbers are of any size, but few are so large that they
// overflow.
struct Picture {
  std::vector<guarded::Region> planes;
  ZopImageSize size;
  int samples, sampleBytes;

  Picture(const registry::Argument& a, ZopImageSize s, int padding, bool atEnd, std::mt19937& random)
      : size(s), samples(a.samples), sampleBytes(a.sampleBytes) {
    const int rowBytes = s.width * a.samples * a.sampleBytes;
    planes.reserve(4);
    for (int p = 0; p < std::max(a.planes, 1); ++p) {
      planes.emplace_back(s.height, rowBytes, rowBytes + padding, guarded::Placement{atEnd, 3 * p}, random);
      for (int i = 0; i < s.height * s.width * a.samples; ++i) {
        const unsigned choice = random() % 8;
        unsigned char* at = planes[p].at() + std::ptrdiff_t{i / (s.width * a.samples)} * planes[p].step() +
                            i % (s.width * a.samples) * a.sampleBytes;
        if (a.sampleBytes == 4) {
          const float number = static_cast<float>(random() % 65536) * (choice > 4   ? 0x1p-8f
                                                                       : choice > 2 ? -77.7f
                                                                                    : 1);
          std::memcpy(at, &number, 4);
        } else if (choice < 2) {
          std::memset(at, choice == 0 ? 0 : 255, a.sampleBytes);
        }
      }
    }
  }

  // The address of a sample in plane p, or of what stands for it in a copy of the plane.
  std::ptrdiff_t offset(int x, int y, int c) const {
    return std::ptrdiff_t{y} * planes[0].step() + (std::ptrdiff_t{x} * samples + c) * sampleBytes;
  }
};

struct Sources {
  const Function& function;
  bool isShift, isCentred, isPlanar, keepsAlpha;

  explicit Sources(const Function& f)
      : function(f),
        isShift(std::string(f.operation) == "ResizeShift"),
        isCentred(std::string(f.operation) == "ResizeCenter"),
        isPlanar(f.sourceLayout[0] == 'P'),
        keepsAlpha(std::string(f.sourceLayout) == "AC4") {}
};

// The call that makes the part of a destination that is seen around a centre, which stands in place of the
// shifts.
Case seenAround(const Case& c, ZopImagePoint& begin) {
  Case seen = c;
  const auto axis = [](double centre, double f, int size, int origin, int extent, int& wanted, int& first,
                       int& count, int& start) {
    const double scaled = std::min(extent, size - origin) * f, x = 0.5 * wanted - centre * f;
    start = static_cast<int>(std::max(x, 0.0));
    first = static_cast<int>(std::max(-x, 0.0) / f);
    count = static_cast<int>(std::min(scaled, wanted - x) * (1 / f));
    wanted = static_cast<int>(std::min<double>(scaled + x, wanted));
  };
  axis(c.xShift, c.x, c.image.width, c.region.x, c.region.width, seen.destination.width, seen.region.x,
       seen.region.width, begin.x);
  axis(c.yShift, c.y, c.image.height, c.region.y, c.region.height, seen.destination.height, seen.region.y,
       seen.region.height, begin.y);
  const auto shift = [](double q) { return q - std::trunc(q + 1e-7); };
  seen.xShift = shift(begin.x * (1 / c.x));
  seen.yShift = shift(begin.y / c.y);
  return seen;
}

template <class T>
bool compare(const Function& function, const Case& wanted, std::mt19937& random) {
  const Sources form(function);
  const registry::Argument &srcArgument = function.arguments[0], &dstArgument = function.arguments[4];
  const int padding = static_cast<int>(random() % 3) * static_cast<int>(sizeof(T));
  ZopImagePoint begin = {0, 0};
  const Case c = form.isCentred ? seenAround(wanted, begin) : wanted;
  Picture src(srcArgument, c.image, padding, random() % 2 == 0, random);
  Picture dst(dstArgument, wanted.destination, static_cast<int>(random() % 7), random() % 2 == 0, random);
  const bool averages = c.interpolation == zopInterSuper;
  std::vector<std::vector<unsigned char>> before, expected;
  for (auto& plane : src.planes) before.push_back(plane.bytes());
  for (auto& plane : dst.planes) expected.push_back(plane.bytes());
  const int channels = form.isPlanar ? static_cast<int>(src.planes.size()) : srcArgument.samples;
  for (int ch = 0; ch < (form.keepsAlpha ? 3 : channels); ++ch) {
    const int plane = form.isPlanar ? ch : 0, at = form.isPlanar ? 0 : ch;
    const int firstRow = c.region.y * (averages && form.isPlanar ? static_cast<int>(sizeof(T)) : 1);
    bool outside = false;
    const auto get = [&](int x, int y) {
      const int column = x + c.region.x, row = y + firstRow;
      outside |= column < 0 || row < 0 || column >= c.image.width || row >= c.image.height;
      if (outside) return 0.0;
      T sample;
      std::memcpy(&sample, src.planes[plane].at() + src.offset(column, row, at), sizeof(T));
      return static_cast<double>(sample);
    };
    const auto result = averages ? meansOfChannel<T>(c, c.image.height - 1 - firstRow, get)
                                 : scaledChannel<T>(c, form.isShift, dstArgument.samples == 1,
                                                    !form.keepsAlpha, dstArgument.samples, at, get);
    if (outside) {
      ADD_FAILURE() << describe(function, c) << ": the reference left the image";
      return false;
    }
    for (std::size_t y = 0; y < result.size(); ++y) {
      for (std::size_t x = 0; x < result[y].size(); ++x) {
        std::memcpy(dst.planes[plane].in(expected[plane]) +
                        dst.offset(begin.x + static_cast<int>(x), begin.y + static_cast<int>(y), at),
                    &result[y][x], sizeof(T));
      }
    }
  }
  std::vector<void*> from, to;
  for (auto& plane : src.planes) from.push_back(plane.at());
  for (auto& plane : dst.planes) to.push_back(plane.at());
  std::vector<Value> values = {form.isPlanar ? Value(static_cast<void*>(from.data())) : Value(from[0]),
                               c.image,
                               src.planes[0].step(),
                               wanted.region,
                               form.isPlanar ? Value(static_cast<void*>(to.data())) : Value(to[0]),
                               dst.planes[0].step(),
                               wanted.destination,
                               c.x,
                               c.y};
  if (form.isShift || form.isCentred) {
    values.emplace_back(wanted.xShift);
    values.emplace_back(wanted.yShift);
  }
  values.emplace_back(c.interpolation);
  const ZopStatus status = function.invoke(values.data());
  EXPECT_EQ(zopStatusOk, status) << describe(function, c);
  for (std::size_t p = 0; p < dst.planes.size(); ++p) {
    if (dst.planes[p].equals(expected[p])) continue;
    const auto now = dst.planes[p].bytes();
    const auto first = std::mismatch(now.begin(), now.end(), expected[p].begin()).first - now.begin();
    const auto at = first - (dst.planes[p].in(expected[p]) - expected[p].data());
    ADD_FAILURE() << describe(function, c) << ": plane " << p << " row " << at / dst.planes[p].step()
                  << " byte " << at % dst.planes[p].step() << ": " << int{now[first]} << ", not "
                  << int{expected[p][first]};
    return false;
  }
  for (std::size_t p = 0; p < src.planes.size(); ++p) EXPECT_TRUE(src.planes[p].equals(before[p]));
  return status == zopStatusOk && !testing::Test::HasFailure();
}

bool compare(const Function& f, const Case& c, std::mt19937& random) {
  const std::string type = f.sourceType;
  if (type == "8u") return compare<Zop8u>(f, c, random);
  return type == "16u" ? compare<Zop16u>(f, c, random) : compare<Zop32f>(f, c, random);
}

void compareAll(const char* operation, const std::vector<Case>& cases) {
  sweep::onEveryTarget([&] {
    std::mt19937 random(5);
    for (const Function* f : sweep::functionsOf(operation)) {
      for (const Case& c : cases) {
        if (!compare(*f, c, random)) return;
      }
    }
  });
}

constexpr int kCodes[] = {zopInterNearest, zopInterLinear, zopInterCubic};

TEST(Resize, EqualsTheDefinitionAtManyFactors) {
  std::vector<Case> cases;
  const std::pair<double, double> factors[] = {{2, 2},     {1.5, 1.5}, {0.5, 0.5},     {3, 0.25},
                                               {1, 1},     {0.1, 8},   {1.0 / 3, 0.7}, {4.7, 1.1},
                                               {0.9, 0.4}, {8, 0.3},   {1.25, 2.75}};
  for (const int code : kCodes) {
    for (const auto& [x, y] : factors) {
      for (const ZopImageSize image : {ZopImageSize{61, 13}, ZopImageSize{131, 5}, ZopImageSize{16, 4}}) {
        const ZopImageSize all = {static_cast<int>(image.width * x) + 1,
                                  static_cast<int>(image.height * y) + 1};
        cases.push_back({image, {0, 0, image.width, image.height}, all, x, y, code});
        // A region inside, one that hangs over, and a destination smaller than what is scaled.
        cases.push_back({image, {3, 1, image.width - 7, 2}, all, x, y, code});
        cases.push_back({image, {5, 2, image.width, 100}, {std::max(all.width / 2, 1), 3}, x, y, code});
      }
    }
  }
  compareAll("Resize", cases);
}

TEST(Resize, EveryWidthOfADestination) {
  std::vector<Case> cases;
  for (const int code : kCodes) {
    for (int width = 1; width < 140; ++width) {
      cases.push_back({{100, 5}, {0, 0, 100, 5}, {width, 3}, 1.4, 1.3, code});
      if (width < 70) cases.push_back({{width, 4}, {0, 0, width, 4}, {2 * width, 5}, 1.9, 1.3, code});
    }
  }
  compareAll("Resize", cases);
}

TEST(Resize, SmallImages) {
  std::vector<Case> cases;
  for (const int code : kCodes) {
    for (int width = 1; width < 6; ++width) {
      for (int height = 1; height < 6; ++height) {
        for (const double f : {0.4, 1.0, 2.0, 3.3}) {
          cases.push_back({{width, height}, {0, 0, width, height}, {20, 20}, f, f, code});
          cases.push_back({{width, height}, {width - 1, height - 1, 9, 1}, {20, 20}, f, f, code});
          cases.push_back({{width, height}, {0, height / 2, 1, 1}, {20, 20}, f, 2 * f, code});
        }
      }
    }
  }
  compareAll("Resize", cases);
}

TEST(Resize, MeansEqualTheDefinition) {
  std::vector<Case> cases;
  const std::pair<double, double> factors[] = {{0.5, 0.5},   {0.4, 0.4},         {0.25, 0.3},
                                               {0.7, 0.5},   {1.0 / 3, 1.0 / 3}, {0.1, 0.9},
                                               {0.99, 0.99}, {0.05, 0.2},        {0.6, 1.0 / 7}};
  for (const auto& [x, y] : factors) {
    for (const ZopImageSize image : {ZopImageSize{61, 33}, ZopImageSize{200, 17}, ZopImageSize{7, 40}}) {
      const ZopImageSize all = {static_cast<int>(image.width * x) + 2,
                                static_cast<int>(image.height * y) + 2};
      cases.push_back({image, {0, 0, image.width, image.height}, all, x, y, zopInterSuper});
      cases.push_back({image, {2, 1, image.width - 3, image.height / 4}, all, x, y, zopInterSuper});
      cases.push_back(
          {image, {1, 3, image.width, 100}, {std::max(1, all.width / 2), 2}, x, y, zopInterSuper});
      // Less than a pixel of the destination, where there are rows and columns around the region, or none.
      cases.push_back({image, {2, 2, 1, 1}, all, x, y, zopInterSuper});
      cases.push_back({image, {image.width - 1, image.height / 5, 3, 2}, all, x, y, zopInterSuper});
    }
  }
  // A fraction that is nearly none: columns are counted twice, and some are never reached.
  cases.push_back({{9, 9}, {0, 0, 9, 9}, {3, 3}, 1 / (3 + 1e-9), 1 / (3 + 1e-9), zopInterSuper});
  cases.push_back({{40, 9}, {0, 0, 40, 9}, {13, 3}, 1 / (3 - 1e-9), 0.4, zopInterSuper});
  compareAll("Resize", cases);
}

TEST(ResizeShift, EqualsTheDefinition) {
  std::vector<Case> cases;
  for (const int code : kCodes) {
    for (const double distance : {0.5, 0.4999999999, 0.61, 1.0, 1.3, 2.0, 2.00000001, 3.7}) {
      for (const double shift : {0.0, 0.3, 1.0, 2.75, 40.0, -2.5}) {
        for (const ZopImageRect region : {ZopImageRect{0, 0, 40, 12}, ZopImageRect{4, 3, 20, 5}}) {
          cases.push_back({{40, 12}, region, {45, 9}, distance, distance / 2, code, shift, shift / 2});
        }
      }
    }
  }
  // So far that no table of whole numbers could hold the positions.
  for (const int code : kCodes)
    cases.push_back({{9, 9}, {1, 1, 5, 5}, {5, 5}, 1e200, 1.5, code, -1e300, 1e300});
  compareAll("ResizeShift", cases);
}

// A picture of one channel without gaps.
std::vector<Zop8u> noise(ZopImageSize size) {
  std::mt19937 random(3);
  std::vector<Zop8u> picture(static_cast<std::size_t>(size.width) * size.height);
  for (Zop8u& sample : picture) sample = static_cast<Zop8u>(random());
  return picture;
}

template <class T>
using Resize = ZopStatus (*)(const T*, ZopImageSize, int, ZopImageRect, T*, int, ZopImageSize, Zop64f, Zop64f,
                             int);

// Destinations that no cache holds, whose rows start at any address.
template <class T>
void enlarge(ZopImageSize size, Resize<T> function) {
  const ZopImageSize large = {7 * size.width, 8 * size.height};
  const std::ptrdiff_t pitch = large.width + 1;
  const int step = static_cast<int>(pitch * static_cast<std::ptrdiff_t>(sizeof(T)));
  std::vector<T> picture(static_cast<std::size_t>(size.width) * size.height), out(pitch * large.height, 7);
  std::iota(picture.begin(), picture.end(), T{0});
  ASSERT_EQ(zopStatusOk,
            function(picture.data(), size, size.width * static_cast<int>(sizeof(T)),
                     {0, 0, size.width, size.height}, out.data(), step, large, 7, 8, zopInterNearest));
  for (int y = 0; y < large.height; ++y) {
    const T* row = &out[y * pitch];
    int wrong = row[large.width] != 7;
    for (int x = 0; x < large.width; ++x) wrong += row[x] != picture[y / 8 * size.width + x / 7];
    ASSERT_EQ(0, wrong) << "row " << y;
  }
}
TEST(Resize, LargeDestinations) {
  sweep::onEveryTarget([] {
    enlarge<Zop8u>({700, 600}, zopiResize_8u_C1R);
    enlarge<Zop16u>({700, 300}, zopiResize_16u_C1R);
    enlarge<Zop32f>({700, 150}, zopiResize_32f_C1R);
  });
}

TEST(ResizeShift, TilesMakeTheWhole) {
  constexpr ZopImageSize kImage = {64, 48}, kWhole = {126, 94};
  const auto picture = noise(kImage);
  for (const int code : kCodes) {
    std::vector<Zop8u> whole(kWhole.width * kWhole.height), tiled(whole.size());
    const auto make = [&](std::vector<Zop8u>& out, ZopImagePoint begin, ZopImagePoint end) {
      const ZopImageRect region = {begin.x / 2, begin.y / 2, kImage.width, kImage.height};
      ASSERT_EQ(zopStatusOk, zopiResizeShift_8u_C1R(picture.data(), kImage, kImage.width, region,
                                                    &out[begin.y * kWhole.width + begin.x], kWhole.width,
                                                    {end.x - begin.x, end.y - begin.y}, 0.5, 0.5,
                                                    begin.x % 2 * 0.5, begin.y % 2 * 0.5, code));
    };
    make(whole, {0, 0}, {kWhole.width, kWhole.height});
    const int xs[] = {0, 51, 100, kWhole.width}, ys[] = {0, 31, kWhole.height};
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 2; ++j) make(tiled, {xs[i], ys[j]}, {xs[i + 1], ys[j + 1]});
    }
    EXPECT_EQ(whole, tiled) << code;
  }
}

// The columns and rows of a picture around a centre, worked out by hand.
TEST(ResizeCenter, PutsThePointInTheMiddle) {
  constexpr ZopImageSize kImage = {20, 10};
  const auto picture = noise(kImage);
  const auto centred = [&](std::vector<Zop8u>& out, double f, double x, double y, ZopImageRect region,
                           int code) {
    out.assign(8 * 6, 0xaa);
    return zopiResizeCenter_8u_C1R(picture.data(), kImage, 20, region, out.data(), 8, {8, 6}, f, f, x, y,
                                   code);
  };
  const ZopImageRect all = {0, 0, 20, 10};
  std::vector<Zop8u> out;
  // Twice as large: the middle, (4, 3), is pixel (10, 5), so the first is (8, 3.5), of which the first half
  // is gone.
  ASSERT_EQ(zopStatusOk, centred(out, 2, 10, 5, all, zopInterNearest));
  for (int y = 0; y < 6; ++y) {
    for (int x = 0; x < 8; ++x) {
      const int row = 3 + y / 2, column = 8 + x / 2;
      EXPECT_EQ(picture[row * 20 + column], out[y * 8 + x]) << x << ", " << y;
    }
  }
  // The corner in the middle: what lies before it stays. The corner of the region does not count.
  for (const ZopImageRect& region : {all, ZopImageRect{7, 2, 13, 8}}) {
    ASSERT_EQ(zopStatusOk, centred(out, 1, 0, 0, region, zopInterNearest));
    for (int y = 0; y < 6; ++y) {
      for (int x = 0; x < 8; ++x) {
        const bool kept = x < 4 || y < 3;
        EXPECT_EQ(kept ? 0xaa : picture[(y - 3) * 20 + x - 4], out[y * 8 + x]) << x << ", " << y;
      }
    }
  }
}

TEST(ResizeCenter, EqualsTheDefinition) {
  std::vector<Case> cases;
  for (const int code : {zopInterNearest, zopInterLinear, zopInterCubic, zopInterSuper}) {
    for (const double f : {0.3, 0.5, 0.77, 1.0, 1.6, 3.0}) {
      if (code == zopInterSuper && f >= 1) continue;
      for (const auto& [x, y] : {std::pair(20.0, 9.0), {0.0, 0.0}, {37.3, 16.6}, {3.1, 8.0}}) {
        // The whole image, and a region whose corner does not count.
        cases.push_back({{40, 18}, {0, 0, 40, 18}, {30, 14}, f, f, code, x, y});
        cases.push_back(
            {{40, 18}, {1, 1, 39, 17}, {33, 15}, f, f * 1.2 < 1 || f > 1 ? f * 1.2 : f, code, x, y});
      }
    }
  }
  compareAll("ResizeCenter", cases);
}

TEST(ResizeCenter, ChecksInItsOrder) {
  Zop8u image[64] = {};
  const ZopImageRect all = {0, 0, 8, 8};
  const auto call = [&](const Zop8u* src, ZopImageRect region, double f, double centre, int step, int code) {
    return zopiResizeCenter_8u_C1R(src, {8, 8}, step, region, image, 8, {8, 8}, f, f, centre, centre, code);
  };
  EXPECT_EQ(zopStatusBadSize, call(nullptr, {0, 0, 0, 8}, 0, 4, 0, 3));
  EXPECT_EQ(zopStatusNoOperation, call(nullptr, {8, 0, 1, 8}, 0, 4, 0, 3));
  EXPECT_EQ(zopStatusBadResizeFactor, call(nullptr, all, 0, 4, 0, 3));
  EXPECT_EQ(zopStatusNullPointer, call(nullptr, all, 1, 4, 0, 3));
  EXPECT_EQ(zopStatusBadStep, call(image, all, 1, 4, 0, 3));
  EXPECT_EQ(zopStatusBadSize, call(image, all, 1, -100, 8, 3));
  EXPECT_EQ(zopStatusBadSize, call(image, all, 1, 100, 8, 3));
  EXPECT_EQ(zopStatusBadInterpolation, call(image, all, 1, 4, 8, 3));
  EXPECT_EQ(zopStatusBadInterpolation, call(image, all, 1, 4, 8, zopInterSuper));
  EXPECT_EQ(zopStatusOk, call(image, all, 0.5, 4, 8, zopInterSuper));
  for (const double far : {1e300, -1e300, HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    EXPECT_EQ(zopStatusBadSize, call(image, all, 1.5, far, 8, zopInterLinear)) << far;
  }
}

TEST(Resize, OddArguments) {
  Zop8u image[64] = {}, out[64];
  std::fill_n(out, 64, Zop8u{7});
  const auto call = [&](double x, double y, int code) {
    return zopiResize_8u_C1R(image, {8, 8}, 8, {0, 0, 8, 8}, out, 8, {8, 8}, x, y, code);
  };
  EXPECT_EQ(zopStatusBadInterpolation, call(1, 0.5, zopInterSuper));
  EXPECT_EQ(zopStatusBadResizeFactor, call(1, 0, zopInterSuper));
  EXPECT_EQ(zopStatusOk, call(0.5, 0, zopInterSuper));
  EXPECT_EQ(zopStatusOk, call(-1, 0.5, zopInterSuper));
  EXPECT_EQ(64, std::count(out, out + 64, 7));
  for (const int code : kCodes) {
    EXPECT_EQ(zopStatusOk, call(1e300, 1e-300, code));
    EXPECT_EQ(zopStatusOk, call(5e-324, HUGE_VAL, code));
  }
  EXPECT_EQ(zopStatusOk, call(1e-300, 5e-324, zopInterSuper));
  EXPECT_EQ(zopStatusOk, call(1e-9, 1e-5, zopInterSuper));
}

// A step that is no multiple of a sample loses its remainder, but not where means are taken.
TEST(Resize, OddSteps) {
  std::vector<Zop8u> bytes(400);
  std::mt19937 random(9);
  for (Zop8u& b : bytes) b = static_cast<Zop8u>(random());
  const auto call = [&](int step, double f, int code) {
    std::vector<Zop8u> out(300);
    EXPECT_EQ(zopStatusOk,
              zopiResize_16u_C1R(reinterpret_cast<const Zop16u*>(bytes.data()), {10, 9}, step, {1, 1, 9, 8},
                                 reinterpret_cast<Zop16u*>(out.data()), 33, {9, 8}, f, f, code));
    return out;
  };
  for (const int code : kCodes) EXPECT_EQ(call(22, 1.1, code), call(23, 1.1, code));
  EXPECT_NE(call(22, 0.5, zopInterSuper), call(23, 0.5, zopInterSuper));
}

TEST(ResizeFractions, MatchTheFactors) {
  double x = -1, y = -1;
  const auto get = [&](double f, double g, int code) {
    return zopiGetResizeFract({100, 50}, {90, 10, 20, 30}, f, g, &x, &y, code);
  };
  EXPECT_EQ(zopStatusOk, get(2, 0.25, zopInterNearest));  // the region is clipped to 10 columns
  EXPECT_EQ(0.5, x);
  EXPECT_EQ(4.0, y);
  EXPECT_EQ(zopStatusOk, get(2.00000001, 1, zopInterNearest));
  EXPECT_EQ(1 / 2.00000001, x);
  EXPECT_EQ(1.0, y);
  EXPECT_EQ(zopStatusOk, get(2, 0.01, zopInterCubic));
  EXPECT_EQ(9 * (1 / (2.0 * 10 - 1)), x);
  EXPECT_EQ(0.0, y);
  EXPECT_EQ(zopStatusBadInterpolation, get(0.5, 0.5, zopInterSuper));
}

}  // namespace
