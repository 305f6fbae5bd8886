// Plain models of the row and column pipeline passes for the tests: the
// border rule by repeated reflection, and each output element as the taps
// applied in storage order in the arithmetic of its variant.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "ombtypes.h"

namespace omb_test {

enum class Arith { kFloat, kLowRow, kLowColumn, kDouble };

// Index of the pixel that position i of a row of n pixels reads, or -1 for
// the constant border.
inline int ModelBorder(int i, int n, int border) {
  while (i < 0 || i >= n) {
    switch (border) {
      case ombBorderConstant: return -1;
      case ombBorderReplicate: i = i < 0 ? 0 : n - 1; break;
      case ombBorderWrap: i = i < 0 ? i + n : i - n; break;
      case ombBorderMirror:
        if (n == 1) i = 0;
        else i = i < 0 ? -i : 2 * (n - 1) - i;
        break;
      default: i = i < 0 ? -1 - i : 2 * n - 1 - i; break;  // mirror with edge
    }
  }
  return i;
}

// One output element from the K values under the taps.
template <class TD, class TK, class TS>
TD ModelSum(Arith arith, const TK* k, int ksize, const TS* v, int divisor) {
  if (arith == Arith::kDouble) {
    double s = 0;
    for (int j = 0; j < ksize; ++j) {
      const double p = static_cast<double>(k[j]) * static_cast<double>(v[j]);
      s = j == 0 ? p : s + p;
    }
    return static_cast<TD>(s);  // the tests keep sums within the float range
  }
  if (arith == Arith::kFloat) {
    float s = 0;
    for (int j = 0; j < ksize; ++j) {
      const float p = static_cast<float>(k[j]) * static_cast<float>(v[j]);
      s = j == 0 ? p : s + p;
    }
    float r = s * (1.0f / static_cast<float>(divisor));
    const float lo = std::numeric_limits<TD>::min(), hi = std::numeric_limits<TD>::max();
    r = r < lo ? lo : (r > hi ? hi : r);
    return static_cast<TD>(std::trunc(r));
  }
  if constexpr (std::is_floating_point_v<TS>) return TD(0);  // float kinds end above
  std::int64_t s = 0;
  for (int j = 0; j < ksize; ++j) s += static_cast<std::int64_t>(k[j]) * static_cast<std::int64_t>(v[j]);
  const std::int64_t s32 = static_cast<std::int32_t>(static_cast<std::uint32_t>(s & 0xffffffff));
  std::int64_t r;
  if (arith == Arith::kLowRow) {
    const std::int64_t m = static_cast<std::int16_t>(std::trunc(16384.0 / divisor));
    r = static_cast<std::int64_t>(static_cast<std::uint32_t>((s32 * m) & 0xffffffff)) >> 14;
  } else {
    r = static_cast<std::int64_t>(std::trunc(
        static_cast<float>(s32) * (1.0f / static_cast<float>(divisor))));
  }
  return static_cast<TD>(static_cast<std::uint16_t>(r & 0xffff));
}

}  // namespace omb_test
