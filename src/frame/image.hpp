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

// One image argument as the kernels see it: a pointer and its row step in
// bytes, so that a job names each image once and cannot pair a pointer
// with another image's step. Jobs that serve several pixel types carry
// Plane<const void> / Plane<void> and the typed loop takes As<T>().
// Jobs are filled with designated initialisers; a member that a job may
// leave out carries its own `= {}`, so -Wextra reports any other omission.
template <class T>
struct Plane {
  T* data = nullptr;
  int step = 0;
  T* Row(int y) const { return RowPtr(data, step, y); }
  // The same image from row y on: what a band of rows sees.
  Plane From(int y) const { return {Row(y), step}; }
  template <class U>
  Plane<U> As() const {
    return {static_cast<U*>(data), step};
  }
};

}  // namespace omb
