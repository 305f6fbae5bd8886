// Rectangle standard deviation with a double square table, vectorised.
//
// Strategy. Along a destination row the rectangle slides one column at a
// time, so each of the eight corners is a run of consecutive table
// elements: one unaligned load per corner for a vector of neighbouring
// windows. The lanes are as wide as the double lanes; each lane repeats
// the scalar steps of its own window in the same order: the sum corners
// in the sum table's own arithmetic (32-bit integers as unsigned lanes,
// so wrap-around is defined, or float), widened to double; the square
// corners in double; mean = sum / area, variance = square / area -
// mean x mean (a multiply and a subtract, never fused); a variance that
// is not above 0 becomes 0; narrowed to float and square-rooted in float.
// The kernel returns how many leading columns it wrote; the plain loop of
// rectstddev.cpp finishes the row.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "detection/rectstddev_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <cstdint>
#include <limits>

#include "detection/integral.hpp"

HWY_BEFORE_NAMESPACE();
namespace omb {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Corners 0..3 are A, B, C, D (upright: ((D - B) - C) + A) or P1..P4
// (tilted: ((P4 - P3) + P1) - P2; squares ((Q4 - Q3) - Q2) + Q1).
template <bool kTilted, class D, class V>
HWY_INLINE V SumCorners(D /*d*/, V a, V b, V c, V e) {
  if constexpr (kTilted) return hn::Sub(hn::Add(hn::Sub(e, c), a), b);
  return hn::Add(hn::Sub(hn::Sub(e, b), c), a);
}
template <bool kTilted, class V>
HWY_INLINE V SquareCorners(V a, V b, V c, V e) {
  if constexpr (kTilted) return hn::Add(hn::Sub(hn::Sub(e, c), b), a);
  return hn::Add(hn::Sub(hn::Sub(e, b), c), a);
}

template <bool kTilted, bool kFloatSum>
int Row(const StdDevRow& row) {
  const hn::ScalableTag<double> dd;
  const hn::Rebind<float, decltype(dd)> df;
  const hn::Rebind<std::uint32_t, decltype(dd)> du;
  const hn::Rebind<std::int32_t, decltype(dd)> di;
  const std::size_t n = hn::Lanes(dd);
  const auto area = hn::Set(dd, row.area);
  const auto zero = hn::Zero(dd);
  const auto fmax = hn::Set(dd, static_cast<double>(std::numeric_limits<float>::max()));
  int j = 0;
  for (; j + static_cast<int>(n) <= row.width; j += static_cast<int>(n)) {
    hn::Vec<decltype(dd)> sum;
    if constexpr (kFloatSum) {
      const auto* s = reinterpret_cast<const float* const*>(row.sum);
      const auto t = SumCorners<kTilted>(df, hn::LoadU(df, s[0] + j), hn::LoadU(df, s[1] + j),
                                         hn::LoadU(df, s[2] + j), hn::LoadU(df, s[3] + j));
      sum = hn::PromoteTo(dd, t);
    } else {
      const auto* s = reinterpret_cast<const std::uint32_t* const*>(row.sum);
      const auto t = SumCorners<kTilted>(du, hn::LoadU(du, s[0] + j), hn::LoadU(du, s[1] + j),
                                         hn::LoadU(du, s[2] + j), hn::LoadU(du, s[3] + j));
      sum = hn::PromoteTo(dd, hn::BitCast(di, t));
    }
    const auto sqr = SquareCorners<kTilted>(hn::LoadU(dd, row.sqr[0] + j), hn::LoadU(dd, row.sqr[1] + j),
                                            hn::LoadU(dd, row.sqr[2] + j), hn::LoadU(dd, row.sqr[3] + j));
    const auto mean = hn::Div(sum, area);
    auto var = hn::Sub(hn::Div(sqr, area), hn::Mul(mean, mean));
    var = hn::IfThenElse(hn::Gt(var, zero), var, zero);  // NaN and negatives: 0
    // Narrowing past the float range is not the same on every target; the
    // plain loop takes such windows.
    if (!hn::AllFalse(dd, hn::Gt(var, fmax))) break;
    hn::StoreU(hn::Sqrt(hn::DemoteTo(df, var)), df, row.out + j);
  }
  return j;
}

int StdDevRowDispatch(const StdDevRow& row) {
  if (row.tilted) return row.float_sum ? Row<true, true>(row) : Row<true, false>(row);
  return row.float_sum ? Row<false, true>(row) : Row<false, false>(row);
}

}  // namespace HWY_NAMESPACE
}  // namespace omb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace omb {
HWY_EXPORT(StdDevRowDispatch);
int StdDevRowSimd(const StdDevRow& row) { return HWY_DYNAMIC_DISPATCH(StdDevRowDispatch)(row); }
}  // namespace omb
#endif
