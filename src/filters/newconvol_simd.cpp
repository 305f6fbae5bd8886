// Fixed-kernel filters, vectorised.
//
// Strategy. A band keeps a ring of K row-filtered intermediate rows per
// plane (16-bit lanes for 8-bit sources, float for float sources) in its
// slice of the work buffer, so each source row is row-filtered once. After
// the first K - 1 rows are primed, one fused pass per output row filters the
// newest source row, stores it into the ring slot of the row that just left
// the window and, still holding it in registers, combines it with the K - 1
// older ring rows into the output row. With the taps compile-time constants
// (shifts and adds for the integer lanes) and the rings a few rows of the
// image width, everything the pass touches besides the source and the
// output stays in the first-level cache.
//
// Borders. The source rows come from the frame's bordered-row source. Only
// the first vector and the last two vectors of a row read pixels made up by
// the border rule: they read its strips (left: N + 2r pixels, right:
// 2N + 2r); the interior vectors read the source row itself. The last
// vector is shifted left to end at the last pixel, recomputing a few pixels
// with identical values. Rows above and below the ROI come from the border
// rule applied to the row index; a constant border row is the source's row
// of the border value. Images narrower than one vector take the scalar band
// routine of newconvol_ref.hpp, which has the same arithmetic in the same
// order.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/newconvol_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>
#include <type_traits>

#include "filters/newconvol.hpp"
#include "filters/newconvol_ref.hpp"

HWY_BEFORE_NAMESPACE();
namespace omb {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

// Vector arithmetic of the Ops policy: wrapping 16-bit lanes or float.
template <class D>
struct VecOps {
  using T = hn::TFromD<D>;
  using V = hn::Vec<D>;
  D d;
  HWY_INLINE V Add(V a, V b) const { return hn::Add(a, b); }
  HWY_INLINE V Sub(V a, V b) const { return hn::Sub(a, b); }
  HWY_INLINE V Neg(V a) const {
    if constexpr (hwy::IsFloat<T>()) {
      return hn::Neg(a);  // flips the sign bit, as the scalar -a
    } else {
      return hn::Sub(hn::Zero(d), a);
    }
  }
  template <int t>
  HWY_INLINE V Mulc(V a) const {
    if constexpr (hwy::IsFloat<T>()) {
      return hn::Mul(a, hn::Set(d, static_cast<T>(t)));
    } else if constexpr (t == 1) {
      return a;
    } else if constexpr (t == 2) {
      return hn::ShiftLeft<1>(a);
    } else if constexpr (t == 4) {
      return hn::ShiftLeft<2>(a);
    } else if constexpr (t == 8) {
      return hn::ShiftLeft<3>(a);
    } else if constexpr (t == 3) {
      return hn::Add(hn::ShiftLeft<1>(a), a);
    } else if constexpr (t == 6) {
      return hn::ShiftLeft<1>(hn::Add(hn::ShiftLeft<1>(a), a));
    } else if constexpr (t == 10) {
      return hn::ShiftLeft<1>(hn::Add(hn::ShiftLeft<2>(a), a));
    } else {
      return hn::Mul(a, hn::Set(d, static_cast<T>(t)));
    }
  }
};

// Output conversions of one vector of column results, as in
// newconvol_ref.hpp.
template <class D>
HWY_INLINE void StoreOut(const To16s&, D d, hn::Vec<D> s, std::int16_t* p) {
  const hn::RebindToSigned<D> di;
  hn::StoreU(hn::BitCast(di, s), di, p);
}

template <class D>
HWY_INLINE void StoreOut(const To8s& out, D d, hn::Vec<D> s, std::int8_t* p) {
  const hn::RebindToSigned<D> di;
  const hn::Half<decltype(di)> dh;
  const hn::Repartition<std::int32_t, D> d32;
  const hn::Repartition<float, D> df;
  const hn::Rebind<std::int8_t, decltype(d32)> d8;
  const auto si = hn::BitCast(di, s);
  const auto scale = hn::Set(df, out.scale);
  // Truncating and then saturating equals clamping and then truncating.
  const auto lo = hn::Mul(hn::ConvertTo(df, hn::PromoteTo(d32, hn::LowerHalf(dh, si))), scale);
  const auto hi = hn::Mul(hn::ConvertTo(df, hn::PromoteTo(d32, hn::UpperHalf(dh, si))), scale);
  hn::StoreU(hn::DemoteTo(d8, hn::ConvertTo(d32, lo)), d8, p);
  hn::StoreU(hn::DemoteTo(d8, hn::ConvertTo(d32, hi)), d8, p + hn::Lanes(d32));
  (void)d;
}

// The fixed-point averages are the high halves of 16-bit products:
// (S * 7280 + 36400) >> 16 = ((S + 5) * 7280) >> 16, and S * 2621 >> 16;
// both stay below 256, so the saturating narrowing only repacks.
template <int K, class D>
HWY_INLINE void StoreOut(const ToLow8u<K>&, D d, hn::Vec<D> s, std::uint8_t* p) {
  const hn::RebindToSigned<D> di;
  const hn::Rebind<std::uint8_t, D> d8;
  hn::Vec<D> v;
  if constexpr (K == 3) {
    v = hn::MulHigh(hn::Add(s, hn::Set(d, 5)), hn::Set(d, 7280));
  } else {
    v = hn::MulHigh(s, hn::Set(d, 2621));
  }
  hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di, v)), d8, p);
}

