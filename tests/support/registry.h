// The signature registry: what the API table says of every function, for sweeps over all of them.
#pragma once

#include <cstring>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "zopi/status.h"
#include "zopi/types.h"

namespace registry {

// A source that is read beyond its region has the size of the whole image behind it, and the region behind
// its step. Steps are an array of one a plane. A constant is an array of samples, a sample one by value, a
// result memory for samples; a value is any other parameter.
enum class Role {
  Source,
  Destination,
  InPlace,
  Mask,
  WholeSize,
  Region,
  Step,
  Steps,
  Size,
  Constant,
  Sample,
  Result,
  Value
};

struct Argument {
  Role role;
  const char* name;
  int sampleBytes;  // images and constants
  int samples;      // of a pixel, or of a constant array
  int planes;       // 0 where the image is interleaved; of steps, their count

  bool isImage() const {
    return role == Role::Source || role == Role::Destination || role == Role::InPlace || role == Role::Mask;
  }
  bool isWritten() const { return role == Role::Destination || role == Role::InPlace; }
  bool isPointer() const {
    return isImage() || role == Role::Constant || role == Role::Result || role == Role::Steps;
  }
};

inline constexpr int kInPlace = 1, kMasked = 2, kChannelOfInterest = 4;

// An argument of any type, as its bytes.
class Value {
 public:
  Value() = default;
  template <class T>
  Value(T value) {
    static_assert(sizeof value <= sizeof bytes_);
    std::memcpy(bytes_, &value, sizeof value);
  }
  template <class T>
  T get() const {
    T value;
    std::memcpy(&value, bytes_, sizeof value);
    return value;
  }

 private:
  alignas(8) unsigned char bytes_[24] = {};
};

// How many pixels around its region a source is read.
struct Halo {
  int left = 0, right = 0, above = 0, below = 0;
};

using Invoke = ZopStatus (*)(const Value* values);

template <class... A, std::size_t... I>
ZopStatus invokeWith(ZopStatus (*function)(A...), const Value* values, std::index_sequence<I...>) {
  return function(values[I].template get<A>()...);
}
template <class... A>
ZopStatus unpack(ZopStatus (*function)(A...), const Value* values) {
  return invokeWith(function, values, std::index_sequence_for<A...>());
}
template <auto kFunction>
ZopStatus invoke(const Value* values) {
  return unpack(kFunction, values);
}

struct Function {
  const char* name;
  const char* operation;
  const char* variant;
  const char *sourceType, *destinationType, *sourceLayout, *destinationLayout;
  int flags;
  const char* checks;
  std::span<const Argument> arguments;
  Invoke invoke;
  Halo (*haloOf)(const Value* values) = nullptr;

  // The halo of an argument in a call with these values, of which only the parameters need be known.
  Halo halo(const Argument& argument, const std::vector<Value>& values) const {
    const bool read = argument.role == Role::Source || argument.role == Role::InPlace;
    return read && haloOf != nullptr ? haloOf(values.data()) : Halo{};
  }

  bool has(int flag) const { return (flags & flag) != 0; }

  // Such calls change what later ones need.
  bool makesOrReleasesContext() const {
    const std::string_view made = operation;
    return made.ends_with("InitAlloc") || made.ends_with("Free");
  }
};

// Every function that returns a status.
std::span<const Function> functions();

// Every name in the table.
std::span<const char* const> exportedNames();

}  // namespace registry
