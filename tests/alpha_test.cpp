// Alpha composition against the rules written out in 64-bit integers, one sample at a time.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "support/sweep.h"
#include "support/targets.h"
#include "zopi.h"

namespace {

using sweep::Call;
using Number = std::uint64_t;

// Samples of one type, with full scale as 1.
struct Scale {
  Number full;
  Number m(Number x, Number y) const { return x * y / full; }
  Number sum(Number x, Number y) const { return std::min(x + y, full); }
  Number rest(Number x) const { return full - x; }

  Number colour(int type, Number a, Number aA, Number b, Number aB) const {
    switch (type) {
      case zopAlphaOver:
        return sum(m(a, aA), m(m(b, aB), rest(aA)));
      case zopAlphaIn:
        return m(m(a, aA), aB);
      case zopAlphaOut:
        return m(m(a, aA), rest(aB));
      case zopAlphaATop:
        return sum(m(m(a, aA), aB), m(rest(aA), m(b, aB)));
      case zopAlphaXor:
        return sum(m(m(a, aA), rest(aB)), m(rest(aA), m(b, aB)));
      case zopAlphaPlus:
        return sum(m(a, aA), m(b, aB));
      case zopAlphaOverPremul:
        return sum(a, m(b, rest(aA)));
      case zopAlphaInPremul:
        return m(a, aB);
      case zopAlphaOutPremul:
        return m(a, rest(aB));
      case zopAlphaATopPremul:
        return sum(m(a, aB), m(b, rest(aA)));
      case zopAlphaXorPremul:
        return sum(m(a, rest(aB)), m(b, rest(aA)));
      default:
        return sum(a, b);
    }
  }
  Number alpha(int type, Number aA, Number aB) const {
    if (type == zopAlphaATop) return sum(m(aA, aA), m(rest(aA), aB));
    return colour(type < zopAlphaOverPremul ? type + zopAlphaOverPremul : type, aA, aA, aB, aB);
  }
  Number ofAlphaImages(int type, Number a, Number b) const {
    return type % zopAlphaOverPremul == zopAlphaATop ? b : alpha(type, a, b);
  }
};

template <class T>
T constantOf(const Call& call, std::size_t i) {
  T value;
  std::memcpy(&value, call.constants[i], sizeof value);
  return value;
}

// The result for sample c of a pixel.
template <class T>
Number composed(const Call& call, int x, int y, int c) {
  const Scale scale = {std::numeric_limits<T>::max()};
  const std::string layout = call.function.sourceLayout;
  const int type = call.parameters[0].get<int>();
  const auto& a = call.sources[0];
  const auto& b = call.sources[1];
  if (layout == "AC1") return scale.ofAlphaImages(type, a.get<T>(x, y), b.get<T>(x, y));
  const bool constants = !call.constants.empty(), hasAlpha = layout[0] == 'A';
  const Number aA = constants ? constantOf<T>(call, 0) : a.get<T>(x, y, 3);
  const Number aB = constants ? constantOf<T>(call, 1) : b.get<T>(x, y, 3);
  if (hasAlpha && c == 3) return scale.alpha(type, aA, aB);
  return scale.colour(type, a.get<T>(x, y, c), aA, b.get<T>(x, y, c), aB);
}

template <class T>
Number premultiplied(const Call& call, int x, int y, int c) {
  const Scale scale = {std::numeric_limits<T>::max()};
  const auto& from = call.sources[0];
  const bool constant = !call.constants.empty();
  const Number alpha = constant ? constantOf<T>(call, 0) : from.get<T>(x, y, 3);
  return call.function.sourceLayout[0] == 'A' && c == 3 ? alpha : scale.m(from.get<T>(x, y, c), alpha);
}

template <class T>
sweep::Reference everySample(Number (*result)(const Call&, int, int, int)) {
  return [result](const Call& call) {
    for (int y = 0; y < call.size.height; ++y) {
      for (int x = 0; x < call.size.width; ++x) {
        for (int c = 0; c < std::max(call.destination.planes, call.destination.samples); ++c) {
          call.destination.set(x, y, c, static_cast<T>(result(call, x, y, c)));
        }
      }
    }
    return zopStatusOk;
  };
}

sweep::Reference referenceFor(const registry::Function& f) {
  const bool composes = std::string(f.operation).starts_with("AlphaComp");
  if (std::strcmp(f.sourceType, "8u") == 0)
    return everySample<Zop8u>(composes ? composed<Zop8u> : premultiplied<Zop8u>);
  return everySample<Zop16u>(composes ? composed<Zop16u> : premultiplied<Zop16u>);
}

class Alpha : public testing::TestWithParam<const char*> {};

TEST_P(Alpha, EqualsTheReferenceAtEveryShape) {
  const bool composes = std::string(GetParam()).starts_with("AlphaComp");
  sweep::onEveryTargetAndTeam([&](bool everyShape) {
    if (!everyShape) return;  // no threads here
    for (const registry::Function* f : sweep::functionsOf(GetParam())) {
      int next = 0;
      for (const sweep::Shape& shape : sweep::shapes(*f)) {
        sweep::Options options;
        // All operations where the vectors change, two at a time elsewhere.
        if (composes) options.parameters = {{next % 12}, {(next + 7) % 12}};
        if (composes && next % 16 == 0) {
          for (int type = 0; type < 12; ++type) options.parameters.push_back({type});
        }
        ++next;
        sweep::run(*f, options, referenceFor(*f), {shape});
        if (HasFailure()) return;
      }
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Operations, Alpha,
                         testing::Values("AlphaComp", "AlphaCompC", "AlphaPremul", "AlphaPremulC"),
                         [](const auto& each) { return std::string(each.param); });

// The product that all rules are made of: every pair of bytes.
TEST(AlphaExhaustive, ProductsOfBytes) {
  std::vector<Zop8u> x(256), out(256);
  for (int i = 0; i < 256; ++i) x[i] = static_cast<Zop8u>(i);
  for (int alpha = 0; alpha < 256; ++alpha) {
    ASSERT_EQ(zopStatusOk,
              zopiAlphaPremulC_8u_C1R(x.data(), 256, static_cast<Zop8u>(alpha), out.data(), 256, {256, 1}));
    for (int i = 0; i < 256; ++i) ASSERT_EQ(i * alpha / 255, out[i]) << i << " " << alpha;
  }
}

// Every pair of words: products that just miss a multiple of 65535 are too rare to be met by chance.
TEST(AlphaExhaustive, ProductsOfWords) {
  std::vector<Zop16u> x(65536), out(65536);
  for (int i = 0; i < 65536; ++i) x[i] = static_cast<Zop16u>(i);
  for (unsigned alpha = 0; alpha < 65536; ++alpha) {
    ASSERT_EQ(zopStatusOk, zopiAlphaPremulC_16u_C1R(x.data(), 131072, static_cast<Zop16u>(alpha), out.data(),
                                                    131072, {65536, 1}));
    int different = 0;
    for (unsigned i = 0; i < 65536; ++i) different += out[i] != i * alpha / 65535;
    ASSERT_EQ(0, different) << "with alpha " << alpha;
  }
}

// Every operation for every pair of alphas, with colours that change along: in pixels and in alpha images.
TEST(AlphaExhaustive, AllPairsOfAlphaBytes) {
  constexpr int kStep = 4 * 256;
  const Scale scale = {255};
  std::vector<Zop8u> a(kStep * 256), b(a.size()), out(a.size());
  std::mt19937 random(5);
  for (std::size_t i = 0; i < a.size(); ++i) {
    a[i] = static_cast<Zop8u>(i % 4 == 3 ? i / 4 : random());
    b[i] = static_cast<Zop8u>(i % 4 == 3 ? i / kStep : random());
  }
  for (int type = 0; type < 12; ++type) {
    ASSERT_EQ(zopStatusOk,
              zopiAlphaComp_8u_AC4R(a.data(), kStep, b.data(), kStep, out.data(), kStep, {256, 256}, type));
    for (std::size_t i = 0; i < a.size(); ++i) {
      const Number aA = a[i | 3], aB = b[i | 3];
      ASSERT_EQ(i % 4 == 3 ? scale.alpha(type, aA, aB) : scale.colour(type, a[i], aA, b[i], aB), out[i])
          << "type " << type << ", alphas " << aA << ", " << aB;
    }
  }
}

// The destination may be either source, in planes too: there alpha must be the last to go.
TEST(AlphaOverlap, TheDestinationMayBeASource) {
  constexpr int kPixels = 5000;
  for (const bool first : {true, false}) {
    std::vector<std::vector<Zop8u>> a(4), b(4), out(4);
    const Zop8u *fromA[4], *fromB[4];
    Zop8u *to[4], *over[4];
    for (int c = 0; c < 4; ++c) {
      out[c].resize(kPixels);
      for (int i = 0; i < kPixels; ++i) {
        a[c].push_back(static_cast<Zop8u>(i * (c + 3)));
        b[c].push_back(static_cast<Zop8u>(i * (c + 7) >> 2));
      }
      fromA[c] = a[c].data();
      fromB[c] = b[c].data();
      to[c] = out[c].data();
      over[c] = first ? a[c].data() : b[c].data();
    }
    const ZopImageSize size = {kPixels, 1};
    ASSERT_EQ(zopStatusOk, zopiAlphaComp_8u_AP4R(fromA, kPixels, fromB, kPixels, to, kPixels, size, 4));
    ASSERT_EQ(zopStatusOk, zopiAlphaComp_8u_AP4R(fromA, kPixels, fromB, kPixels, over, kPixels, size, 4));
    EXPECT_EQ(out, first ? a : b);
  }
}

TEST(AlphaByHand, RulesAtTheirEnds) {
  const Zop8u a[4] = {200, 1, 77, 255}, b[4] = {100, 1, 9, 128}, faint[4] = {200, 200, 200, 128};
  Zop8u out[4];
  ASSERT_EQ(zopStatusOk, zopiAlphaComp_8u_AC4R(a, 4, b, 4, out, 4, {1, 1}, zopAlphaOver));
  EXPECT_EQ(0, std::memcmp(a, out, 4));  // opaque
  ASSERT_EQ(zopStatusOk, zopiAlphaComp_8u_AC4R(a, 4, b, 4, out, 4, {1, 1}, zopAlphaPlusPremul));
  EXPECT_EQ(255, out[0]);
  // The alpha of A is multiplied by itself: 64 and 64, where the alpha of B would give 64 and 127.
  ASSERT_EQ(zopStatusOk, zopiAlphaComp_8u_AC4R(faint, 4, a, 4, out, 4, {1, 1}, zopAlphaATop));
  EXPECT_EQ(64 + 127, out[3]);
  ASSERT_EQ(zopStatusOk, zopiAlphaComp_8u_AC1R(a, 4, b, 4, out, 4, {4, 1}, zopAlphaATop));
  EXPECT_EQ(0, std::memcmp(b, out, 4));
  ASSERT_EQ(zopStatusOk, zopiAlphaCompC_8u_AC4R(a, 4, 128, b, 4, 255, out, 4, {1, 1}, zopAlphaOver));
  EXPECT_EQ(255, out[3]);
  EXPECT_EQ(100 + 49, out[0]);
  Zop8u clear[4] = {9, 8, 7, 0};
  ASSERT_EQ(zopStatusOk, zopiAlphaPremul_8u_AC4IR(clear, 4, {1, 1}));
  EXPECT_EQ(0, clear[0] | clear[1] | clear[2] | clear[3]);
  EXPECT_EQ(zopStatusBadAlphaType, zopiAlphaComp_8u_AC4R(a, 4, b, 4, out, 4, {1, 1}, 12));
  EXPECT_EQ(zopStatusBadAlphaType, zopiAlphaComp_8u_AC4R(a, 4, b, 4, out, 4, {1, 1}, -1));
}

}  // namespace
