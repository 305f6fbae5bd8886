// Haar stage classifier: building, inspecting and applying a stage.
#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "detection/haar_state.hpp"
#include "frame/alloc.hpp"
#include "frame/check.hpp"
#include "frame/image.hpp"
#include "frame/parallel.hpp"
#include "ombcv.h"

namespace omb {
namespace {

// Coordinates are added in wrapping 32-bit arithmetic: rectangles are
// stored before they are judged, whatever their values.
std::int32_t Add32(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) +
                                   static_cast<std::uint32_t>(b));
}
std::int32_t Sub32(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) -
                                   static_cast<std::uint32_t>(b));
}

template <class V>
void SetUprightCorners(HaarRect<V>& r, std::int32_t x, std::int32_t y,
                       std::int32_t w, std::int32_t h) {
  r.d = {Add32(x, w), Add32(y, h)};
  r.c = {x, Add32(y, h)};
  r.b = {Add32(x, w), y};
  r.a = {x, y};
}

// Turned by 45 degrees about the top corner: w steps down-right, h steps
// down-left.
template <class V>
void SetTiltedCorners(HaarRect<V>& r, std::int32_t x, std::int32_t y,
                      std::int32_t w, std::int32_t h) {
  r.a = {x, y};
  r.b = {Add32(x, w), Add32(y, w)};
  r.c = {Sub32(x, h), Add32(y, h)};
  r.d = {Sub32(Add32(x, w), h), Add32(Add32(y, w), h)};
}

template <class S, class V>
OmbResult InitAlloc(S** out, const OmbRect* feature, const V* weight,
                    const V* threshold, const V* val1, const V* val2,
                    const int* num, int length, bool tilted) {
  if (out == nullptr || feature == nullptr || weight == nullptr ||
      threshold == nullptr || val1 == nullptr || val2 == nullptr || num == nullptr)
    return ombResultNullPointer;
  if (length < 0) return ombResultBadSize;
  std::int64_t total = 0;
  for (int i = 0; i < length; ++i) {
    if (num[i] < 1) return ombResultBadSize;
    total += num[i];
  }
  const std::int64_t bytes =
      static_cast<std::int64_t>(sizeof(HaarStage<V>)) +
      static_cast<std::int64_t>(length) * sizeof(HaarClassifier<V>) +
      total * static_cast<std::int64_t>(sizeof(HaarRect<V>));
  void* block = bytes <= INT_MAX ? ombAlignedAlloc(static_cast<int>(bytes)) : nullptr;
  if (block == nullptr) {
    *out = nullptr;
    return ombResultNoMemory;
  }
  std::memset(block, 0, static_cast<std::size_t>(bytes));
  auto* st = static_cast<HaarStage<V>*>(block);
  auto* cls = reinterpret_cast<HaarClassifier<V>*>(st + 1);
  auto* rects = reinterpret_cast<HaarRect<V>*>(cls + length);
  st->length = length;
  st->rect_count = static_cast<std::int32_t>(total);
  st->classifiers = cls;
  st->rects = rects;
  st->tilted = tilted ? 1 : 0;
  st->first_weight_minus_one = 1;
  if (length > 0) {
    st->min_x = feature[0].x;
    st->min_y = feature[0].y;
    st->extent_x = feature[0].width;
    st->extent_y = feature[0].height;
  }

  // Upright stages are stored in three passes (two rectangles, three, the
  // rest) so that the kernels run the common shapes without a per-rectangle
  // loop; tilted stages keep input order in a single pass.
  bool bad = false;
  int stored = 0;
  HaarRect<V>* next = rects;
  auto store_pass = [&](auto wanted) {
    std::int64_t first = 0;  // input index of classifier i's first rectangle
    for (int i = 0; i < length; first += num[i], ++i) {
      if (!wanted(num[i])) continue;
      HaarClassifier<V>& k = cls[stored++];
      k.count = num[i];
      k.rects = next;
      k.threshold = threshold[i];
      k.val1 = val1[i];
      k.val2 = val2[i];
      k.origin = (static_cast<std::uint32_t>(i) << kHaarOriginShift) |
                 (tilted ? kHaarTiltedBit : 0u);
      if (weight[first] != V(-1)) st->first_weight_minus_one = 0;
      for (int r = 0; r < num[i]; ++r, ++next) {
        const OmbRect& f = feature[first + r];
        if (tilted) {
          SetTiltedCorners(*next, f.x, f.y, f.width, f.height);
        } else {
          SetUprightCorners(*next, f.x, f.y, f.width, f.height);
        }
        next->weight = weight[first + r];
        bad |= f.x < 0 || f.y < 0 || f.width < 1 || f.height < 1 ||
               (tilted && static_cast<std::int64_t>(f.x) + 1 < f.height);
        // The bounding box compares right and bottom edges with extent +
        // minimum; it is kept for the record, not for evaluation.
        st->min_x = std::min(st->min_x, f.x);
        st->min_y = std::min(st->min_y, f.y);
        if (Add32(f.x, f.width) > Add32(st->extent_x, st->min_x))
          st->extent_x = Add32(f.x, f.width);
        if (Add32(f.y, f.height) > Add32(st->extent_y, st->min_y))
          st->extent_y = Add32(f.y, f.height);
      }
    }
  };
  if (tilted) {
    store_pass([](int) { return true; });
  } else {
    store_pass([](int n) { return n == 2; });
    st->two = stored;
    store_pass([](int n) { return n == 3; });
    st->two_three = stored;
    st->group_rects = static_cast<std::int32_t>(next - rects);
    store_pass([](int n) { return n != 2 && n != 3; });
  }
  st->extent_x = Sub32(st->extent_x, st->min_x);
  st->extent_y = Sub32(st->extent_y, st->min_y);

  if (bad) {
    ombAlignedFree(block);
    *out = nullptr;
    return ombResultBadArgument;
  }
  *out = static_cast<S*>(st);
  return ombResultOk;
}

