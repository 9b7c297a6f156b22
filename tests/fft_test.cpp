// Fourier transforms against their definition in double precision.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "support/guarded.h"
#include "support/sweep.h"
#include "support/targets.h"
#include "zopi.h"

namespace {

using Complex = std::complex<double>;
using Spectrum = std::vector<Complex>;

// A transform that is simple rather than fast, in double precision, of samples `stride` apart.
void definition(Complex* x, int order, std::ptrdiff_t stride, int sign) {
  if (order == 0) return;
  const std::ptrdiff_t n = std::ptrdiff_t{1} << order, half = n / 2;
  Spectrum parts[2];
  for (int part = 0; part < 2; ++part) {
    for (std::ptrdiff_t i = 0; i < half; ++i) parts[part].push_back(x[(2 * i + part) * stride]);
    definition(parts[part].data(), order - 1, 1, sign);
  }
  for (std::ptrdiff_t k = 0; k < half; ++k) {
    const double angle = sign * 2 * std::numbers::pi * static_cast<double>(k) / static_cast<double>(n);
    const Complex odd = parts[1][k] * std::polar(1.0, angle);
    x[k * stride] = parts[0][k] + odd;
    x[(k + half) * stride] = parts[0][k] - odd;
  }
}

struct Orders {
  int x, y;
  int width() const { return 1 << x; }
  int height() const { return 1 << y; }
};

Spectrum transformed(Spectrum image, Orders orders, int sign) {
  for (int y = 0; y < orders.height(); ++y) definition(image.data() + y * orders.width(), orders.x, 1, sign);
  for (int x = 0; x < orders.width(); ++x) definition(image.data() + x, orders.y, orders.width(), sign);
  return image;
}

// The packed order of a spectrum whose image is real.
std::vector<double> packed(const Spectrum& f, Orders orders) {
  const int w = orders.width(), h = orders.height();
  std::vector<double> p(f.size());
  const auto column = [&](int at, int u) {
    const auto value = [&](int v) { return f[v * w + u]; };
    p[at] = value(0).real();
    for (int j = 1; 2 * j < h; ++j) {
      p[(2 * j - 1) * w + at] = value(j).real();
      p[2 * j * w + at] = value(j).imag();
    }
    if (h > 1) p[(h - 1) * w + at] = value(h / 2).real();
  };
  column(0, 0);
  if (w > 1) column(w - 1, w / 2);
  for (int v = 0; v < h; ++v) {
    for (int k = 1; 2 * k < w; ++k) {
      p[v * w + 2 * k - 1] = f[v * w + k].real();
      p[v * w + 2 * k] = f[v * w + k].imag();
    }
  }
  return p;
}

double factor(int flag, int n, bool forward) {
  if (flag == ZOP_FFT_DIV_BY_SQRTN) return 1 / std::sqrt(n);
  return flag == (forward ? ZOP_FFT_DIV_FWD_BY_N : ZOP_FFT_DIV_INV_BY_N) ? 1.0 / n : 1.0;
}

// The error of a good transform grows like the square root of its order.
double bound(Orders orders) { return 1e-7 * std::sqrt(std::max(1, orders.x + orders.y)); }

template <class Difference>
void expectClose(std::size_t n, Orders orders, const Difference& difference) {
  double error = 0, energy = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const auto [expected, got] = difference(i);
    error += std::norm(expected - got);
    energy += std::norm(expected);
  }
  EXPECT_LE(std::sqrt(error), bound(orders) * std::sqrt(energy)) << orders.x << ", " << orders.y;
}

template <class Spec>
class Context {
 public:
  using Free = ZopStatus (*)(Spec*);
  template <class Init>
  Context(Init init, Free free, Orders orders, int flag) : free_(free) {
    EXPECT_EQ(zopStatusOk, init(&spec_, orders.x, orders.y, flag, 0));
  }
  ~Context() { EXPECT_EQ(zopStatusOk, free_(spec_)); }
  operator Spec*() const { return spec_; }

