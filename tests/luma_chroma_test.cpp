// YCbCr and YUV against the formulas, pixel by pixel: every form at every width, every odd row and column,
// and all colours there are.
#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "support/guarded.h"
#include "support/sweep.h"
#include "support/targets.h"
#include "zopi.h"

namespace {

using registry::Argument;
using registry::Function;
using registry::Role;

bool has(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

int sat8(int x) { return std::clamp(x, 0, 255); }

struct Colour {
  int c[3];
};
Colour operator+(Colour a, Colour b) { return {a.c[0] + b.c[0], a.c[1] + b.c[1], a.c[2] + b.c[2]}; }

// The forward formulas.
int lumaYCbCr(Colour p, int offset = 0x108000) {
  return (16843 * p.c[0] + 33030 * p.c[1] + 6423 * p.c[2] + offset) >> 16;
}
Colour chromaYCbCr(Colour sum, int offset, int shift) {
  return {0, (-9699 * sum.c[0] - 19071 * sum.c[1] + 28770 * sum.c[2] + offset) >> shift,
          (28770 * sum.c[0] - 24117 * sum.c[1] - 4653 * sum.c[2] + offset) >> shift};
}
int accumulated(Colour p) { return 19595 * p.c[0] + 38470 * p.c[1] + 7471 * p.c[2]; }
Colour chromaYuv(Colour sum, int rounding, int shift) {
  const int s = accumulated(sum);
  const int u = ((((sum.c[2] << 16) - s + rounding) >> 16) * 32244 >> shift) + 128;
  const int v = ((((sum.c[0] << 16) - s + rounding) >> 16) * 57475 >> shift) + 128;
  return {0, u & 255, sat8(v)};
}

// The inverse formulas; U and V are less 128 but where `raw` says otherwise.
struct Inverse {
  int y, rv, gu, gv, bu, offset;
  bool raw = false;

  Colour operator()(int Y, int u, int v) const {
    const int r = raw ? -14608761 : offset, g = raw ? 8887730 : offset, b = raw ? -18140365 : offset;
    if (!raw) u -= 128, v -= 128;
    return {sat8((y * Y + rv * v + r) >> 16), sat8((y * Y - gu * u - gv * v + g) >> 16),
            sat8((y * Y + bu * u + b) >> 16)};
  }
};
constexpr Inverse kSet1 = {76284, 104595, 25690, 53281, 132186, -1220544};
constexpr Inverse kSet2 = {76282, 104593, 25689, 53279, 132184, -1187744};
constexpr Inverse kSet3 = {76284, 104595, 25690, 53281, 132186, 0, true};
constexpr Inverse kSet4 = {76284, 104595, 25690, 53281, 132186, -1187776};
constexpr Inverse kSet5 = {76294, 104595, 25625, 53281, 132186, -1220704};
constexpr Inverse kSet6 = {65536, 74711, 25821, 38076, 133169, 0};
constexpr Inverse kSet7 = {65536, 74710, 25820, 38075, 133168, 0};
constexpr Inverse kSet8 = {65536, 74711, 25821, 38076, 133169, 32768};

Inverse inverseOf(const std::string& name, bool inBlock) {
  if (has(name, "411")) return kSet5;
  if (has(name, "YCbCr420ToBGR_")) return inBlock ? kSet4 : kSet1;
  if (has(name, "YCbCr") && has(name, "_P3C3R") && !has(name, "420")) return kSet2;
  if (has(name, "YCbCr422")) return kSet3;
  if (has(name, "YCbCr")) return kSet1;
  if (has(name, "420") && has(name, "P3AC4R")) return inBlock ? kSet8 : kSet6;
  if (has(name, "YUVToRGB_8u_P3")) return kSet7;
  return kSet6;
}

// One image of a call: up to three planes, each between guards.
struct Picture {
  std::vector<std::unique_ptr<guarded::Region>> planes;
  std::vector<std::vector<unsigned char>> before, expected;
  std::vector<void*> pointers;
  std::vector<int> steps;

  void add(int rows, int rowBytes, int step, guarded::Placement placement, std::mt19937& random) {
    planes.push_back(std::make_unique<guarded::Region>(rows, rowBytes, step, placement, random));
    before.push_back(planes.back()->bytes());
    expected.push_back(before.back());
    pointers.push_back(planes.back()->at());
    steps.push_back(step);
  }
  int get(int plane, int byte, int y) { return planes[plane]->in(before[plane])[y * steps[plane] + byte]; }
  void set(int plane, int byte, int y, int value) {
    planes[plane]->in(expected[plane])[y * steps[plane] + byte] = static_cast<unsigned char>(value);
  }
  bool isAsExpected() const {
    for (std::size_t p = 0; p < planes.size(); ++p) {
      if (!planes[p]->equals(expected[p])) return false;
    }
    return true;
  }
};

// A form, as its name tells it.
struct Form {
  std::string name;
  bool forward, planarSource, planarDestination;
  int sourceBytes, destinationBytes;  // of a pixel, where interleaved
  int columns = 1, rows = 1;          // pixels that share chroma

  explicit Form(const Function& f) : name(f.name), forward(has(name, "zopiRGBTo")) {
    const std::string from = f.sourceLayout, to = f.destinationLayout;
    planarSource = from == "P3";
    planarDestination = to == "P3";
    sourceBytes = from == "AC4" ? 4 : from == "C2" ? 2 : 3;
    destinationBytes = packed() || to == "C2" ? 2 : to == "AC4" ? 4 : 3;
    if (has(name, "411")) columns = 4;
    if (has(name, "422") || has(name, "420")) columns = 2;
    if (has(name, "420")) rows = 2;
  }
  bool packed() const { return has(name, "565") || has(name, "555") || has(name, "444"); }
};

Picture makePicture(bool planar, int pixelBytes, bool subsampled, const Form& form, ZopImageSize size,
                    int padding, guarded::Placement placement, std::mt19937& random) {
  Picture picture;
  if (!planar) {
    picture.add(size.height, size.width * pixelBytes, size.width * pixelBytes + padding, placement, random);
    return picture;
  }
  for (int p = 0; p < 3; ++p) {
    subsampled = subsampled && form.columns > 1;
    const int c = subsampled && p > 0 ? form.columns : 1, r = subsampled && p > 0 ? form.rows : 1;
    const int width = (size.width + c - 1) / c, height = (size.height + r - 1) / r;
    picture.add(height, width, width + padding * (subsampled ? p + 1 : 1), placement, random);
  }
  return picture;
}

void forward(const Form& form, Picture& from, Picture& to, ZopImageSize size) {
  const bool yuv = has(form.name, "YUV"), pairs = form.destinationBytes == 2 && !form.planarDestination;
  const auto pixel = [&](int x, int y) -> Colour {
    if (form.planarSource) return {from.get(0, x, y), from.get(1, x, y), from.get(2, x, y)};
    const int at = x * form.sourceBytes;
    return {from.get(0, at, y), from.get(0, at + 1, y), from.get(0, at + 2, y)};
  };
  for (int y = 0; y < size.height; y += form.rows) {
    for (int x = 0; x < size.width; x += form.columns) {
      const int width = std::min(form.columns, size.width - x), height = std::min(form.rows, size.height - y);
      const int count = width * height;
      Colour sum = {0, 0, 0};
      for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
          const Colour p = pixel(x + i, y + j);
          sum = sum + p;
          const bool second = form.rows == 1 && width == 2 && i == 1;
          const int luma = yuv ? accumulated(p) >> 16 : lumaYCbCr(p, second ? 0x100000 : 0x108000);
          const int at = x + i;
          if (form.planarDestination)
            to.set(0, at, y + j, luma);
          else
            to.set(0, at * form.destinationBytes, y + j, luma);
        }
      }
      const int shift = count == 4 ? 18 : count == 2 ? 17 : 16;
      const int offset = form.rows == 1 ? (count == 2 ? 0x1010000 : 0x808000)
                                        : (count == 4   ? 33587200
                                           : count == 2 ? 16793600
                                                        : 0x808000);
      const int rounding = form.rows == 1 ? (count == 2 ? 65535 : 32767) : count == 4 ? 0x1FFFF : 0;
      const Colour chroma = yuv ? chromaYuv(sum, rounding, shift) : chromaYCbCr(sum, offset, shift);
      if (pairs) {
        to.set(0, 2 * x + 1, y, chroma.c[1]);
        if (width == 2) to.set(0, 2 * x + 3, y, chroma.c[2]);
      } else if (form.planarDestination) {
        for (int c = 1; c < 3; ++c) to.set(c, x / form.columns, y / form.rows, chroma.c[c]);
      } else {
        for (int c = 1; c < 3; ++c) to.set(0, x * form.destinationBytes + c, y, chroma.c[c]);
      }
    }
  }
}

