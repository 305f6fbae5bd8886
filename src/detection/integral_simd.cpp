// Integral tables, vectorised.
//
// Strategy. Upright tables: every element is the row's running sum plus
// the element above, so the only serial part is the running sum. Four
// source bytes are widened to four 32-bit lanes, turned into their prefix
// sums by two shifted adds within the 128-bit block, and offset by the
// running total of the columns before them, which is itself carried as a
// broadcast vector (adding the block's last prefix lane keeps the carry
// off the store path, so the loop-carried chain is one add per four
// pixels). The 32-bit prefix is exact, so converting it to float or double
// and then adding the element above is the same arithmetic, in the same
// order, as the scalar definition. Double square tables take this path
// while a row's square sum fits in 31 bits (width up to 33025); wider rows
// keep the scalar double running sum.
// Tilted tables: a row depends only on the two rows above it, so each
// element is computed independently with full-width vectors: the widened
// pixel pair, converted, then + upper left - two up + upper right.
// Row 0 (and 1), column 0 and, for tilted tables, the last column are the
// border and are written by plain loops; the vector interior stops before
// the last full vector would leave the row and the scalar definitions of
// integral_ref.hpp finish it. 32-bit integer tables are worked on as
// unsigned lanes, so wrap-around is well defined everywhere.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "detection/integral_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <type_traits>

#include "detection/integral.hpp"
#include "detection/integral_ref.hpp"
#include "frame/image.hpp"

