// Aligned memory: blocks on 32-byte boundaries, for callers' images and for the library's own scratch rows.
#pragma once

namespace zopi {

// Each returns a 32-byte-aligned block for `count` elements of 1, 2, 4 or 8 bytes, or null if `count` is
// below 1 or there is no memory. The block is not cleared.
void* zopAllocBytes(int count);
void* zopAlloc16(int count);
void* zopAlloc32(int count);
void* zopAlloc64(int count);

// Releases a block from any of them; null is fine.
void zopFreeAligned(void* block);

}  // namespace zopi
