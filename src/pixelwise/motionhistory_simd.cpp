// Motion-history update, vectorised.
//
// Strategy: one float vector of history per step. The silhouette is
// widened to a lane mask ("moving"). Integer silhouettes compare the
// history with the threshold through order-preserving integer keys
// (key = bits ^ ((bits >> 31) & 0x7fffffff)), a single signed compare that
// matches float order for ordinary values and gives -0 and NaNs a fixed
// place; float silhouettes compare floats directly, so a NaN history pixel
// fails "mhi >= threshold" and is cleared. The scalar definitions in
// pixelwise_ref.hpp finish each row.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixelwise/motionhistory_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "frame/image.hpp"
#include "pixelwise/pixelwise.hpp"
#include "pixelwise/pixelwise_ref.hpp"

HWY_BEFORE_NAMESPACE();
namespace omb {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using DF = hn::ScalableTag<float>;
using DI = hn::RebindToSigned<DF>;

HWY_INLINE hn::Vec<DI> OrderedKey(DI di, hn::Vec<DI> bits) {
  return hn::Xor(bits, hn::And(hn::ShiftRight<31>(bits),
                               hn::Set(di, 0x7fffffff)));
}

template <class T>
HWY_INLINE hn::Mask<DF> Moving(DF df, const T* p) {
  if constexpr (hwy::IsFloat<T>()) {
    const auto s = hn::LoadU(df, p);
    const auto zero = hn::Zero(df);
    return hn::Or(hn::Lt(s, zero), hn::Gt(s, zero));  // NaN: not moving
  } else {
    const hn::Rebind<T, DF> dt;
    const DI di;
    const auto wide = hn::PromoteTo(di, hn::LoadU(dt, p));
    return hn::RebindMask(df, hn::Ne(wide, hn::Zero(di)));
  }
}

template <class T>
HWY_INLINE hn::Mask<DF> Keep(DF df, hn::Vec<DF> mhi, hn::Vec<DF> threshold,
                             hn::Vec<DI> threshold_key) {
  if constexpr (hwy::IsFloat<T>()) {
    return hn::Ge(mhi, threshold);
  } else {
    const DI di;
    const auto key = OrderedKey(di, hn::BitCast(di, mhi));
    return hn::RebindMask(df, hn::Not(hn::Lt(key, threshold_key)));
  }
}

template <class T>
void MotionHistoryRows(const MotionHistoryJob& job) {
  const DF df;
  const DI di;
  const int n = static_cast<int>(hn::Lanes(df));
  const auto ts = hn::Set(df, job.timestamp);
  const auto th = hn::Set(df, job.threshold);
  const auto th_key = hn::Set(di, ref::OrderedKey(job.threshold));
  const auto sil = job.silhouette.As<const T>();
  const Plane<float> mhi = job.mhi;
  for (int y = 0; y < job.roi.height; ++y) {
    const T* s = sil.Row(y);
    float* h = mhi.Row(y);
    int x = 0;
    for (; x + n <= job.roi.width; x += n) {
      const auto vh = hn::LoadU(df, h + x);
      const auto kept = hn::IfThenElseZero(Keep<T>(df, vh, th, th_key), vh);
      hn::StoreU(hn::IfThenElse(Moving(df, s + x), ts, kept), df, h + x);
    }
    for (; x < job.roi.width; ++x) {
      h[x] = ref::MotionHistory(s[x], h[x], job.timestamp, job.threshold);
    }
  }
}

void MotionHistoryDispatch(const MotionHistoryJob& job) {
  VisitPixType<std::uint8_t, std::uint16_t, float>(
      job.type, [&](auto t) { MotionHistoryRows<decltype(t)>(job); });
}

}  // namespace HWY_NAMESPACE
}  // namespace omb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace omb {
HWY_EXPORT(MotionHistoryDispatch);
void MotionHistoryImage(const MotionHistoryJob& job) {
  HWY_DYNAMIC_DISPATCH(MotionHistoryDispatch)(job);
}
}  // namespace omb
#endif