 private:
  Spec* spec_ = nullptr;
  Free free_;
};
struct ComplexContext : Context<ZopFFTSpec_C_32fc> {
  ComplexContext(Orders orders, int flag)
      : Context(zopiFFTInitAlloc_C_32fc, zopiFFTFree_C_32fc, orders, flag) {}
};
struct RealContext : Context<ZopFFTSpec_R_32f> {
  RealContext(Orders orders, int flag) : Context(zopiFFTInitAlloc_R_32f, zopiFFTFree_R_32f, orders, flag) {}
};
struct IntegerContext : Context<ZopFFTSpec_R_32s> {
  IntegerContext(Orders orders, int flag)
      : Context(zopiFFTInitAlloc_R_32s, zopiFFTFree_R_32s, orders, flag) {}
};

// An image between unmapped pages, with gaps between its rows.
template <class T>
class Picture {
 public:
  Picture(Orders orders, int channels, int padding, std::mt19937& random, bool atEnd = true)
      : region_(orders.height(), std::ptrdiff_t{orders.width()} * channels * sizeof(T),
                orders.width() * channels * static_cast<int>(sizeof(T)) + padding, {atEnd, 0}, random),
        width_(orders.width()),
        channels_(channels) {}

  T get(int i, int c = 0) {
    T value;
    std::memcpy(&value, at(i, c), sizeof value);
    return value;
  }
  void set(int i, int c, T value) { std::memcpy(at(i, c), &value, sizeof value); }
  T* data() { return reinterpret_cast<T*>(region_.at()); }
  int step() const { return region_.step(); }
  std::vector<unsigned char> bytes() const { return region_.bytes(); }

 private:
  unsigned char* at(int i, int c) {
    return region_.at() + static_cast<std::ptrdiff_t>(i / width_) * step() +
           (static_cast<std::ptrdiff_t>(i % width_) * channels_ + c) * static_cast<std::ptrdiff_t>(sizeof(T));
  }
  guarded::Region region_;
  int width_, channels_;
};

// All small shapes, and some in which either axis takes another way.
std::vector<Orders> shapes() {
  std::vector<Orders> result;
  for (int x = 0; x <= 7; ++x) {
    for (int y = 0; y <= 5; ++y) result.push_back({x, y});
  }
  for (const Orders more : {Orders{8, 8}, {11, 2}, {2, 11}, {10, 0}, {0, 10}, {12, 0}, {0, 12}, {13, 1}})
    result.push_back(more);
  return result;
}

constexpr int kFlags[] = {ZOP_FFT_DIV_FWD_BY_N, ZOP_FFT_DIV_INV_BY_N, ZOP_FFT_DIV_BY_SQRTN,
                          ZOP_FFT_NODIV_BY_ANY};

TEST(Fft, ComplexImages) {
  sweep::onEveryTarget([] {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> noise(-1, 1);
    int turn = 0;
    for (const Orders orders : shapes()) {
      const int flag = kFlags[turn++ % 4], padding = turn % 3 * 3, n = orders.width() * orders.height();
      const ComplexContext context(orders, flag);
      for (const bool forward : {true, false}) {
        const auto function = forward ? zopiFFTFwd_CToC_32fc_C1R : zopiFFTInv_CToC_32fc_C1R;
        Picture<Zop32fc> source(orders, 1, padding, random), out(orders, 1, padding, random);
        Spectrum expected;
        for (int i = 0; i < n; ++i) {
          const Zop32fc value = {noise(random), noise(random)};
          source.set(i, 0, value);
          expected.emplace_back(value.re, value.im);
        }
        expected = transformed(expected, orders, forward ? -1 : 1);
        const double scale = factor(flag, orders.width(), forward) * factor(flag, orders.height(), forward);
        ASSERT_EQ(zopStatusOk,
                  function(source.data(), source.step(), out.data(), out.step(), context, nullptr));
        expectClose(n, orders, [&](std::size_t i) {
          const Zop32fc got = out.get(static_cast<int>(i));
          return std::pair(expected[i] * scale, Complex(got.re, got.im));
        });
        ASSERT_EQ(zopStatusOk,
                  function(source.data(), source.step(), source.data(), source.step(), context, nullptr));
        for (int i = 0; i < n; ++i) {
          const Zop32fc a = source.get(i), b = out.get(i);
          ASSERT_EQ(0, std::memcmp(&a, &b, sizeof a)) << "in place, " << orders.x << ", " << orders.y;
        }
      }
    }
  });
}

