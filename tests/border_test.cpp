// Borders against a loop over the pixels of the destination.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "support/guarded.h"
#include "support/sweep.h"
#include "support/targets.h"
#include "zopi.h"

namespace {

using registry::Function;

struct Shape {
  ZopImageSize size;
  int top, left, bottom, right, padding;
  guarded::Placement placement;
};

// Both images stand between guards; the destination ends before the alpha of its last pixel where alpha is
// not touched. Every byte of its block is compared.
void compare(const Function& function, const Shape& s, std::mt19937& random) {
  const registry::Argument& argument = function.arguments[0];
  const int samples = argument.samples, bytes = argument.sampleBytes, pixel = samples * bytes;
  const bool fills = function.arguments.size() == 9;
  const int colours = std::strcmp(function.sourceLayout, "AC4") == 0 ? 3 * bytes : pixel;
  const ZopImageSize all = {s.left + s.size.width + s.right, s.top + s.size.height + s.bottom};
  guarded::Region src(s.size.height, s.size.width * pixel, s.size.width * pixel + s.padding, s.placement,
                      random);
  guarded::Region dst(all.height, (all.width - 1) * pixel + colours, all.width * pixel + s.padding,
                      s.placement, random);
  guarded::Region value(1, colours, colours, {}, random);

  auto expected = dst.bytes();
  for (int y = 0; y < all.height; ++y) {
    for (int x = 0; x < all.width; ++x) {
      const int nearX = std::clamp(x - s.left, 0, s.size.width - 1);
      const int nearY = std::clamp(y - s.top, 0, s.size.height - 1);
      const bool inside = x - s.left == nearX && y - s.top == nearY;
      const unsigned char* from = src.at() + nearY * src.step() + nearX * pixel;
      std::memcpy(dst.in(expected) + y * dst.step() + x * pixel, fills && !inside ? value.at() : from,
                  colours);
    }
  }

  std::vector<registry::Value> values = {static_cast<const void*>(src.at()),
                                         src.step(),
                                         s.size,
                                         static_cast<void*>(dst.at()),
                                         dst.step(),
                                         all,
                                         s.top,
                                         s.left};
  if (fills && samples == 1) {
    registry::Value sample;
    std::memcpy(static_cast<void*>(&sample), value.at(), bytes);
    values.push_back(sample);
  } else if (fills) {
    values.push_back(static_cast<const void*>(value.at()));
  }
  ASSERT_EQ(zopStatusOk, function.invoke(values.data()));
  ASSERT_TRUE(dst.equals(expected)) << function.name << ": " << s.size.width << "x" << s.size.height
                                    << ", top " << s.top << ", left " << s.left << ", bottom " << s.bottom
                                    << ", right " << s.right << ", padding " << s.padding;
}

std::vector<Shape> shapes(const Function& function) {
  const int lanes = 64 / function.arguments[0].sampleBytes;
  std::vector<Shape> result;
  for (int width = 1; width <= lanes + 3; ++width) {
    const int other = width * 7 % (lanes + 5);
    result.push_back({{width, 1 + width % 3}, width % 2, other, width % 3, width % 5, width % 4, {true, 0}});
    result.push_back({{width, 2}, 1, width % 5, 1, other, width % 3, {false, other}});
  }
  // Borders wider than the image, on one side only, and on none; bands of several rows and rows of many
  // vectors.
  for (const int width : {1, lanes, 4 * lanes + 1}) {
    for (const int side : {0, 1, 3 * lanes}) {
      result.push_back({{width, 3}, 0, side, 2, 0, 1, {true, 0}});
      result.push_back({{width, 3}, 2, 0, 0, side, 0, {true, 0}});
    }
  }
  result.push_back({{100, 300}, 3, 8, 5, 9, 0, {true, 0}});
  result.push_back({{5000, 5}, 1, 70, 1, 200, 3, {false, 5}});
  return result;
}

TEST(Borders, EqualTheReferenceAtEveryShape) {
  targets::forEach([](const std::string& name) {
    SCOPED_TRACE("on " + name);
    std::mt19937 random(1);
    for (const char* operation : {"CopyConstBorder", "CopyReplicateBorder"}) {
      for (const Function* function : sweep::functionsOf(operation)) {
        for (const Shape& shape : shapes(*function))
          ASSERT_NO_FATAL_FAILURE(compare(*function, shape, random));
      }
    }
  });
}

// Beyond the caches, rows are stored past them, between borders that are not.
TEST(Borders, Streamed) {
  std::mt19937 random(1);
  const Shape large = {{2000, 1000}, 1, 9, 1, 70, 0, {false, 4}};
  for (const Function* function : sweep::functionsOf("CopyReplicateBorder")) {
    if (std::string(function->name) == "zopiCopyReplicateBorder_32s_C3R") compare(*function, large, random);
  }
}

TEST(Borders, SizesThatDoNotFit) {
  Zop8u image[64] = {}, value[3] = {};
  const auto status = [&](ZopImageSize src, ZopImageSize dst, int top, int left, const Zop8u* pixel,
                          int step) {
    return zopiCopyConstBorder_8u_C3R(image, step, src, image, 8, dst, top, left, pixel);
  };
  EXPECT_EQ(zopStatusBadSize, status({1, 1}, {3, 3}, INT32_MAX, 0, value, 8));  // sums do not wrap
  EXPECT_EQ(zopStatusBadSize, status({1, 1}, {3, 3}, 0, INT32_MAX, value, 8));
  EXPECT_EQ(zopStatusBadSize, status({2, 1}, {1, 3}, 0, -1, value, 8));
  EXPECT_EQ(zopStatusBadStep, status({1, 1}, {3, 3}, 0, 0, nullptr, 0));
  EXPECT_EQ(zopStatusBadSize, status({1, 1}, {3, 3}, 3, 0, nullptr, 8));
  EXPECT_EQ(zopStatusNullPointer, status({1, 1}, {3, 3}, 2, 0, nullptr, 8));
}

}  // namespace
