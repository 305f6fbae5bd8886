#include "frame/alloc.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace omb {
namespace {

// The raw address is stored in a full pointer-sized word, so the slack is
// the alignment plus one pointer: the aligned pointer lies between
// sizeof(void*) and sizeof(void*) + 31 bytes past the raw block's start.
constexpr std::size_t kSlack = kBlockAlign + sizeof(void*);

void* AllocBytes(std::size_t bytes) {
  void* raw = std::malloc(bytes + kSlack);
  if (raw == nullptr) return nullptr;
  const std::uintptr_t base = reinterpret_cast<std::uintptr_t>(raw);
  const std::uintptr_t aligned =
      (base + kSlack - 1) & ~static_cast<std::uintptr_t>(kBlockAlign - 1);
  std::memcpy(reinterpret_cast<void*>(aligned - sizeof(void*)), &raw,
              sizeof(void*));
  return reinterpret_cast<void*>(aligned);
}

}  // namespace

void* ombAlignedAlloc(int size) {
  if (size < 1) return nullptr;
  return AllocBytes(static_cast<std::size_t>(size));
}

double* ombAlignedAllocDoubles(int count) {
  if (count < 1) return nullptr;
  return static_cast<double*>(
      AllocBytes(static_cast<std::size_t>(count) * sizeof(double)));
}

void ombAlignedFree(void* p) {
  if (p == nullptr) return;
  void* raw;
  std::memcpy(&raw, static_cast<std::uint8_t*>(p) - sizeof(void*),
              sizeof(void*));
  std::free(raw);
}

}  // namespace omb