// One body for both state types (their layouts coincide).
OmbResult FreeStage(void* state) {
  if (state == nullptr) return ombResultNullPointer;
  ombAlignedFree(state);
  return ombResultOk;
}

// The smallest window holding every feature, from the window origin: the
// largest corner-B x and corner-D y. One body for both state types.
OmbResult StageSize(const HaarStage<float>* st, OmbRoiSize* size) {
  if (st == nullptr || size == nullptr) return ombResultNullPointer;
  if (st->length < 1 || st->rect_count < 1) {
    *size = {0, 0};
    return ombResultOk;
  }
  OmbRoiSize s{st->rects[0].b.x, st->rects[0].d.y};
  for (int r = 1; r < st->rect_count; ++r) {
    s.width = std::max(s.width, st->rects[r].b.x);
    s.height = std::max(s.height, st->rects[r].d.y);
  }
  *size = s;
  return ombResultOk;
}

template <class V>
OmbResult TiltFeatures(const Omb8u* mask, int flag, HaarStage<V>* st) {
  if (mask == nullptr || st == nullptr) return ombResultNullPointer;
  if (st->tilted & 1) return ombResultBadArgument;
  if (st->length < 1) return ombResultOk;
  bool any = false;
  for (int i = 0; i < st->length; ++i) {
    if (mask[i] == 0) continue;
    HaarClassifier<V>* k = nullptr;
    for (int c = 0; c < st->length && k == nullptr; ++c) {
      if ((st->classifiers[c].origin >> kHaarOriginShift) == static_cast<std::uint32_t>(i))
        k = &st->classifiers[c];
    }
    if (k == nullptr) continue;  // no classifier carries this origin
    k->origin = kHaarTiltedBit;
    for (int r = 0; r < k->count; ++r) {
      HaarRect<V>& q = k->rects[r];
      const std::int32_t x = q.a.x, y = q.a.y;
      const std::int32_t w = Sub32(q.b.x, q.a.x), h = Sub32(q.c.y, q.a.y);
      if (flag != 0) {
        SetTiltedCorners(q, x, y, w, h);  // about the top-left corner
      } else {  // about the bottom-left corner, features going up
        q.d = {x, Add32(y, h)};
        q.b = {Add32(x, w), Sub32(Add32(y, h), w)};
        q.c = {Sub32(x, h), y};
        q.a = {Sub32(Add32(x, w), h), Sub32(y, w)};
      }
    }
    any = true;
  }
  if (any) st->tilted |= 1;
  return ombResultOk;
}

// The plain float form splits when width x height reaches 22500 pixels
// per library thread; the other forms run on the calling thread.
constexpr SplitRule kFloatSplit{.measure = SplitRule::Measure::kPixels,
                                .per_thread = 22500,
                                .by_band_count = true};