int packedPixel(const std::string& name, Colour rgb) {
  const int low = has(name, "ToBGR") ? rgb.c[2] : rgb.c[0], high = has(name, "ToBGR") ? rgb.c[0] : rgb.c[2];
  if (has(name, "565")) return low >> 3 | rgb.c[1] >> 2 << 5 | high >> 3 << 11;
  if (has(name, "555")) return low >> 3 | rgb.c[1] >> 3 << 5 | high >> 3 << 10;
  return low >> 4 | rgb.c[1] >> 4 << 4 | high >> 4 << 8;
}

void inverse(const Form& form, Picture& from, Picture& to, ZopImageSize size) {
  const bool pairs = form.sourceBytes == 2 && !form.planarSource;
  if (form.packed() && form.planarSource && (size.width == 1 || size.height == 1)) return;
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      int luma, u, v;
      if (form.planarSource) {
        luma = from.get(0, x, y);
        u = from.get(1, x / form.columns, y / form.rows);
        v = from.get(2, x / form.columns, y / form.rows);
      } else if (pairs) {
        const bool odd = x == size.width - 1 && x % 2 == 0;
        luma = from.get(0, 2 * x, y);
        u = from.get(0, x / 2 * 4 + 1, y);
        v = from.get(0, size.width == 1 ? 1 : odd ? x / 2 * 4 - 1 : x / 2 * 4 + 3, y);
      } else {
        const int at = x * form.sourceBytes;
        luma = from.get(0, at, y), u = from.get(0, at + 1, y), v = from.get(0, at + 2, y);
      }
      const bool inBlock = x < (size.width & ~1) && y < (size.height & ~1);
      const Colour rgb = inverseOf(form.name, inBlock)(luma, u, v);
      const bool blueFirst = has(form.name, "ToBGR_");
      if (form.packed() && pairs && size.width == 1) {
        const int at = y * (to.steps[0] >> 1);
        for (int c = 0; c < 3; ++c) to.set(0, at + c, 0, rgb.c[c]);
      } else if (form.packed()) {
        const int value = packedPixel(form.name, rgb), at = y * (to.steps[0] & ~1) + 2 * x;
        to.set(0, at, 0, value & 255);
        to.set(0, at + 1, 0, value >> 8);
      } else {
        for (int c = 0; c < 3; ++c) {
          const int value = rgb.c[blueFirst ? 2 - c : c];
          if (form.planarDestination)
            to.set(c, x, y, value);
          else
            to.set(0, x * form.destinationBytes + c, y, value);
        }
        if (form.planarSource && form.destinationBytes == 4) to.set(0, 4 * x + 3, y, 0);
      }
    }
  }
}