template <class D>
HWY_INLINE void StoreOut(const To32f&, D d, hn::Vec<D> s, float* p) {
  hn::StoreU(s, d, p);
}

template <int K, class D>
HWY_INLINE void StoreOut(const ToLow32f<K>&, D d, hn::Vec<D> s, float* p) {
  hn::StoreU(hn::Mul(s, hn::Set(d, ToLow32f<K>::kScale)), d, p);
}

template <class DI, class S>
HWY_INLINE hn::Vec<DI> LoadSrc(DI di, const S* p) {
  if constexpr (std::is_same_v<S, float>) {
    return hn::LoadU(di, p);
  } else {
    const hn::Rebind<std::uint8_t, DI> d8;
    return hn::PromoteTo(di, hn::LoadU(d8, p));
  }
}

// One vector of output positions x..x+N-1 of a row: row-filters the
// extended pixels starting at e into the new ring slots and, for kColumn,
// combines them with the K - 1 older ring rows into dst.
template <class F, bool kColumn, class DI, class S, class Out>
HWY_INLINE void Step(DI di, const Out& out, const S* HWY_RESTRICT e, int x,
                     InterOf<S>* HWY_RESTRICT a_new, InterOf<S>* HWY_RESTRICT b_new,
                     const InterOf<S>* const* pa, const InterOf<S>* const* pb,
                     typename Out::Dst* HWY_RESTRICT dst) {
  constexpr int K = F::kSize;
  const VecOps<DI> o{di};
  auto get = [di, e](int i) HWY_ATTR { return LoadSrc(di, e + i); };
  const auto a = ApplyTaps<typename F::Row0>(o, get);
  hn::StoreU(a, di, a_new + x);
  auto b = a;
  if constexpr (F::kPlanes == 2) {
    b = ApplyTaps<typename F::Row1>(o, get);
    hn::StoreU(b, di, b_new + x);
  }
  if constexpr (kColumn) {
    const auto s = F::Column(
        o, [&](int i) HWY_ATTR { return i == K - 1 ? a : hn::LoadU(di, pa[i] + x); },
        [&](int i) HWY_ATTR { return i == K - 1 ? b : hn::LoadU(di, pb[i] + x); });
    StoreOut(out, di, s, dst + x);
  }
}

