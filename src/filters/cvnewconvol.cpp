// Fixed-kernel derivative, Laplacian and low-pass filters with borders on
// all four sides, and their work-buffer sizes.
//
// Every filter front runs the same checks (null pointers, sizes, steps,
// float step alignment, border type and divisor, mask size) and hands the
// call to the band kernel, splitting the rows into bands only for wide and
// tall images. Each band gets its own slice of the caller's work buffer.
#include <climits>
#include <cstdint>
#include <type_traits>

#include "filters/buffer_size.hpp"
#include "filters/newconvol.hpp"
#include "frame/border.hpp"
#include "frame/carve.hpp"
#include "frame/check.hpp"
#include "frame/parallel.hpp"
#include "ombcv.h"

namespace omb {
namespace {

// The buffer-size rules; names that share a rule report identical sizes.
enum class SizeRule {
  kSobel8u,  // Sobel family 8u16s and 8u8s, low-pass 8u
  kLaplacian8u16s,
  kLaplacian8u8s,
  kScharr8u,   // Scharr 8u16s and 8u8s
  kScharr32f,  // both Scharr 32f
  kSobel32f,   // Sobel family 32f, low-pass 32f
  kLaplacian32f,
};

bool IsFloatRule(SizeRule rule) {
  return rule == SizeRule::kScharr32f || rule == SizeRule::kSobel32f ||
         rule == SizeRule::kLaplacian32f;
}

// The per-thread size without its pipeline terms: the part that grows with
// the width (and, for the 5x5 Laplacian 8u8s, the 16-bit plane of the
// whole ROI). The band slices are carved by it.
std::int64_t CoreBytes(SizeRule rule, OmbRoiSize roi, int k) {
  const std::int64_t w = roi.width, h = roi.height;
  const bool k5 = k == 5;
  const std::int64_t f = k5 ? 25 : 21;
  const std::int64_t w16 = (w + 15) >> 4, w4 = (w + 3) >> 2;
  switch (rule) {
    case SizeRule::kSobel8u:
      return (w16 << 5) * f + (k5 ? 180 : 156) + 64;
    case SizeRule::kLaplacian8u16s:
      return (w16 << 6) * f + (k5 ? 360 : 312) + 96;
    case SizeRule::kLaplacian8u8s:
      return (w16 << 6) * f + (k5 ? 360 : 312) + 96 + (k5 ? (w16 << 4) * h * 2 + 32 : 0);
    case SizeRule::kScharr8u:
      return (w16 << 4) * 42 + 220;
    case SizeRule::kScharr32f:
      return (w4 << 2) * 84 + 220;
    case SizeRule::kSobel32f:
      return (w4 << 4) * f + (k5 ? 180 : 156) + 64;
    case SizeRule::kLaplacian32f:
      return (w16 << 7) * f + (k5 ? 360 : 312) + 96;
  }
  return 0;
}

// Per-thread size B: the core plus two 16-bit column pipeline sizes (8-bit
// sources) or the float row and column pipeline sizes. False when a term
// does not fit 32 bits.
bool PerThreadBytes(SizeRule rule, OmbRoiSize roi, int k, std::int64_t* bytes) {
  int a = 0, b = 0;
  if (IsFloatRule(rule)) {
    if (!PipelineBufferSize(roi, k, 16 * k + 32, &a) || !PipelineBufferSize(roi, k, 0, &b))
      return false;
  } else {
    if (!PipelineBufferSize(roi, k, 4 * k + 32, &a)) return false;
    b = a;
  }
  *bytes = CoreBytes(rule, roi, k) + a + b;
  return true;
}

// The carving of a call's work buffer: after aligning it to 32 bytes, one
// slice per band, band t's at t * stride. stride <= B + 1, so T slices end
// within the reported T * (B + 32).
std::uint8_t* Slices(Carver& c, SizeRule rule, OmbRoiSize roi, int k, int bands,
                     std::int64_t* stride) {
  *stride = (CoreBytes(rule, roi, k) + 1) & ~std::int64_t{31};
  return c.TakeSlots(bands, *stride, 32);
}

// T * (B + 32), or -1 when it does not fit an int.
std::int64_t ReportedSize(SizeRule rule, OmbRoiSize roi, int k) {
  std::int64_t b = 0;
  if (!PerThreadBytes(rule, roi, k, &b)) return -1;
  const int t = ombThreadCount();
  Carver plan = Carver::Plan(32);
  std::int64_t stride = 0;
  Slices(plan, rule, roi, k, t, &stride);
  const std::int64_t total = ReportedBytes(std::int64_t{t} * (b + 32), plan);
  return total > INT_MAX ? -1 : total;
}

// The one body of every buffer-size query.
OmbResult BufferSize(SizeRule rule, OmbRoiSize roi, int mask, int* pBufferSize) {
  if (pBufferSize == nullptr) return ombResultNullPointer;
  if (roi.width < 1 || roi.height < 1) return ombResultBadSize;
  if (mask != 33 && mask != 55) return ombResultBadMaskSize;
  const std::int64_t total = ReportedSize(rule, roi, mask / 10);
  if (total < 0) return ombResultBadSize;
  *pBufferSize = static_cast<int>(total);
  return ombResultOk;
}

SizeRule RuleOf(FixedKind kind, FixedOut out) {
  const bool fl = out == FixedOut::k32f;
  switch (kind) {
    case FixedKind::kLaplacian:
      return fl ? SizeRule::kLaplacian32f
                : (out == FixedOut::k8s ? SizeRule::kLaplacian8u8s : SizeRule::kLaplacian8u16s);
    case FixedKind::kScharrHoriz:
    case FixedKind::kScharrVert:
      return fl ? SizeRule::kScharr32f : SizeRule::kScharr8u;
    default:
      return fl ? SizeRule::kSobel32f : SizeRule::kSobel8u;
  }
}

template <class D> constexpr FixedOut kOut = FixedOut::k32f;
template <> constexpr FixedOut kOut<Omb16s> = FixedOut::k16s;
template <> constexpr FixedOut kOut<Omb8s> = FixedOut::k8s;
template <> constexpr FixedOut kOut<Omb8u> = FixedOut::k8u;

// Splits into bands only when several threads are available, the image is
// at least 256 wide, and it is tall enough: T * 128 rows on a multi-core
// die, or T * 256 rows for a 5x5 mask.
SplitRule RowSplit(int k) {
  return {.measure = SplitRule::Measure::kRows,
          .per_thread = k == 5 ? 256 : 0,
          .multi_core_per_thread = 128,
          .min_width = 256};
}

// Runs a checked call in bands when RowSplit says so, else as one band.
// `bytes` < 0: the caller's buffer has the reported size (a slice for every
// band of the current count); else bands run only when the block holds a
// slice for each.
OmbResult RunFilter(const FixedJob& job, SizeRule rule, std::uint8_t* block, std::int64_t bytes) {
  const int k = job.mask;
  Carver carver(block, 32);
  std::int64_t stride = 0;
  std::uint8_t* const base = Slices(carver, rule, job.roi, k, BandCount(), &stride);
  const bool fits = bytes < 0 || carver.Bytes() <= bytes;
  EachBand(fits ? RowSplit(k) : kSerial, job.roi, job.roi.height,
           [&](const Band<NoResult>& band) {
             FixedFilterBand(job, band.first_row, band.rows, base + band.index * stride);
           });
  return ombResultOk;
}

// The one front of every filter. `divisor` is null for the forms without
// one; `mask` is 33 for the Scharr filters, which have no mask argument.
template <class S, class D>
OmbResult Filter(FixedKind kind, SizeRule rule, const S* pSrc, int srcStep, D* pDst,
                 int dstStep, OmbRoiSize roi, int mask, OmbBorderType border, S borderValue,
                 const int* divisor, Omb8u* pBuffer) {
  Checks checks(roi);
  if constexpr (std::is_same_v<S, float>) {
    checks.In(pSrc, srcStep).Out(pDst, dstStep);
  } else {
    checks.InUnaligned(pSrc, srcStep).InUnaligned(static_cast<const D*>(pDst), dstStep);
  }
  checks.Ptr(pBuffer)
      .ParamIf(!IsBorderType(border) || (divisor != nullptr && *divisor == 0),
               ombResultBadArgument)
      .ParamIf(mask != 33 && mask != 55, ombResultBadMaskSize);
  if (const OmbResult st = checks.Status(); st != ombResultOk) return st;

  const int k = mask / 10;
  const FixedJob job{kind,
                     kOut<D>,
                     k,
                     pSrc,
                     srcStep,
                     pDst,
                     dstStep,
                     roi,
                     border,
                     static_cast<float>(borderValue),
                     divisor != nullptr ? 1.0f / static_cast<float>(*divisor) : 1.0f};
  return RunFilter(job, rule, pBuffer, -1);
}

}  // namespace

std::int64_t FixedBufferBytes(FixedKind kind, FixedOut out, OmbRoiSize roi, int k) {
  return ReportedSize(RuleOf(kind, out), roi, k);
}

OmbResult FixedFilterRun(const FixedJob& job, std::uint8_t* block, std::int64_t bytes) {
  return RunFilter(job, RuleOf(job.kind, job.out), block, bytes);
}

}  // namespace omb