HWY_BEFORE_NAMESPACE();
namespace omb {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

struct NoTable {};

// Lane type of a table: 32-bit integer tables are added as unsigned.
template <class T>
using LaneOf = std::conditional_t<std::is_same_v<T, std::int32_t>, std::uint32_t, T>;

template <class T>
HWY_INLINE LaneOf<T>* Lanes(T* p) {
  return reinterpret_cast<LaneOf<T>*>(p);
}
template <class T>
HWY_INLINE const LaneOf<T>* Lanes(const T* p) {
  return reinterpret_cast<const LaneOf<T>*>(p);
}

// ---- Upright -----------------------------------------------------------

#if HWY_TARGET != HWY_SCALAR
// The largest width whose square running sum stays below 2^31, so that the
// 32-bit prefix converts to the same double as the scalar running sum.
constexpr int kMaxExactSquareWidth = 0x7fffffff / (255 * 255);

using DU = hn::Full128<std::uint32_t>;
using VU = hn::Vec<DU>;

// Stores four elements: the 32-bit running sums `run` (signed 32-bit
// values) converted to T, plus the elements above.
template <class T>
HWY_INLINE void StoreRun(VU run, const T* above, T* out) {
  const DU du;
  if constexpr (std::is_same_v<T, std::int32_t>) {
    hn::StoreU(hn::Add(run, hn::LoadU(du, Lanes(above))), du, Lanes(out));
  } else if constexpr (std::is_same_v<T, float>) {
    const hn::Full128<float> df;
    const hn::Full128<std::int32_t> di;
    hn::StoreU(hn::Add(hn::ConvertTo(df, hn::BitCast(di, run)), hn::LoadU(df, above)),
               df, out);
  } else {
    const hn::Full128<double> dd;
    const hn::Full128<std::int32_t> di;
    const hn::Full64<std::int32_t> dh;
    const auto s = hn::BitCast(di, run);
    hn::StoreU(hn::Add(hn::PromoteTo(dd, hn::LowerHalf(dh, s)), hn::LoadU(dd, above)),
               dd, out);
    hn::StoreU(hn::Add(hn::PromoteTo(dd, hn::UpperHalf(dh, s)), hn::LoadU(dd, above + 2)),
               dd, out + 2);
  }
}

HWY_INLINE VU Prefix4(VU v) {
  v = hn::Add(v, hn::ShiftLeftLanes<1>(v));
  return hn::Add(v, hn::ShiftLeftLanes<2>(v));
}

// One upright row: table columns 1..width from the source row.
template <class TS, class TQ>
HWY_INLINE void UprightRow(const std::uint8_t* src, int width, const TS* above,
                           TS* out, const TQ* above_q, TQ* out_q) {
  constexpr bool kSquares = !std::is_same_v<TQ, NoTable>;
  const DU du;
  const hn::Full32<std::uint8_t> d8;
  ref::RunOf<TS> run = 0;
  int c = 0;
  if constexpr (kSquares) {
    ref::RunOf<TQ> run_q = 0;
    if (!std::is_same_v<TQ, double> || width <= kMaxExactSquareWidth) {
      VU carry = hn::Zero(du), carry_q = hn::Zero(du);
      for (; c + 4 <= width; c += 4) {
        const VU v = hn::PromoteTo(du, hn::LoadU(d8, src + c));
        const VU p = Prefix4(v);
        const VU q = Prefix4(hn::Mul(v, v));
        StoreRun(hn::Add(p, carry), above + c + 1, out + c + 1);
        StoreRun(hn::Add(q, carry_q), above_q + c + 1, out_q + c + 1);
        carry = hn::Add(carry, hn::Broadcast<3>(p));
        carry_q = hn::Add(carry_q, hn::Broadcast<3>(q));
      }
      run = hn::GetLane(carry);
      if constexpr (std::is_same_v<TQ, double>) {
        run_q = static_cast<std::int32_t>(hn::GetLane(carry_q));  // below 2^31
      } else {
        run_q = hn::GetLane(carry_q);
      }
    }
    const int c0 = c;
    ref::UprightRow<false>(src, c0, width, above, out, run);
    ref::UprightRow<true>(src, c0, width, above_q, out_q, run_q);
  } else {
    VU carry = hn::Zero(du);
    for (; c + 4 <= width; c += 4) {
      const VU p = Prefix4(hn::PromoteTo(du, hn::LoadU(d8, src + c)));
      StoreRun(hn::Add(p, carry), above + c + 1, out + c + 1);
      carry = hn::Add(carry, hn::Broadcast<3>(p));
    }
    run = hn::GetLane(carry);
    ref::UprightRow<false>(src, c, width, above, out, run);
  }
}

#else  // The single-lane target has no 128-bit blocks: the scalar rows.

template <class TS, class TQ>
HWY_INLINE void UprightRow(const std::uint8_t* src, int width, const TS* above,
                           TS* out, const TQ* above_q, TQ* out_q) {
  ref::RunOf<TS> run = 0;
  ref::UprightRow<false>(src, 0, width, above, out, run);
  if constexpr (!std::is_same_v<TQ, NoTable>) {
    ref::RunOf<TQ> run_q = 0;
    ref::UprightRow<true>(src, 0, width, above_q, out_q, run_q);
  }
}

#endif  // HWY_TARGET != HWY_SCALAR

// ---- Tilted ------------------------------------------------------------

// One tilted row: table columns 1..width, from the source row (read up to
// column width) and the two table rows above.
template <bool kSquare, class T>
HWY_INLINE void TiltedRow(const std::uint8_t* src, int width, const T* up1,
                          const T* up2, T* out) {
  using L = LaneOf<T>;
  const hn::ScalableTag<L> d;
  const hn::Rebind<std::int32_t, decltype(d)> di;
  const hn::Rebind<std::uint8_t, decltype(d)> d8;
  const int n = static_cast<int>(hn::Lanes(d));
  int c = 1;
  for (; c + n <= width + 1; c += n) {
    auto a = hn::PromoteTo(di, hn::LoadU(d8, src + c - 1));
    auto b = hn::PromoteTo(di, hn::LoadU(d8, src + c));
    if (kSquare) {
      a = hn::Mul(a, a);
      b = hn::Mul(b, b);
    }
    const auto pair = hn::Add(a, b);
    hn::Vec<decltype(d)> t;
    if constexpr (std::is_same_v<L, std::uint32_t>) {
      t = hn::BitCast(d, pair);
    } else if constexpr (std::is_same_v<L, float>) {
      t = hn::ConvertTo(d, pair);
    } else {
      t = hn::PromoteTo(d, pair);
    }
    t = hn::Add(t, hn::LoadU(d, Lanes(up1) + c - 1));
    t = hn::Sub(t, hn::LoadU(d, Lanes(up2) + c));
    t = hn::Add(t, hn::LoadU(d, Lanes(up1) + c + 1));
    hn::StoreU(t, d, Lanes(out) + c);
  }
  ref::TiltedRow<kSquare>(src, c, width + 1, up1, up2, out);
}

template <class T>
HWY_INLINE void FillRow(T* row, int count, T value) {
  for (int c = 0; c < count; ++c) row[c] = value;
}

template <bool kSquare, class T>
void TiltedTable(const IntegralJob& job, Plane<T> dst, T val) {
  const Plane<const std::uint8_t> src = job.src;
  const int w = job.roi.width;
  FillRow(dst.Row(0), w + 2, val);
  FillRow(dst.Row(1), w + 2, val);
  for (int y = 0; y < job.roi.height; ++y) {
    const T* up1 = dst.Row(y + 1);
    const T* up2 = dst.Row(y);
    T* out = dst.Row(y + 2);
    out[0] = up1[1];
    TiltedRow<kSquare>(src.Row(y), w, up1, up2, out);
    out[w + 1] = up1[w];
  }
}

template <class TS, class TQ>
void IntegralTyped(const IntegralJob& job) {
  constexpr bool kSquares = !std::is_same_v<TQ, NoTable>;
  const TS val = static_cast<TS>(job.val);
  if (job.tilted) {
    TiltedTable<false>(job, job.sum.As<TS>(), val);
    if constexpr (kSquares) {
      TiltedTable<true>(job, job.sqr.As<TQ>(), static_cast<TQ>(job.val_sqr));
    }
    return;
  }
  const Plane<const std::uint8_t> src = job.src;
  const auto sum = job.sum.As<TS>();
  const int w = job.roi.width;
  FillRow(sum.Row(0), w + 1, val);
  if constexpr (kSquares) {
    const auto sqr = job.sqr.As<TQ>();
    const TQ val_sqr = static_cast<TQ>(job.val_sqr);
    FillRow(sqr.Row(0), w + 1, val_sqr);
    for (int y = 0; y < job.roi.height; ++y) {
      sum.Row(y + 1)[0] = val;
      sqr.Row(y + 1)[0] = val_sqr;
      UprightRow(src.Row(y), w, sum.Row(y), sum.Row(y + 1), sqr.Row(y), sqr.Row(y + 1));
    }
  } else {
    for (int y = 0; y < job.roi.height; ++y) {
      sum.Row(y + 1)[0] = val;
      UprightRow<TS, NoTable>(src.Row(y), w, sum.Row(y), sum.Row(y + 1), nullptr, nullptr);
    }
  }
}

void IntegralDispatch(const IntegralJob& job) {
  using I = std::int32_t;
  const bool int_sum = job.sum_type == TableType::k32s;
  switch (job.sqr_type) {
    case TableType::kNone:
      return int_sum ? IntegralTyped<I, NoTable>(job) : IntegralTyped<float, NoTable>(job);
    case TableType::k32s:
      return IntegralTyped<I, I>(job);
    default:
      return int_sum ? IntegralTyped<I, double>(job) : IntegralTyped<float, double>(job);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace omb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace omb {
HWY_EXPORT(IntegralDispatch);
void IntegralImage(const IntegralJob& job) {
  HWY_DYNAMIC_DISPATCH(IntegralDispatch)(job);
}
}  // namespace omb
#endif