// One bordered source row: its first vector reads the left strip, the
// interior the row itself (or the constant row), and the last vectors the
// right strip, the very last shifted to end at the last pixel.
template <class F, bool kColumn, class S, class Out>
HWY_NOINLINE void PassRow(const BandIo<S, Out>& io, const BorderedRow<S>& src, InterOf<S>* a_new,
                          InterOf<S>* b_new, const InterOf<S>* const* pa,
                          const InterOf<S>* const* pb, typename Out::Dst* dst) {
  using DI = hn::ScalableTag<InterOf<S>>;
  constexpr int r = F::kSize / 2;
  const DI di;
  const int n = static_cast<int>(hn::Lanes(di));
  const int w = io.width;
  const Out out = io.out;
  const S* const row = src.row;  // one pixel per element here
  const S* const right = src.right;
  const int right_first = src.right_first;
  Step<F, kColumn>(di, out, src.Left(-r), 0, a_new, b_new, pa, pb, dst);
  int x = n;
  for (; x + n + r <= w; x += n) Step<F, kColumn>(di, out, row + x - r, x, a_new, b_new, pa, pb, dst);
  for (; x < w; x += n) {
    const int q = std::min(x, w - n);
    Step<F, kColumn>(di, out, right + (q - r - right_first), q, a_new, b_new, pa, pb, dst);
  }
}

// The strips: the first vector reads positions [-r, N + r), the last ones
// start no further left than w - 2N - r.
template <class F>
BorderReach VecReach(int n) {
  constexpr int r = F::kSize / 2;
  return {r, r, n + r, 2 * n + r};
}

template <class F, class S, class Out>
void BandVec(const BandIo<S, Out>& io, int y0, int rows, std::uint8_t* slice) {
  using I = InterOf<S>;
  constexpr int K = F::kSize, r = K / 2;
  const int n = static_cast<int>(hn::Lanes(hn::ScalableTag<I>()));
  if (io.width < n) return ref::Band<F>(io, y0, rows, slice);

  Carver carver(slice, 1);
  const auto shape = io.Border(VecReach<F>(n));
  const Slice<F, S> sl(carver, io.width, shape);
  BorderRows<S> src({io.src, io.src_step}, shape, &io.border_value, sl.border);

  // Row-filters bordered source row j into its ring slots and, when `dst`
  // is given, forms that output row from the window ending at j.
  auto pass = [&](int j, typename Out::Dst* dst) {
    const I* pa[K];
    const I* pb[K];
    for (int i = 0; i < K; ++i) {
      pa[i] = sl.Slot(0, j - K + 1 + i);
      pb[i] = sl.Slot(1, j - K + 1 + i);
    }
    const BorderedRow<S> row = src.Row(j);
    if (dst == nullptr) {
      PassRow<F, false>(io, row, sl.Slot(0, j), sl.Slot(1, j), pa, pb, dst);
    } else {
      PassRow<F, true>(io, row, sl.Slot(0, j), sl.Slot(1, j), pa, pb, dst);
    }
  };
  for (int j = y0 - r; j < y0 + r; ++j) pass(j, nullptr);
  for (int y = y0; y < y0 + rows; ++y) pass(y + r, io.DestRow(y));
}

#else  // The single-lane target: the scalar band routine.

template <class F, class S, class Out>
void BandVec(const BandIo<S, Out>& io, int y0, int rows, std::uint8_t* slice) {
  ref::Band<F>(io, y0, rows, slice);
}

#endif  // HWY_TARGET != HWY_SCALAR

template <class F, class S, class Out>
void Run(const FixedJob& job, const Out& out, int y0, int rows, std::uint8_t* slice) {
  const BandIo<S, Out> io{static_cast<const S*>(job.src),
                          job.src_step,
                          static_cast<typename Out::Dst*>(job.dst),
                          job.dst_step,
                          job.roi.width,
                          job.roi.height,
                          job.border,
                          static_cast<S>(job.border_value),
                          out};
  BandVec<F>(io, y0, rows, slice);
}

