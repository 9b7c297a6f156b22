// The memory sweep: every function with the allocator failing at its first, second ... call, until it
// succeeds.
//
// This program's malloc and free stand before the C library's for the whole process; they count and refuse
// only what comes from the library under test.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/arguments.h"
#include "zopi.h"

extern "C" {
#ifdef __SANITIZE_ADDRESS__
void* __interceptor_malloc(std::size_t);
void __interceptor_free(void*);
#define SYSTEM_MALLOC __interceptor_malloc
#define SYSTEM_FREE __interceptor_free
#else
void* __libc_malloc(std::size_t);
void __libc_free(void*);
#define SYSTEM_MALLOC __libc_malloc
#define SYSTEM_FREE __libc_free
#endif
}

namespace {

bool counting = false;
int allocations = 0, outstanding = 0, failAt = 0;

bool fromLibrary(void* caller) {
  Dl_info where{};
  return dladdr(caller, &where) != 0 && std::strstr(where.dli_fname, "libzopim6") != nullptr;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void* malloc(std::size_t bytes) {
  if (counting && fromLibrary(__builtin_return_address(0))) {
    if (++allocations == failAt) return nullptr;
    ++outstanding;
  }
  return SYSTEM_MALLOC(bytes);
}

extern "C" __attribute__((visibility("default"))) void free(void* block) {
  if (counting && block != nullptr && fromLibrary(__builtin_return_address(0))) --outstanding;
  SYSTEM_FREE(block);
}

namespace {

TEST(MemorySweep, FailsCleanlyAtEveryAllocation) {
  int functionsThatAllocate = 0;
  for (const registry::Function& function : registry::functions()) {
    if (function.makesOrReleasesContext()) continue;
    const bool keepsScratch =
        std::string(function.operation) == "Abs" && std::string(function.sourceLayout) == "AC4";
    for (int n = 1;; ++n) {
      registry::Arguments arguments(function, {9, 4});
      allocations = outstanding = 0;
      failAt = n;
      counting = true;
      const ZopStatus status = function.invoke(arguments.values.data());
      counting = false;
      if (allocations < n) {
        EXPECT_GE(status, zopStatusOk) << function.name;
        EXPECT_EQ(keepsScratch ? 1 : 0, outstanding) << function.name;
        break;
      }
      functionsThatAllocate += n == 1;
      EXPECT_EQ(zopStatusNoMemory, status) << function.name << " at allocation " << n;
      EXPECT_EQ(0, outstanding) << function.name << " leaks when allocation " << n << " fails";
      EXPECT_TRUE(arguments.untouched()) << function.name << " wrote before allocation " << n << " failed";
    }
  }
  EXPECT_GE(functionsThatAllocate, 4);  // the sweep sees the allocations of the library
}

template <class Context, class Make>
void makeWithoutMemory(const Make& make, ZopStatus (*release)(Context*)) {
  for (int n = 1;; ++n) {
    Context* context = nullptr;
    allocations = outstanding = 0;
    failAt = n;
    counting = true;
    const ZopStatus status = make(&context);
    if (status == zopStatusOk) release(context);
    counting = false;
    EXPECT_EQ(0, outstanding) << "at allocation " << n;
    if (allocations < n) break;
    EXPECT_EQ(zopStatusNoMemory, status);
    EXPECT_EQ(nullptr, context);
  }
}
template <class Spec>
void makeFourier(ZopStatus (*init)(Spec**, int, int, int, unsigned), ZopStatus (*release)(Spec*)) {
  makeWithoutMemory([=](Spec** spec) { return init(spec, 3, 2, ZOP_FFT_NODIV_BY_ANY, 0); }, release);
}
template <class State>
void makeWavelet(ZopStatus (*init)(State**, const Zop32f*, int, int, const Zop32f*, int, int),
                 ZopStatus (*release)(State*)) {
  constexpr Zop32f kTaps[] = {1, 2, 3};
  makeWithoutMemory([=](State** state) { return init(state, kTaps, 3, 1, kTaps, 2, 0); }, release);
}
TEST(MemorySweep, ContextsAreMadeWholeOrNotAtAll) {
  makeFourier(zopiFFTInitAlloc_C_32fc, zopiFFTFree_C_32fc);
  makeFourier(zopiFFTInitAlloc_R_32f, zopiFFTFree_R_32f);
  makeFourier(zopiFFTInitAlloc_R_32s, zopiFFTFree_R_32s);
  makeWavelet(zopiWTFwdInitAlloc_32f_C1R, zopiWTFwdFree_32f_C1R);
  makeWavelet(zopiWTFwdInitAlloc_32f_C3R, zopiWTFwdFree_32f_C3R);
  makeWavelet(zopiWTInvInitAlloc_32f_C1R, zopiWTInvFree_32f_C1R);
  makeWavelet(zopiWTInvInitAlloc_32f_C3R, zopiWTInvFree_32f_C3R);
}

TEST(MemorySweep, StatesOfMoments) {
  ZopMomentState* state = nullptr;
  allocations = outstanding = 0;
  failAt = 1;
  counting = true;
  const ZopStatus refused = zopiMomentInitAlloc_64s(&state, 0), made = zopiMomentInitAlloc_64f(&state, 0);
  if (made == zopStatusOk) zopiMomentFree_64f(state);
  counting = false;
  EXPECT_EQ(zopStatusNoMemory, refused);
  EXPECT_EQ(zopStatusOk, made);
  EXPECT_EQ(0, outstanding);
}

// Tables of all words are only taken where they pay: a call that takes none cannot fail.
TEST(MemorySweep, TablesOfWords) {
  const std::vector<Zop16s> image(40000);
  std::vector<Zop16s> out(40000);
  std::vector<Zop32s> increasing(500), other(500), counts(500);
  for (int k = 0; k < 500; ++k) {
    increasing[k] = 50 * k - 12500;
    other[k] = k % 2 == 0 ? k : -k;
  }
  const auto status = [&](const auto& call) {
    allocations = outstanding = 0;
    failAt = 1;
    counting = true;
    const ZopStatus result = call();
    counting = false;
    EXPECT_EQ(0, outstanding);
    return result;
  };
  const auto histogram = [&](const std::vector<Zop32s>& levels, int width, int height, int count) {
    return status([&] {
      return zopiHistogramRange_16s_C1R(image.data(), 2 * width, {width, height}, counts.data(),
                                        levels.data(), count);
    });
  };
  EXPECT_EQ(zopStatusOk, histogram(increasing, 200, 200, 22));
  EXPECT_EQ(zopStatusNoMemory, histogram(increasing, 200, 200, 23));
  EXPECT_EQ(0, counts[0]);  // all counts are 0, though all samples are in a bin
  EXPECT_EQ(zopStatusOk, histogram(increasing, 12543, 1, 500));
  EXPECT_EQ(zopStatusOk, histogram(increasing, 12544, 1, 214));
  EXPECT_EQ(zopStatusNoMemory, histogram(increasing, 12544, 1, 215));
  EXPECT_EQ(zopStatusOk, histogram(other, 1023, 1, 500));
  EXPECT_EQ(zopStatusOk, histogram(other, 32, 32, 442));
  EXPECT_EQ(zopStatusNoMemory, histogram(other, 32, 32, 443));
  EXPECT_EQ(zopStatusOk, histogram(other, 200, 200, 14));
  EXPECT_EQ(zopStatusNoMemory, histogram(other, 200, 200, 15));
  const auto even = [&](int upper) {
    return status([&] {
      std::vector<Zop32s> levels(101);
      return zopiHistogramEven_16s_C1R(image.data(), 400, {200, 200}, counts.data(), levels.data(), 101, 0,
                                       upper);
    });
  };
  EXPECT_EQ(zopStatusOk, even(1000));
  EXPECT_EQ(zopStatusOk, even(0));
  EXPECT_EQ(zopStatusNoMemory, even(1001));

  const auto map = [&](auto function, int width) {
    return status([&] {
      return function(image.data(), 2 * width, out.data(), 2 * width, {width, 1}, other.data(),
                      increasing.data(), 500);
    });
  };
  EXPECT_EQ(zopStatusOk, map(zopiLUT_16s_C1R, 6400));
  EXPECT_EQ(zopStatusNoMemory, map(zopiLUT_16s_C1R, 6401));
  EXPECT_EQ(zopStatusOk, map(zopiLUT_Cubic_16s_C1R, 6400));
}

TEST(MemorySweep, ImageMemoryRunsOut) {
  int step = 0;
  allocations = outstanding = 0;
  failAt = 1;
  counting = true;
  void* image = zopiMalloc_8u_C3(11, 2, &step);
  counting = false;
  EXPECT_EQ(nullptr, image);
  EXPECT_EQ(64, step);  // known all the same
}

}  // namespace
