#include "support/image.hpp"

#include <cstdlib>
#include <new>

namespace ombbench {

AlignedBytes::AlignedBytes(std::size_t bytes) : size_(bytes) {
  // aligned_alloc wants a size that is a multiple of the alignment.
  const std::size_t rounded = (bytes + kRowAlign - 1) / kRowAlign * kRowAlign;
  void* p = std::aligned_alloc(kRowAlign, rounded == 0 ? kRowAlign : rounded);
  if (p == nullptr) throw std::bad_alloc();
  data_.reset(static_cast<std::uint8_t*>(p));
}

void AlignedBytes::Free::operator()(std::uint8_t* p) const { std::free(p); }

}  // namespace ombbench
