#include "core/memory.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "core/image.h"
#include "zopi/core.h"

namespace zopi {
namespace {

// The address that malloc returned stands in the eight bytes below the block. Rounding raw + 39 down to a
// multiple of 32 leaves at least those eight bytes below and the whole request above.
constexpr std::uintptr_t kAlignment = 32;
constexpr std::size_t kSlack = kAlignment + sizeof(void*);

void* allocate(int count, std::uint32_t elementBytes) {
  if (count < 1) return nullptr;
  void* raw = std::malloc(static_cast<std::size_t>(count) * elementBytes + kSlack);
  if (raw == nullptr) return nullptr;
  const std::uintptr_t aligned = (reinterpret_cast<std::uintptr_t>(raw) + kSlack - 1) & ~(kAlignment - 1);
  unsigned char* block = static_cast<unsigned char*>(raw) + (aligned - reinterpret_cast<std::uintptr_t>(raw));
  std::memcpy(block - sizeof raw, &raw, sizeof raw);
  return block;
}

// The products wrap in 32 bits: a total that comes out negative is refused, one that wraps to a small
// positive number is served small.
void* allocateImage(int widthPixels, int heightPixels, std::uint32_t pixelBytes, std::uint32_t planeCount,
                    int* pStepBytes) {
  if (pStepBytes == nullptr) return nullptr;
  *pStepBytes = 0;
  if (widthPixels < 1 || heightPixels < 1) return nullptr;
  const std::uint32_t step = (static_cast<std::uint32_t>(widthPixels) * pixelBytes + 31) & ~std::uint32_t{31};
  *pStepBytes = static_cast<int>(step);
  return zopAllocBytes(static_cast<int>(static_cast<std::uint32_t>(heightPixels) * planeCount * step));
}

template <class T, int Channels>
T* mallocInterleaved(int widthPixels, int heightPixels, int* pStepBytes) {
  return static_cast<T*>(allocateImage(widthPixels, heightPixels, Channels * sizeof(T), 1, pStepBytes));
}

template <class T>
T* mallocPlanar(int widthPixels, int heightPixels, int* pStepBytes) {
  return static_cast<T*>(allocateImage(widthPixels, heightPixels, sizeof(T), 3, pStepBytes));
}

}  // namespace

void* zopAllocBytes(int count) { return allocate(count, 1); }
void* zopAlloc16(int count) { return allocate(count, 2); }
void* zopAlloc32(int count) { return allocate(count, 4); }
void* zopAlloc64(int count) { return allocate(count, 8); }

void zopFreeAligned(void* block) {
  if (block == nullptr) return;
  void* raw;
  std::memcpy(&raw, static_cast<unsigned char*>(block) - sizeof raw, sizeof raw);
  std::free(raw);
}

}  // namespace zopi

#include "core/memory.exports.inc"