using omb::FixedKind;
using omb::SizeRule;

extern "C" {

// ---- Sobel family ------------------------------------------------------------

OMB_API OmbResult ombiFilterSobelHorizBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelHoriz, SizeRule::kSobel8u, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterSobelHorizBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelHoriz, SizeRule::kSobel8u, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, &divisor, pBuffer);
}
OMB_API OmbResult ombiFilterSobelHorizBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelHoriz, SizeRule::kSobel32f, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterSobelVertBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelVert, SizeRule::kSobel8u, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterSobelVertBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelVert, SizeRule::kSobel8u, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, &divisor, pBuffer);
}
OMB_API OmbResult ombiFilterSobelVertBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelVert, SizeRule::kSobel32f, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterSobelNegVertBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelNegVert, SizeRule::kSobel8u, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterSobelNegVertBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelNegVert, SizeRule::kSobel8u, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, &divisor, pBuffer);
}
OMB_API OmbResult ombiFilterSobelNegVertBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelNegVert, SizeRule::kSobel32f, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterSobelHorizSecondBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelHorizSecond, SizeRule::kSobel8u, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterSobelHorizSecondBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelHorizSecond, SizeRule::kSobel8u, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, &divisor, pBuffer);
}
OMB_API OmbResult ombiFilterSobelHorizSecondBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelHorizSecond, SizeRule::kSobel32f, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterSobelVertSecondBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelVertSecond, SizeRule::kSobel8u, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterSobelVertSecondBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelVertSecond, SizeRule::kSobel8u, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, &divisor, pBuffer);
}
OMB_API OmbResult ombiFilterSobelVertSecondBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelVertSecond, SizeRule::kSobel32f, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterSobelCrossBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelCross, SizeRule::kSobel8u, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterSobelCrossBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelCross, SizeRule::kSobel8u, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, &divisor, pBuffer);
}
OMB_API OmbResult ombiFilterSobelCrossBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kSobelCross, SizeRule::kSobel32f, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}

