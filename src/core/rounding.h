// Rounding to nearest, for as long as an object of this type lives, whatever mode the caller computes in.
#pragma once

#include <cfenv>

#if defined(__SSE__)
#include <immintrin.h>
#endif

namespace zopi {

class RoundingToNearest {
 public:
  RoundingToNearest() {
    if (callers_ != kNearest) set(kNearest);
  }
  ~RoundingToNearest() {
    if (callers_ != kNearest) set(callers_);
  }
  RoundingToNearest(const RoundingToNearest&) = delete;

 private:
#if defined(__SSE__)
  // The mode of the vector unit, which does all arithmetic here and has a control word of its own.
  static constexpr unsigned kNearest = _MM_ROUND_NEAREST;
  static unsigned get() { return _MM_GET_ROUNDING_MODE(); }
  static void set(unsigned mode) { _MM_SET_ROUNDING_MODE(mode); }
  const unsigned callers_ = get();
#else
  static constexpr int kNearest = FE_TONEAREST;
  static int get() { return std::fegetround(); }
  static void set(int mode) { std::fesetround(mode); }
  const int callers_ = get();
#endif
};

}  // namespace zopi
