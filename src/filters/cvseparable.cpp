// Row and column pipeline passes, their work-buffer sizes and the Sobel
// kernel generator.
//
// The fronts check in each family's own order (the row pass tests the
// anchor before the step; the column pass tests pBuffer and the source row
// pointers last), then split the rows into bands. Every band runs the same
// kernel on its own rows and, for the row pass, on its own slice of the
// work buffer (RowAreas): after aligning the buffer to 32 bytes, band t's
// bordered-row strips start t * P bytes further on, P being the per-thread
// kernel area that the buffer size reports. That stays within the reported
// size for any band count up to the sizing thread count. The reported size
// also reserves room for per-thread copies of the row-pointer arrays, which
// a 64-bit build never makes: the bands index the caller's arrays directly.
#include <algorithm>
#include <cstdint>

#include "filters/buffer_size.hpp"
#include "filters/separable.hpp"
#include "frame/border.hpp"
#include "frame/carve.hpp"
#include "frame/check.hpp"
#include "frame/image.hpp"
#include "frame/parallel.hpp"
#include "ombcv.h"

namespace omb {
namespace {

// Per-thread kernel areas (bytes) of the buffer-size table.
std::int64_t AreaRow8u16sC3(int k) { return 12 * std::int64_t{k} + 32; }
std::int64_t AreaRow16sC1(int k) { return 48 * std::int64_t{k} + 80; }
std::int64_t AreaRow16sC3(int k) { return 28 * std::int64_t{k} + 32; }
std::int64_t AreaRowLowC1(int k) { return 24 * std::int64_t{k} + 64; }
std::int64_t AreaRowLowC3(int k) { return 208 * std::int64_t{k} + 64; }
std::int64_t AreaRow32fC1(int k) { return 16 * std::int64_t{k} + 32; }
std::int64_t AreaRow32fC3(int k) { return 192 * std::int64_t{k} + 32; }
// Shared by the 8u16s C1 row pass and the 16-bit column passes.
std::int64_t AreaShort(int k) { return 4 * std::int64_t{k} + 32; }
std::int64_t AreaColumnLow(int) { return 32; }
std::int64_t AreaColumn32f(int) { return 0; }

OmbResult BufferSize(OmbRoiSize roi, int k, int* size, std::int64_t (*area)(int)) {
  if (size == nullptr) return ombResultNullPointer;
  if (roi.width < 1 || roi.height < 1 || k < 1) return ombResultBadSize;
  // A size that does not fit the 32-bit result cannot be reported.
  if (!PipelineBufferSize(roi, k, area(k), size)) return ombResultBadSize;
  return ombResultOk;
}

// Both passes split by width x height >= T x 2^15 unless their rule
// rules it out: the 16s row pass for kernels under 4 taps, the float row
// pass and the integer column passes on a one-core die for 3 and 5 taps.
SplitRule PassSplit(bool allowed) { return allowed ? SplitArea(15) : kSerial; }

struct RowArgs {
  SepArith arith;
  int channels;
  bool float_kind;             // 32f: no divisor; a null ppDst entry is an error
  bool align_tested;
  std::int64_t (*area)(int);   // per-thread kernel area
};

// The row pass's carving: `bands` areas of P bytes each after aligning the
// buffer to 32 bytes, P the kernel area of the size table (never less than
// the bordered-row strips take, whatever the width and anchor).
template <class TS>
std::uint8_t* RowAreas(Carver& c, const RowArgs& f, int k, int bands, std::int64_t* area) {
  *area = std::max(f.area(k),
                   BorderRows<TS>::Bytes(RowPassBorder<TS>(1, 1, f.channels, k, 0, ombBorderReplicate)));
  return c.TakeSlots(bands, *area, 1);
}

template <class TS>
OmbResult RowBufferSize(const RowArgs& f, OmbRoiSize roi, int k, int* size) {
  if (const OmbResult st = BufferSize(roi, k, size, f.area); st != ombResultOk) return st;
  Carver plan = Carver::Plan(32);
  std::int64_t area = 0;
  RowAreas<TS>(plan, f, k, ombThreadCount(), &area);
  const std::int64_t bytes = ReportedBytes(*size, plan);
  if (bytes > INT32_MAX) return ombResultBadSize;
  *size = static_cast<int>(bytes);
  return ombResultOk;
}

// Border values of a C1 call are passed by value; the front keeps them in
// a local and hands its address on like the C3 pointer.
template <class TS, class TD, class TK>
OmbResult RowPass(const RowArgs& f, const TS* pSrc, int srcStep, TD** ppDst, OmbRoiSize roi,
                  const TK* pKernel, int kernelSize, int xAnchor, int borderType,
                  const TS* borderValue, int divisor, Omb8u* pBuffer) {
  if (const OmbResult st = Checks(roi).Ptr(pSrc).Ptr(ppDst).Ptr(pKernel).Ptr(pBuffer)
                               .SizeIf(kernelSize < 1).Status();
      st != ombResultOk) {
    return st;
  }
  if (xAnchor < 0 || xAnchor >= kernelSize) return ombResultBadAnchor;
  Checks checks(roi);
  if (f.align_tested) {
    checks.In(pSrc, srcStep, f.channels);
  } else {
    checks.InUnaligned(pSrc, srcStep, f.channels);
  }
  checks.ParamIf(!IsBorderType(borderType), ombResultBadArgument)
      .ParamIf(!f.float_kind && divisor == 0, ombResultBadArgument);
  if (const OmbResult st = checks.Status(); st != ombResultOk) return st;
  // Only a constant border reads the values; a missing C3 array is refused
  // then, never read.
  if (borderType == ombBorderConstant && borderValue == nullptr) return ombResultNullPointer;

  // Rows up to the first null destination pointer are filtered. Finding it
  // first keeps the result the same however the rows are banded.
  int rows = 0;
  while (rows < roi.height && ppDst[rows] != nullptr) ++rows;

  const SplitRule split =
      PassSplit((f.arith != SepArith::k16s || kernelSize >= 4) &&
                (f.arith != SepArith::k32f || ombMultiCoreFlag(kernelSize) != 0));
  Carver carver(pBuffer, 32);
  std::int64_t area = 0;
  std::uint8_t* const areas = RowAreas<TS>(carver, f, kernelSize, BandCount(), &area);
  EachBand(split, roi, rows, [&](const Band<NoResult>& b) {
    FilterRows({.arith = f.arith,
                .channels = f.channels,
                .src = RowPtr(pSrc, srcStep, b.first_row),
                .src_step = srcStep,
                .dst = reinterpret_cast<void* const*>(ppDst + b.first_row),
                .rows = b.rows,
                .width = roi.width,
                .kernel = pKernel,
                .ksize = kernelSize,
                .anchor = xAnchor,
                .border = borderType,
                .border_value = borderValue,
                .divisor = divisor,
                .strips = areas + b.index * area});
  });
  if (rows < roi.height && f.float_kind) return ombResultNullPointer;
  return ombResultOk;
}

template <int C>
constexpr RowArgs Row8u16s{SepArith::k8u16s, C, false, false,
                           C == 1 ? AreaShort : AreaRow8u16sC3};
template <int C>
constexpr RowArgs Row16s{SepArith::k16s, C, false, true, C == 1 ? AreaRow16sC1 : AreaRow16sC3};
template <int C>
constexpr RowArgs RowLow{SepArith::kLow16s, C, false, true,
                         C == 1 ? AreaRowLowC1 : AreaRowLowC3};
template <int C>
constexpr RowArgs Row32f{SepArith::k32f, C, true, true, C == 1 ? AreaRow32fC1 : AreaRow32fC3};

template <class TS, class TD, class TK>
OmbResult ColumnPass(SepArith arith, int channels, const TS** ppSrc, TD* pDst, int dstStep,
                     OmbRoiSize roi, const TK* pKernel, int kernelSize, int divisor,
                     Omb8u* pBuffer) {
  const bool float_kind = arith == SepArith::k32f;
  Checks checks(roi);
  checks.Ptr(ppSrc).Ptr(pKernel).SizeIf(kernelSize < 1);
  if (sizeof(TD) == 1) {
    checks.InUnaligned(static_cast<const TD*>(pDst), dstStep, channels);
  } else {
    checks.Out(pDst, dstStep, channels);
  }
  if (const OmbResult st = checks.Status(); st != ombResultOk) return st;
  const std::int64_t entries = std::int64_t{roi.height} + kernelSize - 1;
  auto some_row_null = [&] {
    for (std::int64_t i = 0; i < entries; ++i) {
      if (ppSrc[i] == nullptr) return true;
    }
    return false;
  };
  if (float_kind) {
    // The float form tests its row pointers before the buffer.
    if (some_row_null() || pBuffer == nullptr) return ombResultNullPointer;
  } else {
    if (pBuffer == nullptr) return ombResultNullPointer;
    if (divisor == 0) return ombResultBadArgument;
    if (some_row_null()) return ombResultNullPointer;
  }

  const SplitRule split = PassSplit(float_kind || ombMultiCoreFlag(kernelSize) != 0);
  EachBand(split, roi, roi.height, [&](const Band<NoResult>& b) {
    FilterColumns({.arith = arith,
                   .channels = channels,
                   .src = reinterpret_cast<const void* const*>(ppSrc + b.first_row),
                   .dst = RowPtr(pDst, dstStep, b.first_row),
                   .dst_step = dstStep,
                   .rows = b.rows,
                   .width = roi.width,
                   .kernel = pKernel,
                   .ksize = kernelSize,
                   .divisor = divisor});
  });
  return ombResultOk;
}

// Binomial smoothing passes followed by difference passes, in place; T is
// the arithmetic (16-bit unsigned for the wrapping 16s form, float).
template <class T, class TD>
OmbResult SobelKernel(TD* pDst, int n, int order, int sign) {
  if (pDst == nullptr) return ombResultNullPointer;
  if (n < 1 || n % 2 == 0 || order < 0 || order >= n) return ombResultBadSize;
  for (int j = 0; j < n; ++j) pDst[j] = TD(0);
  pDst[n - 1] = TD(1);
  auto get = [&](int j) { return static_cast<T>(pDst[j]); };
  auto put = [&](int j, T v) { pDst[j] = static_cast<TD>(v); };
  for (int i = 1; i <= n - order - 1; ++i) {
    for (int j = n - i - 1; j <= n - 2; ++j) put(j, static_cast<T>(get(j) + get(j + 1)));
  }
  for (int i = std::max(n - order, 1); i <= n - 1; ++i) {
    for (int j = n - i - 1; j <= n - 2; ++j) put(j, static_cast<T>(get(j) - get(j + 1)));
  }
  if (sign < 0) {
    for (int j = 0; j < n; ++j) put(j, static_cast<T>(T(0) - get(j)));
  }
  return ombResultOk;
}

}  // namespace
}  // namespace omb