template <HaarArith A, class Tab, class N, class V>
OmbResult Apply(const Tab* src, int srcStep, const Tab* tilted, int tiltedStep,
                bool mixed, const N* norm, int normStep, Omb8u* mask,
                int maskStep, OmbRoiSize roi, int* positive, N threshold,
                const HaarStage<V>* st) {
  Checks checks(roi);
  checks.In(src, srcStep);
  if (mixed) checks.In(tilted, tiltedStep);
  checks.In(norm, normStep).Mask(mask, maskStep).Ptr(positive).Ptr(st);
  if (const OmbResult s = checks.Status(); s != ombResultOk) return s;

  // Four element offsets per rectangle, each with the step of the table
  // its classifier reads, so the inner loops only add them to a base.
  std::ptrdiff_t* offsets = nullptr;
  if (st->rect_count > 0) {
    const std::int64_t bytes =
        static_cast<std::int64_t>(st->rect_count) * 4 * sizeof(std::ptrdiff_t);
    offsets = bytes <= INT_MAX
                  ? static_cast<std::ptrdiff_t*>(ombAlignedAlloc(static_cast<int>(bytes)))
                  : nullptr;
    if (offsets == nullptr) return ombResultNoMemory;
    std::ptrdiff_t* o = offsets;
    for (int c = 0; c < st->length; ++c) {
      const HaarClassifier<V>& k = st->classifiers[c];
      const bool use_tilted = mixed && (k.origin & kHaarTiltedBit);
      const std::ptrdiff_t row =
          (use_tilted ? tiltedStep : srcStep) / static_cast<int>(sizeof(Tab));
      for (int r = 0; r < k.count; ++r) {
        const HaarRect<V>& q = k.rects[r];
        for (const HaarPoint& p : {q.d, q.c, q.b, q.a}) *o++ = p.y * row + p.x;
      }
    }
  }

  // The tilted table's first row and column stand for coordinate -1.
  HaarJob job{.arith = A,
              .upright = {src, srcStep},
              .tilted = mixed ? Plane<const void>{RowPtr(tilted, tiltedStep, 1) + 1, tiltedStep}
                              : Plane<const void>{src, srcStep},
              .mixed = mixed,
              .norm = {norm, normStep},
              .mask = {mask, maskStep},
              .roi = roi,
              .stage = st,
              .offsets = offsets};
  if constexpr (A == HaarArith::kInt) {
    job.threshold_int = threshold;
  } else {
    job.threshold_float = threshold;
  }

  std::int64_t count = 0;
  ReduceBands<std::int64_t>(
      A == HaarArith::kFloat && !mixed ? kFloatSplit : kSerial, roi,
      [&job](const Band<std::int64_t>& band) {
        HaarJob part = job;
        part.upright = job.upright.From(band.first_row);
        part.tilted = job.tilted.From(band.first_row);
        part.norm = job.norm.From(band.first_row);
        part.mask = job.mask.From(band.first_row);
        part.roi.height = band.rows;
        *band.slot = HaarApplyRows(part);
      },
      [&count](const std::int64_t* slots, int bands) {
        for (int t = 0; t < bands; ++t) count += slots[t];
      });
  ombAlignedFree(offsets);
  *positive = static_cast<int>(count);
  return ombResultOk;
}

}  // namespace
}  // namespace omb

