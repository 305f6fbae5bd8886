// Plain models of the integral tables, shared by the table and the
// rectangle-statistics tests. Integer tables: exact 64-bit block sums taken
// modulo 2^32. Float tables: the row's running sum (exact integer, or a
// double for double square tables) converted, plus the element above.
// Tilted tables: the recurrence over the two rows above, pixel pair first.
#pragma once

#include <cstdint>
#include <type_traits>
#include <vector>

#include "support/test_image.hpp"

namespace omb_test {

template <class T>
T Wrap(std::int64_t v) {
  return static_cast<T>(static_cast<std::int32_t>(static_cast<std::uint32_t>(v)));
}

// Row-major table of (h + 1) x (w + 1) (upright) or (h + 2) x (w + 2).
template <class T, bool kSquare>
std::vector<T> IntegralModel(const TestImage<Omb8u>& src, int w, int h, T val, bool tilted) {
  auto term = [&](int x, int y) -> std::int64_t {
    const std::int64_t v = src.Get(x, y);
    return kSquare ? v * v : v;
  };
  constexpr bool kInt = std::is_integral_v<T>;
  if (!tilted) {
    const int cols = w + 1;
    std::vector<T> t(static_cast<std::size_t>(cols) * (h + 1), val);
    std::vector<std::int64_t> block(t.size(), 0);  // exact sums of the top-left blocks
    for (int r = 1; r <= h; ++r) {
      std::int64_t run = 0;
      double run_d = 0;
      for (int c = 1; c <= w; ++c) {
        const std::size_t k = static_cast<std::size_t>(r) * cols + c;
        run += term(c - 1, r - 1);
        run_d += static_cast<double>(term(c - 1, r - 1));
        block[k] = block[k - cols] + run;
        if constexpr (kInt) {
          t[k] = Wrap<T>(val + block[k]);
        } else if constexpr (std::is_same_v<T, double>) {
          t[k] = run_d + t[k - cols];
        } else {
          t[k] = static_cast<T>(static_cast<std::int32_t>(run)) + t[k - cols];
        }
      }
    }
    return t;
  }
  const int cols = w + 2;
  std::vector<std::int64_t> e(static_cast<std::size_t>(cols) * (h + 2), val);
  std::vector<T> t(e.size(), val);
  for (int r = 2; r < h + 2; ++r) {
    auto at = [&](int rr, int c) { return static_cast<std::size_t>(rr) * cols + c; };
    e[at(r, 0)] = e[at(r - 1, 1)];
    t[at(r, 0)] = t[at(r - 1, 1)];
    for (int c = 1; c <= w; ++c) {
      const std::int64_t pair = term(c - 1, r - 2) + term(c, r - 2);
      e[at(r, c)] = pair + e[at(r - 1, c - 1)] - e[at(r - 2, c)] + e[at(r - 1, c + 1)];
      if constexpr (!kInt) {
        t[at(r, c)] = static_cast<T>(pair) + t[at(r - 1, c - 1)] - t[at(r - 2, c)] +
                      t[at(r - 1, c + 1)];
      }
    }
    e[at(r, w + 1)] = e[at(r - 1, w)];
    t[at(r, w + 1)] = t[at(r - 1, w)];
  }
  if constexpr (kInt) {
    for (std::size_t k = 0; k < t.size(); ++k) t[k] = Wrap<T>(e[k]);
  }
  return t;
}

// Writes a row-major table into the ROI of an image of the same size.
template <class T>
void Put(TestImage<T>& img, const std::vector<T>& t) {
  for (int y = 0; y < img.Height(); ++y)
    for (int x = 0; x < img.Width(); ++x)
      img.Set(x, y, t[static_cast<std::size_t>(y) * img.Width() + x]);
}

}  // namespace omb_test
