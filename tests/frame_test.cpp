// The frame: version, image memory, magnitudes and their row advance.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>

#include "support/sweep.h"
#include "zopi.h"

namespace {

TEST(Version, IsTheRecordOfThisLibrary) {
  const ZopLibraryVersion* version = zopiGetLibVersion();
  ASSERT_NE(nullptr, version);
  EXPECT_EQ(version, zopiGetLibVersion());
  EXPECT_EQ(3, version->major);
  EXPECT_EQ(0, version->minor);
  EXPECT_EQ(18, version->majorBuild);
  EXPECT_EQ(54, version->build);
  EXPECT_EQ(0, std::memcmp("m6\0\0", version->targetCode, 4));
  EXPECT_STREQ("zopim6.dll", version->libraryName);
  EXPECT_STREQ("v3.0 gold", version->versionText);
  EXPECT_STREQ("Nov 26 2002", version->buildDate);
}

template <class T>
void expectImage(T* (*allocate)(int, int, int*), int width, int height, int step, std::size_t bytes) {
  int got = -1;
  T* image = allocate(width, height, &got);
  ASSERT_NE(nullptr, image);
  EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(image) % 32);
  EXPECT_EQ(step, got);
  std::memset(static_cast<void*>(image), 0xa5, bytes);  // under the sanitizer: all of it is there
  zopiFree(image);
}

TEST(ImageMemory, RowsStartOn32Bytes) {
  expectImage(zopiMalloc_8u_C1, 1, 1, 32, 32);
  expectImage(zopiMalloc_8u_C1, 33, 2, 64, 128);
  expectImage(zopiMalloc_8u_C3, 11, 1, 64, 64);
  expectImage(zopiMalloc_16u_C2, 9, 3, 64, 192);
  expectImage(zopiMalloc_32f_AC4, 3, 5, 64, 320);
  expectImage(zopiMalloc_32sc_C3, 4, 2, 96, 192);
  expectImage(zopiMalloc_32fc_C4, 1, 1, 32, 32);
  expectImage(zopiMalloc_16s_P3, 10, 4, 32, 384);
  expectImage(zopiMalloc_32fc_P3, 5, 7, 64, 1344);
}

TEST(ImageMemory, RefusesWhatItCannotServe) {
  int step = -1;
  EXPECT_EQ(nullptr, zopiMalloc_8u_C1(5, 5, nullptr));
  EXPECT_EQ(nullptr, zopiMalloc_8u_C1(0, 5, &step));
  EXPECT_EQ(0, step);
  step = -1;
  EXPECT_EQ(nullptr, zopiMalloc_32f_P3(5, -1, &step));
  EXPECT_EQ(0, step);
  // 32768 rows of 65536 bytes come out negative in 32 bits: the step is known all the same.
  EXPECT_EQ(nullptr, zopiMalloc_8u_C1(65536, 32768, &step));
  EXPECT_EQ(65536, step);
  // 65537 rows wrap to one row's worth, which is what is served.
  Zop8u* small = zopiMalloc_8u_C1(65536, 65537, &step);
  ASSERT_NE(nullptr, small);
  std::memset(small, 1, 65536);
  zopiFree(small);
  zopiFree(nullptr);
}

template <class T>
ZopStatus magnitudes(const sweep::Call& call) {
  const bool keepsAlpha = std::strcmp(call.function.sourceLayout, "AC4") == 0;
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      for (int c = 0; c < (keepsAlpha ? 3 : call.destination.samples); ++c) {
        const T v = call.sources.back().get<T>(x, y, c);
        if constexpr (sizeof(T) == 2) {
          call.destination.set<T>(x, y, c, v == -32768 ? 32767 : static_cast<T>(v < 0 ? -v : v));
        } else {
          call.destination.set<T>(x, y, c, v & 0x7fffffffu);
        }
      }
    }
  }
  return zopStatusOk;
}

TEST(Magnitudes, EqualTheReferenceAtEveryShape) {
  sweep::onEveryTarget([] {
    for (const registry::Function* f : sweep::functionsOf("Abs")) {
      std::vector<sweep::Shape> shapes = sweep::shapes(*f);
      // C1 and C3 advance by whole samples, which the hand case below looks at.
      for (sweep::Shape& shape : shapes) shape.padding -= shape.padding % 4;
      sweep::run(*f, {},
                 std::strcmp(f->sourceType, "16s") == 0 ? magnitudes<Zop16s> : magnitudes<std::uint32_t>,
                 shapes);
    }
  });
}

TEST(Magnitudes, RowsOfC1AndC3AdvanceByWholeSamples) {
  Zop16s from[16], to[16];
  for (int i = 0; i < 16; ++i) from[i] = static_cast<Zop16s>(-1000 - i);
  ASSERT_EQ(zopStatusOk, zopiAbs_16s_C1R(from, 5, to, 4, {1, 3}));
  for (int y = 0; y < 3; ++y) EXPECT_EQ(1000 + 2 * y, to[2 * y]);
  ASSERT_EQ(zopStatusOk, zopiAbs_16s_C3R(from, 9, to, 8, {1, 2}));
  EXPECT_EQ(1004, to[4]);
  ASSERT_EQ(zopStatusOk, zopiAbs_16s_C4R(from, 9, to, 8, {1, 2}));
  Zop16s straddling;
  std::memcpy(&straddling, reinterpret_cast<unsigned char*>(from) + 9, 2);
  EXPECT_EQ(std::abs(straddling), to[4]);
}

TEST(Magnitudes, ClearTheSignOfZerosAndNotANumbers) {
  Zop32f image[3] = {-0.0f, -INFINITY, std::nanf("")};
  image[2] = -image[2];
  ASSERT_EQ(zopStatusOk, zopiAbs_32f_C1IR(image, 12, {3, 1}));
  EXPECT_FALSE(std::signbit(image[0]));
  EXPECT_EQ(INFINITY, image[1]);
  EXPECT_TRUE(std::isnan(image[2]) && !std::signbit(image[2]));
}

}  // namespace
