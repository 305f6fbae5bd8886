// Pyramidal Lucas-Kanade optical flow: the fronts, the state's set-up and
// the size of its work block. The tracking itself is optflow_track.cpp.
#include <cstdint>
#include <cstring>

#include "filters/newconvol.hpp"
#include "frame/alloc.hpp"
#include "frame/carve.hpp"
#include "frame/parallel.hpp"
#include "motion/optflow.hpp"
#include "ombcv.h"

namespace omb {
namespace {

template <class State>
OmbResult Front(PixType member, OmbPyramidRecord* p1, OmbPyramidRecord* p2, const OmbPoint32f* prev,
                OmbPoint32f* next, Omb8s* status, Omb32f* error, int count, int win, int max_level,
                int max_iter, float threshold, State* state) {
  if (p1 == nullptr || p2 == nullptr || state == nullptr || prev == nullptr || next == nullptr ||
      status == nullptr || error == nullptr)
    return ombResultNullPointer;
  OptFlowState* st = reinterpret_cast<OptFlowState*>(state);
  if (count < 1 || win < 1 || win != st->win) return ombResultBadSize;
  if (max_level < 0 || max_iter < 1) return ombResultBadArgument;
  if (threshold < 0.0f) return ombResultBadArgument;
  return OptFlowTrack({p1, p2, prev, next, status, error, count, max_level, max_iter, threshold, st, member});
}

OmbResult InitAlloc(void** result, OmbRoiSize roi, int win, int hint, PixType type) {
  if (result == nullptr) return ombResultNullPointer;
  if (win < 1 || roi.height < 1 || roi.width < 1) return ombResultBadSize;
  const int threads = BandCount();
  const int scharr = OptFlowScharrBytes(type, {roi.width + 5, roi.height + 5});
  const long long bytes = OptFlowWorkBytes(type, roi.width, roi.height, win, threads, scharr);
  if (scharr < 0 || bytes < 0) return ombResultNoMemory;
  OptFlowState* st = static_cast<OptFlowState*>(ombAlignedAlloc(static_cast<int>(sizeof(OptFlowState))));
  if (st == nullptr) return ombResultNoMemory;
  st->work = static_cast<unsigned char*>(ombAlignedAlloc(static_cast<int>(bytes)));
  if (st->work == nullptr) {
    ombAlignedFree(st);
    return ombResultNoMemory;
  }
  st->width = roi.width, st->height = roi.height, st->threads = threads;
  st->type = TypeCode(type), st->hint = hint, st->win = win;
  std::memcpy(st->work, &scharr, sizeof scharr);
  *result = st;
  return ombResultOk;
}

OmbResult Free(void* state) {
  if (state == nullptr) return ombResultNullPointer;
  OptFlowState* st = static_cast<OptFlowState*>(state);
  ombAlignedFree(st->work);
  ombAlignedFree(st);
  return ombResultOk;
}

}  // namespace

int OptFlowScharrBytes(PixType type, OmbRoiSize roi) {
  const FixedOut out = type == PixType::k8u ? FixedOut::k16s : FixedOut::k32f;
  const std::int64_t a = FixedBufferBytes(FixedKind::kScharrHoriz, out, roi, 3);
  const std::int64_t b = FixedBufferBytes(FixedKind::kScharrVert, out, roi, 3);
  if (a < 0 || b < 0) return -1;
  return static_cast<int>(a > b ? a : b);
}

long long OptFlowFormulaBytes(PixType type, int w, int h, int n, int t, int B) {
  const long long s = 1LL * (n + 3) * (n + 3), plane = 1LL * (w + 5) * (h + 5);
  if (type == PixType::k8u)
    return 2 * (B + 2 * plane) + 8 * s + 16LL * (2 * n + 6) * (n + 3) + t * (24 * s + 52) + 16 * s * t + 10;
  const long long P = 2LL * (4 * n + 12) * (n + 3) + 4 * s, Q = 4 * P + 4;
  const long long planes = type == PixType::k16u ? 3 * plane : 2 * plane;
  return 4 * (P + B + planes) + Q * t + 40LL * t + 16 * s * t + 4;
}

long long OptFlowWorkBytes(PixType type, int w, int h, int n, int t, int B) {
  Carver plan = Carver::Plan(1);
  OptFlowBlock(plan, type, w, h, n, t, B);
  const long long r = ReportedBytes(OptFlowFormulaBytes(type, w, h, n, t, B), plan);
  return r > 0x7fffffffLL ? -1 : r;
}

}  // namespace omb

