// Calls of functions that bring two images of different size together: each image between unmapped pages, its
// samples as doubles.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "support/guarded.h"
#include "support/registry.h"

namespace two_images {

class Picture {
 public:
  Picture(ZopImageSize size, const std::string& type, const std::string& layout, int padding, bool atEnd,
          std::mt19937& random)
      : size_(size),
        type_(type),
        channels_(layout == "AC4" ? 4 : layout[1] - '0'),
        colours_(layout == "AC4" ? 3 : channels_),
        bytes_(type == "8u" || type == "8s" ? 1
               : type == "16s"              ? 2
                                            : 4),
        region_(size.height, std::ptrdiff_t{size.width} * channels_ * bytes_,
                size.width * channels_ * bytes_ + padding, {atEnd, 0}, random) {}

  ZopImageSize size() const { return size_; }
  int colours() const { return colours_; }
  void* data() { return region_.at(); }
  int step() const { return region_.step(); }

  double get(int x, int y, int c) {
    return type_ == "8u"    ? read<Zop8u>(x, y, c)
           : type_ == "8s"  ? read<Zop8s>(x, y, c)
           : type_ == "16s" ? read<Zop16s>(x, y, c)
                            : double{read<Zop32f>(x, y, c)};
  }
  void set(int x, int y, int c, double value) {
    if (type_ == "8u") return write(x, y, c, static_cast<Zop8u>(value));
    if (type_ == "8s") return write(x, y, c, static_cast<Zop8s>(value));
    if (type_ == "16s") return write(x, y, c, static_cast<Zop16s>(value));
    write(x, y, c, static_cast<Zop32f>(value));
  }
  // Sets every sample, alpha included.
  void fill(const std::function<double()>& sample) {
    for (int y = 0; y < size_.height; ++y) {
      for (int x = 0; x < size_.width; ++x) {
        for (int c = 0; c < channels_; ++c) set(x, y, c, sample());
      }
    }
  }

  std::vector<unsigned char> bytes() const { return region_.bytes(); }
  // Whether all that is no colour of a pixel is as it was.
  bool keepsTheRest(std::vector<unsigned char> before) {
    for (int y = 0; y < size_.height; ++y) {
      for (int x = 0; x < size_.width; ++x) {
        std::memcpy(region_.in(before) + offset(x, y, 0), region_.at() + offset(x, y, 0), colours_ * bytes_);
      }
    }
    return region_.equals(before);
  }

 private:
  std::ptrdiff_t offset(int x, int y, int c) const {
    return std::ptrdiff_t{y} * region_.step() + (std::ptrdiff_t{x} * channels_ + c) * bytes_;
  }
  template <class T>
  T read(int x, int y, int c) {
    T value;
    std::memcpy(&value, region_.at() + offset(x, y, c), sizeof value);
    return value;
  }
  template <class T>
  void write(int x, int y, int c, T value) {
    std::memcpy(region_.at() + offset(x, y, c), &value, sizeof value);
  }

  ZopImageSize size_;
  std::string type_;
  int channels_, colours_, bytes_;
  guarded::Region region_;
};

struct Call {
  const registry::Function& function;
  Picture a, b, out;

  // Odd sizes of `a` put gaps between rows.
  Call(const registry::Function& f, ZopImageSize aSize, ZopImageSize bSize, ZopImageSize outSize,
       std::mt19937& random)
      : function(f),
        a(aSize, f.sourceType, f.sourceLayout, aSize.width % 2 * 4, aSize.height % 2 == 0, random),
        b(bSize, f.sourceType, f.sourceLayout, aSize.width % 2 * 8, bSize.height % 2 == 0, random),
        out(outSize, f.destinationType, f.sourceLayout, aSize.width % 2 * 12, aSize.height % 2 == 0, random) {
  }

  // The last argument is a divisor or a scale factor, of functions that have one.
  ZopStatus run(int parameter = 0) {
    const std::vector<unsigned char> before = out.bytes(), aBefore = a.bytes(), bBefore = b.bytes();
    const registry::Value values[] = {a.data(), a.step(),   a.size(),   b.data(), b.step(),
                                      b.size(), out.data(), out.step(), parameter};
    const ZopStatus status = function.invoke(values);
    EXPECT_TRUE(out.keepsTheRest(before)) << function.name;
    EXPECT_TRUE(a.bytes() == aBefore && b.bytes() == bBefore) << function.name;
    return status;
  }
};

// How far a product by transforms of single precision may be off. Roundings of 2^-24 each, passes of them
// with other signs, leave about 2^-24 of what both images hold together; here are three times as many.
inline double transformBound(double energyOfA, double energyOfB) {
  return 2e-7 * std::sqrt(energyOfA * energyOfB);
}

// One channel of a picture, for references that go through it many times.
struct Channel {
  ZopImageSize size;
  std::vector<double> samples;

  Channel(Picture& picture, int c) : size(picture.size()) {
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) samples.push_back(picture.get(x, y, c));
    }
  }
  double at(int x, int y) const { return samples[static_cast<std::size_t>(y) * size.width + x]; }
  double energy() const { return std::inner_product(samples.begin(), samples.end(), samples.begin(), 0.0); }
};

}  // namespace two_images
