/* ombcv: computer-vision primitives on caller-owned images.
 *
 * Every image argument is a pointer to the first pixel of the region of
 * interest (ROI), a row step in bytes and the ROI size. Each function checks
 * its arguments in a fixed order (null pointers, sizes, steps against width,
 * step alignment, channel of interest, parameters), returns the status of the
 * first failed check without writing anything, and otherwise does its work.
 * Compiles as C99 and as C++. */
#ifndef OMBCV_H
#define OMBCV_H

#include "ombtypes.h"
#include "ombcore.h"

OMB_EXTERN_C_BEGIN

/* ---- Library service ---------------------------------------------------- */

/* The static, read-only version record; the same address on every call. */
OMB_API const OmbLibraryVersion* ombcvGetLibVersion(void);

/* ---- Differences, accumulation and motion history ---------------------- */

/* Absolute difference: 8u as the sum of the two saturating differences, 16u exactly,
 * 32f as a - b with the sign bit cleared. */
OMB_API OmbResult ombiAbsDiff_8u_C1R(const Omb8u* pSrc1, int src1Step, const Omb8u* pSrc2, int src2Step, Omb8u* pDst, int dstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAbsDiff_16u_C1R(const Omb16u* pSrc1, int src1Step, const Omb16u* pSrc2, int src2Step, Omb16u* pDst, int dstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAbsDiff_32f_C1R(const Omb32f* pSrc1, int src1Step, const Omb32f* pSrc2, int src2Step, Omb32f* pDst, int dstStep, OmbRoiSize roiSize);

/* Absolute difference with a constant; integer constants are clamped to the
 * range of the pixel type first. */
OMB_API OmbResult ombiAbsDiffC_8u_C1R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, int value);
OMB_API OmbResult ombiAbsDiffC_16u_C1R(const Omb16u* pSrc, int srcStep, Omb16u* pDst, int dstStep, OmbRoiSize roiSize, int value);
OMB_API OmbResult ombiAbsDiffC_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb32f value);

/* Accumulation into a 32f image, each operation rounded to single precision:
 * d = d + s. Masked forms rewrite every pixel as d + (m ? s : 0). */