static_assert(sizeof(omb::OptFlowState) == 32, "the state record is 32 bytes");

extern "C" {

OMB_API OmbResult ombiOpticalFlowPyrLKInitAlloc_8u_C1R(OmbOptFlowPyrLKState_8u_C1R** ppState, OmbRoiSize roiSize, int winSize, int hint) {
  return omb::InitAlloc(reinterpret_cast<void**>(ppState), roiSize, winSize, hint, omb::PixType::k8u);
}

OMB_API OmbResult ombiOpticalFlowPyrLKInitAlloc_16u_C1R(OmbOptFlowPyrLKState_16u_C1R** ppState, OmbRoiSize roiSize, int winSize, int hint) {
  return omb::InitAlloc(reinterpret_cast<void**>(ppState), roiSize, winSize, hint, omb::PixType::k16u);
}

OMB_API OmbResult ombiOpticalFlowPyrLKInitAlloc_32f_C1R(OmbOptFlowPyrLKState_32f_C1R** ppState, OmbRoiSize roiSize, int winSize, int hint) {
  return omb::InitAlloc(reinterpret_cast<void**>(ppState), roiSize, winSize, hint, omb::PixType::k32f);
}

OMB_API OmbResult ombiOpticalFlowPyrLK_8u_C1R(OmbPyramidRecord* pPyr1, OmbPyramidRecord* pPyr2, const OmbPoint32f* pPrev, OmbPoint32f* pNext, Omb8s* pStatus, Omb32f* pError, int numFeat, int winSize, int maxLevel, int maxIter, Omb32f threshold, OmbOptFlowPyrLKState_8u_C1R* pState) {
  return omb::Front(omb::PixType::k8u, pPyr1, pPyr2, pPrev, pNext, pStatus, pError, numFeat, winSize, maxLevel, maxIter, threshold, pState);
}

OMB_API OmbResult ombiOpticalFlowPyrLK_16u_C1R(OmbPyramidRecord* pPyr1, OmbPyramidRecord* pPyr2, const OmbPoint32f* pPrev, OmbPoint32f* pNext, Omb8s* pStatus, Omb32f* pError, int numFeat, int winSize, int maxLevel, int maxIter, Omb32f threshold, OmbOptFlowPyrLKState_16u_C1R* pState) {
  return omb::Front(omb::PixType::k16u, pPyr1, pPyr2, pPrev, pNext, pStatus, pError, numFeat, winSize, maxLevel, maxIter, threshold, pState);
}

OMB_API OmbResult ombiOpticalFlowPyrLK_32f_C1R(OmbPyramidRecord* pPyr1, OmbPyramidRecord* pPyr2, const OmbPoint32f* pPrev, OmbPoint32f* pNext, Omb8s* pStatus, Omb32f* pError, int numFeat, int winSize, int maxLevel, int maxIter, Omb32f threshold, OmbOptFlowPyrLKState_32f_C1R* pState) {
  return omb::Front(omb::PixType::k32f, pPyr1, pPyr2, pPrev, pNext, pStatus, pError, numFeat, winSize, maxLevel, maxIter, threshold, pState);
}

// The three typed Free functions are one routine.
OMB_API OmbResult ombiOpticalFlowPyrLKFree_8u_C1R(OmbOptFlowPyrLKState_8u_C1R* pState) { return omb::Free(pState); }

OMB_API OmbResult ombiOpticalFlowPyrLKFree_16u_C1R(OmbOptFlowPyrLKState_16u_C1R* pState) { return omb::Free(pState); }

OMB_API OmbResult ombiOpticalFlowPyrLKFree_32f_C1R(OmbOptFlowPyrLKState_32f_C1R* pState) { return omb::Free(pState); }

}  // extern "C"
