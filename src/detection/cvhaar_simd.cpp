// Haar stage evaluation, vectorised across neighbouring windows.
//
// Strategy: one vector holds N horizontally adjacent candidate windows
// x..x+N-1 of a row. For a given rectangle corner the N samples lie next to
// each other in the integral table (the corner offset is the same for every
// window), so each corner is one unaligned load and each lane does exactly
// the scalar arithmetic of its own window, in stored classifier order:
// corner expression, times weight, summed into the classifier value,
// compared with threshold x norm, vote summed into the stage sum. Nothing
// is reassociated and nothing is fused (no FMA), so every lane is bitwise
// the scalar result. The only liberty taken is starting a classifier sum
// with its first term and not with 0 + first term: the two differ at most
// in the sign of a zero, which no comparison can see.
//
// Classifiers are stored two-rectangle first, then three-rectangle, then
// the rest, so the first two groups run loops without a per-rectangle loop.
// The mask decides what is worth evaluating: 16 zero bytes are skipped with
// two 64-bit tests and a vector of windows without any candidate is
// skipped; a vector with at most a quarter of its lanes set is evaluated
// as two half-width vectors, skipping an empty half (sparse masks); any
// other vector is evaluated whole, which even for a single candidate costs
// less than the plain per-window code. The survivors are counted from the
// lane mask, and the mask bytes are rewritten as they were where the
// window passes and 0 where it does not. Windows right of the last full
// vector, and images narrower than one vector, use the plain code of
// cvhaar_ref.hpp.
//
// Every window of the ROI inside a vector group is evaluated, candidate or
// not, so the integral and norm tables must be readable for every ROI
// window, which the stage's feature layout requires of a caller anyway.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "detection/cvhaar_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <cstdint>
#include <cstring>

#include "detection/cvhaar_ref.hpp"
#include "detection/haar_state.hpp"
#include "frame/image.hpp"

