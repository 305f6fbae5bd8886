// Row addressing of caller images: a pointer to the first ROI pixel plus a
// signed step in bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace omb {

template <class T>
inline T* RowPtr(T* base, int step, int y) {
  using Byte = std::conditional_t<std::is_const<T>::value, const std::uint8_t,
                                  std::uint8_t>;
  return reinterpret_cast<T*>(reinterpret_cast<Byte*>(base) +
                              static_cast<std::ptrdiff_t>(step) * y);
}

// One image argument as the kernels see it.
template <class T>
struct Plane {
  T* data;
  int step;
  T* Row(int y) const { return RowPtr(data, step, y); }
};

}  // namespace omb
