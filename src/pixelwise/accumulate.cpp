// Accumulation into a single-precision image: plain, squared, product and
// weighted running average, with and without a mask.
#include "frame/check.hpp"
#include "ombcv.h"
#include "pixelwise/pixelwise.hpp"

namespace omb {
namespace {

OmbResult Run(const AccumulateJob& job, OmbResult status) {
  if (status == ombResultOk) AccumulateImage(job);
  return status;
}

template <class T>
OmbResult Accumulate(AccOp op, const T* src, int srcStep, float* acc,
                     int accStep, OmbRoiSize roi, float alpha) {
  return Run({.op = op, .type = kPixType<T>, .src1 = {src, srcStep}, .acc = {acc, accStep},
              .roi = roi, .alpha = alpha},
             Checks(roi).In(src, srcStep).Out(acc, accStep).Status());
}

template <class T>
OmbResult AccumulateMasked(AccOp op, const T* src, int srcStep,
                           const Omb8u* mask, int maskStep, float* acc,
                           int accStep, OmbRoiSize roi, float alpha) {
  return Run({.op = op, .type = kPixType<T>, .src1 = {src, srcStep}, .mask = {mask, maskStep},
              .acc = {acc, accStep}, .roi = roi, .alpha = alpha},
             Checks(roi).In(src, srcStep).Mask(mask, maskStep)
                 .Out(acc, accStep).Status());
}

template <class T>
OmbResult AccumulateProduct(const T* src1, int src1Step, const T* src2,
                            int src2Step, float* acc, int accStep,
                            OmbRoiSize roi) {
  return Run({.op = AccOp::kProduct, .type = kPixType<T>, .src1 = {src1, src1Step},
              .src2 = {src2, src2Step}, .acc = {acc, accStep}, .roi = roi},
             Checks(roi).In(src1, src1Step).In(src2, src2Step)
                 .Out(acc, accStep).Status());
}

template <class T>
OmbResult AccumulateProductMasked(const T* src1, int src1Step,
                                  const T* src2, int src2Step,
                                  const Omb8u* mask, int maskStep, float* acc,
                                  int accStep, OmbRoiSize roi) {
  return Run({.op = AccOp::kProduct, .type = kPixType<T>, .src1 = {src1, src1Step},
              .src2 = {src2, src2Step}, .mask = {mask, maskStep}, .acc = {acc, accStep},
              .roi = roi},
             Checks(roi).In(src1, src1Step).In(src2, src2Step)
                 .Mask(mask, maskStep).Out(acc, accStep).Status());
}

}  // namespace
}  // namespace omb

