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

// One 1-D reduction tap set at output index x of a sequence of n values.
template <class A, class Get>
A Reduce1(int n, int x, const Get& g) {
  if constexpr (std::is_same<A, float>::value) {
    if (n == 1) return (g(0) + g(0)) * 8.0f;
    if (n == 2) return (g(0) + g(1)) * 8.0f;
    const int c = 2 * x;
    return ((g(Mirror(c - 2, n)) + g(Mirror(c + 2, n))) + (g(Mirror(c - 1, n)) + g(Mirror(c + 1, n))) * 4.0f) +
           g(c) * 6.0f;
  } else {
    if (n == 1) return 16 * g(0);
    if (n == 2) return 8 * (g(0) + g(1));
    const int c = 2 * x;
    return g(Mirror(c - 2, n)) + 4 * g(Mirror(c - 1, n)) + 6 * g(c) + 4 * g(Mirror(c + 1, n)) +
           g(Mirror(c + 2, n));
  }
}

template <class T>
Img<T> Down(const Img<T>& s) {
  using A = Acc<T>;
  const int dw = (s.w + 1) / 2, dh = (s.h + 1) / 2;
  Img<A> hr(dw, s.h);
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < dw; ++x) hr.at(x, y) = Reduce1<A>(s.w, x, [&](int i) { return A(s.at(i, y)); });
  Img<T> d(dw, dh);
  for (int x = 0; x < dw; ++x) {
    for (int y = 0; y < dh; ++y) {
      if (s.h <= 2) {
        const A h0 = hr.at(x, 0), h1 = hr.at(x, s.h - 1);
        if constexpr (std::is_same<T, float>::value) {
          d.at(x, y) = ((h0 + h1) * 8.0f) * 0.00390625f;
        } else {
          d.at(x, y) = FromSum<T>((h0 + h1) * 8, 8);
        }
        continue;
      }
      const int c = 2 * y, n = s.h;
      auto g = [&](int i) { return hr.at(x, Mirror(i, n)); };
      if constexpr (std::is_same<T, float>::value) {
        d.at(x, y) = (((g(c - 2) + g(c + 2)) + (g(c - 1) + g(c + 1)) * 4.0f) + g(c) * 6.0f) * 0.00390625f;
      } else {
        d.at(x, y) = FromSum<T>(g(c - 2) + 4 * g(c - 1) + 6 * g(c) + 4 * g(c + 1) + g(c + 2), 8);
      }
    }
  }
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
  if constexpr (std::is_same<A, float>::value) {
    *even = (l + r) + c * 6.0f;
    *odd = (c + r) * 4.0f;
  } else {
    *even = l + 6 * c + r;
    *odd = 4 * c + 4 * r;
  }
}

template <class T>
Img<T> Up(const Img<T>& s) {
  using A = Acc<T>;
  Img<A> hr(2 * s.w, s.h);
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x)
      Expand1<A>(s.w, x, [&](int i) { return A(s.at(i, y)); }, &hr.at(2 * x, y), &hr.at(2 * x + 1, y));
  Img<T> d(2 * s.w, 2 * s.h);
  for (int x = 0; x < 2 * s.w; ++x) {
    for (int y = 0; y < s.h; ++y) {
      A e, o;
      if (s.h == 1) {
        e = o = hr.at(x, 0) * A(8);
      } else {
        Expand1<A>(s.h, y, [&](int i) { return hr.at(x, i); }, &e, &o);
      }
      if constexpr (std::is_same<T, float>::value) {
        d.at(x, 2 * y) = e * 0.015625f;
        d.at(x, 2 * y + 1) = o * 0.015625f;
      } else {
        d.at(x, 2 * y) = FromSum<T>(e, 6);
        d.at(x, 2 * y + 1) = FromSum<T>(o, 6);
      }
    }
  }
  return d;
}

}  // namespace pyr_model