// The derivative and Laplacian filters of one source/destination pair.
template <class S, class Out>
void Derivative(const FixedJob& job, const Out& out, int y0, int rows, std::uint8_t* slice) {
  const bool k5 = job.mask == 5;
  switch (job.kind) {
    case FixedKind::kSobelHoriz:
      return k5 ? Run<Separable<Smooth5, ColDiff5>, S>(job, out, y0, rows, slice)
                : Run<Separable<Smooth3, ColDiff3>, S>(job, out, y0, rows, slice);
    case FixedKind::kSobelVert:
      return k5 ? Run<Separable<RowDiff5, Smooth5>, S>(job, out, y0, rows, slice)
                : Run<Separable<RowDiff3, Smooth3>, S>(job, out, y0, rows, slice);
    case FixedKind::kSobelNegVert:
      return k5 ? Run<Separable<RowDiff5, Smooth5, true>, S>(job, out, y0, rows, slice)
                : Run<Separable<RowDiff3, Smooth3, true>, S>(job, out, y0, rows, slice);
    case FixedKind::kSobelHorizSecond:
      return k5 ? Run<Separable<Smooth5, Second5>, S>(job, out, y0, rows, slice)
                : Run<Separable<Smooth3, Second3>, S>(job, out, y0, rows, slice);
    case FixedKind::kSobelVertSecond:
      return k5 ? Run<Separable<Second5, Smooth5>, S>(job, out, y0, rows, slice)
                : Run<Separable<Second3, Smooth3>, S>(job, out, y0, rows, slice);
    case FixedKind::kSobelCross:
      return k5 ? Run<Separable<RowDiff5, ColDiff5>, S>(job, out, y0, rows, slice)
                : Run<Separable<RowDiff3, ColDiff3>, S>(job, out, y0, rows, slice);
    case FixedKind::kLaplacian:
      return k5 ? Run<Laplacian5, S>(job, out, y0, rows, slice)
                : Run<Laplacian3, S>(job, out, y0, rows, slice);
    case FixedKind::kScharrHoriz:
      return Run<Separable<ScharrSmooth, ScharrDiff>, S>(job, out, y0, rows, slice);
    case FixedKind::kScharrVert:
      return Run<Separable<ScharrDiff, ScharrSmooth>, S>(job, out, y0, rows, slice);
    case FixedKind::kLowpass:
      break;
  }
}

void FixedBandDispatch(const FixedJob& job, int y0, int rows, std::uint8_t* slice) {
  const bool k5 = job.mask == 5;
  if (job.kind == FixedKind::kLowpass) {
    if (job.out == FixedOut::k8u) {
      return k5 ? Run<Separable<Box5, Box5>, std::uint8_t>(job, ToLow8u<5>{}, y0, rows, slice)
                : Run<Separable<Box3, Box3>, std::uint8_t>(job, ToLow8u<3>{}, y0, rows, slice);
    }
    return k5 ? Run<Separable<Box5, Box5>, float>(job, ToLow32f<5>{}, y0, rows, slice)
              : Run<Separable<Box3, Box3>, float>(job, ToLow32f<3>{}, y0, rows, slice);
  }
  switch (job.out) {
    case FixedOut::k16s:
      return Derivative<std::uint8_t>(job, To16s{}, y0, rows, slice);
    case FixedOut::k8s:
      return Derivative<std::uint8_t>(job, To8s{job.scale}, y0, rows, slice);
    case FixedOut::k32f:
      return Derivative<float>(job, To32f{}, y0, rows, slice);
    case FixedOut::k8u:
      break;
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace omb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace omb {
HWY_EXPORT(FixedBandDispatch);
void FixedFilterBand(const FixedJob& job, int first_row, int rows, std::uint8_t* slice) {
  HWY_DYNAMIC_DISPATCH(FixedBandDispatch)(job, first_row, rows, slice);
}
}  // namespace omb
#endif  // HWY_ONCE
