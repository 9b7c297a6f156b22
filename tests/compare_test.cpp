// Comparisons against a loop over pixels and channels.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;
using sweep::View;

constexpr Zop32f kInfinity = std::numeric_limits<Zop32f>::infinity();
constexpr Zop32f kDenormal = std::numeric_limits<Zop32f>::denorm_min();
constexpr Zop32f kLargest = std::numeric_limits<Zop32f>::max();
const Zop32f kNaN = std::nanf("");

// Numbers where comparisons and differences go astray.
const std::vector<Zop32f> kEdges = {
    0.0f,  -0.0f, kDenormal, -kDenormal, 0x1p-126f, 0x1p-30f,  0x1p-60f,   -0x1p-30f, -0x1p-60f, 1.0f,
    -1.0f, 2.0f,  1.000001f, kLargest,   -kLargest, kInfinity, -kInfinity, kNaN,      -kNaN};

bool passes(double a, double b, int cmpOp) {
  const bool less = a<b, greater = a> b;
  switch (cmpOp) {
    case zopCmpLess:
      return less;
    case zopCmpLessEq:
      return less || a == b;
    case zopCmpEq:
      return !less && !greater;
    case zopCmpGreaterEq:
      return greater || a == b;
    default:
      return greater;
  }
}

bool isNear(double a, double b, Zop32f eps) { return !(std::fabs(a - b) > eps); }

template <class T>
ZopStatus reference(const Call& call) {
  const registry::Function& f = call.function;
  const std::string name = f.operation, layout = f.sourceLayout;
  const bool constant = name.back() == 'C', near = name.starts_with("CompareEqualEps");
  const int op = call.parameters[0].get<int>();
  const Zop32f eps = call.parameters[0].get<Zop32f>();
  if (!near && (op < 0 || op > 4)) return zopStatusOk;
  const View& first = call.sources[0];
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      bool all = true;
      for (int c = 0; c < (layout == "AC4" ? 3 : first.samples); ++c) {
        T b;
        if (constant)
          std::memcpy(&b, call.constants[0] + c * sizeof(T), sizeof(T));
        else
          b = call.sources[1].get<T>(x, y, c);
        const T a = first.get<T>(x, y, c);
        all = all && (near ? isNear(a, b, eps) : passes(a, b, op));
      }
      call.destination.set<Zop8u>(x, y, 0, all ? 255 : 0);
    }
  }
  return zopStatusOk;
}

class Comparisons : public testing::TestWithParam<const char*> {};

