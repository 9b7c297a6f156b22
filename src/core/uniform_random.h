// The random numbers of the library: a subtraction with borrow, plus a linear congruence (Marsaglia and
// Zaman, A new class of random number generators, 1991).
#pragma once

#include <cstdint>

namespace zopi {

class UniformRandom {
 public:
  explicit UniformRandom(std::uint32_t seed) : a_(seed), b_(next(seed)), c_(next(b_)) {}

  // From the whole range of 32 bits.
  std::int32_t operator()() {
    lcg_ = next(lcg_);
    const std::uint32_t difference = b_ - c_ + borrow_;
    borrow_ = static_cast<std::uint32_t>(static_cast<std::int32_t>(difference) >> 31);
    c_ = b_;
    b_ = a_;
    a_ = difference - (18 & borrow_);
    return static_cast<std::int32_t>(a_ + lcg_);
  }

  std::uint32_t newest() const { return a_; }

 private:
  static constexpr std::uint32_t next(std::uint32_t x) { return 69069 * x + 1013904243; }

  std::uint32_t lcg_ = 1131199209, a_, b_, c_, borrow_ = 0xffffffff;
};

// What makes a number of a range of such an integer: times `factor`, plus `middle`, in double precision.
struct UniformRange {
  double factor, middle;

  static constexpr double kUnit = 0x1.0000000000007p-32;

  UniformRange(double low, double high) : factor((high - low) * kUnit), middle((low + high) * 0.5) {}
  double operator()(std::int32_t random) const { return random * factor + middle; }
};

}  // namespace zopi