template <class Function>
void compareRealForms(int channels, int colours, Function forward, Function inverse) {
  std::mt19937 random(2);
  std::uniform_real_distribution<float> noise(-1, 1);
  int turn = 0;
  for (const Orders orders : shapes()) {
    const int flag = kFlags[turn++ % 4], padding = turn % 3 * 3, n = orders.width() * orders.height();
    const RealContext context(orders, flag);
    Picture<float> source(orders, channels, padding, random), out(orders, channels, padding, random, false),
        back(orders, channels, padding, random);
    std::vector<std::vector<double>> expected;
    for (int c = 0; c < channels; ++c) {
      // Channels of very different size must not mix.
      const float size = c == 1 ? 1e20f : 1.0f;
      Spectrum image;
      for (int i = 0; i < n; ++i) {
        source.set(i, c, size * noise(random));
        image.emplace_back(source.get(i, c));
        out.set(i, c, 7.0f);
        back.set(i, c, 7.0f);
      }
      expected.push_back(packed(transformed(image, orders, -1), orders));
    }
    int bytes = 0;
    ASSERT_EQ(zopStatusOk, zopiFFTGetBufSize_R_32f(context, &bytes));
    guarded::Region buffer(1, bytes, bytes, {true, 0}, random);  // ends at an unmapped page, on any address
    ASSERT_EQ(zopStatusOk,
              forward(source.data(), source.step(), out.data(), out.step(), context, buffer.at()));
    ASSERT_EQ(zopStatusOk, inverse(out.data(), out.step(), back.data(), back.step(), context, nullptr));
    for (int c = 0; c < colours; ++c) {
      const double scale = factor(flag, orders.width(), true) * factor(flag, orders.height(), true);
      expectClose(n, orders, [&](std::size_t i) {
        return std::pair(expected[c][i] * scale, double{out.get(static_cast<int>(i), c)});
      });
      const double both = flag == ZOP_FFT_NODIV_BY_ANY ? n : 1;
      expectClose(n, {2 * orders.x, 2 * orders.y}, [&](std::size_t i) {
        return std::pair(source.get(static_cast<int>(i), c) * both, double{back.get(static_cast<int>(i), c)});
      });
    }
    for (int i = 0; i < n && colours < channels; ++i) {
      ASSERT_EQ(7.0f, out.get(i, 3));
      ASSERT_EQ(7.0f, back.get(i, 3));
    }
    // In place, forward and back.
    ASSERT_EQ(zopStatusOk,
              forward(source.data(), source.step(), source.data(), source.step(), context, nullptr));
    for (int i = 0; i < n; ++i) {
      for (int c = 0; c < colours; ++c) ASSERT_EQ(out.get(i, c), source.get(i, c));
    }
    ASSERT_EQ(zopStatusOk, inverse(out.data(), out.step(), out.data(), out.step(), context, nullptr));
    for (int i = 0; i < n; ++i) {
      for (int c = 0; c < colours; ++c) ASSERT_EQ(back.get(i, c), out.get(i, c));
    }
  }
}

TEST(Fft, RealImages) {
  sweep::onEveryTarget([] {
    compareRealForms(1, 1, zopiFFTFwd_RToPack_32f_C1R, zopiFFTInv_PackToR_32f_C1R);
    compareRealForms(3, 3, zopiFFTFwd_RToPack_32f_C3R, zopiFFTInv_PackToR_32f_C3R);
    compareRealForms(4, 4, zopiFFTFwd_RToPack_32f_C4R, zopiFFTInv_PackToR_32f_C4R);
    compareRealForms(4, 3, zopiFFTFwd_RToPack_32f_AC4R, zopiFFTInv_PackToR_32f_AC4R);
  });
}

