// Scalar definitions of the integral-table rows: the meaning of every
// element, used by the vector kernels for the columns left after the last
// full vector and for whole rows where the vector form does not apply.
//
// Arithmetic by table type:
//  - 32-bit integer tables add modulo 2^32 (unsigned arithmetic, so no
//    signed overflow); rectangle differences of wrapped tables stay exact.
//  - The running sum of pixel values along a row is an exact 32-bit
//    integer; the running sum of squares is 32-bit for 32-bit square tables
//    and a double for double tables (exact: it never reaches 2^53).
//  - A float element is that running sum converted once, plus the element
//    above; a tilted element is the converted pixel pair plus the upper left
//    neighbour, minus the element two rows up, plus the upper right
//    neighbour, in that order.
#pragma once

#include <cstdint>
#include <type_traits>

namespace omb {
namespace ref {

template <class T>
inline T Plus(T a, T b) {
  if constexpr (std::is_same_v<T, std::int32_t>) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) +
                                     static_cast<std::uint32_t>(b));
  } else {
    return a + b;
  }
}
template <class T>
inline T Minus(T a, T b) {
  if constexpr (std::is_same_v<T, std::int32_t>) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) -
                                     static_cast<std::uint32_t>(b));
  } else {
    return a - b;
  }
}

// Running sum of a row: 32-bit wrap-around, or double for double tables.
template <class T>
using RunOf = std::conditional_t<std::is_same_v<T, double>, double, std::uint32_t>;

// A running 32-bit sum as a table element: taken as a signed 32-bit value.
template <class T>
inline T FromRun(std::uint32_t run) {
  return static_cast<T>(static_cast<std::int32_t>(run));
}
template <class T>
inline T FromRun(double run) {
  return run;
}

template <bool kSquare>
inline std::uint32_t Term(std::uint8_t v) {
  return kSquare ? std::uint32_t{v} * v : v;
}

// Upright row, columns c0..width-1 of the source (table columns c0+1..):
// out[c+1] = running sum through src[c] + above[c+1].
template <bool kSquare, class T>
inline void UprightRow(const std::uint8_t* src, int c0, int width,
                       const T* above, T* out, RunOf<T>& run) {
  for (int c = c0; c < width; ++c) {
    run += static_cast<RunOf<T>>(Term<kSquare>(src[c]));
    out[c + 1] = Plus(FromRun<T>(run), above[c + 1]);
  }
}

// Tilted row, table columns c0..c1-1 (1 <= c0, c1 <= width + 1); src is the
// source row, up1 and up2 the table rows one and two above.
template <bool kSquare, class T>
inline void TiltedRow(const std::uint8_t* src, int c0, int c1, const T* up1,
                      const T* up2, T* out) {
  for (int c = c0; c < c1; ++c) {
    const auto pair = static_cast<std::int32_t>(Term<kSquare>(src[c - 1]) +
                                                Term<kSquare>(src[c]));
    out[c] = Plus(Minus(Plus(static_cast<T>(pair), up1[c - 1]), up2[c]), up1[c + 1]);
  }
}

}  // namespace ref
}  // namespace omb
