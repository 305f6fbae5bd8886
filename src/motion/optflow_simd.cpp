// Vector window sums of the 8-bit tracker, dispatched to the best target.
// Rows are processed a vector at a time; the last, partial vector of a row
// is loaded whole and its lanes beyond the rectangle are zeroed, so the
// work slices keep a padding after every array (see cvoptflowpyrlk.cpp).
// Pairwise 16x16 -> 32-bit multiply-adds wrap exactly like the plain sums
// of optflow_ref.hpp, so the results are identical bit for bit.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "motion/optflow_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <cstdint>

#include "motion/optflow.hpp"
#include "motion/optflow_ref.hpp"

HWY_BEFORE_NAMESPACE();
namespace omb {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

void SumGImpl(const std::int16_t* gx, const std::int16_t* gy, int n, int x0, int x1, int y0, int y1,
              double* out) {
  const hn::ScalableTag<std::int16_t> d16;
  const hn::RepartitionToWide<decltype(d16)> d32;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  double xx = 0, xy = 0, yy = 0;
  for (int y = y0; y <= y1; ++y) {
    auto a0 = hn::Zero(d32), a1 = hn::Zero(d32), b0 = hn::Zero(d32), b1 = hn::Zero(d32);
    auto c0 = hn::Zero(d32), c1 = hn::Zero(d32);
    for (int x = x0; x <= x1; x += lanes) {
      const auto m = hn::FirstN(d16, static_cast<size_t>(x1 - x + 1));
      const auto ix = hn::IfThenElseZero(m, hn::LoadU(d16, gx + y * n + x));
      const auto iy = hn::IfThenElseZero(m, hn::LoadU(d16, gy + y * n + x));
      a0 = hn::ReorderWidenMulAccumulate(d32, ix, ix, a0, a1);
      b0 = hn::ReorderWidenMulAccumulate(d32, ix, iy, b0, b1);
      c0 = hn::ReorderWidenMulAccumulate(d32, iy, iy, c0, c1);
    }
    xx += double(hn::GetLane(hn::SumOfLanes(d32, hn::Add(a0, a1))));
    xy += double(hn::GetLane(hn::SumOfLanes(d32, hn::Add(b0, b1))));
    yy += double(hn::GetLane(hn::SumOfLanes(d32, hn::Add(c0, c1))));
  }
  out[0] = xx, out[1] = xy, out[2] = yy;
}

void SumBImpl(const std::int16_t* gx, const std::int16_t* gy, const std::uint16_t* t, const std::uint16_t* w,
              int n, int x0, int x1, int y0, int y1, double* out) {
  const hn::ScalableTag<std::int16_t> d16;
  const hn::ScalableTag<std::uint16_t> du16;
  const hn::RepartitionToWide<decltype(d16)> d32;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  double sx = 0, sy = 0;
  for (int y = y0; y <= y1; ++y) {
    const std::uint16_t* pt = t + (y + 1) * (n + 2) + 1;
    const std::uint16_t* pw = w + y * n;
    auto a0 = hn::Zero(d32), a1 = hn::Zero(d32), b0 = hn::Zero(d32), b1 = hn::Zero(d32);
    for (int x = x0; x <= x1; x += lanes) {
      const auto m = hn::FirstN(d16, static_cast<size_t>(x1 - x + 1));
      const auto e = hn::IfThenElseZero(
          m, hn::BitCast(d16, hn::Sub(hn::LoadU(du16, pt + x), hn::LoadU(du16, pw + x))));
      const auto ix = hn::LoadU(d16, gx + y * n + x);
      const auto iy = hn::LoadU(d16, gy + y * n + x);
      a0 = hn::ReorderWidenMulAccumulate(d32, ix, e, a0, a1);
      b0 = hn::ReorderWidenMulAccumulate(d32, iy, e, b0, b1);
    }
    sx += double(hn::GetLane(hn::SumOfLanes(d32, hn::Add(a0, a1))));
    sy += double(hn::GetLane(hn::SumOfLanes(d32, hn::Add(b0, b1))));
  }
  out[0] = sx, out[1] = sy;
}

// Gradient windows from the 16-bit Scharr planes: Q14 bilinear sum times 4
// (shift 12, rounding term 2^11), saturated to 16 bits. The saturation is
// the tracker's limit: below -32767 gives -32768, 32767 and above 32767.
void PlaneImpl(const std::int16_t* px, const std::int16_t* py, int stride, const std::int32_t* w4, int n,
               int x0, int x1, int y0, int y1, std::int16_t* gx, std::int16_t* gy) {
  const hn::ScalableTag<std::int32_t> d32;
  const hn::Rebind<std::int16_t, decltype(d32)> d16;
  const int lanes = static_cast<int>(hn::Lanes(d32));
  const auto w00 = hn::Set(d32, w4[0]), w10 = hn::Set(d32, w4[1]);
  const auto w01 = hn::Set(d32, w4[2]), w11 = hn::Set(d32, w4[3]);
  const auto half = hn::Set(d32, 2048);
  for (int y = y0; y <= y1; ++y) {
    const std::int16_t* ra = px + std::ptrdiff_t(y) * stride;
    const std::int16_t* rb = py + std::ptrdiff_t(y) * stride;
    for (int x = x0; x <= x1; x += lanes) {
      const auto m = hn::FirstN(d16, static_cast<size_t>(x1 - x + 1));
      auto one = [&](const std::int16_t* r) {
        const auto s00 = hn::PromoteTo(d32, hn::LoadU(d16, r + x));
        const auto s10 = hn::PromoteTo(d32, hn::LoadU(d16, r + x + 1));
        const auto s01 = hn::PromoteTo(d32, hn::LoadU(d16, r + stride + x));
        const auto s11 = hn::PromoteTo(d32, hn::LoadU(d16, r + stride + x + 1));
        auto v = hn::Add(hn::Mul(w00, s00), hn::Mul(w10, s10));
        v = hn::Add(v, hn::Mul(w01, s01));
        v = hn::Add(v, hn::Mul(w11, s11));
        return hn::DemoteTo(d16, hn::ShiftRight<12>(hn::Add(v, half)));
      };
      hn::BlendedStore(one(ra), m, d16, gx + y * n + x);
      hn::BlendedStore(one(rb), m, d16, gy + y * n + x);
    }
  }
}

#else

void PlaneImpl(const std::int16_t* px, const std::int16_t* py, int stride, const std::int32_t* w4, int n,
               int x0, int x1, int y0, int y1, std::int16_t* gx, std::int16_t* gy) {
  ref::OptFlowPlane(px, py, stride, w4, n, x0, x1, y0, y1, gx, gy);
}

void SumGImpl(const std::int16_t* gx, const std::int16_t* gy, int n, int x0, int x1, int y0, int y1,
              double* out) {
  ref::OptFlowSumG(gx, gy, n, x0, x1, y0, y1, out);
}

void SumBImpl(const std::int16_t* gx, const std::int16_t* gy, const std::uint16_t* t, const std::uint16_t* w,
              int n, int x0, int x1, int y0, int y1, double* out) {
  ref::OptFlowSumB(gx, gy, t, w, n, x0, x1, y0, y1, out);
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace omb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace omb {
HWY_EXPORT(SumGImpl);
HWY_EXPORT(SumBImpl);
HWY_EXPORT(PlaneImpl);

void OptFlowPlane8u(const std::int16_t* px, const std::int16_t* py, int stride, const std::int32_t w4[4], int n,
                    int x0, int x1, int y0, int y1, std::int16_t* gx, std::int16_t* gy) {
  HWY_DYNAMIC_DISPATCH(PlaneImpl)(px, py, stride, w4, n, x0, x1, y0, y1, gx, gy);
}

void OptFlowSumG8u(const std::int16_t* gx, const std::int16_t* gy, int n, int x0, int x1, int y0, int y1,
                   double out[3]) {
  HWY_DYNAMIC_DISPATCH(SumGImpl)(gx, gy, n, x0, x1, y0, y1, out);
}

void OptFlowSumB8u(const std::int16_t* gx, const std::int16_t* gy, const std::uint16_t* t,
                   const std::uint16_t* w, int n, int x0, int x1, int y0, int y1, double out[2]) {
  HWY_DYNAMIC_DISPATCH(SumBImpl)(gx, gy, t, w, n, x0, x1, y0, y1, out);
}
}  // namespace omb
#endif  // HWY_ONCE