extern "C" {

OMB_API OmbResult ombiHaarClassifierInitAlloc_32f(OmbHaarStage_32f** pState, const OmbRect* pFeature, const Omb32f* pWeight, const Omb32f* pThreshold, const Omb32f* pVal1, const Omb32f* pVal2, const int* pNum, int length) {
  return omb::InitAlloc(pState, pFeature, pWeight, pThreshold, pVal1, pVal2, pNum, length, false);
}
OMB_API OmbResult ombiHaarClassifierInitAlloc_32s(OmbHaarStage_32s** pState, const OmbRect* pFeature, const Omb32s* pWeight, const Omb32s* pThreshold, const Omb32s* pVal1, const Omb32s* pVal2, const int* pNum, int length) {
  return omb::InitAlloc(pState, pFeature, pWeight, pThreshold, pVal1, pVal2, pNum, length, false);
}
OMB_API OmbResult ombiTiltedHaarClassifierInitAlloc_32f(OmbHaarStage_32f** pState, const OmbRect* pFeature, const Omb32f* pWeight, const Omb32f* pThreshold, const Omb32f* pVal1, const Omb32f* pVal2, const int* pNum, int length) {
  return omb::InitAlloc(pState, pFeature, pWeight, pThreshold, pVal1, pVal2, pNum, length, true);
}
OMB_API OmbResult ombiTiltedHaarClassifierInitAlloc_32s(OmbHaarStage_32s** pState, const OmbRect* pFeature, const Omb32s* pWeight, const Omb32s* pThreshold, const Omb32s* pVal1, const Omb32s* pVal2, const int* pNum, int length) {
  return omb::InitAlloc(pState, pFeature, pWeight, pThreshold, pVal1, pVal2, pNum, length, true);
}

OMB_API OmbResult ombiHaarClassifierFree_32f(OmbHaarStage_32f* pState) {
  return omb::FreeStage(pState);
}
OMB_API OmbResult ombiHaarClassifierFree_32s(OmbHaarStage_32s* pState) {
  return omb::FreeStage(pState);
}

OMB_API OmbResult ombiGetHaarClassifierSize_32f(OmbHaarStage_32f* pState, OmbRoiSize* pSize) {
  return omb::StageSize(pState, pSize);
}
OMB_API OmbResult ombiGetHaarClassifierSize_32s(OmbHaarStage_32s* pState, OmbRoiSize* pSize) {
  return omb::StageSize(reinterpret_cast<const omb::HaarStage<float>*>(pState), pSize);
}

OMB_API OmbResult ombiTiltHaarFeatures_32f(const Omb8u* pMask, int flag, OmbHaarStage_32f* pState) {
  return omb::TiltFeatures<float>(pMask, flag, pState);
}
OMB_API OmbResult ombiTiltHaarFeatures_32s(const Omb8u* pMask, int flag, OmbHaarStage_32s* pState) {
  return omb::TiltFeatures<Omb32s>(pMask, flag, pState);
}

OMB_API OmbResult ombiApplyHaarClassifier_32f_C1R(const Omb32f* pSrc, int srcStep, const Omb32f* pNorm, int normStep, Omb8u* pMask, int maskStep, OmbRoiSize roiSize, int* pPositive, Omb32f threshold, OmbHaarStage_32f* pState) {
  return omb::Apply<omb::HaarArith::kFloat>(pSrc, srcStep, pSrc, srcStep, false, pNorm, normStep, pMask, maskStep, roiSize, pPositive, threshold, static_cast<const omb::HaarStage<float>*>(pState));
}
OMB_API OmbResult ombiApplyHaarClassifier_32s32f_C1R(const Omb32s* pSrc, int srcStep, const Omb32f* pNorm, int normStep, Omb8u* pMask, int maskStep, OmbRoiSize roiSize, int* pPositive, Omb32f threshold, OmbHaarStage_32f* pState) {
  return omb::Apply<omb::HaarArith::kIntFloat>(pSrc, srcStep, pSrc, srcStep, false, pNorm, normStep, pMask, maskStep, roiSize, pPositive, threshold, static_cast<const omb::HaarStage<float>*>(pState));
}
// The scale factor is part of the argument list and deliberately unused.
OMB_API OmbResult ombiApplyHaarClassifier_32s_C1RSfs(const Omb32s* pSrc, int srcStep, const Omb32s* pNorm, int normStep, Omb8u* pMask, int maskStep, OmbRoiSize roiSize, int* pPositive, Omb32s threshold, OmbHaarStage_32s* pState, int /*scaleFactor*/) {
  return omb::Apply<omb::HaarArith::kInt>(pSrc, srcStep, pSrc, srcStep, false, pNorm, normStep, pMask, maskStep, roiSize, pPositive, threshold, static_cast<const omb::HaarStage<Omb32s>*>(pState));
}
OMB_API OmbResult ombiApplyMixedHaarClassifier_32f_C1R(const Omb32f* pSrc, int srcStep, const Omb32f* pTilted, int tiltedStep, const Omb32f* pNorm, int normStep, Omb8u* pMask, int maskStep, OmbRoiSize roiSize, int* pPositive, Omb32f threshold, OmbHaarStage_32f* pState) {
  return omb::Apply<omb::HaarArith::kFloat>(pSrc, srcStep, pTilted, tiltedStep, true, pNorm, normStep, pMask, maskStep, roiSize, pPositive, threshold, static_cast<const omb::HaarStage<float>*>(pState));
}
OMB_API OmbResult ombiApplyMixedHaarClassifier_32s32f_C1R(const Omb32s* pSrc, int srcStep, const Omb32s* pTilted, int tiltedStep, const Omb32f* pNorm, int normStep, Omb8u* pMask, int maskStep, OmbRoiSize roiSize, int* pPositive, Omb32f threshold, OmbHaarStage_32f* pState) {
  return omb::Apply<omb::HaarArith::kIntFloat>(pSrc, srcStep, pTilted, tiltedStep, true, pNorm, normStep, pMask, maskStep, roiSize, pPositive, threshold, static_cast<const omb::HaarStage<float>*>(pState));
}
OMB_API OmbResult ombiApplyMixedHaarClassifier_32s_C1RSfs(const Omb32s* pSrc, int srcStep, const Omb32s* pTilted, int tiltedStep, const Omb32s* pNorm, int normStep, Omb8u* pMask, int maskStep, OmbRoiSize roiSize, int* pPositive, Omb32s threshold, OmbHaarStage_32s* pState, int /*scaleFactor*/) {
  return omb::Apply<omb::HaarArith::kInt>(pSrc, srcStep, pTilted, tiltedStep, true, pNorm, normStep, pMask, maskStep, roiSize, pPositive, threshold, static_cast<const omb::HaarStage<Omb32s>*>(pState));
}

}  // extern "C"