using omb::SepArith;

extern "C" {

// ---- Row pass ----------------------------------------------------------

OMB_API OmbResult ombiFilterRowBorderPipeline_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s** ppDst, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer) {
  return omb::RowPass(omb::Row8u16s<1>, pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, &borderValue, divisor, pBuffer);
}
OMB_API OmbResult ombiFilterRowBorderPipeline_8u16s_C3R(const Omb8u* pSrc, int srcStep, Omb16s** ppDst, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, const Omb8u* borderValue, int divisor, Omb8u* pBuffer) {
  return omb::RowPass(omb::Row8u16s<3>, pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, borderValue, divisor, pBuffer);
}
OMB_API OmbResult ombiFilterRowBorderPipeline_16s_C1R(const Omb16s* pSrc, int srcStep, Omb16s** ppDst, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, Omb16s borderValue, int divisor, Omb8u* pBuffer) {
  return omb::RowPass(omb::Row16s<1>, pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, &borderValue, divisor, pBuffer);
}
OMB_API OmbResult ombiFilterRowBorderPipeline_16s_C3R(const Omb16s* pSrc, int srcStep, Omb16s** ppDst, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, const Omb16s* borderValue, int divisor, Omb8u* pBuffer) {
  return omb::RowPass(omb::Row16s<3>, pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, borderValue, divisor, pBuffer);
}
OMB_API OmbResult ombiFilterRowBorderPipeline_Low_16s_C1R(const Omb16s* pSrc, int srcStep, Omb16s** ppDst, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, Omb16s borderValue, int divisor, Omb8u* pBuffer) {
  return omb::RowPass(omb::RowLow<1>, pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, &borderValue, divisor, pBuffer);
}
OMB_API OmbResult ombiFilterRowBorderPipeline_Low_16s_C3R(const Omb16s* pSrc, int srcStep, Omb16s** ppDst, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, const Omb16s* borderValue, int divisor, Omb8u* pBuffer) {
  return omb::RowPass(omb::RowLow<3>, pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, borderValue, divisor, pBuffer);
}
OMB_API OmbResult ombiFilterRowBorderPipeline_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f** ppDst, OmbRoiSize roiSize, const Omb32f* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer) {
  return omb::RowPass(omb::Row32f<1>, pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, &borderValue, 1, pBuffer);
}
OMB_API OmbResult ombiFilterRowBorderPipeline_32f_C3R(const Omb32f* pSrc, int srcStep, Omb32f** ppDst, OmbRoiSize roiSize, const Omb32f* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, const Omb32f* borderValue, Omb8u* pBuffer) {
  return omb::RowPass(omb::Row32f<3>, pSrc, srcStep, ppDst, roiSize, pKernel, kernelSize, xAnchor, borderType, borderValue, 1, pBuffer);
}