OMB_API OmbResult ombiAdd_8u32f_C1IR(const Omb8u* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAdd_8s32f_C1IR(const Omb8s* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAdd_16u32f_C1IR(const Omb16u* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAdd_8u32f_C1IMR(const Omb8u* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAdd_8s32f_C1IMR(const Omb8s* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAdd_16u32f_C1IMR(const Omb16u* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAdd_32f_C1IMR(const Omb32f* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);

/* d = d + s*s; masked: d + (m ? s*s : 0). */
OMB_API OmbResult ombiAddSquare_8u32f_C1IR(const Omb8u* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAddSquare_8s32f_C1IR(const Omb8s* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAddSquare_16u32f_C1IR(const Omb16u* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAddSquare_32f_C1IR(const Omb32f* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAddSquare_8u32f_C1IMR(const Omb8u* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAddSquare_8s32f_C1IMR(const Omb8s* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAddSquare_16u32f_C1IMR(const Omb16u* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAddSquare_32f_C1IMR(const Omb32f* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);

/* d = d + s1*s2; masked: d + (m ? s1*s2 : 0). */
OMB_API OmbResult ombiAddProduct_8u32f_C1IR(const Omb8u* pSrc1, int src1Step, const Omb8u* pSrc2, int src2Step, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAddProduct_8s32f_C1IR(const Omb8s* pSrc1, int src1Step, const Omb8s* pSrc2, int src2Step, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAddProduct_16u32f_C1IR(const Omb16u* pSrc1, int src1Step, const Omb16u* pSrc2, int src2Step, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAddProduct_32f_C1IR(const Omb32f* pSrc1, int src1Step, const Omb32f* pSrc2, int src2Step, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAddProduct_8u32f_C1IMR(const Omb8u* pSrc1, int src1Step, const Omb8u* pSrc2, int src2Step, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAddProduct_8s32f_C1IMR(const Omb8s* pSrc1, int src1Step, const Omb8s* pSrc2, int src2Step, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAddProduct_16u32f_C1IMR(const Omb16u* pSrc1, int src1Step, const Omb16u* pSrc2, int src2Step, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);
OMB_API OmbResult ombiAddProduct_32f_C1IMR(const Omb32f* pSrc1, int src1Step, const Omb32f* pSrc2, int src2Step, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize);

/* Running average d = d + (s - d)*alpha; masked: d + (s - d)*(m ? alpha : 0),
 * so an infinite d becomes NaN where the mask is zero. */
OMB_API OmbResult ombiAddWeighted_8u32f_C1IR(const Omb8u* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha);
OMB_API OmbResult ombiAddWeighted_8s32f_C1IR(const Omb8s* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha);
OMB_API OmbResult ombiAddWeighted_16u32f_C1IR(const Omb16u* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha);
OMB_API OmbResult ombiAddWeighted_32f_C1IR(const Omb32f* pSrc, int srcStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha);
OMB_API OmbResult ombiAddWeighted_8u32f_C1IMR(const Omb8u* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha);
OMB_API OmbResult ombiAddWeighted_8s32f_C1IMR(const Omb8s* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha);
OMB_API OmbResult ombiAddWeighted_16u32f_C1IMR(const Omb16u* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha);
OMB_API OmbResult ombiAddWeighted_32f_C1IMR(const Omb32f* pSrc, int srcStep, const Omb8u* pMask, int maskStep, Omb32f* pSrcDst, int srcDstStep, OmbRoiSize roiSize, Omb32f alpha);

/* Motion history: moving pixels become timestamp; the others are cleared
 * when below timestamp - mhiDuration. mhiDuration negative or NaN gives -11. */
OMB_API OmbResult ombiUpdateMotionHistory_8u32f_C1IR(const Omb8u* pSilhouette, int silhouetteStep, Omb32f* pMHI, int mhiStep, OmbRoiSize roiSize, Omb32f timestamp, Omb32f mhiDuration);
OMB_API OmbResult ombiUpdateMotionHistory_16u32f_C1IR(const Omb16u* pSilhouette, int silhouetteStep, Omb32f* pMHI, int mhiStep, OmbRoiSize roiSize, Omb32f timestamp, Omb32f mhiDuration);
OMB_API OmbResult ombiUpdateMotionHistory_32f_C1IR(const Omb32f* pSilhouette, int silhouetteStep, Omb32f* pMHI, int mhiStep, OmbRoiSize roiSize, Omb32f timestamp, Omb32f mhiDuration);

/* ---- Integral images and rectangle statistics --------------------------- */

/* Upright tables are (W+1) x (H+1): row 0 and column 0 hold the offset val,
 * element (r, c) is val plus the sum of the top-left r x c block. Tilted
 * tables are (W+2) x (H+2) and read the source byte just right of the ROI.
 * roiSize is the source size. */
OMB_API OmbResult ombiIntegral_8u32s_C1R(const Omb8u* pSrc, int srcStep, Omb32s* pDst, int dstStep, OmbRoiSize roiSize, Omb32s val);
OMB_API OmbResult ombiIntegral_8u32f_C1R(const Omb8u* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb32f val);
OMB_API OmbResult ombiSqrIntegral_8u32s_C1R(const Omb8u* pSrc, int srcStep, Omb32s* pDst, int dstStep, Omb32s* pSqr, int sqrStep, OmbRoiSize roiSize, Omb32s val, Omb32s valSqr);
OMB_API OmbResult ombiSqrIntegral_8u32s64f_C1R(const Omb8u* pSrc, int srcStep, Omb32s* pDst, int dstStep, Omb64f* pSqr, int sqrStep, OmbRoiSize roiSize, Omb32s val, Omb64f valSqr);
OMB_API OmbResult ombiSqrIntegral_8u32f64f_C1R(const Omb8u* pSrc, int srcStep, Omb32f* pDst, int dstStep, Omb64f* pSqr, int sqrStep, OmbRoiSize roiSize, Omb32f val, Omb64f valSqr);
OMB_API OmbResult ombiTiltedIntegral_8u32s_C1R(const Omb8u* pSrc, int srcStep, Omb32s* pDst, int dstStep, OmbRoiSize roiSize, Omb32s val);
OMB_API OmbResult ombiTiltedIntegral_8u32f_C1R(const Omb8u* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb32f val);
OMB_API OmbResult ombiTiltedSqrIntegral_8u32s_C1R(const Omb8u* pSrc, int srcStep, Omb32s* pDst, int dstStep, Omb32s* pSqr, int sqrStep, OmbRoiSize roiSize, Omb32s val, Omb32s valSqr);
OMB_API OmbResult ombiTiltedSqrIntegral_8u32s64f_C1R(const Omb8u* pSrc, int srcStep, Omb32s* pDst, int dstStep, Omb64f* pSqr, int sqrStep, OmbRoiSize roiSize, Omb32s val, Omb64f valSqr);
OMB_API OmbResult ombiTiltedSqrIntegral_8u32f64f_C1R(const Omb8u* pSrc, int srcStep, Omb32f* pDst, int dstStep, Omb64f* pSqr, int sqrStep, OmbRoiSize roiSize, Omb32f val, Omb64f valSqr);

/* Standard deviation of a rectangle placed at every destination pixel, from
 * a sum table and a square table; roiSize is the destination size. */
OMB_API OmbResult ombiRectStdDev_32f_C1R(const Omb32f* pSrc, int srcStep, const Omb64f* pSqr, int sqrStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, OmbRect rect);
OMB_API OmbResult ombiRectStdDev_32s32f_C1R(const Omb32s* pSrc, int srcStep, const Omb64f* pSqr, int sqrStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, OmbRect rect);
OMB_API OmbResult ombiRectStdDev_32s_C1RSfs(const Omb32s* pSrc, int srcStep, const Omb32s* pSqr, int sqrStep, Omb32s* pDst, int dstStep, OmbRoiSize roiSize, OmbRect rect, int scaleFactor);
OMB_API OmbResult ombiTiltedRectStdDev_32f_C1R(const Omb32f* pSrc, int srcStep, const Omb64f* pSqr, int sqrStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, OmbRect rect);
OMB_API OmbResult ombiTiltedRectStdDev_32s32f_C1R(const Omb32s* pSrc, int srcStep, const Omb64f* pSqr, int sqrStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, OmbRect rect);
OMB_API OmbResult ombiTiltedRectStdDev_32s_C1RSfs(const Omb32s* pSrc, int srcStep, const Omb32s* pSqr, int sqrStep, Omb32s* pDst, int dstStep, OmbRoiSize roiSize, OmbRect rect, int scaleFactor);

/* ---- Haar stage classifier --------------------------------------------- */

/* A stage state is one block made by an InitAlloc function and released by
 * the matching Free. Classifiers are stored two-rectangle ones first, then
 * three-rectangle ones, then the rest (tilted states keep input order). */
OMB_API OmbResult ombiHaarClassifierInitAlloc_32f(OmbHaarStage_32f** pState, const OmbRect* pFeature, const Omb32f* pWeight, const Omb32f* pThreshold, const Omb32f* pVal1, const Omb32f* pVal2, const int* pNum, int length);
OMB_API OmbResult ombiHaarClassifierInitAlloc_32s(OmbHaarStage_32s** pState, const OmbRect* pFeature, const Omb32s* pWeight, const Omb32s* pThreshold, const Omb32s* pVal1, const Omb32s* pVal2, const int* pNum, int length);
OMB_API OmbResult ombiTiltedHaarClassifierInitAlloc_32f(OmbHaarStage_32f** pState, const OmbRect* pFeature, const Omb32f* pWeight, const Omb32f* pThreshold, const Omb32f* pVal1, const Omb32f* pVal2, const int* pNum, int length);
OMB_API OmbResult ombiTiltedHaarClassifierInitAlloc_32s(OmbHaarStage_32s** pState, const OmbRect* pFeature, const Omb32s* pWeight, const Omb32s* pThreshold, const Omb32s* pVal1, const Omb32s* pVal2, const int* pNum, int length);
OMB_API OmbResult ombiHaarClassifierFree_32f(OmbHaarStage_32f* pState);
OMB_API OmbResult ombiHaarClassifierFree_32s(OmbHaarStage_32s* pState);
OMB_API OmbResult ombiGetHaarClassifierSize_32f(OmbHaarStage_32f* pState, OmbRoiSize* pSize);
OMB_API OmbResult ombiGetHaarClassifierSize_32s(OmbHaarStage_32s* pState, OmbRoiSize* pSize);
OMB_API OmbResult ombiTiltHaarFeatures_32f(const Omb8u* pMask, int flag, OmbHaarStage_32f* pState);
OMB_API OmbResult ombiTiltHaarFeatures_32s(const Omb8u* pMask, int flag, OmbHaarStage_32s* pState);

/* Applies one stage at every window whose mask byte is nonzero: the mask is
 * cleared where the stage rejects the window and *pPositive receives the
 * number of windows that passed. The Mixed forms also read a tilted table
 * for the tilted classifiers. */
OMB_API OmbResult ombiApplyHaarClassifier_32f_C1R(const Omb32f* pSrc, int srcStep, const Omb32f* pNorm, int normStep, Omb8u* pMask, int maskStep, OmbRoiSize roiSize, int* pPositive, Omb32f threshold, OmbHaarStage_32f* pState);
OMB_API OmbResult ombiApplyHaarClassifier_32s32f_C1R(const Omb32s* pSrc, int srcStep, const Omb32f* pNorm, int normStep, Omb8u* pMask, int maskStep, OmbRoiSize roiSize, int* pPositive, Omb32f threshold, OmbHaarStage_32f* pState);
OMB_API OmbResult ombiApplyHaarClassifier_32s_C1RSfs(const Omb32s* pSrc, int srcStep, const Omb32s* pNorm, int normStep, Omb8u* pMask, int maskStep, OmbRoiSize roiSize, int* pPositive, Omb32s threshold, OmbHaarStage_32s* pState, int scaleFactor);
OMB_API OmbResult ombiApplyMixedHaarClassifier_32f_C1R(const Omb32f* pSrc, int srcStep, const Omb32f* pTilted, int tiltedStep, const Omb32f* pNorm, int normStep, Omb8u* pMask, int maskStep, OmbRoiSize roiSize, int* pPositive, Omb32f threshold, OmbHaarStage_32f* pState);
OMB_API OmbResult ombiApplyMixedHaarClassifier_32s32f_C1R(const Omb32s* pSrc, int srcStep, const Omb32s* pTilted, int tiltedStep, const Omb32f* pNorm, int normStep, Omb8u* pMask, int maskStep, OmbRoiSize roiSize, int* pPositive, Omb32f threshold, OmbHaarStage_32f* pState);
OMB_API OmbResult ombiApplyMixedHaarClassifier_32s_C1RSfs(const Omb32s* pSrc, int srcStep, const Omb32s* pTilted, int tiltedStep, const Omb32s* pNorm, int normStep, Omb8u* pMask, int maskStep, OmbRoiSize roiSize, int* pPositive, Omb32s threshold, OmbHaarStage_32s* pState, int scaleFactor);

/* ---- Separable pipeline filters ---------------------------------------- */

/* Row pass: filters each source row, bordered left and right by borderType,
 * into the destination row ppDst[y]. Taps are applied in storage order;
 * xAnchor is the tap that lies over the output pixel. */
OMB_API OmbResult ombiFilterRowBorderPipeline_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s** ppDst, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterRowBorderPipeline_8u16s_C3R(const Omb8u* pSrc, int srcStep, Omb16s** ppDst, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, const Omb8u* borderValue, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterRowBorderPipeline_16s_C1R(const Omb16s* pSrc, int srcStep, Omb16s** ppDst, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, Omb16s borderValue, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterRowBorderPipeline_16s_C3R(const Omb16s* pSrc, int srcStep, Omb16s** ppDst, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, const Omb16s* borderValue, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterRowBorderPipeline_Low_16s_C1R(const Omb16s* pSrc, int srcStep, Omb16s** ppDst, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, Omb16s borderValue, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterRowBorderPipeline_Low_16s_C3R(const Omb16s* pSrc, int srcStep, Omb16s** ppDst, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, const Omb16s* borderValue, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterRowBorderPipeline_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f** ppDst, OmbRoiSize roiSize, const Omb32f* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterRowBorderPipeline_32f_C3R(const Omb32f* pSrc, int srcStep, Omb32f** ppDst, OmbRoiSize roiSize, const Omb32f* pKernel, int kernelSize, int xAnchor, OmbBorderType borderType, const Omb32f* borderValue, Omb8u* pBuffer);

/* Column pass: output row y combines the kernelSize rows ppSrc[y] ..
 * ppSrc[y + kernelSize - 1]; ppSrc holds height + kernelSize - 1 rows. */
OMB_API OmbResult ombiFilterColumnPipeline_16s_C1R(const Omb16s** ppSrc, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterColumnPipeline_16s_C3R(const Omb16s** ppSrc, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterColumnPipeline_Low_16s_C1R(const Omb16s** ppSrc, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterColumnPipeline_Low_16s_C3R(const Omb16s** ppSrc, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterColumnPipeline_16s8u_C1R(const Omb16s** ppSrc, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterColumnPipeline_16s8u_C3R(const Omb16s** ppSrc, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterColumnPipeline_16s8s_C1R(const Omb16s** ppSrc, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterColumnPipeline_16s8s_C3R(const Omb16s** ppSrc, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, const Omb16s* pKernel, int kernelSize, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterColumnPipeline_32f_C1R(const Omb32f** ppSrc, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, const Omb32f* pKernel, int kernelSize, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterColumnPipeline_32f_C3R(const Omb32f** ppSrc, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, const Omb32f* pKernel, int kernelSize, Omb8u* pBuffer);

/* Work-buffer sizes of the passes; the size does not depend on the width. */
OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_8u16s_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_16s_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_16s_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_Low_16s_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_Low_16s_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_32f_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterRowBorderPipelineGetBufferSize_32f_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_16s_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_16s_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_Low_16s_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_Low_16s_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_16s8u_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_16s8u_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_16s8s_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_16s8s_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_32f_C1R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);
OMB_API OmbResult ombiFilterColumnPipelineGetBufferSize_32f_C3R(OmbRoiSize roiSize, int kernelSize, int* pBufferSize);

/* Binomial smoothing kernel with `order` differences, positive tap last. */
OMB_API OmbResult ombiGenSobelKernel_16s(Omb16s* pDst, int kernelSize, int order, int sign);
OMB_API OmbResult ombiGenSobelKernel_32f(Omb32f* pDst, int kernelSize, int order, int sign);

/* ---- Fixed-kernel derivative, Laplacian and low-pass filters ----------- */

/* 3x3 (maskSize 33) or 5x5 (maskSize 55) filters over the whole ROI, with
 * the border rule applied on all four sides. The 8u8s forms divide by
 * divisor and saturate; Scharr filters are 3x3 only. */
OMB_API OmbResult ombiFilterSobelHorizBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelHorizBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelHorizBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelVertBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelVertBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelVertBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelNegVertBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelNegVertBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelNegVertBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelHorizSecondBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelHorizSecondBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelHorizSecondBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelVertSecondBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelVertSecondBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelVertSecondBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelCrossBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelCrossBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterSobelCrossBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterLaplacianBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterLaplacianBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterLaplacianBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterScharrHorizBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterScharrHorizBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterScharrHorizBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterScharrVertBorder_8u16s_C1R(const Omb8u* pSrc, int srcStep, Omb16s* pDst, int dstStep, OmbRoiSize roiSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterScharrVertBorder_8u8s_C1R(const Omb8u* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, OmbBorderType borderType, Omb8u borderValue, int divisor, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterScharrVertBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterLowpassBorder_8u_C1R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb8u borderValue, Omb8u* pBuffer);
OMB_API OmbResult ombiFilterLowpassBorder_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int maskSize, OmbBorderType borderType, Omb32f borderValue, Omb8u* pBuffer);

/* Work-buffer sizes of the fixed-kernel filters. */
OMB_API OmbResult ombiFilterSobelHorizGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelHorizGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelHorizGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelVertGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelVertGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelVertGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelNegVertGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelNegVertGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelNegVertGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelHorizSecondGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelHorizSecondGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelHorizSecondGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelVertSecondGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelVertSecondGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelVertSecondGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelCrossGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelCrossGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterSobelCrossGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterLaplacianGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterLaplacianGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterLaplacianGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterScharrHorizGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int* pBufferSize);
OMB_API OmbResult ombiFilterScharrHorizGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int* pBufferSize);
OMB_API OmbResult ombiFilterScharrHorizGetBufferSize_32f_C1R(OmbRoiSize roiSize, int* pBufferSize);
OMB_API OmbResult ombiFilterScharrVertGetBufferSize_8u16s_C1R(OmbRoiSize roiSize, int* pBufferSize);
OMB_API OmbResult ombiFilterScharrVertGetBufferSize_8u8s_C1R(OmbRoiSize roiSize, int* pBufferSize);
OMB_API OmbResult ombiFilterScharrVertGetBufferSize_32f_C1R(OmbRoiSize roiSize, int* pBufferSize);
OMB_API OmbResult ombiFilterLowpassGetBufferSize_8u_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);
OMB_API OmbResult ombiFilterLowpassGetBufferSize_32f_C1R(OmbRoiSize roiSize, int maskSize, int* pBufferSize);

/* ---- Canny edge detector ----------------------------------------------- */

/* Edges (255) and non-edges (0) from the horizontal and vertical first
 * derivatives: L1 magnitude, non-maximum suppression along four directions
 * and 8-connected hysteresis between the two thresholds. The work buffer
 * holds everything; its size comes from ombiCannyGetSize. */
OMB_API OmbResult ombiCannyGetSize(OmbRoiSize roiSize, int* pBufferSize);
OMB_API OmbResult ombiCanny_16s8u_C1R(const Omb16s* pSrcDx, int srcDxStep, const Omb16s* pSrcDy, int srcDyStep, Omb8u* pDstEdges, int dstEdgeStep, OmbRoiSize roiSize, Omb32f lowThresh, Omb32f highThresh, Omb8u* pBuffer);
OMB_API OmbResult ombiCanny_32f8u_C1R(const Omb32f* pSrcDx, int srcDxStep, const Omb32f* pSrcDy, int srcDyStep, Omb8u* pDstEdges, int dstEdgeStep, OmbRoiSize roiSize, Omb32f lowThresh, Omb32f highThresh, Omb8u* pBuffer);

/* ---- Fast arctangent and colour gradient reduction --------------------- */

/* Gradient direction in degrees, about [-0.14, 360], from y and x arrays. */
OMB_API OmbResult ombibFastArctan_32f(const Omb32f* pSrcY, const Omb32f* pSrcX, Omb32f* pDst, int length);

/* One channel from three by a per-pixel norm: 0 maximum, 1 L1, 2 L2. The
 * integer forms average over the channels, the float form does not. */
OMB_API OmbResult ombiGradientColorToGray_8u_C3C1R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, int norm);
OMB_API OmbResult ombiGradientColorToGray_16u_C3C1R(const Omb16u* pSrc, int srcStep, Omb16u* pDst, int dstStep, OmbRoiSize roiSize, int norm);
OMB_API OmbResult ombiGradientColorToGray_32f_C3C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int norm);

/* ---- Gaussian pyramids ---------------------------------------------------- */

/* Fixed 5x5 Gaussian reduction to ((w + 1) / 2, (h + 1) / 2) and expansion
 * to (2w, 2h); roiSize is the source size. */
OMB_API OmbResult ombiPyrDown_Gauss5x5_8u_C1R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer);
OMB_API OmbResult ombiPyrDown_Gauss5x5_8u_C3R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer);
OMB_API OmbResult ombiPyrDown_Gauss5x5_8s_C1R(const Omb8s* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer);
OMB_API OmbResult ombiPyrDown_Gauss5x5_8s_C3R(const Omb8s* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer);
OMB_API OmbResult ombiPyrDown_Gauss5x5_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer);
OMB_API OmbResult ombiPyrDown_Gauss5x5_32f_C3R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer);
OMB_API OmbResult ombiPyrUp_Gauss5x5_8u_C1R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer);
OMB_API OmbResult ombiPyrUp_Gauss5x5_8u_C3R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer);
OMB_API OmbResult ombiPyrUp_Gauss5x5_8s_C1R(const Omb8s* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer);
OMB_API OmbResult ombiPyrUp_Gauss5x5_8s_C3R(const Omb8s* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer);
OMB_API OmbResult ombiPyrUp_Gauss5x5_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer);
OMB_API OmbResult ombiPyrUp_Gauss5x5_32f_C3R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer);
OMB_API OmbResult ombiPyrDownGetBufSize_Gauss5x5(int roiWidth, int dataType, int channels, int* pBufferSize);
OMB_API OmbResult ombiPyrUpGetBufSize_Gauss5x5(int roiWidth, int dataType, int channels, int* pBufferSize);

/* Level sizes for any ratio in (1, 10], and the pyramid record. */
OMB_API OmbResult ombiGetPyramidDownROI(OmbRoiSize srcRoi, OmbRoiSize* pDstRoi, Omb32f rate);
OMB_API OmbResult ombiGetPyramidUpROI(OmbRoiSize srcRoi, OmbRoiSize* pDstRoiMin, OmbRoiSize* pDstRoiMax, Omb32f rate);
OMB_API OmbResult ombiPyramidInitAlloc(OmbPyramidRecord** ppPyramid, int level, OmbRoiSize roiSize, Omb32f rate);
OMB_API OmbResult ombiPyramidFree(OmbPyramidRecord* pPyramid);

/* General layer operators: one level down or up with a caller-given
 * symmetric kernel (normalised at creation) and linear resampling. */
OMB_API OmbResult ombiPyramidLayerDownInitAlloc_8u_C1R(OmbPyramidLayerDownState_8u_C1R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode);
OMB_API OmbResult ombiPyramidLayerDownInitAlloc_8u_C3R(OmbPyramidLayerDownState_8u_C3R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode);
OMB_API OmbResult ombiPyramidLayerDownInitAlloc_16u_C1R(OmbPyramidLayerDownState_16u_C1R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode);
OMB_API OmbResult ombiPyramidLayerDownInitAlloc_16u_C3R(OmbPyramidLayerDownState_16u_C3R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode);
OMB_API OmbResult ombiPyramidLayerDownInitAlloc_32f_C1R(OmbPyramidLayerDownState_32f_C1R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb32f* pKernel, int kernelSize, int mode);
OMB_API OmbResult ombiPyramidLayerDownInitAlloc_32f_C3R(OmbPyramidLayerDownState_32f_C3R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb32f* pKernel, int kernelSize, int mode);
OMB_API OmbResult ombiPyramidLayerUpInitAlloc_8u_C1R(OmbPyramidLayerUpState_8u_C1R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode);
OMB_API OmbResult ombiPyramidLayerUpInitAlloc_8u_C3R(OmbPyramidLayerUpState_8u_C3R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode);
OMB_API OmbResult ombiPyramidLayerUpInitAlloc_16u_C1R(OmbPyramidLayerUpState_16u_C1R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode);
OMB_API OmbResult ombiPyramidLayerUpInitAlloc_16u_C3R(OmbPyramidLayerUpState_16u_C3R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode);
OMB_API OmbResult ombiPyramidLayerUpInitAlloc_32f_C1R(OmbPyramidLayerUpState_32f_C1R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb32f* pKernel, int kernelSize, int mode);
OMB_API OmbResult ombiPyramidLayerUpInitAlloc_32f_C3R(OmbPyramidLayerUpState_32f_C3R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb32f* pKernel, int kernelSize, int mode);
OMB_API OmbResult ombiPyramidLayerDown_8u_C1R(const Omb8u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb8u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerDownState_8u_C1R* pState);
OMB_API OmbResult ombiPyramidLayerDown_8u_C3R(const Omb8u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb8u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerDownState_8u_C3R* pState);
OMB_API OmbResult ombiPyramidLayerDown_16u_C1R(const Omb16u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb16u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerDownState_16u_C1R* pState);
OMB_API OmbResult ombiPyramidLayerDown_16u_C3R(const Omb16u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb16u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerDownState_16u_C3R* pState);
OMB_API OmbResult ombiPyramidLayerDown_32f_C1R(const Omb32f* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb32f* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerDownState_32f_C1R* pState);
OMB_API OmbResult ombiPyramidLayerDown_32f_C3R(const Omb32f* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb32f* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerDownState_32f_C3R* pState);
OMB_API OmbResult ombiPyramidLayerUp_8u_C1R(const Omb8u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb8u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerUpState_8u_C1R* pState);
OMB_API OmbResult ombiPyramidLayerUp_8u_C3R(const Omb8u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb8u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerUpState_8u_C3R* pState);
OMB_API OmbResult ombiPyramidLayerUp_16u_C1R(const Omb16u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb16u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerUpState_16u_C1R* pState);
OMB_API OmbResult ombiPyramidLayerUp_16u_C3R(const Omb16u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb16u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerUpState_16u_C3R* pState);
OMB_API OmbResult ombiPyramidLayerUp_32f_C1R(const Omb32f* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb32f* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerUpState_32f_C1R* pState);
OMB_API OmbResult ombiPyramidLayerUp_32f_C3R(const Omb32f* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb32f* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerUpState_32f_C3R* pState);
OMB_API OmbResult ombiPyramidLayerDownFree_8u_C1R(OmbPyramidLayerDownState_8u_C1R* pState);
OMB_API OmbResult ombiPyramidLayerDownFree_8u_C3R(OmbPyramidLayerDownState_8u_C3R* pState);
OMB_API OmbResult ombiPyramidLayerDownFree_16u_C1R(OmbPyramidLayerDownState_16u_C1R* pState);
OMB_API OmbResult ombiPyramidLayerDownFree_16u_C3R(OmbPyramidLayerDownState_16u_C3R* pState);
OMB_API OmbResult ombiPyramidLayerDownFree_32f_C1R(OmbPyramidLayerDownState_32f_C1R* pState);
OMB_API OmbResult ombiPyramidLayerDownFree_32f_C3R(OmbPyramidLayerDownState_32f_C3R* pState);
OMB_API OmbResult ombiPyramidLayerUpFree_8u_C1R(OmbPyramidLayerUpState_8u_C1R* pState);
OMB_API OmbResult ombiPyramidLayerUpFree_8u_C3R(OmbPyramidLayerUpState_8u_C3R* pState);
OMB_API OmbResult ombiPyramidLayerUpFree_16u_C1R(OmbPyramidLayerUpState_16u_C1R* pState);
OMB_API OmbResult ombiPyramidLayerUpFree_16u_C3R(OmbPyramidLayerUpState_16u_C3R* pState);
OMB_API OmbResult ombiPyramidLayerUpFree_32f_C1R(OmbPyramidLayerUpState_32f_C1R* pState);
OMB_API OmbResult ombiPyramidLayerUpFree_32f_C3R(OmbPyramidLayerUpState_32f_C3R* pState);

/* ---- Pyramidal Lucas-Kanade optical flow ------------------------------- */

/* Tracks points from the first pyramid into the second, coarsest level
 * first; status 0 = tracked, L + 1 = lost at level L. */
OMB_API OmbResult ombiOpticalFlowPyrLKInitAlloc_8u_C1R(OmbOptFlowPyrLKState_8u_C1R** ppState, OmbRoiSize roiSize, int winSize, int hint);
OMB_API OmbResult ombiOpticalFlowPyrLKInitAlloc_16u_C1R(OmbOptFlowPyrLKState_16u_C1R** ppState, OmbRoiSize roiSize, int winSize, int hint);
OMB_API OmbResult ombiOpticalFlowPyrLKInitAlloc_32f_C1R(OmbOptFlowPyrLKState_32f_C1R** ppState, OmbRoiSize roiSize, int winSize, int hint);
OMB_API OmbResult ombiOpticalFlowPyrLK_8u_C1R(OmbPyramidRecord* pPyr1, OmbPyramidRecord* pPyr2, const OmbPoint32f* pPrev, OmbPoint32f* pNext, Omb8s* pStatus, Omb32f* pError, int numFeat, int winSize, int maxLevel, int maxIter, Omb32f threshold, OmbOptFlowPyrLKState_8u_C1R* pState);
OMB_API OmbResult ombiOpticalFlowPyrLK_16u_C1R(OmbPyramidRecord* pPyr1, OmbPyramidRecord* pPyr2, const OmbPoint32f* pPrev, OmbPoint32f* pNext, Omb8s* pStatus, Omb32f* pError, int numFeat, int winSize, int maxLevel, int maxIter, Omb32f threshold, OmbOptFlowPyrLKState_16u_C1R* pState);
OMB_API OmbResult ombiOpticalFlowPyrLK_32f_C1R(OmbPyramidRecord* pPyr1, OmbPyramidRecord* pPyr2, const OmbPoint32f* pPrev, OmbPoint32f* pNext, Omb8s* pStatus, Omb32f* pError, int numFeat, int winSize, int maxLevel, int maxIter, Omb32f threshold, OmbOptFlowPyrLKState_32f_C1R* pState);
OMB_API OmbResult ombiOpticalFlowPyrLKFree_8u_C1R(OmbOptFlowPyrLKState_8u_C1R* pState);
OMB_API OmbResult ombiOpticalFlowPyrLKFree_16u_C1R(OmbOptFlowPyrLKState_16u_C1R* pState);
OMB_API OmbResult ombiOpticalFlowPyrLKFree_32f_C1R(OmbOptFlowPyrLKState_32f_C1R* pState);

/* ---- Sub-pixel copy and line sampling ----------------------------------- */

/* A window whose top-left corner sits at (dx, dy) inside the source,
 * bilinearly interpolated. */
OMB_API OmbResult ombiCopySubpix_8u_C1R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, Omb32f dx, Omb32f dy);
OMB_API OmbResult ombiCopySubpix_8u16u_C1R_Sfs(const Omb8u* pSrc, int srcStep, Omb16u* pDst, int dstStep, OmbRoiSize roiSize, Omb32f dx, Omb32f dy, int scaleFactor);
OMB_API OmbResult ombiCopySubpix_8u32f_C1R(const Omb8u* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb32f dx, Omb32f dy);
OMB_API OmbResult ombiCopySubpix_16u_C1R(const Omb16u* pSrc, int srcStep, Omb16u* pDst, int dstStep, OmbRoiSize roiSize, Omb32f dx, Omb32f dy);
OMB_API OmbResult ombiCopySubpix_16u32f_C1R(const Omb16u* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb32f dx, Omb32f dy);
OMB_API OmbResult ombiCopySubpix_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb32f dx, Omb32f dy);

/* A window centred at `point`, bilinearly interpolated. Only the window
 * samples whose interpolation stays inside the source are written; *pMin and
 * *pMax receive that rectangle (max below min when nothing is inside). */
OMB_API OmbResult ombiCopySubpixIntersect_8u_C1R(const Omb8u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb8u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPoint32f point, OmbPoint* pMin, OmbPoint* pMax);
OMB_API OmbResult ombiCopySubpixIntersect_8u16u_C1R_Sfs(const Omb8u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb16u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPoint32f point, OmbPoint* pMin, OmbPoint* pMax, int scaleFactor);
OMB_API OmbResult ombiCopySubpixIntersect_8u32f_C1R(const Omb8u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb32f* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPoint32f point, OmbPoint* pMin, OmbPoint* pMax);
OMB_API OmbResult ombiCopySubpixIntersect_16u_C1R(const Omb16u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb16u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPoint32f point, OmbPoint* pMin, OmbPoint* pMax);
OMB_API OmbResult ombiCopySubpixIntersect_16u32f_C1R(const Omb16u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb32f* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPoint32f point, OmbPoint* pMin, OmbPoint* pMax);
OMB_API OmbResult ombiCopySubpixIntersect_32f_C1R(const Omb32f* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb32f* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPoint32f point, OmbPoint* pMin, OmbPoint* pMax);

/* The pixels of the line from pt1 to pt2, both included, in Bresenham order;
 * pDst holds max(|dx|, |dy|) + 1 pixels. */
OMB_API OmbResult ombiSampleLine_8u_C1R(const Omb8u* pSrc, int srcStep, OmbRoiSize roiSize, Omb8u* pDst, OmbPoint pt1, OmbPoint pt2);
OMB_API OmbResult ombiSampleLine_8u_C3R(const Omb8u* pSrc, int srcStep, OmbRoiSize roiSize, Omb8u* pDst, OmbPoint pt1, OmbPoint pt2);
OMB_API OmbResult ombiSampleLine_16u_C1R(const Omb16u* pSrc, int srcStep, OmbRoiSize roiSize, Omb16u* pDst, OmbPoint pt1, OmbPoint pt2);
OMB_API OmbResult ombiSampleLine_16u_C3R(const Omb16u* pSrc, int srcStep, OmbRoiSize roiSize, Omb16u* pDst, OmbPoint pt1, OmbPoint pt2);
OMB_API OmbResult ombiSampleLine_32f_C1R(const Omb32f* pSrc, int srcStep, OmbRoiSize roiSize, Omb32f* pDst, OmbPoint pt1, OmbPoint pt2);
OMB_API OmbResult ombiSampleLine_32f_C3R(const Omb32f* pSrc, int srcStep, OmbRoiSize roiSize, Omb32f* pDst, OmbPoint pt1, OmbPoint pt2);

OMB_EXTERN_C_END

#endif /* OMBCV_H */
