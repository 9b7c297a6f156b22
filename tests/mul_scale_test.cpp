// Products of fractions of full scale against the formula in wide integers.
#include <gtest/gtest.h>

#include <string>

#include "support/sweep.h"
#include "zopi.h"

namespace {

template <class T>
T product(T a, T b) {
  const std::uint32_t t = std::uint32_t{a} * b;
  constexpr int bits = 8 * sizeof(T);
  return static_cast<T>((t + 1 + (t >> bits)) >> bits);
}

template <class T>
ZopStatus reference(const sweep::Call& call) {
  sweep::pixelwise<T>(call, product<T>);
  return zopStatusOk;
}

TEST(FractionsOfFullScale, EqualTheReferenceAtEveryShape) {
  sweep::onEveryTarget([] {
    for (const char* operation : {"MulScale", "MulCScale"}) {
      for (const registry::Function* f : sweep::functionsOf(operation)) {
        const bool bytes = f->sourceType == std::string("8u");
        sweep::run(*f, {}, bytes ? reference<Zop8u> : reference<Zop16u>, sweep::shapes(*f));
      }
    }
  });
}

TEST(FractionsOfFullScale, AllPairsOfBytes) {
  std::vector<Zop8u> image(256), out(256);
  for (int i = 0; i < 256; ++i) image[i] = static_cast<Zop8u>(i);
  for (int value = 0; value < 256; ++value) {
    ASSERT_EQ(zopStatusOk,
              zopiMulCScale_8u_C1R(image.data(), 256, static_cast<Zop8u>(value), out.data(), 256, {256, 1}));
    for (int i = 0; i < 256; ++i) ASSERT_EQ(product<Zop8u>(image[i], static_cast<Zop8u>(value)), out[i]);
  }
}

// Every 16-bit sample with the constants that make or just miss a carry.
TEST(FractionsOfFullScale, AllWordsWithCriticalConstants) {
  std::vector<Zop16u> image(65536), out(65536);
  for (int i = 0; i < 65536; ++i) image[i] = static_cast<Zop16u>(i);
  for (const int value :
       {0, 1, 2, 3, 255, 256, 257, 4369, 21845, 32767, 32768, 32769, 43690, 65533, 65534, 65535}) {
    const Zop16u constant = static_cast<Zop16u>(value);
    ASSERT_EQ(zopStatusOk, zopiMulCScale_16u_C1R(image.data(), 512, constant, out.data(), 512, {256, 256}));
    for (int i = 0; i < 65536; ++i)
      ASSERT_EQ(product<Zop16u>(image[i], constant), out[i]) << i << " " << value;
  }
}

}  // namespace