// ---- Laplacian -------------------------------------------------------------

OMB_API OmbResult ombiFilterLaplacianBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kLaplacian, SizeRule::kLaplacian8u16s, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterLaplacianBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kLaplacian, SizeRule::kLaplacian8u8s, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, &divisor, pBuffer);
}
OMB_API OmbResult ombiFilterLaplacianBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kLaplacian, SizeRule::kLaplacian32f, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}

// ---- Scharr (3x3 only) -------------------------------------------------------

OMB_API OmbResult ombiFilterScharrHorizBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kScharrHoriz, SizeRule::kScharr8u, pSrc, srcStep, pDst, dstStep, roiSize, 33, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterScharrHorizBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kScharrHoriz, SizeRule::kScharr8u, pSrc, srcStep, pDst, dstStep, roiSize, 33, borderType, borderValue, &divisor, pBuffer);
}
OMB_API OmbResult ombiFilterScharrHorizBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kScharrHoriz, SizeRule::kScharr32f, pSrc, srcStep, pDst, dstStep, roiSize, 33, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterScharrVertBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kScharrVert, SizeRule::kScharr8u, pSrc, srcStep, pDst, dstStep, roiSize, 33, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterScharrVertBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kScharrVert, SizeRule::kScharr8u, pSrc, srcStep, pDst, dstStep, roiSize, 33, borderType, borderValue, &divisor, pBuffer);
}
OMB_API OmbResult ombiFilterScharrVertBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kScharrVert, SizeRule::kScharr32f, pSrc, srcStep, pDst, dstStep, roiSize, 33, borderType, borderValue, nullptr, pBuffer);
}

// ---- Low-pass --------------------------------------------------------------

OMB_API OmbResult ombiFilterLowpassBorder_8u_C1R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kLowpass, SizeRule::kSobel8u, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}
OMB_API OmbResult ombiFilterLowpassBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer) {
  return omb::Filter(FixedKind::kLowpass, SizeRule::kSobel32f, pSrc, srcStep, pDst, dstStep, roiSize, maskSize, borderType, borderValue, nullptr, pBuffer);
}

// ---- Buffer sizes --------------------------------------------------------------

OMB_API OmbResult ombiFilterSobelHorizGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel8u, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelHorizGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel8u, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelHorizGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel32f, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelVertGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel8u, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelVertGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel8u, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelVertGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel32f, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelNegVertGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel8u, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelNegVertGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel8u, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelNegVertGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel32f, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelHorizSecondGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel8u, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelHorizSecondGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel8u, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelHorizSecondGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel32f, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelVertSecondGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel8u, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelVertSecondGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel8u, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelVertSecondGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel32f, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelCrossGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel8u, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelCrossGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel8u, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterSobelCrossGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel32f, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterLaplacianGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kLaplacian8u16s, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterLaplacianGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kLaplacian8u8s, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterLaplacianGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kLaplacian32f, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterScharrHorizGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kScharr8u, roiSize, 33, pBufferSize); }
OMB_API OmbResult ombiFilterScharrHorizGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kScharr8u, roiSize, 33, pBufferSize); }
OMB_API OmbResult ombiFilterScharrHorizGetBufferSize_32f_C1R(OmbRoiSize roiSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kScharr32f, roiSize, 33, pBufferSize); }
OMB_API OmbResult ombiFilterScharrVertGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kScharr8u, roiSize, 33, pBufferSize); }
OMB_API OmbResult ombiFilterScharrVertGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kScharr8u, roiSize, 33, pBufferSize); }
OMB_API OmbResult ombiFilterScharrVertGetBufferSize_32f_C1R(OmbRoiSize roiSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kScharr32f, roiSize, 33, pBufferSize); }
OMB_API OmbResult ombiFilterLowpassGetBufferSize_8u_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel8u, roiSize, maskSize, pBufferSize); }
OMB_API OmbResult ombiFilterLowpassGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize) { return omb::BufferSize(SizeRule::kSobel32f, roiSize, maskSize, pBufferSize); }

}  // extern "C"
