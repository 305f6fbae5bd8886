// Plain models of the fixed 5x5 pyramid operators, written
// one output element at a time: integer sums in 64 bits, float
// sums in the documented order (src/motion/pyramid_ref.hpp):
//   reduction, horizontal  ((a + e) + (b + d) * 4) + c * 6 over the mirrored
//     taps a..e; width 2: (s0 + s1) * 8, width 1: (s0 + s0) * 8;
//   reduction, vertical    (((r0 + r4) + (r1 + r3) * 4) + r2 * 6) * 2^-8;
//     heights 1, 2: ((H0 + H1) * 8) * 2^-8 (H1 = H0 for height 1);
//   expansion, horizontal  even (l + r) + c * 6, odd (c + r) * 4 with the left
//     neighbour mirrored and the right one repeated; width 1: both c * 8;
//   expansion, vertical    even ((Hm + Hp) + H0 * 6) * 2^-6,
//     odd ((H0 + Hp) * 4) * 2^-6; height 1: both (H0 * 8) * 2^-6.
// Integer results: (sum + 128) >> 8 and (sum + 32) >> 6, arithmetic shifts.
#pragma once

#include <cstdint>
#include <type_traits>
#include <vector>

namespace pyr_model {

// Planar image of one channel, row-major.
template <class T>
struct Img {
  int w = 0, h = 0;
  std::vector<T> v;
  Img(int w_, int h_) : w(w_), h(h_), v(std::size_t(w_) * h_) {}
  T& at(int x, int y) { return v[std::size_t(y) * w + x]; }
  T at(int x, int y) const { return v[std::size_t(y) * w + x]; }
};

template <class T>
using Acc = std::conditional_t<std::is_same<T, float>::value, float, std::int64_t>;

inline int Mirror(int i, int n) { return i < 0 ? -i : (i >= n ? 2 * (n - 1) - i : i); }

template <class T>
T FromSum(std::int64_t sum, int shift) {
  const std::int64_t half = std::int64_t{1} << (shift - 1);
  // Floor division by 2^shift (an arithmetic shift) written without shifts
  // of negative values.
  const std::int64_t num = sum + half;
  const std::int64_t d = std::int64_t{1} << shift;
  std::int64_t q = num / d;
  if (num % d != 0 && num < 0) --q;
  return static_cast<T>(q);
}

// A finished sum: floats scaled by 2^-shift, integers rounded half up by
// an arithmetic shift.
template <class T, class A>
T Finish(A sum, int shift) {
  if constexpr (std::is_same<T, float>::value) {
    return sum * (shift == 8 ? 0.00390625f : 0.015625f);
  } else {
    return FromSum<T>(sum, shift);
  }
}

// Integer sums are exact in any order, so both kinds use the float order.
// One 1-D reduction tap set at output index x of a sequence of n values.
template <class A, class Get>
A Reduce1(int n, int x, const Get& g) {
  if (n <= 2) return (g(0) + g(n - 1)) * A(8);
  const int c = 2 * x;
  return ((g(Mirror(c - 2, n)) + g(Mirror(c + 2, n))) + (g(Mirror(c - 1, n)) + g(Mirror(c + 1, n))) * A(4)) +
         g(c) * A(6);
}

template <class T>
Img<T> Down(const Img<T>& s) {
  using A = Acc<T>;
  const int dw = (s.w + 1) / 2, dh = (s.h + 1) / 2;
  Img<A> hr(dw, s.h);
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < dw; ++x) hr.at(x, y) = Reduce1<A>(s.w, x, [&](int i) { return A(s.at(i, y)); });
  Img<T> d(dw, dh);
  for (int x = 0; x < dw; ++x)
    for (int y = 0; y < dh; ++y) d.at(x, y) = Finish<T>(Reduce1<A>(s.h, y, [&](int i) { return hr.at(x, i); }), 8);
  return d;
}

// Even and odd expansion of a sequence of n values at index x.
template <class A, class Get>
void Expand1(int n, int x, const Get& g, A* even, A* odd) {
  if (n == 1) {
    *even = *odd = g(0) * A(8);
    return;
  }
  const A l = g(x == 0 ? 1 : x - 1), c = g(x), r = g(x == n - 1 ? x : x + 1);
  *even = (l + r) + c * A(6);
  *odd = (c + r) * A(4);
}

template <class T>
Img<T> Up(const Img<T>& s) {
  using A = Acc<T>;
  Img<A> hr(2 * s.w, s.h);
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x)
      Expand1<A>(s.w, x, [&](int i) { return A(s.at(i, y)); }, &hr.at(2 * x, y), &hr.at(2 * x + 1, y));
  Img<T> d(2 * s.w, 2 * s.h);
  for (int x = 0; x < 2 * s.w; ++x)
    for (int y = 0; y < s.h; ++y) {
      A e, o;
      Expand1<A>(s.h, y, [&](int i) { return hr.at(x, i); }, &e, &o);
      d.at(x, 2 * y) = Finish<T>(e, 6);
      d.at(x, 2 * y + 1) = Finish<T>(o, 6);
    }
  return d;
}

}  // namespace pyr_model
