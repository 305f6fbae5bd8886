// Absolute differences, vectorised.
//
// Strategy: rows are independent, so each row runs a vector interior of two
// full vectors per step, then single vectors, and leaves the last few pixels
// (fewer than one vector) to the scalar definitions in pixelwise_ref.hpp.
// Integer types use |a - b| = sat(a - b) | sat(b - a) (one of the two is
// zero, so OR equals the sum); floats clear the sign bit of a - b, which
// keeps NaNs and turns -0 into +0 exactly like the scalar form. The
// constant form reuses the same loop with a broadcast second operand.
// When the float destination and its step are vector-aligned and the
// output is large, stores bypass the cache: the result is identical and
// the output is not read back by this call.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixelwise/absdiff_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "frame/image.hpp"
#include "pixelwise/pixelwise.hpp"
#include "pixelwise/pixelwise_ref.hpp"

HWY_BEFORE_NAMESPACE();
namespace omb {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class D, class V>
HWY_INLINE V VecAbsDiff(D, V a, V b) {
  if constexpr (hwy::IsFloat<hn::TFromD<D>>()) {
    return hn::Abs(hn::Sub(a, b));  // clears the sign bit, NaN included
  } else {
    return hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a));
  }
}

// Second operand: a row of pixels or one broadcast constant.
template <class T>
struct RowOperand {
  const T* row;
  template <class D>
  HWY_INLINE hn::Vec<D> Load(D d, int x) const { return hn::LoadU(d, row + x); }
  HWY_INLINE T At(int x) const { return row[x]; }
};
template <class T>
struct ConstOperand {
  T value;
  template <class D>
  HWY_INLINE hn::Vec<D> Load(D d, int) const { return hn::Set(d, value); }
  HWY_INLINE T At(int) const { return value; }
};

template <bool kStream, class T, class B>
HWY_INLINE void AbsDiffRow(const T* a, const B& b, T* dst, int width) {
  const hn::ScalableTag<T> d;
  const int n = static_cast<int>(hn::Lanes(d));
  int x = 0;
  for (; x + 2 * n <= width; x += 2 * n) {
    const auto r0 = VecAbsDiff(d, hn::LoadU(d, a + x), b.Load(d, x));
    const auto r1 = VecAbsDiff(d, hn::LoadU(d, a + x + n), b.Load(d, x + n));
    if (kStream) {
      hn::Stream(r0, d, dst + x);
      hn::Stream(r1, d, dst + x + n);
    } else {
      hn::StoreU(r0, d, dst + x);
      hn::StoreU(r1, d, dst + x + n);
    }
  }
  for (; x + n <= width; x += n) {
    hn::StoreU(VecAbsDiff(d, hn::LoadU(d, a + x), b.Load(d, x)), d, dst + x);
  }
  for (; x < width; ++x) dst[x] = ref::AbsDiff(a[x], b.At(x));
}

template <class T, class MakeOperand>
HWY_INLINE void AbsDiffRows(const AbsDiffJob& job, const MakeOperand& operand,
                            bool stream) {
  const auto a = job.a.As<const T>();
  const auto dst = job.dst.As<T>();
  for (int y = 0; y < job.roi.height; ++y) {
    if (stream) {
      AbsDiffRow<true>(a.Row(y), operand(y), dst.Row(y), job.roi.width);
    } else {
      AbsDiffRow<false>(a.Row(y), operand(y), dst.Row(y), job.roi.width);
    }
  }
  if (stream) hwy::FlushStream();
}

// Streaming pays off only for outputs well beyond the last-level cache and
// needs every row start of the destination on a vector boundary.
template <class T>
bool WantStream(const AbsDiffJob& job) {
  const hn::ScalableTag<T> d;
  const std::size_t vec = hn::Lanes(d) * sizeof(T);
  const std::int64_t bytes =
      static_cast<std::int64_t>(job.dst.step) * job.roi.height;
  return sizeof(T) == 4 && bytes >= (std::int64_t{64} << 20) &&
         reinterpret_cast<std::uintptr_t>(job.dst.data) % vec == 0 &&
         static_cast<std::size_t>(job.dst.step) % vec == 0;
}

template <class T>
void AbsDiffTyped(const AbsDiffJob& job) {
  const bool stream = WantStream<T>(job);
  if (job.b.data != nullptr) {
    const auto b = job.b.As<const T>();
    AbsDiffRows<T>(job, [&](int y) { return RowOperand<T>{b.Row(y)}; }, stream);
  } else {
    T value;
    if constexpr (hwy::IsFloat<T>()) {
      value = job.value_float;
    } else {
      value = static_cast<T>(job.value_int);
    }
    AbsDiffRows<T>(job, [&](int) { return ConstOperand<T>{value}; }, stream);
  }
}

void AbsDiffDispatch(const AbsDiffJob& job) {
  VisitPixType<std::uint8_t, std::uint16_t, float>(
      job.type, [&](auto t) { AbsDiffTyped<decltype(t)>(job); });
}

}  // namespace HWY_NAMESPACE
}  // namespace omb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace omb {
HWY_EXPORT(AbsDiffDispatch);
void AbsDiffImage(const AbsDiffJob& job) {
  HWY_DYNAMIC_DISPATCH(AbsDiffDispatch)(job);
}
}  // namespace omb
#endif
