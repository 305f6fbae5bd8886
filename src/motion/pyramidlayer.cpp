// General pyramid layer operators: one level down or up with a caller-given
// separable kernel at any rate in (1, 10], their states and fronts.
//
// Down: the source is filtered (see pyramidlayer_ref.hpp for the exact
// arithmetic; integer data keep the filtered image as 16-bit values
// saturated to [0, 65535]) and then resampled to the destination, rows
// first, the source position of output index i being i * rate.
//
// Up: the source is copied into a temporary image extended by K/2 samples
// on every side, the extension replicating the edge samples; that image is
// interpolated linearly to the destination width (all extended rows) and
// then height (source position of output index i: i / rate, read at the
// offset of the extension, so positions past the last sample read the
// replicated edge), and the result is filtered with the kernel straight
// into the destination, saturated to the pixel range.
#include "motion/pyramidlayer.hpp"

#include <algorithm>
#include <cstdint>

#include "frame/alloc.hpp"
#include "frame/border.hpp"
#include "frame/check.hpp"
#include "motion/pyramid.hpp"
#include "motion/pyramidlayer_ref.hpp"
#include "ombcv.h"

namespace omb {
namespace {

constexpr std::int64_t kAlign = 32;
inline std::int64_t AlignUp(std::int64_t n) { return (n + kAlign - 1) / kAlign * kAlign; }

bool RateOk(float r) { return r > 1.0f && r <= 10.0f; }

// Work buffer bytes for filtering a width x height image (the source when
// going down, the destination when going up): the row sums, and two
// intermediate images of that size.
template <class T>
void WorkBytes(std::int64_t width, std::int64_t height, int channels,
               std::int64_t* w0, std::int64_t* w1) {
  using Tr = layer::Traits<T>;
  const std::int64_t elems = width * height * channels;
  *w0 = elems * static_cast<std::int64_t>(sizeof(typename Tr::Acc));
  *w1 = 2 * elems * static_cast<std::int64_t>(sizeof(typename Tr::Mid));
}

// The block size the state layout was first drawn up for (32-bit pointers);
// the block is never smaller than this.
std::int64_t NominalBlockBytes(std::int64_t K, std::int64_t w, std::int64_t h,
                               std::int64_t C, int type) {
  const bool fl = type == kLayerType32f;
  const std::int64_t mult = fl ? 4 : 8;
  const std::int64_t W = (C * w + mult - 1) / mult * mult;
  const std::int64_t big = std::max(W, h);
  std::int64_t n = fl ? 4 * (C * big + K + (K + h) * (K + W)) + 140
                      : 2 * K + 4 * C * big + 4 * (K + h) * (K + W) + 140;
  if (w > K && h > K) {
    const std::int64_t elem = type == kLayerType8u ? 1 : (type == kLayerType16u ? 2 : 4);
    n += 20 * K + 2 * C * K * (K / 2 + K) * elem + 32 * K + (fl ? 16 * (W / 4) : 4 * W) * K + 100;
  }
  return n;
}

template <class T, class S>
OmbResult LayerInitAlloc(S** ppState, OmbRoiSize roi, float rate,
                         const typename layer::Traits<T>::Kern* pKernel, int K, int mode,
                         int type, int channels) {
  using Kern = typename layer::Traits<T>::Kern;
  OmbResult st = Checks(roi)
                     .Ptr(ppState)
                     .Ptr(pKernel)
                     .ParamIf(mode != 2, ombResultBadArgument)
                     .ParamIf(!RateOk(rate) || K < 3 || K % 2 == 0, ombResultBadArgument)
                     .ParamIf(channels != 1 && channels != 3, ombResultBadChannelCount)
                     .ParamIf(type != kLayerType8u && type != kLayerType16u &&
                                  type != kLayerType32f,
                              ombResultBadDataType)
                     .Status();
  if (st != ombResultOk) return st;

  std::int64_t w0 = 0, w1 = 0;
  WorkBytes<T>(roi.width, roi.height, channels, &w0, &w1);
  const std::int64_t kern_off = AlignUp(static_cast<std::int64_t>(sizeof(LayerState)));
  const std::int64_t w0_off = AlignUp(kern_off + K * static_cast<std::int64_t>(sizeof(Kern)));
  const std::int64_t w1_off = AlignUp(w0_off + w0);
  const std::int64_t total = std::max(w1_off + w1, NominalBlockBytes(K, roi.width, roi.height,
                                                                      channels, type));
  if (total > INT32_MAX) return ombResultNoMemory;
  auto* block = static_cast<std::uint8_t*>(ombAlignedAlloc(static_cast<int>(total)));
  if (block == nullptr) return ombResultNoMemory;

  auto* state = reinterpret_cast<LayerState*>(block);
  state->kernel = block + kern_off;
  state->work0 = block + w0_off;
  state->work1 = block + w1_off;
  state->ksize = K;
  state->type = type;
  state->width = roi.width;
  state->height = roi.height;
  state->mode = mode;
  state->rate = rate;
  state->channels = channels;
  state->work0_bytes = w0;
  state->work1_bytes = w1;
  layer::NormaliseKernel(pKernel, K, static_cast<Kern*>(state->kernel));
  *ppState = reinterpret_cast<S*>(state);
  return layer::KernelSymmetric(pKernel, K) ? ombResultOk
                                            : ombResultKernelNotSymmetricWarning;
}

// The twelve Free exports share this body.
OmbResult LayerFree(void* pState) {
  if (pState == nullptr) return ombResultNullPointer;
  ombAlignedFree(pState);
  return ombResultOk;
}

// Work buffers for one call: the state's own when they are large enough,
// otherwise one temporary block released by the destructor.
class Scratch {
 public:
  Scratch(const LayerState& s, std::int64_t need0, std::int64_t need1) {
    if (need0 <= s.work0_bytes && need1 <= s.work1_bytes) {
      w0_ = s.work0;
      w1_ = s.work1;
      return;
    }
    const std::int64_t total = AlignUp(need0) + need1;
    if (total > INT32_MAX) return;
    owned_ = ombAlignedAlloc(static_cast<int>(total));
    if (owned_ == nullptr) return;
    w0_ = owned_;
    w1_ = static_cast<std::uint8_t*>(owned_) + AlignUp(need0);
  }
  ~Scratch() { ombAlignedFree(owned_); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  bool ok() const { return w0_ != nullptr; }
  void* w0() const { return w0_; }
  void* w1() const { return w1_; }

 private:
  void* w0_ = nullptr;
  void* w1_ = nullptr;
  void* owned_ = nullptr;
};

// Caller image checks shared by both operators: null pointers, source size,
// steps against the row widths (no alignment rule: rows are read bytewise),
// the state's rate. The destination size is tested by the caller after this.
template <class T>
OmbResult OperatorChecks(const T* pSrc, int srcStep, OmbRoiSize src, T* pDst, int dstStep,
                         OmbRoiSize dst, const LayerState* s, int channels) {
  const auto px = static_cast<std::int64_t>(channels) * static_cast<std::int64_t>(sizeof(T));
  OmbResult st = Checks(src)
                     .Ptr(pSrc)
                     .Ptr(pDst)
                     .Ptr(s)
                     .Row(reinterpret_cast<const std::uint8_t*>(pSrc), srcStep, src.width * px)
                     .Row(reinterpret_cast<const std::uint8_t*>(pDst), dstStep, dst.width * px)
                     .Status();
  if (st != ombResultOk) return st;
  return RateOk(s->rate) ? ombResultOk : ombResultBadArgument;
}

template <class T, class S>
OmbResult LayerDown(const T* pSrc, int srcStep, OmbRoiSize src, T* pDst, int dstStep,
                    OmbRoiSize dst, S* pState, int C) {
  using Tr = layer::Traits<T>;
  using Mid = typename Tr::Mid;
  using Acc = typename Tr::Acc;
  const auto* s = reinterpret_cast<const LayerState*>(pState);
  if (OmbResult st = OperatorChecks(pSrc, srcStep, src, pDst, dstStep, dst, s, C);
      st != ombResultOk)
    return st;
  OmbRoiSize want{0, 0};
  // The checks above leave the size query nothing to refuse.
  if (PyramidDownRoi(src, s->rate, &want) != ombResultOk || want.width != dst.width ||
      want.height != dst.height)
    return ombResultBadSize;

  std::int64_t need0 = 0, need1 = 0;
  WorkBytes<T>(src.width, src.height, C, &need0, &need1);
  Scratch scratch(*s, need0, need1);
  if (!scratch.ok()) return ombResultNoMemory;

  const std::int64_t srow = static_cast<std::int64_t>(src.width) * C;
  const std::int64_t drow = static_cast<std::int64_t>(dst.width) * C;
  auto* acc = static_cast<Acc*>(scratch.w0());
  auto* filtered = static_cast<Mid*>(scratch.w1());             // src.height x srow
  Mid* narrowed = filtered + srow * src.height;                  // src.height x drow
  const auto* sbytes = reinterpret_cast<const std::uint8_t*>(pSrc);
  auto* dbytes = reinterpret_cast<std::uint8_t*>(pDst);

  layer::FilterSeparable<T, Mid>(
      src.width, src.height, C, static_cast<const typename Tr::Kern*>(s->kernel), s->ksize, acc,
      [&](int y, std::int64_t e) {
        return layer::LoadAt<T>(sbytes + static_cast<std::ptrdiff_t>(srcStep) * y, e);
      },
      [&](int y, std::int64_t e, Mid v) { filtered[srow * y + e] = v; });

  const layer::Position pos{s->rate, false};
  for (int y = 0; y < src.height; ++y)
    for (int ch = 0; ch < C; ++ch)
      layer::ResampleLine<Mid>(
          src.width, dst.width, pos,
          [&](int k) { return filtered[srow * y + static_cast<std::int64_t>(k) * C + ch]; },
          [&](int i, Mid v) { narrowed[drow * y + static_cast<std::int64_t>(i) * C + ch] = v; });
  for (std::int64_t e = 0; e < drow; ++e)
    layer::ResampleLine<Mid>(
        src.height, dst.height, pos, [&](int k) { return narrowed[drow * k + e]; },
        [&](int i, Mid v) {
          T out;
          if constexpr (std::is_same_v<T, float>)
            out = v;
          else
            out = layer::SaturateInt<T>(v);
          layer::StoreAt<T>(dbytes + static_cast<std::ptrdiff_t>(dstStep) * i, e, out);
        });
  return ombResultOk;
}

template <class T, class S>
OmbResult LayerUp(const T* pSrc, int srcStep, OmbRoiSize src, T* pDst, int dstStep,
                  OmbRoiSize dst, S* pState, int C) {
  using Tr = layer::Traits<T>;
  using Mid = typename Tr::Mid;
  using Acc = typename Tr::Acc;
  const auto* s = reinterpret_cast<const LayerState*>(pState);
  if (OmbResult st = OperatorChecks(pSrc, srcStep, src, pDst, dstStep, dst, s, C);
      st != ombResultOk)
    return st;
  OmbRoiSize lo{0, 0}, hi{0, 0};
  if (PyramidUpRoi(src, s->rate, &lo, &hi) != ombResultOk || dst.width < lo.width ||
      dst.width > hi.width || dst.height < lo.height || dst.height > hi.height)
    return ombResultBadSize;

  // The extended copy of the source.
  const int c = s->ksize / 2;
  const std::int64_t ew = static_cast<std::int64_t>(src.width) + 2 * c;
  const std::int64_t eh = static_cast<std::int64_t>(src.height) + 2 * c;
  const std::int64_t erow = ew * C;
  const std::int64_t ext_bytes = erow * eh * static_cast<std::int64_t>(sizeof(T));
  if (ext_bytes > INT32_MAX) return ombResultNoMemory;
  struct Block {
    void* p;
    ~Block() { ombAlignedFree(p); }
  } ext{ombAlignedAlloc(static_cast<int>(ext_bytes))};
  if (ext.p == nullptr) return ombResultNoMemory;
  auto* e_img = static_cast<T*>(ext.p);
  const auto* sbytes = reinterpret_cast<const std::uint8_t*>(pSrc);
  for (std::int64_t y = 0; y < eh; ++y) {
    const int ys = BorderIndex(static_cast<int>(y - c), src.height, ombBorderReplicate);
    const std::uint8_t* srow = sbytes + static_cast<std::ptrdiff_t>(srcStep) * ys;
    for (std::int64_t x = 0; x < ew; ++x) {
      const int xs = BorderIndex(static_cast<int>(x - c), src.width, ombBorderReplicate);
      for (int ch = 0; ch < C; ++ch)
        e_img[erow * y + x * C + ch] =
            layer::LoadAt<T>(srow, static_cast<std::int64_t>(xs) * C + ch);
    }
  }

  const std::int64_t drow = static_cast<std::int64_t>(dst.width) * C;
  std::int64_t need0 = 0, need1 = 0;
  WorkBytes<T>(dst.width, dst.height, C, &need0, &need1);
  // The widened extended rows may outnumber the destination rows.
  need1 = std::max(need1, (eh + dst.height) * drow * static_cast<std::int64_t>(sizeof(Mid)));
  Scratch scratch(*s, need0, need1);
  if (!scratch.ok()) return ombResultNoMemory;
  auto* acc = static_cast<Acc*>(scratch.w0());
  auto* widened = static_cast<Mid*>(scratch.w1());  // eh x drow
  Mid* upsampled = widened + eh * drow;              // dst.height x drow

  // Positions index the unextended image; k + 1 past the last sample reads
  // the replicated extension, and the clamp to the last extended sample
  // never bites for rates in (1, 10].
  const layer::Position pos{s->rate, true};
  for (std::int64_t y = 0; y < eh; ++y)
    for (int ch = 0; ch < C; ++ch)
      layer::ResampleLine<Mid>(
          src.width + c, dst.width, pos,
          [&](int k) { return static_cast<Mid>(e_img[erow * y + (k + c) * C + ch]); },
          [&](int i, Mid v) { widened[drow * y + static_cast<std::int64_t>(i) * C + ch] = v; });
  for (std::int64_t e = 0; e < drow; ++e)
    layer::ResampleLine<Mid>(
        src.height + c, dst.height, pos, [&](int k) { return widened[drow * (k + c) + e]; },
        [&](int i, Mid v) { upsampled[drow * i + e] = v; });

  auto* dbytes = reinterpret_cast<std::uint8_t*>(pDst);
  layer::FilterSeparable<T, T>(
      dst.width, dst.height, C, static_cast<const typename Tr::Kern*>(s->kernel), s->ksize, acc,
      [&](int y, std::int64_t e) { return upsampled[drow * y + e]; },
      [&](int y, std::int64_t e, T v) {
        layer::StoreAt<T>(dbytes + static_cast<std::ptrdiff_t>(dstStep) * y, e, v);
      });
  return ombResultOk;
}

}  // namespace
}  // namespace omb

using omb::kLayerType16u;
using omb::kLayerType32f;
using omb::kLayerType8u;

extern "C" {

// ---- set-up ------------------------------------------------------------------

OMB_API OmbResult ombiPyramidLayerDownInitAlloc_8u_C1R(OmbPyramidLayerDownState_8u_C1R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode) {
  return omb::LayerInitAlloc<Omb8u>(ppState, roiSize, rate, pKernel, kernelSize, mode, kLayerType8u, 1);
}
OMB_API OmbResult ombiPyramidLayerDownInitAlloc_8u_C3R(OmbPyramidLayerDownState_8u_C3R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode) {
  return omb::LayerInitAlloc<Omb8u>(ppState, roiSize, rate, pKernel, kernelSize, mode, kLayerType8u, 3);
}
OMB_API OmbResult ombiPyramidLayerDownInitAlloc_16u_C1R(OmbPyramidLayerDownState_16u_C1R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode) {
  return omb::LayerInitAlloc<Omb16u>(ppState, roiSize, rate, pKernel, kernelSize, mode, kLayerType16u, 1);
}
OMB_API OmbResult ombiPyramidLayerDownInitAlloc_16u_C3R(OmbPyramidLayerDownState_16u_C3R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode) {
  return omb::LayerInitAlloc<Omb16u>(ppState, roiSize, rate, pKernel, kernelSize, mode, kLayerType16u, 3);
}
OMB_API OmbResult ombiPyramidLayerDownInitAlloc_32f_C1R(OmbPyramidLayerDownState_32f_C1R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb32f* pKernel, int kernelSize, int mode) {
  return omb::LayerInitAlloc<Omb32f>(ppState, roiSize, rate, pKernel, kernelSize, mode, kLayerType32f, 1);
}
OMB_API OmbResult ombiPyramidLayerDownInitAlloc_32f_C3R(OmbPyramidLayerDownState_32f_C3R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb32f* pKernel, int kernelSize, int mode) {
  return omb::LayerInitAlloc<Omb32f>(ppState, roiSize, rate, pKernel, kernelSize, mode, kLayerType32f, 3);
}
// Up states are sized for the image that gets filtered: the destination.
OMB_API OmbResult ombiPyramidLayerUpInitAlloc_8u_C1R(OmbPyramidLayerUpState_8u_C1R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode) {
  return omb::LayerInitAlloc<Omb8u>(ppState, roiSize, rate, pKernel, kernelSize, mode, kLayerType8u, 1);
}
OMB_API OmbResult ombiPyramidLayerUpInitAlloc_8u_C3R(OmbPyramidLayerUpState_8u_C3R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode) {
  return omb::LayerInitAlloc<Omb8u>(ppState, roiSize, rate, pKernel, kernelSize, mode, kLayerType8u, 3);
}
OMB_API OmbResult ombiPyramidLayerUpInitAlloc_16u_C1R(OmbPyramidLayerUpState_16u_C1R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode) {
  return omb::LayerInitAlloc<Omb16u>(ppState, roiSize, rate, pKernel, kernelSize, mode, kLayerType16u, 1);
}
OMB_API OmbResult ombiPyramidLayerUpInitAlloc_16u_C3R(OmbPyramidLayerUpState_16u_C3R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb16s* pKernel, int kernelSize, int mode) {
  return omb::LayerInitAlloc<Omb16u>(ppState, roiSize, rate, pKernel, kernelSize, mode, kLayerType16u, 3);
}
OMB_API OmbResult ombiPyramidLayerUpInitAlloc_32f_C1R(OmbPyramidLayerUpState_32f_C1R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb32f* pKernel, int kernelSize, int mode) {
  return omb::LayerInitAlloc<Omb32f>(ppState, roiSize, rate, pKernel, kernelSize, mode, kLayerType32f, 1);
}
OMB_API OmbResult ombiPyramidLayerUpInitAlloc_32f_C3R(OmbPyramidLayerUpState_32f_C3R** ppState, OmbRoiSize roiSize, Omb32f rate, const Omb32f* pKernel, int kernelSize, int mode) {
  return omb::LayerInitAlloc<Omb32f>(ppState, roiSize, rate, pKernel, kernelSize, mode, kLayerType32f, 3);
}

// ---- operators ---------------------------------------------------------------

OMB_API OmbResult ombiPyramidLayerDown_8u_C1R(const Omb8u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb8u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerDownState_8u_C1R* pState) {
  return omb::LayerDown(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, pState, 1);
}
OMB_API OmbResult ombiPyramidLayerDown_8u_C3R(const Omb8u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb8u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerDownState_8u_C3R* pState) {
  return omb::LayerDown(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, pState, 3);
}
OMB_API OmbResult ombiPyramidLayerDown_16u_C1R(const Omb16u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb16u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerDownState_16u_C1R* pState) {
  return omb::LayerDown(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, pState, 1);
}
OMB_API OmbResult ombiPyramidLayerDown_16u_C3R(const Omb16u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb16u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerDownState_16u_C3R* pState) {
  return omb::LayerDown(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, pState, 3);
}
OMB_API OmbResult ombiPyramidLayerDown_32f_C1R(const Omb32f* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb32f* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerDownState_32f_C1R* pState) {
  return omb::LayerDown(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, pState, 1);
}
OMB_API OmbResult ombiPyramidLayerDown_32f_C3R(const Omb32f* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb32f* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerDownState_32f_C3R* pState) {
  return omb::LayerDown(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, pState, 3);
}
OMB_API OmbResult ombiPyramidLayerUp_8u_C1R(const Omb8u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb8u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerUpState_8u_C1R* pState) {
  return omb::LayerUp(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, pState, 1);
}
OMB_API OmbResult ombiPyramidLayerUp_8u_C3R(const Omb8u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb8u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerUpState_8u_C3R* pState) {
  return omb::LayerUp(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, pState, 3);
}
OMB_API OmbResult ombiPyramidLayerUp_16u_C1R(const Omb16u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb16u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerUpState_16u_C1R* pState) {
  return omb::LayerUp(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, pState, 1);
}
OMB_API OmbResult ombiPyramidLayerUp_16u_C3R(const Omb16u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb16u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerUpState_16u_C3R* pState) {
  return omb::LayerUp(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, pState, 3);
}
OMB_API OmbResult ombiPyramidLayerUp_32f_C1R(const Omb32f* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb32f* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerUpState_32f_C1R* pState) {
  return omb::LayerUp(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, pState, 1);
}
OMB_API OmbResult ombiPyramidLayerUp_32f_C3R(const Omb32f* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb32f* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPyramidLayerUpState_32f_C3R* pState) {
  return omb::LayerUp(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, pState, 3);
}

// ---- release -----------------------------------------------------------------

OMB_API OmbResult ombiPyramidLayerDownFree_8u_C1R(OmbPyramidLayerDownState_8u_C1R* pState) { return omb::LayerFree(pState); }
OMB_API OmbResult ombiPyramidLayerDownFree_8u_C3R(OmbPyramidLayerDownState_8u_C3R* pState) { return omb::LayerFree(pState); }
OMB_API OmbResult ombiPyramidLayerDownFree_16u_C1R(OmbPyramidLayerDownState_16u_C1R* pState) { return omb::LayerFree(pState); }
OMB_API OmbResult ombiPyramidLayerDownFree_16u_C3R(OmbPyramidLayerDownState_16u_C3R* pState) { return omb::LayerFree(pState); }
OMB_API OmbResult ombiPyramidLayerDownFree_32f_C1R(OmbPyramidLayerDownState_32f_C1R* pState) { return omb::LayerFree(pState); }
OMB_API OmbResult ombiPyramidLayerDownFree_32f_C3R(OmbPyramidLayerDownState_32f_C3R* pState) { return omb::LayerFree(pState); }
OMB_API OmbResult ombiPyramidLayerUpFree_8u_C1R(OmbPyramidLayerUpState_8u_C1R* pState) { return omb::LayerFree(pState); }
OMB_API OmbResult ombiPyramidLayerUpFree_8u_C3R(OmbPyramidLayerUpState_8u_C3R* pState) { return omb::LayerFree(pState); }
OMB_API OmbResult ombiPyramidLayerUpFree_16u_C1R(OmbPyramidLayerUpState_16u_C1R* pState) { return omb::LayerFree(pState); }
OMB_API OmbResult ombiPyramidLayerUpFree_16u_C3R(OmbPyramidLayerUpState_16u_C3R* pState) { return omb::LayerFree(pState); }
OMB_API OmbResult ombiPyramidLayerUpFree_32f_C1R(OmbPyramidLayerUpState_32f_C1R* pState) { return omb::LayerFree(pState); }
OMB_API OmbResult ombiPyramidLayerUpFree_32f_C3R(OmbPyramidLayerUpState_32f_C3R* pState) { return omb::LayerFree(pState); }

}  // extern "C"
