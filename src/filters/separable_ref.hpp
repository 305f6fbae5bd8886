// Plain scalar forms of the pipeline passes: the arithmetic of one output
// element and a scalar span that the vector code uses for the few elements
// after its last full vector and for the edge strips of the row pass.
#pragma once

#include <cfloat>
#include <cmath>
#include <cstdint>


namespace omb {
namespace ref {

// Sources of the kernel taps for output element m: tap j reads Ptr(j)[m].
// The row pass reads one row at a stride of one pixel per tap, the column
// pass one row per tap.
template <class T>
struct RowTaps {
  const T* e;
  int stride;  // elements per pixel
  const T* Ptr(int j) const { return e + static_cast<std::ptrdiff_t>(j) * stride; }
};
template <class T>
struct ColumnTaps {
  const T* const* rows;
  std::ptrdiff_t x;  // element offset into every row
  const T* Ptr(int j) const { return rows[j] + x; }
};

// Float products summed in float, scaled by the float reciprocal of the
// divisor, clamped to the destination range and truncated toward zero.
template <class TS, class TD>
struct FloatSum {
  using Src = TS;
  using Dst = TD;
  using Acc = float;
  const std::int16_t* k;
  float recip, lo, hi;
  Acc Product(int j, TS v) const { return static_cast<float>(k[j]) * static_cast<float>(v); }
  static Acc Add(Acc a, Acc b) { return a + b; }
  TD Finish(Acc s) const {
    float v = s * recip;
    v = v < lo ? lo : (v > hi ? hi : v);
    return static_cast<TD>(static_cast<int>(v));
  }
};

// Row `_Low`: wrapping 32-bit integer sum, then the fixed-point scale
// m = trunc(2^14 / divisor): the low 16 bits of (S * m) >> 14, all in
// 32-bit wrapping arithmetic (unsigned, so wrap-around is defined).
struct LowRow {
  using Src = std::int16_t;
  using Dst = std::int16_t;
  using Acc = std::uint32_t;
  const std::int16_t* k;
  std::uint32_t m;
  Acc Product(int j, std::int16_t v) const {
    // |tap * pixel| <= 2^30: exact in int.
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(k[j]) * v);
  }
  static Acc Add(Acc a, Acc b) { return a + b; }
  Dst Finish(Acc s) const {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>((s * m) >> 14));
  }
};

// Column `_Low`: wrapping integer sum, converted to float, times the float
// reciprocal, truncated, low 16 bits. The scaled value lies within
// [-2^31, 2^31]; +2^31 (the sum INT_MAX rounds up to it) has low bits 0,
// which a 64-bit conversion gives without overflow.
struct LowColumn {
  using Src = std::int16_t;
  using Dst = std::int16_t;
  using Acc = std::uint32_t;
  const std::int16_t* k;
  float recip;
  Acc Product(int j, std::int16_t v) const {
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(k[j]) * v);
  }
  static Acc Add(Acc a, Acc b) { return a + b; }
  Dst Finish(Acc s) const {
    const float v = static_cast<float>(static_cast<std::int32_t>(s)) * recip;
    const auto t = static_cast<std::int64_t>(v);
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(static_cast<std::uint64_t>(t)));
  }
};

// A double rounded to float as the hardware does, including sums beyond
// the float range (which a plain conversion would leave undefined): values
// from FLT_MAX plus half its unit in the last place on become infinite.
inline float RoundToFloat(double s) {
  const double a = std::fabs(s);
  if (a > FLT_MAX && a <= DBL_MAX) {
    const double inf_from = 0x1.ffffffp127;  // FLT_MAX + 2^103: a tie, rounds to even
    const float big = a >= inf_from ? HUGE_VALF : FLT_MAX;
    return s < 0 ? -big : big;
  }
  return static_cast<float>(s);
}

// Products and sum in double, rounded to float once.
struct DoubleSum {
  using Src = float;
  using Dst = float;
  using Acc = double;
  const float* k;
  Acc Product(int j, float v) const { return static_cast<double>(k[j]) * static_cast<double>(v); }
  static Acc Add(Acc a, Acc b) { return a + b; }
  Dst Finish(Acc s) const { return RoundToFloat(s); }
};

// out[m] for m in [begin, end): the taps summed in storage order.
template <class A, class Taps>
void Span(const A& a, const Taps& taps, int ksize, int begin, int end,
          typename A::Dst* out) {
  for (int m = begin; m < end; ++m) {
    typename A::Acc s = a.Product(0, taps.Ptr(0)[m]);
    for (int j = 1; j < ksize; ++j) s = A::Add(s, a.Product(j, taps.Ptr(j)[m]));
    out[m] = a.Finish(s);
  }
}

}  // namespace ref
}  // namespace omb
