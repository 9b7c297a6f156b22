// Shifts against 64-bit arithmetic, sample by sample.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;

template <class T>
ZopStatus reference(const Call& call) {
  const registry::Function& f = call.function;
  const int written = std::strcmp(f.sourceLayout, "AC4") == 0 ? 3 : call.destination.samples;
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      for (int c = 0; c < written; ++c) {
        const std::int64_t v = call.sources[0].get<T>(x, y, c);
        unsigned count;
        std::memcpy(&count, call.constants[0] + c * sizeof count, sizeof count);
        count = std::min(count, 32u);
        call.destination.set(
            x, y, c, static_cast<T>(f.operation[0] == 'L' ? v * (std::int64_t{1} << count) : v >> count));
      }
    }
  }
  return zopStatusOk;
}

sweep::Reference referenceFor(const registry::Function& f) {
  const std::string type = f.sourceType;
  if (type == "8u") return reference<Zop8u>;
  if (type == "8s") return reference<Zop8s>;
  if (type == "16u") return reference<Zop16u>;
  if (type == "16s") return reference<Zop16s>;
  return reference<Zop32s>;
}

sweep::Constants counts(const std::vector<unsigned>& values) {
  std::vector<unsigned char> bytes(values.size() * sizeof values[0]);
  std::memcpy(bytes.data(), values.data(), bytes.size());
  return {bytes};
}

// One count a pixel and one a channel, zero, ordinary, at the width of each type and far beyond.
const std::vector<sweep::Constants> kCounts = {
    counts({3, 3, 3, 3}),     counts({1, 4, 7, 2}),
    counts({0, 5, 8, 9}),     counts({15, 0, 31, 16}),
    counts({40, 2, 0, 7}),    counts({7, 0xffffffff, 32, 0x80000000}),
    counts({6, 6, 5, 6}),     counts({6, 6, 6, 5}),
    counts({40, 50, 60, 70}), counts({0, 0, 0, 0}),
    counts({0, 0, 0, 1}),     counts({8, 8, 8, 8}),
    counts({16, 17, 18, 19}), counts({31, 31, 31, 31}),
    counts({15, 15, 15, 15}), counts({0x80000000, 0x80000000, 0x80000000, 0x80000000}),
};

class Shift : public testing::TestWithParam<const char*> {};

TEST_P(Shift, EqualsTheReferenceAtEveryShape) {
  sweep::onEveryTargetAndTeam([&](bool everyShape) {
    if (!everyShape) return;  // no threads here
    for (const registry::Function* f : sweep::functionsOf(GetParam())) {
      std::size_t next = 0;
      for (const sweep::Shape& shape : sweep::shapes(*f)) {
        sweep::Options options;
        options.constants = {kCounts[next % 6], kCounts[next % kCounts.size()]};
        ++next;
        sweep::run(*f, options, referenceFor(*f), {shape});
        if (HasFailure()) return;
      }
    }
  });
}

TEST_P(Shift, EqualsTheReferenceAtEveryCount) {
  std::vector<sweep::Constants> all = kCounts;
  for (unsigned count = 0; count <= 40; ++count) {
    all.push_back(counts({count, count, count, count}));
    all.push_back(counts({count, (count * 7 + 3) % 35, (count * 5 + 1) % 35, count / 2}));
  }
  for (const registry::Function* f : sweep::functionsOf(GetParam())) {
    sweep::run(*f, {{{}}, all}, referenceFor(*f), {{70, 2, 4, {}}});
    if (HasFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Directions, Shift, testing::Values("LShiftC", "RShiftC"),
                         [](const auto& each) { return std::string(each.param); });

// Fills read no source, and a count of 0 in place writes nothing.
TEST(ShiftShortCuts, NeitherReadNorWriteWhatTheyNeedNot) {
  guarded::Block unreadable(1);
  unsigned char* outside = unreadable.data() + unreadable.size();  // unmapped
  const unsigned wide[3] = {8, 9, 10}, none[3] = {0, 0, 0};
  Zop8u out[4] = {1, 2, 3, 4};
  EXPECT_EQ(zopStatusOk, zopiRShiftC_8u_AC4R(outside, 4, wide, out, 4, {1, 1}));
  EXPECT_EQ(0, out[0] | out[1] | out[2]);
  EXPECT_EQ(4, out[3]);
  EXPECT_EQ(zopStatusOk, zopiLShiftC_8u_C3IR(none, outside, 3, {1, 1}));
  EXPECT_EQ(zopStatusOk, zopiRShiftC_32s_C1IR(0, reinterpret_cast<Zop32s*>(outside), 4, {1, 1}));
}

TEST(ShiftByHand, FillsWithZerosOrTheSign) {
  Zop8s bytes[2] = {-3, 3};
  ASSERT_EQ(zopStatusOk, zopiRShiftC_8s_C1IR(40, bytes, 2, {2, 1}));
  EXPECT_EQ(-1, bytes[0]);
  EXPECT_EQ(0, bytes[1]);
  Zop8u top = 200;
  ASSERT_EQ(zopStatusOk, zopiLShiftC_8u_C1IR(1, &top, 1, {1, 1}));
  EXPECT_EQ(144, top);
  Zop16u word = 0xffff;
  ASSERT_EQ(zopStatusOk, zopiRShiftC_16u_C1IR(15, &word, 2, {1, 1}));
  EXPECT_EQ(1, word);
}

}  // namespace