extern "C" {

OMB_API OmbResult ombiAdd_8u32f_C1IR(const Omb8u* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::Accumulate(omb::AccOp::kAdd, pSrc, srcStep, pSrcDst, srcDstStep, roiSize, 0.0f);
}
OMB_API OmbResult ombiAdd_8s32f_C1IR(const Omb8s* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::Accumulate(omb::AccOp::kAdd, pSrc, srcStep, pSrcDst, srcDstStep, roiSize, 0.0f);
}
OMB_API OmbResult ombiAdd_16u32f_C1IR(const Omb16u* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::Accumulate(omb::AccOp::kAdd, pSrc, srcStep, pSrcDst, srcDstStep, roiSize, 0.0f);
}
OMB_API OmbResult ombiAdd_8u32f_C1IMR(const Omb8u* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateMasked(omb::AccOp::kAdd, pSrc, srcStep, pMask, maskStep, pSrcDst, srcDstStep, roiSize, 0.0f);
}
OMB_API OmbResult ombiAdd_8s32f_C1IMR(const Omb8s* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateMasked(omb::AccOp::kAdd, pSrc, srcStep, pMask, maskStep, pSrcDst, srcDstStep, roiSize, 0.0f);
}
OMB_API OmbResult ombiAdd_16u32f_C1IMR(const Omb16u* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateMasked(omb::AccOp::kAdd, pSrc, srcStep, pMask, maskStep, pSrcDst, srcDstStep, roiSize, 0.0f);
}
OMB_API OmbResult ombiAdd_32f_C1IMR(const Omb32f* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateMasked(omb::AccOp::kAdd, pSrc, srcStep, pMask, maskStep, pSrcDst, srcDstStep, roiSize, 0.0f);
}
OMB_API OmbResult ombiAddSquare_8u32f_C1IR(const Omb8u* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::Accumulate(omb::AccOp::kSquare, pSrc, srcStep, pSrcDst, srcDstStep, roiSize, 0.0f);
}
OMB_API OmbResult ombiAddSquare_8s32f_C1IR(const Omb8s* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::Accumulate(omb::AccOp::kSquare, pSrc, srcStep, pSrcDst, srcDstStep, roiSize, 0.0f);
}
OMB_API OmbResult ombiAddSquare_16u32f_C1IR(const Omb16u* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::Accumulate(omb::AccOp::kSquare, pSrc, srcStep, pSrcDst, srcDstStep, roiSize, 0.0f);
}
OMB_API OmbResult ombiAddSquare_32f_C1IR(const Omb32f* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::Accumulate(omb::AccOp::kSquare, pSrc, srcStep, pSrcDst, srcDstStep, roiSize, 0.0f);
}
OMB_API OmbResult ombiAddSquare_8u32f_C1IMR(const Omb8u* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateMasked(omb::AccOp::kSquare, pSrc, srcStep, pMask, maskStep, pSrcDst, srcDstStep, roiSize, 0.0f);
}
OMB_API OmbResult ombiAddSquare_8s32f_C1IMR(const Omb8s* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateMasked(omb::AccOp::kSquare, pSrc, srcStep, pMask, maskStep, pSrcDst, srcDstStep, roiSize, 0.0f);
}
OMB_API OmbResult ombiAddSquare_16u32f_C1IMR(const Omb16u* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateMasked(omb::AccOp::kSquare, pSrc, srcStep, pMask, maskStep, pSrcDst, srcDstStep, roiSize, 0.0f);
}
OMB_API OmbResult ombiAddSquare_32f_C1IMR(const Omb32f* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateMasked(omb::AccOp::kSquare, pSrc, srcStep, pMask, maskStep, pSrcDst, srcDstStep, roiSize, 0.0f);
}
OMB_API OmbResult ombiAddProduct_8u32f_C1IR(const Omb8u* pSrc1, int src1Step, const Omb8u* pSrc2, int src2Step, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateProduct(pSrc1, src1Step, pSrc2, src2Step, pSrcDst, srcDstStep, roiSize);
}
OMB_API OmbResult ombiAddProduct_8s32f_C1IR(const Omb8s* pSrc1, int src1Step, const Omb8s* pSrc2, int src2Step, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateProduct(pSrc1, src1Step, pSrc2, src2Step, pSrcDst, srcDstStep, roiSize);
}
OMB_API OmbResult ombiAddProduct_16u32f_C1IR(const Omb16u* pSrc1, int src1Step, const Omb16u* pSrc2, int src2Step, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateProduct(pSrc1, src1Step, pSrc2, src2Step, pSrcDst, srcDstStep, roiSize);
}
OMB_API OmbResult ombiAddProduct_32f_C1IR(const Omb32f* pSrc1, int src1Step, const Omb32f* pSrc2, int src2Step, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateProduct(pSrc1, src1Step, pSrc2, src2Step, pSrcDst, srcDstStep, roiSize);
}
OMB_API OmbResult ombiAddProduct_8u32f_C1IMR(const Omb8u* pSrc1, int src1Step, const Omb8u* pSrc2, int src2Step, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateProductMasked(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep, pSrcDst, srcDstStep, roiSize);
}
OMB_API OmbResult ombiAddProduct_8s32f_C1IMR(const Omb8s* pSrc1, int src1Step, const Omb8s* pSrc2, int src2Step, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateProductMasked(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep, pSrcDst, srcDstStep, roiSize);
}
OMB_API OmbResult ombiAddProduct_16u32f_C1IMR(const Omb16u* pSrc1, int src1Step, const Omb16u* pSrc2, int src2Step, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateProductMasked(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep, pSrcDst, srcDstStep, roiSize);
}
OMB_API OmbResult ombiAddProduct_32f_C1IMR(const Omb32f* pSrc1, int src1Step, const Omb32f* pSrc2, int src2Step, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize) {
  return omb::AccumulateProductMasked(pSrc1, src1Step, pSrc2, src2Step, pMask, maskStep, pSrcDst, srcDstStep, roiSize);
}
OMB_API OmbResult ombiAddWeighted_8u32f_C1IR(const Omb8u* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha) {
  return omb::Accumulate(omb::AccOp::kWeighted, pSrc, srcStep, pSrcDst, srcDstStep, roiSize, alpha);
}
OMB_API OmbResult ombiAddWeighted_8s32f_C1IR(const Omb8s* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha) {
  return omb::Accumulate(omb::AccOp::kWeighted, pSrc, srcStep, pSrcDst, srcDstStep, roiSize, alpha);
}
OMB_API OmbResult ombiAddWeighted_16u32f_C1IR(const Omb16u* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha) {
  return omb::Accumulate(omb::AccOp::kWeighted, pSrc, srcStep, pSrcDst, srcDstStep, roiSize, alpha);
}
OMB_API OmbResult ombiAddWeighted_32f_C1IR(const Omb32f* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha) {
  return omb::Accumulate(omb::AccOp::kWeighted, pSrc, srcStep, pSrcDst, srcDstStep, roiSize, alpha);
}
OMB_API OmbResult ombiAddWeighted_8u32f_C1IMR(const Omb8u* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha) {
  return omb::AccumulateMasked(omb::AccOp::kWeighted, pSrc, srcStep, pMask, maskStep, pSrcDst, srcDstStep, roiSize, alpha);
}
OMB_API OmbResult ombiAddWeighted_8s32f_C1IMR(const Omb8s* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha) {
  return omb::AccumulateMasked(omb::AccOp::kWeighted, pSrc, srcStep, pMask, maskStep, pSrcDst, srcDstStep, roiSize, alpha);
}
OMB_API OmbResult ombiAddWeighted_16u32f_C1IMR(const Omb16u* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha) {
  return omb::AccumulateMasked(omb::AccOp::kWeighted, pSrc, srcStep, pMask, maskStep, pSrcDst, srcDstStep, roiSize, alpha);
}
OMB_API OmbResult ombiAddWeighted_32f_C1IMR(const Omb32f* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha) {
  return omb::AccumulateMasked(omb::AccOp::kWeighted, pSrc, srcStep, pMask, maskStep, pSrcDst, srcDstStep, roiSize, alpha);
}
}  // extern "C"