template <class Forward, class Inverse>
void compareIntegerForms(int channels, int colours, Forward forward, Inverse inverse) {
  std::mt19937 random(3);
  for (const Orders orders : {Orders{0, 0}, {3, 2}, {5, 5}, {7, 0}, {0, 4}}) {
    const int n = orders.width() * orders.height();
    const IntegerContext context(orders, ZOP_FFT_DIV_INV_BY_N);
    Picture<Zop8u> source(orders, channels, 5, random), back(orders, channels, 1, random);
    Picture<Zop32s> out(orders, channels, 3, random);
    int bytes = 0;
    ASSERT_EQ(zopStatusOk, zopiFFTGetBufSize_R_32s(context, &bytes));
    guarded::Region buffer(1, bytes, bytes, {true, 0}, random);
    for (const int scale : {0, 3, -3, -2000000000}) {
      for (int i = 0; i < n && colours < channels; ++i) {
        out.set(i, 3, 7);
        back.set(i, 3, 7);
      }
      ASSERT_EQ(zopStatusOk,
                forward(source.data(), source.step(), out.data(), out.step(), context, scale, buffer.at()));
      for (int c = 0; c < colours; ++c) {
        Spectrum image;
        for (int i = 0; i < n; ++i) image.emplace_back(source.get(i, c));
        const std::vector<double> exact = packed(transformed(image, orders, -1), orders);
        for (int i = 0; i < n; ++i) {
          const double expected = std::ldexp(exact[i], -std::max(scale, -100));
          const double held = std::min(std::max(expected, -2147483648.0), 2147483647.0);
          if (scale < -100 && std::abs(exact[i]) < 1e-6) continue;  // zero but for rounding
          EXPECT_NEAR(held, out.get(i, c), 0.6 + 2e-6 * std::abs(held)) << scale;
        }
      }
      if (scale != 0) continue;
      ASSERT_EQ(zopStatusOk, inverse(out.data(), out.step(), back.data(), back.step(), context, 0, nullptr));
      for (int c = 0; c < colours; ++c) {
        for (int i = 0; i < n; ++i) ASSERT_NEAR(source.get(i, c), back.get(i, c), n > 8 ? 0 : 1);
      }
    }
    for (int i = 0; i < n && colours < channels; ++i) {
      ASSERT_EQ(7, out.get(i, 3));
      ASSERT_EQ(7, back.get(i, 3));
    }
  }
}

TEST(Fft, Integers) {
  sweep::onEveryTarget([] {
    compareIntegerForms(1, 1, zopiFFTFwd_RToPack_8u32s_C1RSfs, zopiFFTInv_PackToR_32s8u_C1RSfs);
    compareIntegerForms(3, 3, zopiFFTFwd_RToPack_8u32s_C3RSfs, zopiFFTInv_PackToR_32s8u_C3RSfs);
    compareIntegerForms(4, 4, zopiFFTFwd_RToPack_8u32s_C4RSfs, zopiFFTInv_PackToR_32s8u_C4RSfs);
    compareIntegerForms(4, 3, zopiFFTFwd_RToPack_8u32s_AC4RSfs, zopiFFTInv_PackToR_32s8u_AC4RSfs);
  });
}

// Bytes are clamped, then rounded to even, by a transform of one sample.
TEST(Fft, IntegersSaturateAndRoundToEven) {
  const IntegerContext one({0, 0}, ZOP_FFT_NODIV_BY_ANY);
  const auto toByte = [&](Zop32s value, int scale) {
    Zop8u byte = 1;
    EXPECT_EQ(zopStatusOk, zopiFFTInv_PackToR_32s8u_C1RSfs(&value, 4, &byte, 1, one, scale, nullptr));
    return static_cast<int>(byte);
  };
  EXPECT_EQ(2, toByte(5, 1));
  EXPECT_EQ(4, toByte(7, 1));
  EXPECT_EQ(255, toByte(300, 0));
  EXPECT_EQ(255, toByte(511, 1));
  EXPECT_EQ(0, toByte(-9, 0));
  EXPECT_EQ(255, toByte(1, -2000000000));
  EXPECT_EQ(0, toByte(0, -2000000000));
  EXPECT_EQ(0, toByte(2147483647, 2000000000));
}