HWY_BEFORE_NAMESPACE();
namespace omb {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Every helper takes the float tag D of the vector width in use; integer
// lanes use the matching signed and unsigned tags.
template <class D>
using DI = hn::RebindToSigned<D>;
template <class D>
using DU = hn::RebindToUnsigned<D>;

// Corner expression of one rectangle for the windows of a vector.
template <HaarArith A, class D, class Tab>
HWY_INLINE auto Corners(D df, const Tab* b, const std::ptrdiff_t* o) {
  if constexpr (A == HaarArith::kFloat) {
    return hn::Add(hn::Sub(hn::Sub(hn::LoadU(df, b + o[0]), hn::LoadU(df, b + o[1])),
                           hn::LoadU(df, b + o[2])),
                   hn::LoadU(df, b + o[3]));
  } else {
    const DU<D> du;
    const auto* u = reinterpret_cast<const std::uint32_t*>(b);
    const auto d = hn::Add(hn::Sub(hn::LoadU(du, u + o[0]), hn::LoadU(du, u + o[1])),
                           hn::Sub(hn::LoadU(du, u + o[3]), hn::LoadU(du, u + o[2])));
    if constexpr (A == HaarArith::kIntFloat) {
      return hn::ConvertTo(df, hn::BitCast(DI<D>(), d));
    } else {
      return d;
    }
  }
}

template <HaarArith A, class D, class Tab, class V>
HWY_INLINE auto Term(D df, const Tab* b, const std::ptrdiff_t* o, V weight) {
  if constexpr (A == HaarArith::kInt) {
    return hn::Mul(Corners<A>(df, b, o), hn::Set(DU<D>(), static_cast<std::uint32_t>(weight)));
  } else {
    return hn::Mul(Corners<A>(df, b, o), hn::Set(df, weight));
  }
}

// The classifier's vote: val2 at or above threshold x norm, else val1
// (integer form: val1 below, else val2, which is the same rule).
template <HaarArith A, class D, class V, class Acc>
HWY_INLINE Acc Vote(D df, const HaarClassifier<V>& k, Acc t, Acc n) {
  if constexpr (A == HaarArith::kInt) {
    const DU<D> du;
    const DI<D> di;
    const auto limit = hn::Mul(hn::Set(du, static_cast<std::uint32_t>(k.threshold)), n);
    const auto below = hn::RebindMask(du, hn::Lt(hn::BitCast(di, t), hn::BitCast(di, limit)));
    return hn::IfThenElse(below, hn::Set(du, static_cast<std::uint32_t>(k.val1)),
                          hn::Set(du, static_cast<std::uint32_t>(k.val2)));
  } else {
    return hn::IfThenElse(hn::Ge(t, hn::Mul(hn::Set(df, k.threshold), n)),
                          hn::Set(df, k.val2), hn::Set(df, k.val1));
  }
}

template <HaarArith A>
struct Types;
template <>
struct Types<HaarArith::kFloat> {
  using Tab = float;
  using V = float;
  using N = float;
};
template <>
struct Types<HaarArith::kIntFloat> {
  using Tab = std::int32_t;
  using V = float;
  using N = float;
};
template <>
struct Types<HaarArith::kInt> {
  using Tab = std::int32_t;
  using V = std::int32_t;
  using N = std::int32_t;
};

// Stage sums of windows x..x+N-1 whose table views start at `up` / `tilt`.
template <HaarArith A, bool kMixed, class D, class Tab, class V, class Acc>
HWY_INLINE Acc StageSums(D df, const HaarStage<V>& st, const std::ptrdiff_t* o,
                         const Tab* up, const Tab* tilt, Acc n, Acc zero) {
  const HaarClassifier<V>* cls = st.classifiers;
  auto base = [&](const HaarClassifier<V>& k) {
    return (kMixed && (k.origin & kHaarTiltedBit)) ? tilt : up;
  };
  Acc s = zero;
  int c = 0;
  for (; c < st.two; ++c, o += 8) {
    const HaarClassifier<V>& k = cls[c];
    const Tab* b = base(k);
    const auto t = hn::Add(Term<A>(df, b, o, k.rects[0].weight), Term<A>(df, b, o + 4, k.rects[1].weight));
    s = hn::Add(s, Vote<A>(df, k, t, n));
  }
  for (; c < st.two_three; ++c, o += 12) {
    const HaarClassifier<V>& k = cls[c];
    const Tab* b = base(k);
    auto t = hn::Add(Term<A>(df, b, o, k.rects[0].weight), Term<A>(df, b, o + 4, k.rects[1].weight));
    t = hn::Add(t, Term<A>(df, b, o + 8, k.rects[2].weight));
    s = hn::Add(s, Vote<A>(df, k, t, n));
  }
  for (; c < st.length; ++c) {
    const HaarClassifier<V>& k = cls[c];
    const Tab* b = base(k);
    auto t = Term<A>(df, b, o, k.rects[0].weight);
    o += 4;
    for (int r = 1; r < k.count; ++r, o += 4) t = hn::Add(t, Term<A>(df, b, o, k.rects[r].weight));
    s = hn::Add(s, Vote<A>(df, k, t, n));
  }
  return s;
}

HWY_INLINE bool ZeroBytes16(const std::uint8_t* m) {
  std::uint64_t a, b;
  std::memcpy(&a, m, 8);
  std::memcpy(&b, m + 8, 8);
  return (a | b) == 0;
}

// Evaluates the windows x..x+N-1 of one row (N = lanes of D) that are
// candidates; clears the mask of the rejected ones, returns the survivors.
template <HaarArith A, bool kMixed, class D, class Tab, class V, class N>
HWY_INLINE std::int64_t Group(D df, const HaarStage<V>& st, const std::ptrdiff_t* off,
                              const Tab* u, const Tab* t, const N* n, std::uint8_t* m,
                              N threshold) {
  const DI<D> di;
  const DU<D> du;
  const hn::Rebind<std::uint8_t, DI<D>> d8;
  const auto mi = hn::PromoteTo(di, hn::LoadU(d8, m));
  const auto live = hn::Ne(mi, hn::Zero(di));
  if (hn::AllFalse(di, live)) return 0;
  hn::Mask<DI<D>> pass;
  if constexpr (A == HaarArith::kInt) {
    const auto s = StageSums<A, kMixed>(df, st, off, u, t,
                                        hn::LoadU(du, reinterpret_cast<const std::uint32_t*>(n)),
                                        hn::Zero(du));
    pass = hn::Not(hn::Lt(hn::BitCast(di, s), hn::Set(di, threshold)));
  } else {
    const auto s = StageSums<A, kMixed>(df, st, off, u, t, hn::LoadU(df, n), hn::Zero(df));
    pass = hn::RebindMask(di, hn::Ge(s, hn::Set(df, threshold)));
  }
  pass = hn::And(pass, live);
  hn::StoreU(hn::DemoteTo(d8, hn::IfThenElseZero(pass, mi)), d8, m);
  return static_cast<std::int64_t>(hn::CountTrue(di, pass));
}

// Half the full width, for vectors with few candidates: the work of a
// vector grows with its width, so a sparse run costs less in halves whose
// empty ones are skipped.
using DFull = hn::ScalableTag<float>;
using DHalf = hn::CappedTag<float, (HWY_LANES(float) / 2 > 0 ? HWY_LANES(float) / 2 : 1)>;

template <HaarArith A, bool kMixed>
std::int64_t ApplyRows(const HaarJob& job) {
  using Tab = typename Types<A>::Tab;
  using V = typename Types<A>::V;
  using N = typename Types<A>::N;
  const DFull df;
  const DHalf dh;
  const DI<DFull> di;
  const hn::Rebind<std::uint8_t, DI<DFull>> d8;
  const int lanes = static_cast<int>(hn::Lanes(df));
  const int half = static_cast<int>(hn::Lanes(dh));
  const bool halves = lanes >= 8 && 2 * half == lanes;
  const auto& st = *static_cast<const HaarStage<V>*>(job.stage);
  const std::ptrdiff_t* off = job.offsets;
  const N threshold = A == HaarArith::kInt ? static_cast<N>(job.threshold_int)
                                           : static_cast<N>(job.threshold_float);
  const auto up = job.upright.As<const Tab>();
  const auto tilt = job.tilted.As<const Tab>();
  const auto norm = job.norm.As<const N>();
  const int width = job.roi.width;

  std::int64_t count = 0;
  for (int y = 0; y < job.roi.height; ++y) {
    const Tab* u = up.Row(y);
    const Tab* t = tilt.Row(y);
    const N* n = norm.Row(y);
    std::uint8_t* m = job.mask.Row(y);
    int x = 0;
    for (; x + lanes <= width; x += lanes) {
      if (x + 16 <= width && ZeroBytes16(m + x)) {
        x += 16 - lanes;
        continue;
      }
      const auto live = hn::Ne(hn::PromoteTo(di, hn::LoadU(d8, m + x)), hn::Zero(di));
      const std::size_t candidates = hn::CountTrue(di, live);
      if (candidates == 0) continue;
      if (halves && candidates * 4 <= static_cast<std::size_t>(lanes)) {
        count += Group<A, kMixed>(dh, st, off, u + x, t + x, n + x, m + x, threshold);
        count += Group<A, kMixed>(dh, st, off, u + x + half, t + x + half, n + x + half,
                                  m + x + half, threshold);
      } else {
        count += Group<A, kMixed>(df, st, off, u + x, t + x, n + x, m + x, threshold);
      }
    }
    for (; x < width; ++x) {
      if (m[x] == 0) continue;
      if (ref::HaarWindowPasses<A>(st, off, u + x, t + x, n[x], threshold)) {
        ++count;
      } else {
        m[x] = 0;
      }
    }
  }
  return count;
}

std::int64_t ApplyDispatch(const HaarJob& job) {
  switch (job.arith) {
    case HaarArith::kFloat:
      return job.mixed ? ApplyRows<HaarArith::kFloat, true>(job)
                       : ApplyRows<HaarArith::kFloat, false>(job);
    case HaarArith::kIntFloat:
      return job.mixed ? ApplyRows<HaarArith::kIntFloat, true>(job)
                       : ApplyRows<HaarArith::kIntFloat, false>(job);
    case HaarArith::kInt:
      return job.mixed ? ApplyRows<HaarArith::kInt, true>(job)
                       : ApplyRows<HaarArith::kInt, false>(job);
  }
  return 0;
}

}  // namespace HWY_NAMESPACE
}  // namespace omb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace omb {
HWY_EXPORT(ApplyDispatch);
std::int64_t HaarApplyRows(const HaarJob& job) {
  return HWY_DYNAMIC_DISPATCH(ApplyDispatch)(job);
}
}  // namespace omb
#endif