// ---- Column pass -------------------------------------------------------

OMB_API OmbResult ombiFilterColumnPipeline_16s_C1R(const Omb16s** ppSrc, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer) {
  return omb::ColumnPass(SepArith::k16s, 1, ppSrc, pDst, dstStep, roiSize, pKernel, kernelSize, divisor, pBuffer);
}
OMB_API OmbResult ombiFilterColumnPipeline_16s_C3R(const Omb16s** ppSrc, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer) {
  return omb::ColumnPass(SepArith::k16s, 3, ppSrc, pDst, dstStep, roiSize, pKernel, kernelSize, divisor, pBuffer);
}
OMB_API OmbResult ombiFilterColumnPipeline_Low_16s_C1R(const Omb16s** ppSrc, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer) {
  return omb::ColumnPass(SepArith::kLow16s, 1, ppSrc, pDst, dstStep, roiSize, pKernel, kernelSize, divisor, pBuffer);
}
OMB_API OmbResult ombiFilterColumnPipeline_Low_16s_C3R(const Omb16s** ppSrc, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer) {
  return omb::ColumnPass(SepArith::kLow16s, 3, ppSrc, pDst, dstStep, roiSize, pKernel, kernelSize, divisor, pBuffer);
}
OMB_API OmbResult ombiFilterColumnPipeline_16s8u_C1R(const Omb16s** ppSrc, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer) {
  return omb::ColumnPass(SepArith::k16s8u, 1, ppSrc, pDst, dstStep, roiSize, pKernel, kernelSize, divisor, pBuffer);
}
OMB_API OmbResult ombiFilterColumnPipeline_16s8u_C3R(const Omb16s** ppSrc, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer) {
  return omb::ColumnPass(SepArith::k16s8u, 3, ppSrc, pDst, dstStep, roiSize, pKernel, kernelSize, divisor, pBuffer);
}
OMB_API OmbResult ombiFilterColumnPipeline_16s8s_C1R(const Omb16s** ppSrc, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer) {
  return omb::ColumnPass(SepArith::k16s8s, 1, ppSrc, pDst, dstStep, roiSize, pKernel, kernelSize, divisor, pBuffer);
}
OMB_API OmbResult ombiFilterColumnPipeline_16s8s_C3R(const Omb16s** ppSrc, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer) {
  return omb::ColumnPass(SepArith::k16s8s, 3, ppSrc, pDst, dstStep, roiSize, pKernel, kernelSize, divisor, pBuffer);
}
OMB_API OmbResult ombiFilterColumnPipeline_32f_C1R(const Omb32f** ppSrc, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, const Omb32f* pKernel, int kernelSize, Omb8u* pBuffer) {
  return omb::ColumnPass(SepArith::k32f, 1, ppSrc, pDst, dstStep, roiSize, pKernel, kernelSize, 1, pBuffer);
}
OMB_API OmbResult ombiFilterColumnPipeline_32f_C3R(const Omb32f** ppSrc, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, const Omb32f* pKernel, int kernelSize, Omb8u* pBuffer) {
  return omb::ColumnPass(SepArith::k32f, 3, ppSrc, pDst, dstStep, roiSize, pKernel, kernelSize, 1, pBuffer);
}

