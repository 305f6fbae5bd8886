// Colour gradient reduction, vectorised.
//
// Strategy: each row runs blocks of one full source vector per channel,
// deinterleaved with LoadInterleaved3, and leaves the last pixels (fewer
// than one vector) to the scalar definitions in gradient_ref.hpp. The
// integer maximum works on the source lanes directly. Every other norm is
// computed in 32-bit lanes: 8- and 16-bit channels are widened by halves
// (8 -> 16 -> 32 bits) with zero extension, the norm is applied, and the
// results are narrowed back the same way (all of them already lie in the
// destination range, so the saturating narrowing never clamps). Per type
// and norm the lane arithmetic is the scalar one:
//   8u L1 / 16u L1: the fixed-point third in 32-bit integers;
//   8u L2: float sum of squares, / 3, sqrt, + 0.5, truncation;
//   16u L2: the same in double, by 32-bit halves promoted to double;
//   32f: magnitudes as sign-cleared bit patterns with an integer maximum
//        (NaN wins on every target), sums from channel 0 on.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "edges/gradientcolor_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <cstdint>
#include <type_traits>

#include "edges/gradient.hpp"
#include "edges/gradient_ref.hpp"
#include "frame/image.hpp"

HWY_BEFORE_NAMESPACE();
namespace omb {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

// ---- per-type norm traits: one pixel per 32-bit lane ------------------------
//
// Integer traits take the channels as int32 lanes (zero-extended) and
// return int32 lanes in the destination range; the float trait works on
// the float lanes themselves.

template <class T, int kNorm>
struct Norm32;

template <int kNorm>
struct Norm32<std::uint8_t, kNorm> {
  template <class D>  // D: int32 lanes
  static HWY_INLINE hn::Vec<D> Apply(D d, hn::Vec<D> a, hn::Vec<D> b,
                                     hn::Vec<D> c) {
    if constexpr (kNorm == kNormL1) {
      const auto s = hn::Add(hn::Add(a, b), c);
      return hn::ShiftRight<12>(
          hn::Add(hn::Mul(s, hn::Set(d, 1365)), hn::Set(d, 2048)));
    } else {
      const hn::Rebind<float, D> df;
      const auto s =
          hn::Add(hn::Add(hn::Mul(a, a), hn::Mul(b, b)), hn::Mul(c, c));
      const auto q = hn::Div(hn::ConvertTo(df, s), hn::Set(df, 3.0f));
      return hn::ConvertTo(d, hn::Add(hn::Sqrt(q), hn::Set(df, 0.5f)));
    }
  }
};

template <int kNorm>
struct Norm32<std::uint16_t, kNorm> {
  template <class D>  // D: int32 lanes
  static HWY_INLINE hn::Vec<D> Apply(D d, hn::Vec<D> a, hn::Vec<D> b,
                                     hn::Vec<D> c) {
    if constexpr (kNorm == kNormL1) {
      const auto s = hn::Add(hn::Add(a, b), c);
      return hn::ShiftRight<14>(
          hn::Add(hn::Mul(s, hn::Set(d, 5461)), hn::Set(d, 8192)));
    } else {
      const hn::Half<D> dh;
      const hn::Repartition<double, D> dd;
      return hn::Combine(d, L2Half(dd, dh, hn::UpperHalf(dh, a),
                                   hn::UpperHalf(dh, b), hn::UpperHalf(dh, c)),
                         L2Half(dd, dh, hn::LowerHalf(dh, a),
                                hn::LowerHalf(dh, b), hn::LowerHalf(dh, c)));
    }
  }
  template <class DD, class DH>
  static HWY_INLINE hn::Vec<DH> L2Half(DD dd, DH dh, hn::Vec<DH> a,
                                       hn::Vec<DH> b, hn::Vec<DH> c) {
    const auto fa = hn::PromoteTo(dd, a), fb = hn::PromoteTo(dd, b),
               fc = hn::PromoteTo(dd, c);
    const auto s =
        hn::Add(hn::Add(hn::Mul(fa, fa), hn::Mul(fb, fb)), hn::Mul(fc, fc));
    const auto r = hn::Add(hn::Sqrt(hn::Div(s, hn::Set(dd, 3.0))),
                           hn::Set(dd, 0.5));
    return hn::DemoteTo(dh, r);  // truncates toward zero
  }
};

template <int kNorm>
struct Norm32<float, kNorm> {
  template <class D>  // D: float lanes
  static HWY_INLINE hn::Vec<D> Apply(D d, hn::Vec<D> a, hn::Vec<D> b,
                                     hn::Vec<D> c) {
    if constexpr (kNorm == kNormC) {
      const hn::RebindToSigned<D> di;
      const auto mask = hn::Set(di, 0x7fffffff);
      const auto ia = hn::And(hn::BitCast(di, a), mask);
      const auto ib = hn::And(hn::BitCast(di, b), mask);
      const auto ic = hn::And(hn::BitCast(di, c), mask);
      return hn::BitCast(d, hn::Max(hn::Max(ia, ib), ic));
    } else if constexpr (kNorm == kNormL1) {
      return hn::Add(hn::Add(hn::Abs(a), hn::Abs(b)), hn::Abs(c));
    } else {
      return hn::Sqrt(
          hn::Add(hn::Add(hn::Mul(a, a), hn::Mul(b, b)), hn::Mul(c, c)));
    }
  }
};

// Widens the channels (D: lanes of an unsigned 8/16-bit or any 32-bit type)
// by halves down to 32-bit lanes, applies the trait, narrows back.
template <class T, int kNorm, class D>
HWY_INLINE hn::Vec<D> Reduce(D d, hn::Vec<D> a, hn::Vec<D> b, hn::Vec<D> c) {
  using L = hn::TFromD<D>;
  if constexpr (sizeof(L) == 4) {
    return Norm32<T, kNorm>::Apply(d, a, b, c);
  } else {
    using Wide = std::make_signed_t<hwy::MakeWide<L>>;
    const hn::Half<D> dh;
    const hn::Repartition<Wide, D> dw;
    auto widen_lo = [&](hn::Vec<D> v) { return hn::PromoteTo(dw, hn::LowerHalf(dh, v)); };
    auto widen_hi = [&](hn::Vec<D> v) { return hn::PromoteTo(dw, hn::UpperHalf(dh, v)); };
    const auto lo = Reduce<T, kNorm>(dw, widen_lo(a), widen_lo(b), widen_lo(c));
    const auto hi = Reduce<T, kNorm>(dw, widen_hi(a), widen_hi(b), widen_hi(c));
    return hn::Combine(d, hn::DemoteTo(dh, hi), hn::DemoteTo(dh, lo));
  }
}

// One block of Lanes(d) pixels.
template <int kNorm, class D, class T = hn::TFromD<D>>
HWY_INLINE void GradBlock(D d, const T* src, T* dst) {
  hn::Vec<D> a, b, c;
  hn::LoadInterleaved3(d, src, a, b, c);
  if constexpr (kNorm == kNormC && !std::is_floating_point_v<T>) {
    hn::StoreU(hn::Max(hn::Max(a, b), c), d, dst);
  } else {
    hn::StoreU(Reduce<T, kNorm>(d, a, b, c), d, dst);
  }
}

template <int kNorm, class T>
void GradRows(const GradientColorJob& job) {
  const auto src = job.src.As<const T>();
  const auto dst = job.dst.As<T>();
  const hn::ScalableTag<T> d;
  const int n = static_cast<int>(hn::Lanes(d));
  const int w = job.roi.width;
  for (int y = 0; y < job.roi.height; ++y) {
    const T* s = src.Row(y);
    T* o = dst.Row(y);
    int x = 0;
    for (; x + n <= w; x += n) GradBlock<kNorm>(d, s + 3 * x, o + x);
    ref::GradRow<kNorm>(s + 3 * x, o + x, w - x);
  }
}

#else  // HWY_SCALAR: the plain definitions.

template <int kNorm, class T>
void GradRows(const GradientColorJob& job) {
  const auto src = job.src.As<const T>();
  const auto dst = job.dst.As<T>();
  for (int y = 0; y < job.roi.height; ++y) {
    ref::GradRow<kNorm>(src.Row(y), dst.Row(y), job.roi.width);
  }
}

#endif  // HWY_TARGET != HWY_SCALAR

template <class T>
void GradTyped(const GradientColorJob& job) {
  switch (job.norm) {
    case kNormC: GradRows<kNormC, T>(job); break;
    case kNormL1: GradRows<kNormL1, T>(job); break;
    default: GradRows<kNormL2, T>(job); break;
  }
}

void GradientColorDispatch(const GradientColorJob& job) {
  VisitPixType<std::uint8_t, std::uint16_t, float>(
      job.type, [&](auto t) { GradTyped<decltype(t)>(job); });
}

}  // namespace HWY_NAMESPACE
}  // namespace omb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace omb {
HWY_EXPORT(GradientColorDispatch);
void GradientColorToGrayImage(const GradientColorJob& job) {
  HWY_DYNAMIC_DISPATCH(GradientColorDispatch)(job);
}
}  // namespace omb
#endif
