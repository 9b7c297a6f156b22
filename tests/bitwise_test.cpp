// Bitwise operations against sample-by-sample loops.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;

template <class T>
ZopStatus reference(const Call& call) {
  const registry::Function& f = call.function;
  const std::string name = f.operation;
  const int written = std::strcmp(f.sourceLayout, "AC4") == 0 ? 3 : call.destination.samples;
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      for (int c = 0; c < written; ++c) {
        const T a = call.sources[0].get<T>(x, y, c);
        T b = static_cast<T>(~T{0});  // what an inversion combines with
        if (call.sources.size() > 1) b = call.sources[1].get<T>(x, y, c);
        if (!call.constants.empty()) std::memcpy(&b, call.constants[0] + c * sizeof(T), sizeof(T));
        T result = static_cast<T>(a ^ b);
        if (name.starts_with("And")) result = a & b;
        if (name.starts_with("Or")) result = a | b;
        call.destination.set(x, y, c, result);
      }
    }
  }
  return zopStatusOk;
}

class Bitwise : public testing::TestWithParam<const char*> {};

TEST_P(Bitwise, EqualsTheReferenceAtEveryShape) {
  sweep::onEveryTargetAndTeam([&](bool everyShape) {
    if (!everyShape) return;  // no threads here
    for (const registry::Function* f : sweep::functionsOf(GetParam())) {
      const std::string type = f->sourceType;
      const auto plain = type == "8u"    ? reference<Zop8u>
                         : type == "16u" ? reference<Zop16u>
                                         : reference<Zop32s>;
      sweep::run(*f, {}, plain, sweep::shapes(*f));
      if (HasFailure()) return;
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Operations, Bitwise,
                         testing::Values("And", "Or", "Xor", "AndC", "OrC", "XorC", "Not"),
                         [](const auto& each) { return std::string(each.param); });

TEST(SignAndMagnitude, EqualsTheReferenceAtEveryShape) {
  const auto plain = [](const Call& call) {
    for (int y = 0; y < call.size.height; ++y) {
      for (int x = 0; x < call.size.width; ++x) {
        const auto v = static_cast<std::int64_t>(call.sources[0].get<Zop32s>(x, y));
        const auto bits = static_cast<std::uint32_t>(v < 0 ? 0x80000000 - v : v);
        call.destination.set(x, y, 0, v == INT32_MIN ? 0x80000000u : bits);
      }
    }
    return zopStatusOk;
  };
  sweep::onEveryTargetAndTeam([&](bool everyShape) {
    if (!everyShape) return;
    for (const registry::Function* f : sweep::functionsOf("Complement")) {
      sweep::run(*f, {}, plain, sweep::shapes(*f));
    }
  });
  Zop32s image[] = {-5, -1, 5, INT32_MIN, INT32_MAX, INT32_MIN + 1};
  ASSERT_EQ(zopStatusOk, zopiComplement_32s_C1IR(image, sizeof image, {6, 1}));
  const std::uint32_t expected[] = {0x80000005, 0x80000001, 5, 0x80000000, 0x7fffffff, 0xffffffff};
  EXPECT_EQ(0, std::memcmp(expected, image, sizeof image));
}

}  // namespace
