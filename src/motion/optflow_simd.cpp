// Vector window sums of the 8-bit tracker, dispatched to the best target.
// Rows are processed a vector at a time; the last, partial vector of a row
// is loaded whole and its lanes beyond the rectangle are zeroed, so the
// work slices keep a padding after every array (OptFlowSlice).
// Row sums are exact (frame/reduce.hpp): each vector step forms pairwise
// 16x16 -> 32-bit products, which fit 32-bit lanes, and widens them into
// 64-bit lanes before anything is added up, so the results equal the plain
// sums of optflow_ref.hpp bit for bit (see ReducePerRow for when the lanes
// are reduced).

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "motion/optflow_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <cstdint>

#include "frame/reduce.hpp"
#include "motion/optflow.hpp"
#include "motion/optflow_ref.hpp"

HWY_BEFORE_NAMESPACE();
namespace omb {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

// A pair sum of two products of 16-bit gradients (above -32768; the
// tracker's stay within +-16320) and 16-bit values fits a 32-bit lane.
static_assert(Int32Terms(2LL * 32767 * 32768) >= 1, "one vector step of pair sums fits 32 bits");

// Adds the pair sums a[2i] b[2i] + a[2i+1] b[2i+1] to 64-bit lanes.
template <class D64, class V16>
HWY_INLINE void AddPairs(D64 d64, V16 a, V16 b, hn::Vec<D64>& acc) {
  const hn::Repartition<std::int32_t, D64> d32;
  const hn::Half<decltype(d32)> dh;
  auto odd = hn::Zero(d32);
  const auto pairs = hn::Add(hn::ReorderWidenMulAccumulate(d32, a, b, hn::Zero(d32), odd), odd);
  acc = hn::Add(acc, hn::PromoteTo(d64, hn::LowerHalf(dh, pairs)));
  acc = hn::Add(acc, hn::PromoteTo(d64, hn::UpperHalf(dh, pairs)));
}

template <class D64>
HWY_INLINE double Total(D64 d64, hn::Vec<D64> v) {
  return double(hn::GetLane(hn::SumOfLanes(d64, v)));
}

// The row sums are added in double in row order. Every product is at most
// 2^30 in magnitude, so over a rectangle of at most 2^22 products every
// partial sum is an integer of at most 2^52: the double additions are
// exact and equal one 64-bit total, and the lanes are reduced once at the
// end. Only larger rectangles reduce after every row.
inline bool ReducePerRow(int x0, int x1, int y0, int y1) {
  return std::int64_t{x1 - x0 + 1} * (y1 - y0 + 1) > (std::int64_t{1} << 22);
}

void SumGImpl(const std::int16_t* gx, const std::int16_t* gy, int n, int x0, int x1, int y0, int y1,
              double* out) {
  const hn::ScalableTag<std::int16_t> d16;
  const hn::Repartition<std::int64_t, decltype(d16)> d64;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  const bool per_row = ReducePerRow(x0, x1, y0, y1);
  double xx = 0, xy = 0, yy = 0;
  auto a = hn::Zero(d64), b = hn::Zero(d64), c = hn::Zero(d64);
  for (int y = y0; y <= y1; ++y) {
    for (int x = x0; x <= x1; x += lanes) {
      const auto m = hn::FirstN(d16, static_cast<size_t>(x1 - x + 1));
      const auto ix = hn::IfThenElseZero(m, hn::LoadU(d16, gx + y * n + x));
      const auto iy = hn::IfThenElseZero(m, hn::LoadU(d16, gy + y * n + x));
      AddPairs(d64, ix, ix, a);
      AddPairs(d64, ix, iy, b);
      AddPairs(d64, iy, iy, c);
    }
    if (per_row) {
      xx += Total(d64, a), xy += Total(d64, b), yy += Total(d64, c);
      a = b = c = hn::Zero(d64);
    }
  }
  out[0] = xx + Total(d64, a), out[1] = xy + Total(d64, b), out[2] = yy + Total(d64, c);
}

void SumBImpl(const std::int16_t* gx, const std::int16_t* gy, const std::uint16_t* t, const std::uint16_t* w,
              int n, int x0, int x1, int y0, int y1, double* out) {
  const hn::ScalableTag<std::int16_t> d16;
  const hn::ScalableTag<std::uint16_t> du16;
  const hn::Repartition<std::int64_t, decltype(d16)> d64;
  const int lanes = static_cast<int>(hn::Lanes(d16));
  const bool per_row = ReducePerRow(x0, x1, y0, y1);
  double sx = 0, sy = 0;
  auto a = hn::Zero(d64), b = hn::Zero(d64);
  for (int y = y0; y <= y1; ++y) {
    const std::uint16_t* pt = t + (y + 1) * (n + 2) + 1;
    const std::uint16_t* pw = w + y * n;
    for (int x = x0; x <= x1; x += lanes) {
      const auto m = hn::FirstN(d16, static_cast<size_t>(x1 - x + 1));
      const auto e = hn::IfThenElseZero(
          m, hn::BitCast(d16, hn::Sub(hn::LoadU(du16, pt + x), hn::LoadU(du16, pw + x))));
      AddPairs(d64, hn::LoadU(d16, gx + y * n + x), e, a);
      AddPairs(d64, hn::LoadU(d16, gy + y * n + x), e, b);
    }
    if (per_row) {
      sx += Total(d64, a), sy += Total(d64, b);
      a = b = hn::Zero(d64);
    }
  }
  out[0] = sx + Total(d64, a), out[1] = sy + Total(d64, b);
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