TEST(Fft, ParsevalHoldsForLongRows) {
  const Orders orders = {18, 0};
  const ComplexContext context(orders, ZOP_FFT_DIV_BY_SQRTN);
  std::vector<Zop32fc> x(orders.width());
  std::mt19937 random(4);
  std::normal_distribution<float> noise;
  double before = 0, after = 0;
  for (Zop32fc& value : x) {
    value = {noise(random), noise(random)};
    before += double{value.re} * value.re + double{value.im} * value.im;
  }
  const Zop32fc impulse = x[5];
  ASSERT_EQ(zopStatusOk, zopiFFTFwd_CToC_32fc_C1R(x.data(), 1 << 21, x.data(), 1 << 21, context, nullptr));
  for (const Zop32fc& value : x) after += double{value.re} * value.re + double{value.im} * value.im;
  EXPECT_NEAR(1, after / before, 1e-5);
  ASSERT_EQ(zopStatusOk, zopiFFTInv_CToC_32fc_C1R(x.data(), 1 << 21, x.data(), 1 << 21, context, nullptr));
  EXPECT_NEAR(impulse.re, x[5].re, 1e-5);
  EXPECT_NEAR(impulse.im, x[5].im, 1e-5);
}

TEST(Fft, BuffersHaveTheirSizes) {
  const auto complexSize = [](Orders orders) {
    int bytes = 0;
    EXPECT_EQ(zopStatusOk, zopiFFTGetBufSize_C_32fc(ComplexContext(orders, 8), &bytes));
    return bytes;
  };
  EXPECT_EQ(64 * 8 + 16, complexSize({3, 3}));
  EXPECT_EQ(64 + 16, complexSize({10, 0}));
  int bytes = 0;
  EXPECT_EQ(zopStatusOk, zopiFFTGetBufSize_R_32f(RealContext({4, 3}, 8), &bytes));
  EXPECT_EQ(16 * 16 + 16, bytes);
  EXPECT_EQ(zopStatusOk, zopiFFTGetBufSize_R_32f(RealContext({4, 5}, 8), &bytes));
  EXPECT_EQ(32 * 32 + 16, bytes);
  EXPECT_EQ(zopStatusOk, zopiFFTGetBufSize_R_32s(IntegerContext({4, 5}, 8), &bytes));
  EXPECT_EQ(16 * 512 + 4 * 16 + 16 + 32 * 32 + 16, bytes);
}

TEST(Fft, ContextsAreChecked) {
  ZopFFTSpec_C_32fc* none = nullptr;
  EXPECT_EQ(zopStatusNullPointer, zopiFFTInitAlloc_C_32fc(nullptr, 31, 0, 3, 0));
  EXPECT_EQ(zopStatusBadOrder, zopiFFTInitAlloc_C_32fc(&none, 31, 0, 3, 0));
  EXPECT_EQ(zopStatusBadOrder, zopiFFTInitAlloc_C_32fc(&none, 0, -1, 3, 0));
  EXPECT_EQ(zopStatusBadFlag, zopiFFTInitAlloc_C_32fc(&none, 3, 3, 3, 0));
  EXPECT_EQ(zopStatusBadFlag, zopiFFTInitAlloc_C_32fc(&none, 3, 3, 0, 0));
  EXPECT_EQ(zopStatusNoMemory, zopiFFTInitAlloc_C_32fc(&none, 30, 30, 8, 0));
  EXPECT_EQ(nullptr, none);

  const RealContext real({2, 1}, 8);
  const auto wrong = reinterpret_cast<ZopFFTSpec_C_32fc*>(static_cast<ZopFFTSpec_R_32f*>(real));
  Zop32fc image[8] = {};
  int bytes = 5;
  EXPECT_EQ(zopStatusBadContext, zopiFFTFwd_CToC_32fc_C1R(nullptr, 0, image, 32, wrong, nullptr));
  EXPECT_EQ(zopStatusBadContext, zopiFFTFree_C_32fc(wrong));
  EXPECT_EQ(zopStatusBadContext, zopiFFTGetBufSize_C_32fc(wrong, nullptr));
  EXPECT_EQ(zopStatusNullPointer, zopiFFTGetBufSize_R_32f(real, nullptr));
  EXPECT_EQ(zopStatusNullPointer, zopiFFTGetBufSize_R_32f(nullptr, &bytes));
  EXPECT_EQ(5, bytes);
}

}  // namespace