bool compare(const Function& function, ZopImageSize size, int padding, guarded::Placement placement,
             std::mt19937& random) {
  const Form form(function);
  const bool gapless =
      std::none_of(function.arguments.begin(), function.arguments.end(),
                   [](const Argument& a) { return a.role == Role::Step || a.role == Role::Steps; });
  if (gapless) padding = 0;
  // Room for three bytes a row, and an odd step, where the packed formats are left.
  const bool bytes = form.packed() && !form.planarSource && form.sourceBytes == 2 && size.width == 1;
  Picture from =
      makePicture(form.planarSource, form.sourceBytes, !form.forward, form, size, padding, placement, random);
  Picture to;
  if (bytes)
    to.add(size.height, 6, 7, placement, random);
  else
    to = makePicture(form.planarDestination, form.destinationBytes, form.forward, form, size, padding,
                     placement, random);

  std::vector<registry::Value> values;
  Picture* last = nullptr;
  for (const Argument& a : function.arguments) {
    if (a.isImage()) last = a.role == Role::Source ? &from : &to;
    if (a.isImage())
      values.emplace_back(a.planes > 0 ? static_cast<void*>(last->pointers.data()) : last->pointers[0]);
    else if (a.role == Role::Step)
      values.emplace_back(last->steps[0]);
    else if (a.role == Role::Steps)
      values.emplace_back(static_cast<void*>(last->steps.data()));
    else
      values.emplace_back(size);
  }
  (form.forward ? forward : inverse)(form, from, to, size);
  const ZopStatus status = function.invoke(values.data());
  const bool same = status == zopStatusOk && from.isAsExpected() && to.isAsExpected();
  EXPECT_TRUE(same) << function.name << " on " << size.width << "x" << size.height << ", padding " << padding
                    << ", status " << status;
  return same;
}

