// Argument checks shared by every exported front.
//
// A front describes its arguments once, in call order, and asks for the
// verdict:
//
//   if (OmbResult st = Checks(roi).In(pSrc, srcStep).Mask(pMask, maskStep)
//                          .Out(pDst, dstStep).Status(); st != ombResultOk)
//     return st;
//
// Each description only records which stage it fails; Status() then reports
// the earliest failing stage in the fixed order
//   null pointers (-8), sizes (-6), steps against width (-14),
//   step alignment (-108), channel of interest (-52), family parameters,
// and among family parameters the first one described. Nothing is
// dereferenced here, so a description never reads through a bad pointer.
#pragma once

#include <cstdint>

#include "ombtypes.h"

namespace omb {

class Checks {
 public:
  explicit Checks(OmbRoiSize roi) : roi_(roi) {
    size_bad_ = roi.width < 1 || roi.height < 1;
  }

  // An image argument of element type T with `channels` interleaved
  // elements per pixel. The step must hold a row and, for 16- and 32-bit
  // elements, be a whole multiple of the element size.
  template <class T>
  Checks& In(const T* p, int step, int channels = 1) {
    return Image(p, step, channels * static_cast<int>(sizeof(T)),
                 static_cast<int>(sizeof(T)));
  }
  template <class T>
  Checks& Out(T* p, int step, int channels = 1) {
    return In(static_cast<const T*>(p), step, channels);
  }
  // An image whose step alignment the family does not test.
  template <class T>
  Checks& InUnaligned(const T* p, int step, int channels = 1) {
    return Image(p, step, channels * static_cast<int>(sizeof(T)), 1);
  }

  // An image whose rows must hold `elems` elements of T, a count that is not
  // simply the ROI width (tables with extra columns, windows reaching past
  // the ROI). Alignment as for In.
  template <class T>
  Checks& Row(const T* p, int step, std::int64_t elems) {
    null_bad_ |= p == nullptr;
    step_bad_ |= static_cast<std::int64_t>(step) <
                 elems * static_cast<std::int64_t>(sizeof(T));
    align_bad_ |= sizeof(T) > 1 && step % static_cast<int>(sizeof(T)) != 0;
    return *this;
  }

  // An 8-bit mask: step at least the width, no alignment rule.
  Checks& Mask(const std::uint8_t* p, int step) { return Image(p, step, 1, 1); }

  // A pointer that must not be null but has no step (results, records).
  Checks& Ptr(const void* p) {
    null_bad_ |= p == nullptr;
    return *this;
  }

  // A further size condition of the family (kernel side, buffer length).
  Checks& SizeIf(bool bad) {
    size_bad_ |= bad;
    return *this;
  }

  // Channel of interest of a C3C function.
  Checks& Coi(int coi) {
    coi_bad_ |= coi < 1 || coi > 3;
    return *this;
  }

  // A family parameter; the first failing one described wins.
  Checks& ParamIf(bool bad, OmbResult status) {
    if (bad && param_ == ombResultOk) param_ = status;
    return *this;
  }

  OmbResult Status() const {
    if (null_bad_) return ombResultNullPointer;
    if (size_bad_) return ombResultBadSize;
    if (step_bad_) return ombResultBadStep;
    if (align_bad_) return ombResultMisalignedStep;
    if (coi_bad_) return ombResultBadChannelOfInterest;
    return param_;
  }

 private:
  Checks& Image(const void* p, int step, int pixel_bytes, int align) {
    null_bad_ |= p == nullptr;
    // 64-bit product: a huge width must not wrap into an acceptable step.
    step_bad_ |= static_cast<std::int64_t>(step) <
                 static_cast<std::int64_t>(roi_.width) * pixel_bytes;
    align_bad_ |= align > 1 && step % align != 0;
    return *this;
  }

  OmbRoiSize roi_;
  bool null_bad_ = false;
  bool size_bad_ = false;
  bool step_bad_ = false;
  bool align_bad_ = false;
  bool coi_bad_ = false;
  OmbResult param_ = ombResultOk;
};

}  // namespace omb
