// Contexts: opaque records that a caller keeps from one call to the next. Each starts with a tag, so that one
// of another kind, or one that was released, is told from it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

#include "core/memory.h"
#include "zopi/status.h"

namespace zopi {

enum class ContextTag : std::int32_t {
  None = 0,
  FftComplex = 25,
  FftReal = 26,
  FftInteger = 29,
  MomentsInDoubles = 33,
  MomentsInIntegers = 34,
  WaveletForwardC1 = 46,
  WaveletInverseC1 = 47,
  WaveletForwardC3 = 48,
  WaveletInverseC3 = 49,
};

// Null, then the tag, whatever the caller's pointer really points to.
template <class Context>
ZopStatus checkContext(const Context* context) {
  if (context == nullptr) return zopStatusNullPointer;
  return context->tag == Context::kTag ? zopStatusOk : zopStatusBadContext;
}

// A context and what belongs to it in one block, or null if there is no memory.
template <class Context>
Context* newContext(std::ptrdiff_t bytes) {
  void* block = bytes <= INT32_MAX ? zopAllocBytes(static_cast<int>(bytes)) : nullptr;
  return block == nullptr ? nullptr : new (block) Context();
}

// The tag is cleared in memory: a later call with the same pointer fails as long as nobody else has it.
template <class Context>
void releaseContext(Context* context) {
  *const_cast<volatile ContextTag*>(&context->tag) = ContextTag::None;
  zopFreeAligned(context);
}

}  // namespace zopi