TEST_P(Comparisons, EqualTheReferenceAtEveryShape) {
  const bool near = std::string(GetParam()).starts_with("CompareEqualEps");
  std::vector<std::vector<registry::Value>> parameters;
  for (const int op : {0, 1, 2, 3, 4, 5, -1}) {
    if (!near) parameters.push_back({op});
  }
  for (const Zop32f eps : {1.0f, 0.0f, 3.0f, kNaN, 1e30f, kDenormal, kInfinity}) {
    if (near) parameters.push_back({eps});
  }
  sweep::onEveryTarget([&] {
    for (const registry::Function* f : sweep::functionsOf(GetParam())) {
      const auto plain =
          sweep::bySample<Zop8u, Zop16s, Zop32f>(*f, [](auto sample) { return reference<decltype(sample)>; });
      std::size_t next = 0;
      for (const sweep::Shape& shape : sweep::shapes(*f)) {
        const sweep::Options options = {{parameters[next % 7], parameters[(next + 3) % 7]}, {{}}};
        ++next;
        sweep::run(*f, options, plain, {shape});
        if (HasFailure()) return;
      }
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Operations, Comparisons,
                         testing::Values("Compare", "CompareC", "CompareEqualEps", "CompareEqualEpsC"),
                         [](const auto& each) { return std::string(each.param); });

TEST(ComparisonsExhaustive, AllPairsOfBytes) {
  std::vector<Zop8u> a(65536), b(65536), images(65536), constants(65536);
  for (int i = 0; i < 65536; ++i) {
    a[i] = static_cast<Zop8u>(i);
    b[i] = static_cast<Zop8u>(i >> 8);
  }
  sweep::onEveryTarget([&] {
    for (int op = 0; op <= 4; ++op) {
      ASSERT_EQ(zopStatusOk,
                zopiCompare_8u_C1R(a.data(), 256, b.data(), 256, images.data(), 256, {256, 256}, op));
      for (int value = 0; value < 256; ++value) {
        ASSERT_EQ(zopStatusOk, zopiCompareC_8u_C1R(a.data(), 256, static_cast<Zop8u>(value),
                                                   constants.data() + 256 * value, 256, {256, 1}, op));
      }
      for (int i = 0; i < 65536; ++i) {
        ASSERT_EQ(passes(a[i], b[i], op) ? 255 : 0, images[i]) << int(a[i]) << " " << int(b[i]) << " " << op;
        ASSERT_EQ(images[i], constants[i]) << int(a[i]) << " " << int(b[i]) << " " << op;
      }
    }
  });
}

// All pairs of edges, in the plain and in the three-channel form, whose pixels hold an edge among equal
// numbers.
TEST(ComparisonsOfFloats, AllPairsOfEdges) {
  const int n = static_cast<int>(kEdges.size());
  sweep::onEveryTarget([&] {
    for (const Zop32f b : kEdges) {
      const std::vector<Zop32f> others(n, b);
      std::vector<Zop32f> pixels(3 * n, 0.0f), otherPixels(3 * n, 0.0f);
      for (int i = 0; i < n; ++i) {
        pixels[3 * i + i % 3] = kEdges[i];
        otherPixels[3 * i + i % 3] = b;
      }
      std::vector<Zop8u> out(n), outC(n), out3(n);
      for (int op = 0; op <= 4; ++op) {
        zopiCompare_32f_C1R(kEdges.data(), 4 * n, others.data(), 4 * n, out.data(), n, {n, 1}, op);
        zopiCompareC_32f_C1R(kEdges.data(), 4 * n, b, outC.data(), n, {n, 1}, op);
        zopiCompare_32f_C3R(pixels.data(), 12 * n, otherPixels.data(), 12 * n, out3.data(), n, {n, 1}, op);
        for (int i = 0; i < n; ++i) {
          const bool equalPasses = op >= zopCmpLessEq && op <= zopCmpGreaterEq;
          ASSERT_EQ(passes(kEdges[i], b, op) ? 255 : 0, out[i]) << kEdges[i] << " " << b << " " << op;
          ASSERT_EQ(out[i], outC[i]) << kEdges[i] << " " << b << " " << op;
          ASSERT_EQ(equalPasses ? out[i] : 0, out3[i]) << kEdges[i] << " " << b << " " << op;
        }
      }
      for (const Zop32f eps : kEdges) {
        if (eps < 0) continue;
        ASSERT_EQ(zopStatusOk, zopiCompareEqualEps_32f_C1R(kEdges.data(), 4 * n, others.data(), 4 * n,
                                                           out.data(), n, {n, 1}, eps));
        ASSERT_EQ(zopStatusOk,
                  zopiCompareEqualEpsC_32f_C1R(kEdges.data(), 4 * n, b, outC.data(), n, {n, 1}, eps));
        for (int i = 0; i < n; ++i) {
          ASSERT_EQ(isNear(kEdges[i], b, eps) ? 255 : 0, out[i]) << kEdges[i] << " " << b << " " << eps;
          ASSERT_EQ(out[i], outC[i]) << kEdges[i] << " " << b << " " << eps;
        }
      }
    }
  });
}

// Bytes of regions beyond the caches are stored past them.
TEST(ComparisonsLarge, StreamedRowsEqualShortOnes) {
  constexpr int kWidth = 1601, kHeight = 1500, kStep = 4 * kWidth + 8, kByteStep = kWidth + 3;
  std::vector<Zop32f> image(kStep / 4 * kHeight);
  for (std::size_t i = 0; i < image.size(); ++i) image[i] = static_cast<Zop32f>(i * 7 % 11);
  std::vector<Zop32f> shifted(image.begin() + 1, image.end());
  shifted.push_back(0);
  std::vector<Zop8u> out(kByteStep * kHeight, 7);
  ASSERT_EQ(zopStatusOk, zopiCompare_32f_C1R(image.data(), kStep, shifted.data(), kStep, out.data(),
                                             kByteStep, {kWidth, kHeight}, zopCmpLess));
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kByteStep; ++x) {
      const int i = y * (kStep / 4) + x;
      const int expected = x >= kWidth ? 7 : image[i] < shifted[i] ? 255 : 0;
      ASSERT_EQ(expected, out[y * kByteStep + x]) << x << "," << y;
    }
  }
}

TEST(ComparisonsByHand, AllChannelsCountAndAlphaDoesNot) {
  const Zop8u pixel[4] = {5, 6, 7, 8}, third[4] = {5, 6, 9, 8}, fourth[4] = {5, 6, 7, 9};
  Zop8u out = 1;
  zopiCompare_8u_C3R(pixel, 3, third, 3, &out, 1, {1, 1}, zopCmpEq);
  EXPECT_EQ(0, out);
  zopiCompareC_8u_AC4R(pixel, 4, fourth, &out, 1, {1, 1}, zopCmpGreaterEq);
  EXPECT_EQ(255, out);
  zopiCompareC_8u_C4R(pixel, 4, fourth, &out, 1, {1, 1}, zopCmpGreaterEq);
  EXPECT_EQ(0, out);
  zopiCompare_8u_C1R(pixel, 1, fourth, 1, &out, 1, {1, 1}, zopCmpGreaterEq);
  EXPECT_EQ(255, out);
}

// A difference just beyond the distance, of which single precision would drop the excess, and one that even
// double precision drops.
TEST(ComparisonsByHand, DifferencesAreTakenInDouble) {
  const Zop32f image[2] = {-0x1p-30f, -0x1p-60f};
  Zop8u out[2];
  ASSERT_EQ(zopStatusOk, zopiCompareEqualEpsC_32f_C1R(image, 8, 1.0f, out, 2, {2, 1}, 1.0f));
  EXPECT_EQ(0, out[0]);
  EXPECT_EQ(255, out[1]);
}

}  // namespace
