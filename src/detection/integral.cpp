// Upright and tilted integral tables of 8-bit images, with or without the
// table of squares.
#include <cstdint>

#include "detection/integral.hpp"
#include "frame/check.hpp"
#include "ombcv.h"

namespace omb {
namespace {

template <class T> constexpr TableType kTable = TableType::kNone;
template <> constexpr TableType kTable<Omb32s> = TableType::k32s;
template <> constexpr TableType kTable<Omb32f> = TableType::k32f;
template <> constexpr TableType kTable<Omb64f> = TableType::k64f;

// Upright tables have one column more than the source, tilted tables two.
// The 8-bit source step has no alignment rule; a tilted table also reads
// the source byte just right of the ROI, which the caller must provide.
template <class TS, class TQ>
OmbResult Integral(bool tilted, const Omb8u* src, int srcStep, TS* sum,
                   int sumStep, TQ* sqr, int sqrStep, OmbRoiSize roi,
                   double val, double valSqr) {
  const std::int64_t cols = static_cast<std::int64_t>(roi.width) + (tilted ? 2 : 1);
  Checks checks(roi);
  checks.InUnaligned(src, srcStep).Row(sum, sumStep, cols);
  if constexpr (kTable<TQ> != TableType::kNone) checks.Row(sqr, sqrStep, cols);
  if (const OmbResult st = checks.Status(); st != ombResultOk) return st;
  IntegralImage({.src = {src, srcStep},
                 .sum = {sum, sumStep},
                 .sum_type = kTable<TS>,
                 .sqr = {sqr, sqrStep},
                 .sqr_type = kTable<TQ>,
                 .roi = roi,
                 .tilted = tilted,
                 .val = val,
                 .val_sqr = valSqr});
  return ombResultOk;
}

// Stands for the absent square table of the plain forms.
struct NoSquares {};
NoSquares* const kNoSquares = nullptr;

}  // namespace
}  // namespace omb

extern "C" {

OMB_API OmbResult ombiIntegral_8u32s_C1R(const Omb8u* pSrc, int srcStep, Omb32s* pDst, int dstStep, OmbRoiSize roiSize, Omb32s val) {
  return omb::Integral(false, pSrc, srcStep, pDst, dstStep, omb::kNoSquares, 0, roiSize, val, 0);
}
OMB_API OmbResult ombiIntegral_8u32f_C1R(const Omb8u* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb32f val) {
  return omb::Integral(false, pSrc, srcStep, pDst, dstStep, omb::kNoSquares, 0, roiSize, val, 0);
}
OMB_API OmbResult ombiSqrIntegral_8u32s_C1R(const Omb8u* pSrc, int srcStep, Omb32s* pDst, int dstStep, Omb32s* pSqr, int sqrStep, OmbRoiSize roiSize, Omb32s val, Omb32s valSqr) {
  return omb::Integral(false, pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}
OMB_API OmbResult ombiSqrIntegral_8u32s64f_C1R(const Omb8u* pSrc, int srcStep, Omb32s* pDst, int dstStep, Omb64f* pSqr, int sqrStep, OmbRoiSize roiSize, Omb32s val, Omb64f valSqr) {
  return omb::Integral(false, pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}
OMB_API OmbResult ombiSqrIntegral_8u32f64f_C1R(const Omb8u* pSrc, int srcStep, Omb32f* pDst, int dstStep, Omb64f* pSqr, int sqrStep, OmbRoiSize roiSize, Omb32f val, Omb64f valSqr) {
  return omb::Integral(false, pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}
OMB_API OmbResult ombiTiltedIntegral_8u32s_C1R(const Omb8u* pSrc, int srcStep, Omb32s* pDst, int dstStep, OmbRoiSize roiSize, Omb32s val) {
  return omb::Integral(true, pSrc, srcStep, pDst, dstStep, omb::kNoSquares, 0, roiSize, val, 0);
}
OMB_API OmbResult ombiTiltedIntegral_8u32f_C1R(const Omb8u* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb32f val) {
  return omb::Integral(true, pSrc, srcStep, pDst, dstStep, omb::kNoSquares, 0, roiSize, val, 0);
}
OMB_API OmbResult ombiTiltedSqrIntegral_8u32s_C1R(const Omb8u* pSrc, int srcStep, Omb32s* pDst, int dstStep, Omb32s* pSqr, int sqrStep, OmbRoiSize roiSize, Omb32s val, Omb32s valSqr) {
  return omb::Integral(true, pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}
OMB_API OmbResult ombiTiltedSqrIntegral_8u32s64f_C1R(const Omb8u* pSrc, int srcStep, Omb32s* pDst, int dstStep, Omb64f* pSqr, int sqrStep, OmbRoiSize roiSize, Omb32s val, Omb64f valSqr) {
  return omb::Integral(true, pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}
OMB_API OmbResult ombiTiltedSqrIntegral_8u32f64f_C1R(const Omb8u* pSrc, int srcStep, Omb32f* pDst, int dstStep, Omb64f* pSqr, int sqrStep, OmbRoiSize roiSize, Omb32f val, Omb64f valSqr) {
  return omb::Integral(true, pSrc, srcStep, pDst, dstStep, pSqr, sqrStep, roiSize, val, valSqr);
}

}  // extern "C"
