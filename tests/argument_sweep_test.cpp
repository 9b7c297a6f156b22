// Every function of the registry with every bad argument, and with every two, three and four of them at once:
// the status tells the order of the checks, and no byte is written.
#include <gtest/gtest.h>

#include <string>

#include "support/arguments.h"
#include "zopi.h"

namespace {

using registry::Argument;
using registry::Arguments;
using registry::Function;
using registry::Role;
using registry::Value;

constexpr ZopImageSize kSize = {5, 3};

// Which kinds of argument are bad in a call.
struct Badness {
  bool pointer = false, width = false, height = false, step = false;
};

ZopStatus expected(const Function& function, const Badness& bad) {
  std::string rest = std::string(function.checks) + " ";
  while (!rest.empty()) {
    const std::string check = rest.substr(0, rest.find(' '));
    rest.erase(0, check.size() + 1);
    if (check == "pointer" && bad.pointer) return zopStatusNullPointer;
    if (check == "width" && bad.width) return zopStatusBadSize;
    if (check == "size" && (bad.width || bad.height)) return zopStatusBadSize;
    if (check == "step" && bad.step) return zopStatusBadStep;
  }
  return zopStatusOk;
}

// The ways to spoil one argument.
struct Spoiler {
  std::size_t argument;
  Badness badness;
  Value value;
  int plane = -1;  // this plane of an array instead
};

std::vector<Spoiler> spoilers(const Function& function) {
  std::vector<Spoiler> result;
  for (std::size_t i = 0; i < function.arguments.size(); ++i) {
    const Argument& a = function.arguments[i];
    if (a.isPointer()) result.push_back({i, {true, false, false, false}, Value(static_cast<void*>(nullptr))});
    for (int p = 0; p < a.planes; ++p) result.push_back({i, {true, false, false, false}, {}, p});
    if (a.role == Role::Step) {
      for (const int step : {0, -1, INT32_MIN})
        result.push_back({i, {false, false, false, true}, Value(step)});
    }
    if (a.role == Role::Size) {
      for (const ZopImageSize size : {ZopImageSize{0, 3}, {-7, 3}, {5, 0}, {5, INT32_MIN}, {0, 0}}) {
        result.push_back({i, {false, size.width < 1, size.height < 1, false}, Value(size)});
      }
    }
  }
  return result;
}

void spoil(Arguments& arguments, const Spoiler& s, Badness& bad) {
  if (s.plane >= 0)
    arguments.planes(s.argument)[s.plane] = nullptr;
  else
    arguments.values[s.argument] = s.value;
  bad.pointer |= s.badness.pointer;
  bad.width |= s.badness.width;
  bad.height |= s.badness.height;
  bad.step |= s.badness.step;
}

TEST(ArgumentSweep, EveryFunctionChecksInItsOrder) {
  long calls = 0;
  for (const Function& function : registry::functions()) {
    const std::vector<Spoiler> all = spoilers(function);
    const auto check = [&](std::initializer_list<const Spoiler*> chosen) {
      Arguments arguments(function, kSize);
      Badness bad;
      for (const Spoiler* s : chosen) spoil(arguments, *s, bad);
      ++calls;
      ASSERT_EQ(expected(function, bad), function.invoke(arguments.values.data()))
          << function.name << ": pointer " << bad.pointer << " width " << bad.width << " height "
          << bad.height << " step " << bad.step;
      ASSERT_TRUE(arguments.untouched()) << function.name << " wrote after a failed check";
    };
    for (const Spoiler& first : all) {
      ASSERT_NO_FATAL_FAILURE(check({&first}));
      for (const Spoiler& second : all) {
        if (second.argument <= first.argument) continue;
        ASSERT_NO_FATAL_FAILURE(check({&first, &second}));
        if (!first.badness.pointer) continue;
        for (const Spoiler& third : all) {
          if (third.argument <= second.argument) continue;
          ASSERT_NO_FATAL_FAILURE(check({&first, &second, &third}));
        }
      }
    }
    Arguments good(function, kSize);
    EXPECT_EQ(zopStatusOk, function.invoke(good.values.data())) << function.name;
  }
  RecordProperty("calls", static_cast<int>(calls));
}

// The table is what the sweep believes; these are the orders a reader would look up.
TEST(ArgumentOrder, ByHand) {
  Zop8u image[48] = {};
  const ZopImageSize none = {0, 1}, flat = {1, 0};
  EXPECT_EQ(zopStatusNullPointer, zopiAdd_8u_C1RSfs(nullptr, 0, image, 8, image, 8, none, 0));
  EXPECT_EQ(zopStatusBadSize, zopiAdd_8u_C1RSfs(image, 0, image, 8, image, 8, none, 0));
  EXPECT_EQ(zopStatusBadStep, zopiAdd_8u_C1RSfs(image, 0, image, 8, image, 8, {1, 1}, 0));
  EXPECT_EQ(zopStatusBadSize, zopiAdd_8u_C3RSfs(nullptr, 0, image, 8, image, 8, none, 0));
  EXPECT_EQ(zopStatusNullPointer, zopiAdd_8u_C3RSfs(nullptr, 0, image, 8, image, 8, flat, 0));
  EXPECT_EQ(zopStatusBadSize, zopiMul_16s_C4IRSfs(nullptr, 0, nullptr, 8, none, 0));
  EXPECT_EQ(zopStatusNullPointer, zopiAdd_8u_AC4RSfs(nullptr, 0, image, 8, image, 8, none, 0));
  EXPECT_EQ(zopStatusNullPointer, zopiAdd_16sc_C3IRSfs(nullptr, 0, nullptr, 8, none, 0));
  EXPECT_EQ(zopStatusNullPointer, zopiAddC_8u_C3RSfs(image, 0, nullptr, image, 8, none, 0));
  EXPECT_EQ(zopStatusNullPointer, zopiSet_8u_C3MR(nullptr, image, 0, none, image, 0));
  EXPECT_EQ(zopStatusBadSize, zopiCopy_8u_C1MR(image, 0, image, 0, flat, image, 0));
  EXPECT_EQ(zopStatusBadStep, zopiCopy_8u_C1MR(image, 8, image, 8, {1, 1}, image, 0));
  Zop8u* planes[3] = {image, nullptr, image};
  EXPECT_EQ(zopStatusNullPointer, zopiCopy_8u_C3P3R(image, 0, planes, 0, none));
  EXPECT_EQ(zopStatusNullPointer, zopiAbs_16s_C1R(nullptr, 0, nullptr, 0, none));
}

}  // namespace
