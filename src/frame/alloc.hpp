// Aligned blocks on top of the C heap. The returned pointer is a multiple of
// 32; the pointer-sized word just before it holds the address the heap gave,
// and nothing else is stored (the size is not kept).
#pragma once

namespace omb {

inline constexpr int kBlockAlign = 32;

// Null for size < 1 (the heap is not touched) or when the heap is exhausted.
void* ombAlignedAlloc(int size);
// The same for count 8-byte elements.
double* ombAlignedAllocDoubles(int count);
// Null does nothing.
void ombAlignedFree(void* p);

}  // namespace omb
