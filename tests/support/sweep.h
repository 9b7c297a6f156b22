// The reference sweep: calls a function over many shapes of its images and compares every byte of its
// destinations with a plain reference.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "support/guarded.h"
#include "support/registry.h"

namespace sweep {

// One image argument of a call, as the reference sees it: for a destination the bytes it must hold
// afterwards. Pixels of a halo have coordinates below 0, or beyond the size.
struct View {
  unsigned char* plane[4] = {};
  int planes = 0, step = 0, samples = 0, sampleBytes = 0;

  template <class T>
  T get(int x, int y, int c = 0) const {
    T value;
    std::memcpy(&value, address(x, y, c), sizeof value);
    return value;
  }
  template <class T>
  void set(int x, int y, int c, T value) const {
    std::memcpy(address(x, y, c), &value, sizeof value);
  }

 private:
  unsigned char* address(int x, int y, int c) const {
    unsigned char* row = plane[planes > 0 ? c : 0] + static_cast<std::ptrdiff_t>(step) * y;
    const std::ptrdiff_t sample = static_cast<std::ptrdiff_t>(x) * samples + (planes > 0 ? 0 : c);
    return row + sample * sampleBytes;
  }
};

// A call as the reference sees it.
struct Call {
  const registry::Function& function;
  ZopImageSize size;
  std::vector<View>
      sources;       // in the order of the arguments; in place, the image that is overwritten comes last
  View destination;  // holds the bytes from before the call: the reference writes into it
  View mask;         // of masked forms
  std::vector<const unsigned char*> constants;  // the samples of each constant, in the order of the arguments
  std::vector<registry::Value> parameters;      // the values for arguments of role Value, in order
  std::vector<unsigned char*> results;          // the memory of each result, for the reference to fill

  template <class T>
  void setResult(int result, int i, T value) const {
    std::memcpy(results[result] + i * sizeof(T), &value, sizeof(T));
  }

  int scaleFactor() const { return parameters.back().get<int>(); }
};

// The name of a sample type in the names of functions.
template <class T>
inline constexpr const char* kToken = "";
template <>
inline constexpr const char* kToken<Zop8u> = "8u";
template <>
inline constexpr const char* kToken<Zop8s> = "8s";
template <>
inline constexpr const char* kToken<Zop16u> = "16u";
template <>
inline constexpr const char* kToken<Zop16s> = "16s";
template <>
inline constexpr const char* kToken<Zop32s> = "32s";
template <>
inline constexpr const char* kToken<Zop32f> = "32f";
template <>
inline constexpr const char* kToken<Zop16sc> = "16sc";
template <>
inline constexpr const char* kToken<Zop32sc> = "32sc";
template <>
inline constexpr const char* kToken<Zop32fc> = "32fc";

// What a reference writes where any not-a-number will do.
Zop32f anyNaN();

// Writes f(a, b) into every sample that a pixelwise function writes. With two images, a is of the second and
// b of the first; with a constant, b is of the constant; with one image, b is a.
template <class T, class F>
void pixelwise(const Call& call, const F& f) {
  const bool keepsAlpha = std::strcmp(call.function.sourceLayout, "AC4") == 0;
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      for (int c = 0; c < (keepsAlpha ? 3 : call.destination.samples); ++c) {
        T b = call.sources.front().get<T>(x, y, c);
        if (!call.constants.empty()) std::memcpy(&b, call.constants[0] + c * sizeof(T), sizeof(T));
        call.destination.set<T>(x, y, c, f(call.sources.back().get<T>(x, y, c), b));
      }
    }
  }
}

// Writes f(sample) into every sample of type T that a function of one image of samples S writes.
template <class S, class T, class F>
void conversion(const Call& call, const F& f) {
  const bool keepsAlpha = std::strcmp(call.function.sourceLayout, "AC4") == 0;
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      for (int c = 0; c < (keepsAlpha ? 3 : call.destination.samples); ++c) {
        call.destination.set<T>(x, y, c, f(call.sources[0].get<S>(x, y, c)));
      }
    }
  }
}

// Writes what the call must leave behind into `call.destination` or `call.results` and returns the status it
// must return.
using Reference = std::function<ZopStatus(const Call& call)>;

// The reference for a function's source samples, one of these types: `make(sample)` gives it, and looks only
// at the type of the sample.
template <class... T, class Make>
Reference bySample(const registry::Function& function, const Make& make) {
  Reference result;
  static_cast<void>(((function.sourceType == std::string(kToken<T>) && (result = make(T{}), true)) || ...));
  return result;
}

// One shape of a call.
struct Shape {
  int width, height;
  int padding;  // bytes between rows
  guarded::Placement placement;
};

// Samples as bytes, for constants.
template <class T>
std::vector<unsigned char> bytesOf(std::initializer_list<T> samples) {
  std::vector<unsigned char> bytes(samples.size() * sizeof(T));
  std::memcpy(bytes.data(), samples.begin(), bytes.size());
  return bytes;
}

// For each constant argument its bytes, sample after sample; noise for what is left out.
using Constants = std::vector<std::vector<unsigned char>>;

// Sets of parameters and of constants, each tried with every shape.
struct Options {
  std::vector<std::vector<registry::Value>> parameters = {{}};
  std::vector<Constants> constants = {{}};
};

// The shapes of a function's sweep: every width up to two vectors and three samples, rows with and without
// gaps, flush against either guard and at every start alignment.
std::vector<Shape> shapes(const registry::Function& function);

// Calls the function once for every shape, parameter set and constant. Stops at the first difference.
void run(const registry::Function& function, const Options& options, const Reference& reference,
         const std::vector<Shape>& shapes);

// Calls a scaled function of one image on all samples there are, and compares it with `expected(sample,
// scale)`.
template <class T, class Function>
void compareAllSamples(Function function, T (*expected)(T, int), const std::vector<int>& scales) {
  std::vector<T> samples(std::size_t{1} << (8 * sizeof(T))), out(samples.size());
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<T>(i);
  const int n = static_cast<int>(samples.size()), step = n * static_cast<int>(sizeof(T));
  for (const int s : scales) {
    ASSERT_GE(function(samples.data(), step, out.data(), step, {n, 1}, s), zopStatusOk);
    for (int i = 0; i < n; ++i) ASSERT_EQ(expected(samples[i], s), out[i]) << samples[i] << " at scale " << s;
  }
}

// All functions of an operation, or those of them whose sources have one of these sample types.
std::vector<const registry::Function*> functionsOf(const std::string& operation,
                                                   const std::vector<std::string>& types = {});

// Runs `body` on every vector target with one thread: for functions that are never shared.
void onEveryTarget(const std::function<void()>& body);

// Runs `body` on every vector target with one thread, then on the best target with teams of 2, 3 and 5.
void onEveryTargetAndTeam(const std::function<void(bool everyShape)>& body);

}  // namespace sweep