// ---- Buffer sizes --------------------------------------------------------

OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::RowBufferSize<Omb8u>(omb::Row8u16s<1>, roiSize, kernelSize, pBufferSize);
}
OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_8u16s_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::RowBufferSize<Omb8u>(omb::Row8u16s<3>, roiSize, kernelSize, pBufferSize);
}
OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_16s_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::RowBufferSize<Omb16s>(omb::Row16s<1>, roiSize, kernelSize, pBufferSize);
}
OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_16s_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::RowBufferSize<Omb16s>(omb::Row16s<3>, roiSize, kernelSize, pBufferSize);
}
OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_Low_16s_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::RowBufferSize<Omb16s>(omb::RowLow<1>, roiSize, kernelSize, pBufferSize);
}
OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_Low_16s_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::RowBufferSize<Omb16s>(omb::RowLow<3>, roiSize, kernelSize, pBufferSize);
}
OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_32f_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::RowBufferSize<Omb32f>(omb::Row32f<1>, roiSize, kernelSize, pBufferSize);
}
OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_32f_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::RowBufferSize<Omb32f>(omb::Row32f<3>, roiSize, kernelSize, pBufferSize);
}
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_16s_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::BufferSize(roiSize, kernelSize, pBufferSize, omb::AreaShort);
}
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_16s_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::BufferSize(roiSize, kernelSize, pBufferSize, omb::AreaShort);
}
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_Low_16s_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::BufferSize(roiSize, kernelSize, pBufferSize, omb::AreaColumnLow);
}
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_Low_16s_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::BufferSize(roiSize, kernelSize, pBufferSize, omb::AreaColumnLow);
}
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_16s8u_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::BufferSize(roiSize, kernelSize, pBufferSize, omb::AreaShort);
}
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_16s8u_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::BufferSize(roiSize, kernelSize, pBufferSize, omb::AreaShort);
}
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_16s8s_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::BufferSize(roiSize, kernelSize, pBufferSize, omb::AreaShort);
}
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_16s8s_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::BufferSize(roiSize, kernelSize, pBufferSize, omb::AreaShort);
}
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_32f_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::BufferSize(roiSize, kernelSize, pBufferSize, omb::AreaColumn32f);
}
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_32f_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize) {
  return omb::BufferSize(roiSize, kernelSize, pBufferSize, omb::AreaColumn32f);
}

// ---- Sobel kernels -------------------------------------------------------

OMB_API OmbResult ombiGenSobelKernel_16s(Omb16s* pDst, int kernelSize, int order, int sign) {
  return omb::SobelKernel<std::uint16_t>(pDst, kernelSize, order, sign);
}
OMB_API OmbResult ombiGenSobelKernel_32f(Omb32f* pDst, int kernelSize, int order, int sign) {
  return omb::SobelKernel<float>(pDst, kernelSize, order, sign);
}

}  // extern "C"
