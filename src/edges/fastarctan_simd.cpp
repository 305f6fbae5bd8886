// Fast arctangent, vectorised.
//
// Strategy: elements are independent, so the array runs two full float
// vectors per step, then single vectors, and leaves the last few elements
// (fewer than one vector) to the scalar definition in gradient_ref.hpp.
// Every step is the scalar one on whole lanes: magnitudes as sign-cleared
// bit patterns with integer max/min (so NaN behaves the same everywhere),
// the reciprocal as the correctly rounded quotient with its low 11 mantissa
// bits cleared followed by one Newton step (a machine-independent stand-in
// for a hardware estimate), the quadratic unfused, and the three
// reflections as selects on the comparisons.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "edges/fastarctan_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "edges/gradient.hpp"
#include "edges/gradient_ref.hpp"

HWY_BEFORE_NAMESPACE();
namespace omb {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class D>
HWY_INLINE hn::Vec<D> ArctanVec(D d, hn::Vec<D> y, hn::Vec<D> x) {
  const hn::RebindToSigned<D> di;
  const auto abs_mask = hn::Set(di, 0x7fffffff);
  const auto ax = hn::And(hn::BitCast(di, x), abs_mask);
  const auto ay = hn::And(hn::BitCast(di, y), abs_mask);
  const auto m = hn::BitCast(
      d, hn::Max(hn::Max(ax, ay), hn::Set(di, ref::FloatBitsI(ref::kAtanFloor))));
  const auto q = hn::BitCast(di, hn::Div(hn::Set(d, 1.0f), m));
  const auto r0 = hn::BitCast(d, hn::And(q, hn::Set(di, ref::kEstimateMask)));
  const auto r = hn::Sub(hn::Add(r0, r0), hn::Mul(hn::Mul(m, r0), r0));
  const auto t = hn::Mul(hn::BitCast(d, hn::Min(ax, ay)), r);
  auto p = hn::Sub(hn::Mul(hn::Add(hn::Mul(hn::Set(d, ref::kAtanC2), t),
                                   hn::Set(d, ref::kAtanC1)),
                           t),
                   hn::Set(d, ref::kAtanC0));
  const auto zero = hn::Zero(d);
  p = hn::IfThenElse(hn::Lt(hn::BitCast(d, ax), hn::BitCast(d, ay)),
                     hn::Sub(hn::Set(d, 90.0f), p), p);
  p = hn::IfThenElse(hn::Lt(x, zero), hn::Sub(hn::Set(d, 180.0f), p), p);
  p = hn::IfThenElse(hn::Lt(y, zero), hn::Sub(hn::Set(d, 360.0f), p), p);
  return p;
}

void FastArctanDispatch(const float* y, const float* x, float* dst,
                        int length) {
  const hn::ScalableTag<float> d;
  const int n = static_cast<int>(hn::Lanes(d));
  int i = 0;
  for (; i + 2 * n <= length; i += 2 * n) {
    const auto p0 = ArctanVec(d, hn::LoadU(d, y + i), hn::LoadU(d, x + i));
    const auto p1 =
        ArctanVec(d, hn::LoadU(d, y + i + n), hn::LoadU(d, x + i + n));
    hn::StoreU(p0, d, dst + i);
    hn::StoreU(p1, d, dst + i + n);
  }
  for (; i + n <= length; i += n) {
    hn::StoreU(ArctanVec(d, hn::LoadU(d, y + i), hn::LoadU(d, x + i)), d,
               dst + i);
  }
  for (; i < length; ++i) dst[i] = ref::FastArctan(y[i], x[i]);
}

}  // namespace HWY_NAMESPACE
}  // namespace omb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace omb {
HWY_EXPORT(FastArctanDispatch);
void FastArctanArray(const float* y, const float* x, float* dst, int length) {
  HWY_DYNAMIC_DISPATCH(FastArctanDispatch)(y, x, dst, length);
}
}  // namespace omb
#endif
