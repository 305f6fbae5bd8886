// Row and column pipeline passes, vectorised.
//
// Both passes compute out[m] = sum over taps j of k[j] * in_j[m], where
// in_j is the source row shifted by j pixels (row pass; a C3 pixel is three
// interleaved elements, so a tap moves by `channels` elements and the
// channels never mix) or the j-th source row (column pass). Vectors run
// along m, one vector of outputs at a time, with every tap applied in
// storage order as a separate multiply and add, so each lane rounds
// exactly as the scalar formula does. The 3- and 5-tap forms hold the tap
// vectors and source pointers in registers; other sizes read them per tap.
// Elements after the last full vector go through the scalar span.
//
// The row pass reads interior outputs straight from the source row; only
// the outputs whose span leaves the row are computed from the two strips of
// the frame's bordered row, kept in the band's own part of the work buffer
// (the same span routine, scalar since the strips are short).
//
// Per-arithmetic traits load and widen source elements, multiply, add and
// convert the sums to the destination type; integer sums wrap in unsigned
// 32-bit lanes.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/separable_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "filters/separable.hpp"
#include "filters/separable_ref.hpp"
#include "frame/border.hpp"
#include "frame/image.hpp"

HWY_BEFORE_NAMESPACE();
namespace omb {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Float products and sum; 8u or 16s sources; 16s, 8u or 8s outputs.
template <class TS, class TD>
struct VecFloatSum {
  using Scalar = ref::FloatSum<TS, TD>;
  using Src = TS;
  using Dst = TD;
  using D = hn::ScalableTag<float>;
  using V = hn::Vec<D>;
  Scalar s;
  V Tap(int j) const { return hn::Set(D(), static_cast<float>(s.k[j])); }
  V Load(const TS* p) const {
    const hn::Rebind<TS, D> ds;
    const hn::Rebind<std::int32_t, D> di;
    return hn::ConvertTo(D(), hn::PromoteTo(di, hn::LoadU(ds, p)));
  }
  static V Mul(V a, V b) { return hn::Mul(a, b); }
  static V Add(V a, V b) { return hn::Add(a, b); }
  void Store(V acc, TD* out) const {
    const D d;
    const hn::Rebind<std::int32_t, D> di;
    const hn::Rebind<TD, D> dd;
    const V v = hn::Min(hn::Max(hn::Mul(acc, hn::Set(d, s.recip)), hn::Set(d, s.lo)),
                        hn::Set(d, s.hi));
    hn::StoreU(hn::DemoteTo(dd, hn::ConvertTo(di, v)), dd, out);  // in range: exact
  }
};

// Integer sums of 16s taps and pixels in wrapping 32-bit lanes.
template <class ScalarT>
struct VecIntSum {
  using Scalar = ScalarT;
  using Src = std::int16_t;
  using Dst = std::int16_t;
  using D = hn::ScalableTag<std::uint32_t>;
  using V = hn::Vec<D>;
  Scalar s;
  V Tap(int j) const {
    return hn::Set(D(), static_cast<std::uint32_t>(static_cast<std::int32_t>(s.k[j])));
  }
  V Load(const std::int16_t* p) const {
    const hn::Rebind<std::int16_t, D> d16;
    const hn::Rebind<std::int32_t, D> di;
    return hn::BitCast(D(), hn::PromoteTo(di, hn::LoadU(d16, p)));
  }
  static V Mul(V a, V b) { return hn::Mul(a, b); }
  static V Add(V a, V b) { return hn::Add(a, b); }
  // The low 16 bits of every lane, as signed 16-bit values.
  static void StoreLow16(V v, std::int16_t* out) {
    const hn::Rebind<std::int16_t, D> d16;
    const hn::Rebind<std::int32_t, D> di;
    const auto low = hn::ShiftRight<16>(hn::BitCast(di, hn::ShiftLeft<16>(v)));
    hn::StoreU(hn::DemoteTo(d16, low), d16, out);
  }
  void Store(V acc, std::int16_t* out) const {
    const D d;
    if constexpr (std::is_same_v<Scalar, ref::LowRow>) {
      StoreLow16(hn::ShiftRight<14>(hn::Mul(acc, hn::Set(d, s.m))), out);
    } else {
      // float(S) * recip lies in [-2^31, 2^31]; +2^31 is taken as -2^31,
      // which has the same low bits and converts without saturating.
      const hn::Rebind<float, D> df;
      const hn::Rebind<std::int32_t, D> di;
      auto f = hn::Mul(hn::ConvertTo(df, hn::BitCast(di, acc)), hn::Set(df, s.recip));
      f = hn::IfThenElse(hn::Ge(f, hn::Set(df, 2147483648.0f)),
                         hn::Sub(f, hn::Set(df, 4294967296.0f)), f);
      StoreLow16(hn::BitCast(d, hn::ConvertTo(di, f)), out);
    }
  }
};

// Double products and sum of float taps and pixels, rounded once.
struct VecDoubleSum {
  using Scalar = ref::DoubleSum;
  using Src = float;
  using Dst = float;
  using D = hn::ScalableTag<double>;
  using V = hn::Vec<D>;
  Scalar s;
  V Tap(int j) const { return hn::Set(D(), static_cast<double>(s.k[j])); }
  V Load(const float* p) const {
    const hn::Rebind<float, D> df;
    return hn::PromoteTo(D(), hn::LoadU(df, p));
  }
  static V Mul(V a, V b) { return hn::Mul(a, b); }
  static V Add(V a, V b) { return hn::Add(a, b); }
  void Store(V acc, float* out) const {
#if HWY_TARGET == HWY_SCALAR
    // The single-lane demotion saturates to the float range; sums beyond it
    // must round to infinity as in the vector instructions.
    *out = ref::RoundToFloat(hn::GetLane(acc));
#else
    const hn::Rebind<float, D> df;
    hn::StoreU(hn::DemoteTo(df, acc), df, out);
#endif
  }
};

// out[0 .. count): kTaps taps held in registers, or (kTaps == 0) `ksize`
// taps read per vector.
template <int kTaps, class A, class Taps>
HWY_INLINE void SpanTaps(const A& a, const Taps& taps, int ksize, int count,
                         typename A::Dst* out) {
  using V = typename A::V;
  const int n = static_cast<int>(hn::Lanes(typename A::D()));
  int m = 0;
  if constexpr (kTaps > 0) {
    V t[kTaps];
    const typename A::Src* p[kTaps];
    for (int j = 0; j < kTaps; ++j) {
      t[j] = a.Tap(j);
      p[j] = taps.Ptr(j);
    }
    // Two independent vectors per step keep both add chains in flight.
    for (; m + 2 * n <= count; m += 2 * n) {
      V s0 = A::Mul(t[0], a.Load(p[0] + m));
      V s1 = A::Mul(t[0], a.Load(p[0] + m + n));
      for (int j = 1; j < kTaps; ++j) {
        s0 = A::Add(s0, A::Mul(t[j], a.Load(p[j] + m)));
        s1 = A::Add(s1, A::Mul(t[j], a.Load(p[j] + m + n)));
      }
      a.Store(s0, out + m);
      a.Store(s1, out + m + n);
    }
    for (; m + n <= count; m += n) {
      V s = A::Mul(t[0], a.Load(p[0] + m));
      for (int j = 1; j < kTaps; ++j) s = A::Add(s, A::Mul(t[j], a.Load(p[j] + m)));
      a.Store(s, out + m);
    }
  } else {
    for (; m + n <= count; m += n) {
      V s = A::Mul(a.Tap(0), a.Load(taps.Ptr(0) + m));
      for (int j = 1; j < ksize; ++j) {
        s = A::Add(s, A::Mul(a.Tap(j), a.Load(taps.Ptr(j) + m)));
      }
      a.Store(s, out + m);
    }
  }
  ref::Span(a.s, taps, ksize, m, count, out);
}

template <class A, class Taps>
HWY_INLINE void Span(const A& a, const Taps& taps, int ksize, int count,
                     typename A::Dst* out) {
  switch (ksize) {
    case 3:
      return SpanTaps<3>(a, taps, ksize, count, out);
    case 5:
      return SpanTaps<5>(a, taps, ksize, count, out);
    default:
      return SpanTaps<0>(a, taps, ksize, count, out);
  }
}

// ---- Row pass ----------------------------------------------------------

template <class A>
void Rows(const RowJob& job, const A& a) {
  using TS = typename A::Src;
  using TD = typename A::Dst;
  const int c = job.channels, w = job.width, k = job.ksize, anchor = job.anchor;
  // Outputs [0, left_end) reach left of the row, [right_begin, w) right of
  // it.
  const int left_end = std::min(anchor, w);
  const int right_begin = std::max(w - k + anchor + 1, left_end);
  BorderRows<TS> rows({static_cast<const TS*>(job.src), job.src_step},
                      RowPassBorder<TS>(w, job.rows, c, k, anchor, job.border),
                      static_cast<const TS*>(job.border_value), job.strips);
  TD* const* dst = reinterpret_cast<TD* const*>(job.dst);
  for (int y = 0; y < job.rows; ++y) {
    const BorderedRow<TS> row = rows.Row(y);
    TD* out = dst[y];
    if (left_end > 0) {
      ref::Span(a.s, ref::RowTaps<TS>{row.Left(-anchor), c}, k, 0, left_end * c, out);
    }
    if (right_begin > left_end) {
      Span(a, ref::RowTaps<TS>{row.Mid(left_end - anchor), c}, k,
           (right_begin - left_end) * c, out + left_end * c);
    }
    if (right_begin < w) {
      ref::Span(a.s, ref::RowTaps<TS>{row.Right(right_begin - anchor), c}, k, 0,
                (w - right_begin) * c, out + right_begin * c);
    }
  }
}

void RowsDispatch(const RowJob& job) {
  const auto* k16 = static_cast<const std::int16_t*>(job.kernel);
  switch (job.arith) {
    case SepArith::k8u16s:
      return Rows(job, VecFloatSum<std::uint8_t, std::int16_t>{
                           {k16, 1.0f / static_cast<float>(job.divisor), -32768.0f, 32767.0f}});
    case SepArith::k16s:
      return Rows(job, VecFloatSum<std::int16_t, std::int16_t>{
                           {k16, 1.0f / static_cast<float>(job.divisor), -32768.0f, 32767.0f}});
    case SepArith::kLow16s: {
      // trunc(2^14 / divisor) lies in [-16384, 16384].
      const auto m = static_cast<std::int16_t>(16384.0 / job.divisor);
      return Rows(job, VecIntSum<ref::LowRow>{
                           {k16, static_cast<std::uint32_t>(static_cast<std::int32_t>(m))}});
    }
    case SepArith::k32f:
      return Rows(job, VecDoubleSum{{static_cast<const float*>(job.kernel)}});
    default:
      return;
  }
}

// ---- Column pass -------------------------------------------------------

template <class A>
void Columns(const ColumnJob& job, const A& a) {
  using TS = typename A::Src;
  using TD = typename A::Dst;
  const auto* const* src = reinterpret_cast<const TS* const*>(job.src);
  const int count = job.width * job.channels;
  for (int y = 0; y < job.rows; ++y) {
    Span(a, ref::ColumnTaps<TS>{src + y, 0}, job.ksize, count,
         RowPtr(static_cast<TD*>(job.dst), job.dst_step, y));
  }
}

void ColumnsDispatch(const ColumnJob& job) {
  const auto* k16 = static_cast<const std::int16_t*>(job.kernel);
  const float recip = job.arith == SepArith::k32f ? 1.0f : 1.0f / static_cast<float>(job.divisor);
  switch (job.arith) {
    case SepArith::k16s:
      return Columns(job, VecFloatSum<std::int16_t, std::int16_t>{{k16, recip, -32768.0f, 32767.0f}});
    case SepArith::k16s8u:
      return Columns(job, VecFloatSum<std::int16_t, std::uint8_t>{{k16, recip, 0.0f, 255.0f}});
    case SepArith::k16s8s:
      return Columns(job, VecFloatSum<std::int16_t, std::int8_t>{{k16, recip, -128.0f, 127.0f}});
    case SepArith::kLow16s:
      return Columns(job, VecIntSum<ref::LowColumn>{{k16, recip}});
    case SepArith::k32f:
      return Columns(job, VecDoubleSum{{static_cast<const float*>(job.kernel)}});
    default:
      return;
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace omb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace omb {
HWY_EXPORT(RowsDispatch);
HWY_EXPORT(ColumnsDispatch);
void FilterRows(const RowJob& job) { HWY_DYNAMIC_DISPATCH(RowsDispatch)(job); }
void FilterColumns(const ColumnJob& job) { HWY_DYNAMIC_DISPATCH(ColumnsDispatch)(job); }
}  // namespace omb
#endif
