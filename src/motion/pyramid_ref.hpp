// Scalar rules of the fixed 5x5 pyramid operators: the element formulas that
// the vector code reproduces lane by lane, used for the row edges, the short
// rows and the scalar target.
//
// Integer sums. Every formula is exact in 32-bit arithmetic; the vector code
// keeps the horizontal rows and the vertical sums in 16-bit lanes, which is
// exact too: reduction rows lie in [0, 4080] (8u) or [-2048, 2032] (8s) and
// the vertical sums (before the rounding constant) in [0, 65280] or
// [-32768, 32512], so the rounded sums fit unsigned or signed 16 bits;
// expansion rows and sums are smaller still. Signed results use an
// arithmetic shift (round half up, like 8u).
//
// Float sums. The 32f results are bit-exact against these formulas, which fix
// the order of the float operations (each rounded on its own, no fused
// multiply-add); multiplications by 4, 8 and the final scale factors are
// powers of two and so exact unless the result over- or underflows.
//   Reduction, horizontal at source column c = 2x (a..e = s[c-2] .. s[c+2]
//   after mirroring): ((a + e) + (b + d) * 4) + c * 6; widths 2 and 1:
//   (s0 + s1) * 8 and (s0 + s0) * 8. Vertical on the rows likewise,
//   (((r0 + r4) + (r1 + r3) * 4) + r2 * 6) * 0.00390625; heights 1 and 2:
//   ((H0 + H1) * 8) * 0.00390625 with H1 = H0 for height 1.
//   Expansion, horizontal: even (s[x-1] + s[x+1]) + s[x] * 6, odd
//   (s[x] + s[x+1]) * 4, width 1 both s0 * 8; vertical: even row
//   ((Hm + Hp) + H0 * 6) * 0.015625, odd row ((H0 + Hp) * 4) * 0.015625,
//   height 1 both (H0 * 8) * 0.015625.
// The documented edge forms (6 s0 + 8 s1 + 2 s2, s[w-2] + 7 s[w-1],
// ...) are these formulas with the mirrored or repeated indices substituted.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "frame/border.hpp"

namespace omb {
namespace ref {

// Row element type of the work buffer for a source type.
template <class T>
struct PyrAcc;
template <>
struct PyrAcc<std::uint8_t> {
  using type = std::uint16_t;
};
template <>
struct PyrAcc<std::int8_t> {
  using type = std::int16_t;
};
template <>
struct PyrAcc<float> {
  using type = float;
};

// Reduction index rule, n >= 3: the mirror border (the edge not repeated).
inline int MirrorDown(int i, int n) { return BorderIndex(i, n, ombBorderMirror); }

// ---- Reduction -------------------------------------------------------------

// Horizontal filter of one plane (consecutive samples of one channel) at
// output column x.
template <class T>
inline typename PyrAcc<T>::type HDownAt(const T* s, int w, int x) {
  using Acc = typename PyrAcc<T>::type;
  if constexpr (std::is_same<T, float>::value) {
    if (w == 1) return (s[0] + s[0]) * 8.0f;
    if (w == 2) return (s[0] + s[1]) * 8.0f;
    const int c = 2 * x;
    const float a = s[MirrorDown(c - 2, w)], b = s[MirrorDown(c - 1, w)], m = s[c];
    const float d = s[MirrorDown(c + 1, w)], e = s[MirrorDown(c + 2, w)];
    return ((a + e) + (b + d) * 4.0f) + m * 6.0f;
  } else {
    if (w == 1) return static_cast<Acc>(16 * s[0]);
    if (w == 2) return static_cast<Acc>(8 * (s[0] + s[1]));
    const int c = 2 * x;
    const int a = s[MirrorDown(c - 2, w)], b = s[MirrorDown(c - 1, w)], m = s[c];
    const int d = s[MirrorDown(c + 1, w)], e = s[MirrorDown(c + 2, w)];
    return static_cast<Acc>((a + e) + 4 * (b + d) + 6 * m);
  }
}

// Vertical combination of five filtered rows (already mirrored).
template <class T, class Acc>
inline T VDownAt(Acc r0, Acc r1, Acc r2, Acc r3, Acc r4) {
  if constexpr (std::is_same<T, float>::value) {
    return (((r0 + r4) + (r1 + r3) * 4.0f) + r2 * 6.0f) * 0.00390625f;
  } else {
    const int s = (int{r0} + r4) + 4 * (int{r1} + r3) + 6 * int{r2};
    return static_cast<T>((s + 128) >> 8);
  }
}

// The one-row path of heights 1 and 2.
template <class T, class Acc>
inline T VDownOneRowAt(Acc h0, Acc h1) {
  if constexpr (std::is_same<T, float>::value) {
    return ((h0 + h1) * 8.0f) * 0.00390625f;
  } else {
    return static_cast<T>(((int{h0} + h1) * 8 + 128) >> 8);
  }
}

// ---- Expansion -------------------------------------------------------------

// Horizontal filter of an interleaved row at element e (pixel e / C): the
// even output (pixel 2x) and the odd one (pixel 2x + 1). Left neighbour
// by the mirror border, right neighbour by the replicate border.
template <class T>
inline void HUpAt(const T* s, int w, int C, int e, typename PyrAcc<T>::type* even,
                  typename PyrAcc<T>::type* odd) {
  using Acc = typename PyrAcc<T>::type;
  const int x = e / C;
  if (w == 1) {
    *even = *odd = static_cast<Acc>(s[e] * Acc{8});
    return;
  }
  const int l = e + (BorderIndex(x - 1, w, ombBorderMirror) - x) * C;
  const int r = e + (BorderIndex(x + 1, w, ombBorderReplicate) - x) * C;
  if constexpr (std::is_same<T, float>::value) {
    *even = (s[l] + s[r]) + s[e] * 6.0f;
    *odd = (s[e] + s[r]) * 4.0f;
  } else {
    *even = static_cast<Acc>((int{s[l]} + s[r]) + 6 * int{s[e]});
    *odd = static_cast<Acc>(4 * (int{s[e]} + s[r]));
  }
}

// Vertical: the even output row from (Hm, H0, Hp), the odd one from (H0, Hp).
template <class T, class Acc>
inline T VUpEvenAt(Acc hm, Acc h0, Acc hp) {
  if constexpr (std::is_same<T, float>::value) {
    return ((hm + hp) + h0 * 6.0f) * 0.015625f;
  } else {
    return static_cast<T>(((int{hm} + hp) + 6 * int{h0} + 32) >> 6);
  }
}

template <class T, class Acc>
inline T VUpOddAt(Acc h0, Acc hp) {
  if constexpr (std::is_same<T, float>::value) {
    return ((h0 + hp) * 4.0f) * 0.015625f;
  } else {
    return static_cast<T>((4 * (int{h0} + hp) + 32) >> 6);
  }
}

// Height 1: both output rows.
template <class T, class Acc>
inline T VUpOneRowAt(Acc h0) {
  if constexpr (std::is_same<T, float>::value) {
    return (h0 * 8.0f) * 0.015625f;
  } else {
    return static_cast<T>((8 * int{h0} + 32) >> 6);
  }
}

}  // namespace ref
}  // namespace omb