std::vector<const Function*> family() {
  std::vector<const Function*> result;
  for (const Function& f : registry::functions()) {
    const std::string name = f.operation;
    if (has(name, "YCbCr") || has(name, "YUV")) result.push_back(&f);
  }
  return result;
}

TEST(LumaChroma, EqualsTheFormulasAtEverySize) {
  ASSERT_EQ(62u, family().size());
  sweep::onEveryTargetAndTeam([](bool everyShape) {
    std::mt19937 random(1);
    for (const Function* f : family()) {
      for (int width = 1; everyShape && width < 2 * 64 + 8; ++width) {
        for (const int height : {1, 2, 3}) {
          const int padding = width % 3;
          if (!compare(*f, {width, height}, padding, {(width + height) % 2 == 0, width % 64}, random)) return;
        }
      }
      // Large enough to be shared, with and without odd edges, in one run and in rows.
      for (const ZopImageSize size : {ZopImageSize{262, 133}, {261, 134}, {259, 131}, {5, 4001}, {64, 200}}) {
        for (const int padding : {0, 3}) {
          if (!compare(*f, size, padding, {}, random)) return;
        }
      }
    }
  });
}

// All 2^24 colours through a function of three bytes, `expected(a, b, c)`.
template <class Function, class Expected>
void allColours(Function function, Expected expected) {
  std::vector<Zop8u> in(3 << 16), out(3 << 16);
  for (int a = 0; a < 256; ++a) {
    for (int i = 0; i < 1 << 16; ++i) {
      in[3 * i] = static_cast<Zop8u>(a);
      in[3 * i + 1] = static_cast<Zop8u>(i >> 8);
      in[3 * i + 2] = static_cast<Zop8u>(i);
    }
    ASSERT_EQ(zopStatusOk, function(in.data(), 3 << 16, out.data(), 3 << 16, {1 << 16, 1}));
    for (int i = 0; i < 1 << 16; ++i) {
      const Colour e = expected(a, i >> 8, i & 255);
      const bool same = e.c[0] == out[3 * i] && e.c[1] == out[3 * i + 1] && e.c[2] == out[3 * i + 2];
      ASSERT_TRUE(same) << a << " " << (i >> 8) << " " << (i & 255);
    }
  }
}

TEST(LumaChroma, AllColours) {
  targets::forEach([](const std::string& name) {
    SCOPED_TRACE("on " + name);
    allColours(zopiRGBToYCbCr_8u_C3R, [](int r, int g, int b) {
      Colour result = chromaYCbCr({r, g, b}, 0x808000, 16);
      result.c[0] = lumaYCbCr({r, g, b});
      return result;
    });
    allColours(zopiRGBToYUV_8u_C3R, [](int r, int g, int b) {
      Colour result = chromaYuv({r, g, b}, 32767, 16);
      result.c[0] = accumulated({r, g, b}) >> 16;
      return result;
    });
    allColours(zopiYCbCrToRGB_8u_C3R, kSet1);
    allColours(zopiYUVToRGB_8u_C3R, kSet6);
  });
}

TEST(LumaChroma, DocumentedValues) {
  Zop8u pairs[4];
  const Zop8u white[6] = {255, 255, 255, 255, 255, 255}, one[6] = {1, 1, 1, 1, 1, 1};
  ASSERT_EQ(zopStatusOk, zopiRGBToYCbCr422_8u_C3C2R(white, 6, pairs, 4, {2, 1}));
  EXPECT_EQ(235, pairs[0]);
  EXPECT_EQ(235, pairs[2]);
  ASSERT_EQ(zopStatusOk, zopiRGBToYCbCr422_8u_C3C2R(one, 6, pairs, 4, {2, 1}));
  EXPECT_EQ(17, pairs[0]);
  EXPECT_EQ(16, pairs[2]);

  const Zop8u rgb[9] = {255, 255, 255, 0, 255, 0, 255, 0, 0};
  const std::vector<Zop8u> expected = {255, 128, 128, 149, 54, 0, 76, 90, 255};
  std::vector<Zop8u> yuv(9);
  ASSERT_EQ(zopStatusOk, zopiRGBToYUV_8u_C3R(rgb, 9, yuv.data(), 9, {3, 1}));
  EXPECT_EQ(expected, yuv);
}

}  // namespace
