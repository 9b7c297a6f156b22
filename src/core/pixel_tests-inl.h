// Tests of pixels, written as one byte a pixel: 255 where all its channels pass, else 0.
// Included once for each vector target, after hwy/highway.h.
//
// A test is a small object whose `operator()(d, a, b)` compares two vectors of samples and gives a mask. The
// masks become bytes first, one a sample; then the bytes of a pixel are joined. So the work that depends on
// the layout is done on bytes, whatever the samples' type.
#if defined(ZOPI_CORE_PIXEL_TESTS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_CORE_PIXEL_TESTS_INL_H_
#undef ZOPI_CORE_PIXEL_TESTS_INL_H_
#else
#define ZOPI_CORE_PIXEL_TESTS_INL_H_
#endif

#include <cstddef>
#include <cstdint>

#include "core/channels-inl.h"
#include "core/image.h"
#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Bytes = Tag<uint8_t>;

// The masks of vectors in a row as bytes in a row: as many vectors as a sample has bytes.
template <class D, class... M>
HWY_INLINE hn::Vec<Bytes> asBytes(D d, M... masks) {
  return packed(Bytes(), hn::VecFromMask(d, masks)...);
}

// Joins the bytes of each pixel: vectors of samples in a row become one of pixels.
template <class Layout>
struct AllChannels;

template <>
struct AllChannels<C1> {
  HWY_INLINE hn::Vec<Bytes> operator()(hn::Vec<Bytes> v) const { return v; }
};

template <>
struct AllChannels<C3> {
  const ThreeChannels<Bytes> three;
  HWY_INLINE AllChannels() {}
  HWY_INLINE hn::Vec<Bytes> operator()(hn::Vec<Bytes> v0, hn::Vec<Bytes> v1, hn::Vec<Bytes> v2) const {
    hn::Vec<Bytes> a, b, c;
    three.part(v0, v1, v2, a, b, c);
    return hn::And(a, hn::And(b, c));
  }
};

// Four bytes are a word: all ones, but for those that are not looked at.
template <uint32_t kIgnored>
struct AllFourChannels {
  HWY_INLINE hn::Vec<Bytes> operator()(hn::Vec<Bytes> v0, hn::Vec<Bytes> v1, hn::Vec<Bytes> v2,
                                       hn::Vec<Bytes> v3) const {
    const Tag<uint32_t> d;
    const auto all = [&](hn::Vec<Bytes> v) HWY_ATTR {
      return hn::Eq(hn::Or(hn::BitCast(d, v), hn::Set(d, kIgnored)), hn::Set(d, 0xffffffff));
    };
    return asBytes(d, all(v0), all(v1), all(v2), all(v3));
  }
};
template <>
struct AllChannels<C4> : AllFourChannels<0> {};
template <>
struct AllChannels<AC4> : AllFourChannels<0xff000000> {};

// What a test compares. `at(i, k)` is the vector at sample i, the k-th from the start of a pixel. `move`
// puts n samples from i on into a block, to be found from 0 on.
template <class D>
struct ComparedImage : ImageOperand<D> {
  using T = hn::TFromD<D>;
  HWY_INLINE void move(std::ptrdiff_t i, std::ptrdiff_t n, T* block) {
    std::memcpy(block, this->samples + i, n * sizeof(T));
    this->samples = block;
  }
};

template <class D>
struct ComparedConstant {
  typename PatternOperand<D>::Held vectors;
  HWY_INLINE explicit ComparedConstant(const Pattern<hn::TFromD<D>>& pattern)
      : vectors(PatternOperand<D>(pattern).held()) {}
  HWY_INLINE void row(std::ptrdiff_t) {}
  HWY_INLINE hn::Vec<D> at(std::ptrdiff_t i, int k) const { return vectors.at(i, k % kStep<D>); }
  HWY_INLINE void move(std::ptrdiff_t, std::ptrdiff_t, hn::TFromD<D>*) {}
};

// The operand of a map that holds the outcome of a test, a byte a pixel.
template <class Layout, class Test, class D, class A, class B>
struct PixelTest {
  using T = hn::TFromD<D>;
  static constexpr std::ptrdiff_t N = kLanes<D>;
  static constexpr int kSampleBytes = sizeof(T);

  Test test;
  A a;
  B b;
  AllChannels<Layout> join;

  HWY_INLINE void row(std::ptrdiff_t y) {
    a.row(y);
    b.row(y);
  }
  HWY_INLINE void begin(std::ptrdiff_t) {}
  HWY_INLINE void advance() {}
  HWY_INLINE const PixelTest& held() const { return *this; }

  HWY_INLINE hn::Vec<Bytes> at(std::ptrdiff_t i, int) const {
    return pixels(i * Layout::channels, std::make_integer_sequence<int, Layout::channels>());
  }
  // Whole vectors and parts share the code of a test, which is long.
  template <bool kRepeat = false>
  HWY_INLINE hn::Vec<Bytes> edge(std::ptrdiff_t i, std::ptrdiff_t n) const {
    PixelTest here = *this;
    HWY_ALIGN T blocks[2][kLanes<Bytes> * Layout::channels];
    if (HWY_UNLIKELY(n < kLanes<Bytes>)) {
      std::memset(blocks, 0, sizeof blocks);
      here.a.move(i * Layout::channels, n * Layout::channels, blocks[0]);
      here.b.move(i * Layout::channels, n * Layout::channels, blocks[1]);
      i = 0;
    }
    return here.at(i, 0);
  }

 private:
  template <int... K>
  HWY_INLINE hn::Vec<Bytes> pixels(std::ptrdiff_t i, std::integer_sequence<int, K...>) const {
    return join(samples<K * kSampleBytes>(i, std::make_integer_sequence<int, kSampleBytes>())...);
  }
  template <int kFirst, int... K>
  HWY_INLINE hn::Vec<Bytes> samples(std::ptrdiff_t i, std::integer_sequence<int, K...>) const {
    return asBytes(D(), passes(i, kFirst + K)...);
  }
  HWY_INLINE hn::Mask<D> passes(std::ptrdiff_t i, int k) const {
    return test(D(), a.at(i + k * N, k), b.at(i + k * N, k));
  }
};

// Bytes as they come from a test: a short operation only where a vector of them takes one vector of samples.
template <bool kIsShort>
struct Outcome {
  static constexpr bool kShort = kIsShort;
  template <class D, class V>
  HWY_INLINE V operator()(D, V v) const {
    return v;
  }
};

// out[i] = 255 where pixel i of a and b passes the test, else 0.
template <class Layout, class D, class Test, class A, class B>
HWY_INLINE void mapTests(D, const Test& test, Image<Zop8u> out, Extent pixels, const A& a, const B& b) {
  mapRows(Bytes(), Outcome<sizeof(hn::TFromD<D>) * Layout::channels == 1>(), out, pixels,
          PixelTest<Layout, Test, D, A, B>{test, a, b, {}});
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
