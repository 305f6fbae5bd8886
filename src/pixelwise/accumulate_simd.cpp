// Accumulation into a single-precision image, vectorised.
//
// Strategy: every lane computes exactly the scalar sequence of
// pixelwise_ref.hpp: the source is widened to 32-bit integers and converted
// to float (exact for 8- and 16-bit data), then each multiplication,
// subtraction and addition is a separate, individually rounded vector
// operation (the build forbids contraction into fused multiply-add). The
// mask is widened to a lane mask and zeroes the term (or the weight) rather
// than skipping the lane, so deselected pixels get the same d + 0 rewrite
// as in the scalar form. Rows run a vector interior and a scalar tail.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixelwise/accumulate_simd.cpp"
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

// Loads one vector of source elements as exact floats.
template <class T>
HWY_INLINE hn::Vec<DF> LoadAsFloat(DF df, const T* p) {
  if constexpr (hwy::IsFloat<T>()) {
    return hn::LoadU(df, p);
  } else {
    const hn::Rebind<T, DF> dt;
    return hn::ConvertTo(df, hn::PromoteTo(DI(), hn::LoadU(dt, p)));
  }
}

// Lane mask of nonzero mask bytes.
HWY_INLINE hn::Mask<DF> LoadMask(DF df, const std::uint8_t* p) {
  const hn::Rebind<std::uint8_t, DF> d8;
  const DI di;
  const auto wide = hn::PromoteTo(di, hn::LoadU(d8, p));
  return hn::RebindMask(df, hn::Ne(wide, hn::Zero(di)));
}

// Product term of the square and product operations. For masked integer
// sources the exact integer product converted to float is wanted; that is
// the float product with -0 turned into +0 (adding +0 does exactly that and
// changes nothing else), since both round the same exact value.
template <bool kIntMasked, class V>
HWY_INLINE V ProductTerm(V s1, V s2) {
  const V p = hn::Mul(s1, s2);
  return kIntMasked ? hn::Add(p, hn::Zero(DF())) : p;
}

// One operation: the vector step (m is the lane mask, null for the
// unmasked forms), and the scalar step for tails.
template <AccOp kOp, class T, bool kMasked>
struct Op;
template <class T, bool kMasked>
struct Op<AccOp::kAdd, T, kMasked> {
  template <class V, class M>
  static HWY_INLINE V Vec(V d, V s1, V, V, const M* m) {
    return hn::Add(d, m ? hn::IfThenElseZero(*m, s1) : s1);
  }
  static float Scalar(float d, T s1, T, float, bool sel) {
    return ref::Add(d, s1, sel);
  }
};
template <class T, bool kMasked>
struct Op<AccOp::kSquare, T, kMasked> {
  template <class V, class M>
  static HWY_INLINE V Vec(V d, V s1, V, V, const M* m) {
    const V sq = ProductTerm<kMasked && !hwy::IsFloat<T>()>(s1, s1);
    return hn::Add(d, m ? hn::IfThenElseZero(*m, sq) : sq);
  }
  static float Scalar(float d, T s1, T, float, bool sel) {
    return ref::AddSquare<kMasked>(d, s1, sel);
  }
};
template <class T, bool kMasked>
struct Op<AccOp::kProduct, T, kMasked> {
  template <class V, class M>
  static HWY_INLINE V Vec(V d, V s1, V s2, V, const M* m) {
    const V pr = ProductTerm<kMasked && !hwy::IsFloat<T>()>(s1, s2);
    return hn::Add(d, m ? hn::IfThenElseZero(*m, pr) : pr);
  }
  static float Scalar(float d, T s1, T s2, float, bool sel) {
    return ref::AddProduct<kMasked>(d, s1, s2, sel);
  }
};
template <class T, bool kMasked>
struct Op<AccOp::kWeighted, T, kMasked> {
  template <class V, class M>
  static HWY_INLINE V Vec(V d, V s1, V, V alpha, const M* m) {
    const V w = m ? hn::IfThenElseZero(*m, alpha) : alpha;
    return hn::Add(d, hn::Mul(hn::Sub(s1, d), w));
  }
  static float Scalar(float d, T s1, T, float alpha, bool sel) {
    return ref::AddWeighted(d, s1, alpha, sel);
  }
};

template <AccOp kOp, bool kMasked, class T>
HWY_INLINE void AccumulateRow(const T* s1, const T* s2, const std::uint8_t* m,
                              float* acc, int width, float alpha) {
  const DF df;
  const int n = static_cast<int>(hn::Lanes(df));
  const auto valpha = hn::Set(df, alpha);
  const bool two = kOp == AccOp::kProduct;
  int x = 0;
  for (; x + n <= width; x += n) {
    const auto v1 = LoadAsFloat(df, s1 + x);
    const auto v2 = two ? LoadAsFloat(df, s2 + x) : v1;
    const auto vd = hn::LoadU(df, acc + x);
    if constexpr (kMasked) {
      const auto vm = LoadMask(df, m + x);
      hn::StoreU(Op<kOp, T, kMasked>::Vec(vd, v1, v2, valpha, &vm), df, acc + x);
    } else {
      const hn::Mask<DF>* none = nullptr;
      hn::StoreU(Op<kOp, T, kMasked>::Vec(vd, v1, v2, valpha, none), df, acc + x);
    }
  }
  for (; x < width; ++x) {
    const bool sel = !kMasked || m[x] != 0;
    acc[x] = Op<kOp, T, kMasked>::Scalar(acc[x], s1[x], two ? s2[x] : s1[x], alpha, sel);
  }
}

template <AccOp kOp, bool kMasked, class T>
void AccumulateRows(const AccumulateJob& job) {
  const auto s1 = job.src1.As<const T>();
  const auto s2 = job.src2.As<const T>();
  const Plane<const std::uint8_t> m = job.mask;
  const Plane<float> acc = job.acc;
  const bool two = kOp == AccOp::kProduct;
  for (int y = 0; y < job.roi.height; ++y) {
    AccumulateRow<kOp, kMasked>(s1.Row(y), two ? s2.Row(y) : nullptr,
                                kMasked ? m.Row(y) : nullptr, acc.Row(y),
                                job.roi.width, job.alpha);
  }
}

template <AccOp kOp, class T>
void AccumulateMasking(const AccumulateJob& job) {
  if (job.mask.data != nullptr) {
    AccumulateRows<kOp, true, T>(job);
  } else {
    AccumulateRows<kOp, false, T>(job);
  }
}

template <class T>
void AccumulateTyped(const AccumulateJob& job) {
  switch (job.op) {
    case AccOp::kAdd: return AccumulateMasking<AccOp::kAdd, T>(job);
    case AccOp::kSquare: return AccumulateMasking<AccOp::kSquare, T>(job);
    case AccOp::kProduct: return AccumulateMasking<AccOp::kProduct, T>(job);
    case AccOp::kWeighted: return AccumulateMasking<AccOp::kWeighted, T>(job);
  }
}

void AccumulateDispatch(const AccumulateJob& job) {
  VisitPixType<std::uint8_t, std::int8_t, std::uint16_t, float>(
      job.type, [&](auto t) { AccumulateTyped<decltype(t)>(job); });
}

}  // namespace HWY_NAMESPACE
}  // namespace omb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace omb {
HWY_EXPORT(AccumulateDispatch);
void AccumulateImage(const AccumulateJob& job) {
  HWY_DYNAMIC_DISPATCH(AccumulateDispatch)(job);
}
}  // namespace omb
#endif
