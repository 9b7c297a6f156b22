// Hue conversions against their definitions in double precision, one pixel at a time.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "support/sweep.h"
#include "support/targets.h"
#include "zopi.h"

namespace {

using sweep::Call;
using Numbers = std::array<double, 3>;

double single(std::uint32_t bits) { return std::bit_cast<float>(bits); }
const double k1By255 = single(0x3B808081), k1By65535 = single(0x37800080), k1By60 = single(0x3C888889),
             k1By360 = single(0x3B360B61), kBias = single(0xBEFFFFDE);

// What stands for 1 and for a whole turn. Floats have none.
template <class T>
constexpr double kFull = sizeof(T) == 1 ? 255 : 65535;

int truncated(double x, bool exact) { return static_cast<int>(x + (exact ? 1e-7 : kBias)); }

template <class T>
constexpr int kLowest = std::is_same_v<T, Zop16s> ? -32768 : 0;

template <class T>
double numberOf(double sample) {
  if constexpr (std::is_floating_point_v<T>)
    return sample;
  else
    return sample * (sizeof(T) == 1 ? k1By255 : k1By65535);
}

template <class T>
T sampleOf(double number, bool exact) {
  if constexpr (std::is_floating_point_v<T>)
    return std::isnan(number) ? sweep::anyNaN() : static_cast<T>(number);
  else
    return static_cast<T>(truncated(number * kFull<T>, exact) + kLowest<T>);
}

template <class T>
using Pixel = std::array<T, 3>;

template <class T>
Pixel<T> rgbToHls(const Pixel<T>& rgb, bool exact) {
  Numbers v;
  for (int c = 0; c < 3; ++c) v[c] = numberOf<T>(static_cast<double>(rgb[c]) - kLowest<T>);
  const auto [r, g, b] = v;
  double max = r > g ? r : g, min = r < g ? r : g;
  max = max > b ? max : b;
  min = min < b ? min : b;
  const double delta = max - min, sum = max + min, lightness = sum * 0.5;
  double hue = 0, saturation = 0;
  if (delta > (std::is_floating_point_v<T> ? single(0x34000000) : 0.0)) {
    if (lightness > 0.5)
      saturation = delta / (2 - sum);
    else
      saturation = delta / sum;
    const double inverse = 1 / delta;
    if (r == max)
      hue = ((g - b) * 60) / delta;
    else if (g == max)
      hue = ((b - r) * 60) * inverse + 120;
    else
      hue = ((r - g) * 60) * inverse + 240;
    if (hue < 0) hue += 360;
  }
  Pixel<T> hls = {T{}, sampleOf<T>(lightness, exact), sampleOf<T>(saturation, exact)};
  if constexpr (std::is_floating_point_v<T>)
    hls[0] = sampleOf<T>(hue * k1By360, exact);
  else
    hls[0] = static_cast<T>(truncated(hue * kFull<T> * k1By360, exact) + kLowest<T>);
  return hls;
}

double channel(double hue, double m1, double m2) {
  if (hue < 60) return m1 + ((m2 - m1) * hue) * k1By60;
  if (hue < 180) return m2;
  if (hue < 240) return m1 + ((m2 - m1) * (240 - hue)) * k1By60;
  return m1;
}

template <class T>
Pixel<T> hlsToRgb(const Pixel<T>& hls, bool exact) {
  Numbers v;
  for (int c = 0; c < 3; ++c) v[c] = static_cast<double>(hls[c]) - kLowest<T>;
  const double hue = numberOf<T>(v[0] * 360), lightness = numberOf<T>(v[1]), saturation = numberOf<T>(v[2]);
  Numbers rgb = {lightness, lightness, lightness};
  if (saturation != 0) {
    const double m2 =
        lightness > 0.5 ? lightness + saturation - saturation * lightness : (saturation + 1) * lightness;
    const double m1 = lightness + lightness - m2;
    const double red = hue + 120 > 360 ? hue + 120 - 360 : hue + 120;
    const double blue = hue - 120 < 0 ? hue - 120 + 360 : hue - 120;
    rgb = {channel(red, m1, m2), channel(hue, m1, m2), channel(blue, m1, m2)};
  }
  return {sampleOf<T>(rgb[0], exact), sampleOf<T>(rgb[1], exact), sampleOf<T>(rgb[2], exact)};
}

template <class T>
Pixel<T> rgbToHsv(const Pixel<T>& rgb, bool) {
  const auto [r, g, b] = rgb;
  const int max = std::max({r, g, b}), delta = max - std::min({r, g, b});
  if (max == 0 || delta == 0) return {0, 0, static_cast<T>(max)};
  const double inverse = 1.0 / delta;
  const double toR = (max - r) * inverse, toG = (max - g) * inverse, toB = (max - b) * inverse;
  const double sixths = b == max ? 4 - toR + toG : g == max ? 2 + toR - toB : toB - toG;
  double hue = sixths * (kFull<T> / 6);
  if (hue < 0) hue += kFull<T>;
  return {static_cast<T>(truncated(hue, false)),
          static_cast<T>(truncated(static_cast<double>(delta) / max * kFull<T>, false)), static_cast<T>(max)};
}

template <class T>
Pixel<T> hsvToRgb(const Pixel<T>& hsv, bool) {
  const double unit = sizeof(T) == 1 ? k1By255 : k1By65535, v = hsv[2];
  Numbers rgb = {v, v, v};
  if (hsv[1] != 0) {
    const double sixths = hsv[0] < kFull<T> ? (hsv[0] * 360.0 * unit) * k1By60 : 0;
    const int sector = static_cast<int>(sixths);
    const double f = sixths - sector, s = unit * hsv[1];
    const double p = (1 - s) * v, q = (-s * f + 1) * v, t = (-s * (1 - f) + 1) * v;
    const Numbers sectors[] = {{v, t, p}, {q, v, p}, {p, v, t}, {p, q, v}, {t, p, v}, {v, p, q}};
    rgb = sectors[sector];
  }
  Pixel<T> result;
  for (int c = 0; c < 3; ++c) result[c] = static_cast<T>(truncated(rgb[c], false));
  return result;
}

template <class T>
using Conversion = Pixel<T> (*)(const Pixel<T>&, bool exact);

// Of samples of type T, or none.
template <class T>
Conversion<T> conversionFor(const std::string& operation) {
  if constexpr (std::is_unsigned_v<T>) {
    if (operation == "RGBToHSV") return rgbToHsv<T>;
    if (operation == "HSVToRGB") return hsvToRgb<T>;
  }
  return operation.ends_with("ToHLS") ? rgbToHls<T> : hlsToRgb<T>;
}

template <class T>
sweep::Reference referenceFor(const registry::Function& f) {
  const Conversion<T> convert = conversionFor<T>(f.operation);
  const std::string name = f.name, from = f.sourceLayout, to = f.destinationLayout;
  const bool fromBgr = name.starts_with("zopiBGR"), toBgr = name.find("ToBGR") != std::string::npos;
  const bool interleaved = from == to && from[0] != 'P' && from != "AP4";
  return [=](const Call& call) {
    for (int y = 0; y < call.size.height; ++y) {
      for (int x = 0; x < call.size.width; ++x) {
        Pixel<T> pixel;
        for (int c = 0; c < 3; ++c) pixel[c] = call.sources[0].get<T>(x, y, fromBgr ? 2 - c : c);
        pixel = convert(pixel, !interleaved);
        for (int c = 0; c < 3; ++c) call.destination.set<T>(x, y, c, pixel[toBgr ? 2 - c : c]);
        if (from[0] == 'A' && !interleaved) call.destination.set<T>(x, y, 3, call.sources[0].get<T>(x, y, 3));
      }
    }
    return zopStatusOk;
  };
}

class Hue : public testing::TestWithParam<const char*> {};

TEST_P(Hue, EqualsTheReferenceAtEveryShape) {
  sweep::onEveryTargetAndTeam([&](bool everyShape) {
    for (const registry::Function* f : sweep::functionsOf(GetParam())) {
      const sweep::Reference reference = sweep::bySample<Zop8u, Zop16u, Zop16s, Zop32f>(
          *f, [&](auto sample) { return referenceFor<decltype(sample)>(*f); });
      std::vector<sweep::Shape> shapes = {
          {70, 1, 3, {true, 0}}, {67, 7, 0, {true, 0}}, {5, 4, 8, {false, 3}}};
      if (everyShape) shapes = sweep::shapes(*f);
      // Rows are whole samples apart: a step keeps what it has beyond them from the reference.
      for (sweep::Shape& shape : shapes) shape.padding -= shape.padding % f->arguments[0].sampleBytes;
      sweep::run(*f, {}, reference, shapes);
      if (HasFailure()) return;
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Operations, Hue,
                         testing::Values("RGBToHSV", "HSVToRGB", "RGBToHLS", "HLSToRGB", "BGRToHLS",
                                         "HLSToBGR"),
                         [](const auto& each) { return std::string(each.param); });

// All pixels of three bytes, in planes and interleaved.
template <class Function>
void compareAllBytes(Function function, Conversion<Zop8u> expected, bool exact) {
  constexpr int kPixels = 65536;
  std::vector<Pixel<Zop8u>> pixels(kPixels), results(kPixels);
  for (int first = 0; first < 256; ++first) {
    for (int i = 0; i < kPixels; ++i) {
      pixels[i] = {static_cast<Zop8u>(first), static_cast<Zop8u>(i >> 8), static_cast<Zop8u>(i)};
      results[i] = expected(pixels[i], exact);
    }
    targets::forEach([&](const std::string& target) {
      std::vector<Pixel<Zop8u>> out(kPixels);
      ASSERT_EQ(zopStatusOk, function(pixels.data()->data(), 3 * kPixels, out.data()->data(), 3 * kPixels,
                                      ZopImageSize{kPixels, 1}));
      if (out == results) return;
      const auto at = std::mismatch(out.begin(), out.end(), results.begin()).first - out.begin();
      for (int c = 0; c < 3; ++c) {
        ASSERT_EQ(results[at][c], out[at][c])
            << "channel " << c << " of " << first << " " << at / 256 << " " << at % 256 << " on " << target;
      }
    });
    if (testing::Test::HasFatalFailure()) return;
  }
}

using BytesToPlanes = ZopStatus (*)(const Zop8u*, int, Zop8u* const*, int, ZopImageSize);

// A conversion to planes in the order of the definitions: red first, and interleaved.
template <BytesToPlanes kFunction, bool kFromBgr>
ZopStatus throughPlanes(const Zop8u* src, int srcStep, Zop8u* dst, int dstStep, ZopImageSize size) {
  const Zop32s reversed[] = {2, 1, 0};
  std::vector<Zop8u> bgr(static_cast<std::size_t>(srcStep)), planes[3];
  Zop8u* at[3];
  for (int c = 0; c < 3; ++c) {
    planes[c].resize(size.width);
    at[c] = planes[c].data();
  }
  if (kFromBgr) {
    zopiSwapChannels_8u_C3R(src, srcStep, bgr.data(), srcStep, size, reversed);
    src = bgr.data();
  }
  const ZopStatus status = kFunction(src, srcStep, at, size.width, size);
  if (!kFromBgr) std::swap(at[0], at[2]);
  zopiCopy_8u_P3C3R(at, size.width, dst, dstStep, size);
  return status;
}

TEST(HueExhaustive, AllColoursToHsv) { compareAllBytes(zopiRGBToHSV_8u_C3R, rgbToHsv<Zop8u>, false); }
TEST(HueExhaustive, AllColoursFromHsv) { compareAllBytes(zopiHSVToRGB_8u_C3R, hsvToRgb<Zop8u>, false); }
TEST(HueExhaustive, AllColoursToHls) { compareAllBytes(zopiRGBToHLS_8u_C3R, rgbToHls<Zop8u>, false); }
TEST(HueExhaustive, AllColoursFromHls) { compareAllBytes(zopiHLSToRGB_8u_C3R, hlsToRgb<Zop8u>, false); }
TEST(HueExhaustive, AllColoursToHlsInPlanes) {
  compareAllBytes(throughPlanes<zopiBGRToHLS_8u_C3P3R, true>, rgbToHls<Zop8u>, true);
}
TEST(HueExhaustive, AllColoursFromHlsInPlanes) {
  compareAllBytes(throughPlanes<zopiHLSToBGR_8u_C3P3R, false>, hlsToRgb<Zop8u>, true);
}

template <class T>
void compare(const std::vector<Pixel<T>>& pixels, Conversion<T> expected,
             ZopStatus (*function)(const T*, int, T*, int, ZopImageSize)) {
  std::vector<Pixel<T>> out(pixels.size());
  const int n = static_cast<int>(pixels.size()), step = n * static_cast<int>(sizeof(Pixel<T>));
  ASSERT_EQ(zopStatusOk, function(pixels.data()->data(), step, out.data()->data(), step, {n, 1}));
  for (int i = 0; i < n; ++i) {
    const Pixel<T> result = expected(pixels[i], false);
    for (int c = 0; c < 3; ++c) {
      if (std::is_floating_point_v<T> && result[c] != result[c] && out[i][c] != out[i][c]) continue;
      ASSERT_EQ(0, std::memcmp(&result[c], &out[i][c], sizeof(T)))
          << "channel " << c << " of " << pixels[i][0] << " " << pixels[i][1] << " " << pixels[i][2] << ": "
          << out[i][c] << ", not " << result[c];
    }
  }
}

// Every hue, and so every bound of a sector, with saturations and values that are few and far between.
TEST(HueExhaustive, AllHuesOf16Bits) {
  const int levels[] = {0, 1, 12345, 32768, 65535};
  for (const int second : levels) {
    for (const int third : levels) {
      std::vector<Pixel<Zop16u>> pixels;
      std::vector<Pixel<Zop16s>> shifted;
      for (int hue = 0; hue < 65536; ++hue) {
        pixels.push_back({static_cast<Zop16u>(hue), static_cast<Zop16u>(second), static_cast<Zop16u>(third)});
        shifted.push_back({static_cast<Zop16s>(hue - 32768), static_cast<Zop16s>(second - 32768),
                           static_cast<Zop16s>(third - 32768)});
      }
      targets::forEach([&](const std::string&) {
        compare(pixels, hsvToRgb<Zop16u>, zopiHSVToRGB_16u_C3R);
        compare(pixels, hlsToRgb<Zop16u>, zopiHLSToRGB_16u_C3R);
        compare(shifted, hlsToRgb<Zop16s>, zopiHLSToRGB_16s_C3R);
        // The same pixels as colours: one channel takes all samples.
        compare(pixels, rgbToHsv<Zop16u>, zopiRGBToHSV_16u_C3R);
        compare(pixels, rgbToHls<Zop16u>, zopiRGBToHLS_16u_C3R);
        compare(shifted, rgbToHls<Zop16s>, zopiRGBToHLS_16s_C3R);
      });
    }
  }
}

// All triples of numbers at which a branch changes, of numbers beyond the range, and of what is none.
TEST(HueOfNumbers, AllTriplesOfEdges) {
  const float infinity = std::numeric_limits<float>::infinity();
  std::vector<float> edges = {-0.0f, 0x1p-149f, 0x1p-24f, 1e38f, 3e38f, infinity, -infinity, -3e38f, NAN};
  for (const float at :
       {0x1p-23f, 0.0f, 1.0f / 6, 1.0f / 3, 0.5f, 2.0f / 3, 5.0f / 6, 1.0f, 2.0f, -1.0f / 3}) {
    for (const float near : {std::nextafter(at, -infinity), at, std::nextafter(at, infinity), at + 0x1p-23f})
      edges.push_back(near);
  }
  std::vector<Pixel<Zop32f>> pixels;
  for (const float a : edges) {
    for (const float b : edges) {
      for (const float c : edges) pixels.push_back({a, b, c});
    }
  }
  targets::forEach([&](const std::string&) {
    compare(pixels, rgbToHls<Zop32f>, zopiRGBToHLS_32f_C3R);
    compare(pixels, hlsToRgb<Zop32f>, zopiHLSToRGB_32f_C3R);
  });
}

Pixel<Zop8u> converted(ZopStatus (*function)(const Zop8u*, int, Zop8u*, int, ZopImageSize),
                       Pixel<Zop8u> pixel) {
  EXPECT_EQ(zopStatusOk, function(pixel.data(), 3, pixel.data(), 3, {1, 1}));
  return pixel;
}

TEST(HueByHand, RowsAreWholeSamplesApart) {
  const Zop16s gray[6] = {1, 1, 1, 2, 2, 2};
  Zop16s hls[7] = {0, 0, 0, 0, 0, 0, 99};
  ASSERT_EQ(zopStatusOk, zopiRGBToHLS_16s_C3R(gray, 7, hls, 7, {1, 2}));
  EXPECT_EQ((std::array<Zop16s, 2>{0, 1}), (std::array<Zop16s, 2>{hls[1], hls[4]}));
  EXPECT_EQ(99, hls[6]);
}

TEST(HueByHand, PureColoursAndGrays) {
  using Bytes = Pixel<Zop8u>;
  EXPECT_EQ((Bytes{0, 254, 255}), converted(zopiRGBToHSV_8u_C3R, {255, 0, 0}));
  EXPECT_EQ((Bytes{84, 254, 255}), converted(zopiRGBToHSV_8u_C3R, {0, 255, 0}));
  EXPECT_EQ((Bytes{169, 254, 255}), converted(zopiRGBToHSV_8u_C3R, {0, 0, 255}));
  EXPECT_EQ((Bytes{0, 0, 100}), converted(zopiRGBToHSV_8u_C3R, {100, 100, 100}));
  EXPECT_EQ((Bytes{99, 99, 99}), converted(zopiHSVToRGB_8u_C3R, {0, 0, 100}));
  EXPECT_EQ(converted(zopiHSVToRGB_8u_C3R, {0, 200, 100}), converted(zopiHSVToRGB_8u_C3R, {255, 200, 100}));
  EXPECT_EQ((Bytes{99, 99, 99}), converted(zopiHLSToRGB_8u_C3R, {0, 100, 0}));
  const Zop8u hls[3] = {0, 100, 0};
  const Zop8u* const from[3] = {hls, hls + 1, hls + 2};
  Zop8u bgr[3];
  Zop8u* const to[3] = {bgr, bgr + 1, bgr + 2};
  EXPECT_EQ(zopStatusOk, zopiHLSToBGR_8u_P3R(from, 1, to, 1, {1, 1}));
  EXPECT_EQ(std::string(3, 100), std::string(bgr, bgr + 3));
  // The two orders of checks.
  EXPECT_EQ(zopStatusBadStep, zopiHLSToBGR_8u_P3R(from, 0, to, 1, {0, 1}));
  EXPECT_EQ(zopStatusBadSize, zopiBGRToHLS_8u_AC4R(hls, 0, bgr, 1, {0, 1}));
}

// The destination may be the source: the samples of a row's end are read before they are written.
TEST(HueInPlace, TheDestinationMayBeTheSource) {
  for (const int width : {1, 63, 64, 65, 100, 1000}) {
    std::vector<Zop8u> image(static_cast<std::size_t>(width) * 4), out(image.size());
    for (std::size_t i = 0; i < image.size(); ++i) image[i] = static_cast<Zop8u>(i * 37 >> 1);
    out = image;
    ASSERT_EQ(zopStatusOk, zopiRGBToHLS_8u_AC4R(image.data(), 4 * width, out.data(), 4 * width, {width, 1}));
    ASSERT_EQ(zopStatusOk,
              zopiRGBToHLS_8u_AC4R(image.data(), 4 * width, image.data(), 4 * width, {width, 1}));
    EXPECT_EQ(out, image);
  }
}

}  // namespace
