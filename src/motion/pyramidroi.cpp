// Pyramid level sizes for any ratio in (1, 10] and the pyramid record.
//
// Record block (ombiPyramidInitAlloc). The documented size is one block
// of 44 x level + 112 bytes for a 32-bit build, where the record takes 24
// bytes. Here the record is sizeof(OmbPyramidRecord) = 48 bytes (five
// pointers and an int, padded to 8), and the block holds, in this order and
// each aligned to its element size:
//   the record                          48 bytes
//   sizes   (level + 1 OmbRoiSize)      8 bytes each, from offset 48
//   images  (level + 1 void*)           8 bytes each
//   scales  (level + 1 double)          8 bytes each
//   steps   (level + 1 int)             4 bytes each
// i.e. 48 + 28 x (level + 1) bytes, which is what is allocated (it never
// exceeds 44 x level + 112). The block comes from the library allocator and
// is released whole by ombiPyramidFree; the level images are the caller's.
#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>

#include "frame/alloc.hpp"
#include "motion/pyramid.hpp"
#include "ombcv.h"

namespace omb {
namespace {

// trunc(v) for a non-negative float, saturated to INT_MAX (a product of a
// width near INT_MAX and the rate can round past 2^31).
inline int TruncSat(float v) {
  if (!(v < 2147483648.0f)) return INT_MAX;
  return static_cast<int>(v);
}

inline int UpMin(int n, float rate) {
  if (n == 1) return 1;
  const int t = TruncSat(static_cast<float>(n - 1) * rate);
  const std::int64_t m = std::max<std::int64_t>(std::int64_t{n} + 1, std::int64_t{t} + 1);
  return static_cast<int>(std::min<std::int64_t>(m, INT_MAX));
}

inline int UpMax(int n, float rate) {
  const int t = TruncSat(static_cast<float>(n) * rate);
  const std::int64_t m = std::max<std::int64_t>(std::int64_t{n} + 1, t);
  return static_cast<int>(std::min<std::int64_t>(m, INT_MAX));
}

// First guess: the quotient and the half are formed in long double, rounded
// once to float, then truncated.
inline int DownGuess(int n, float rate) {
  const long double q = static_cast<long double>(n) / static_cast<long double>(rate) + 0.5L;
  return std::max(1, TruncSat(static_cast<float>(q)));
}

bool RateOk(float rate) { return rate > 1.0f && rate <= 10.0f; }  // NaN fails

}  // namespace

OmbResult PyramidUpRoi(OmbRoiSize src, float rate, OmbRoiSize* dst_min, OmbRoiSize* dst_max) {
  dst_min->width = UpMin(src.width, rate);
  dst_min->height = UpMin(src.height, rate);
  dst_max->width = UpMax(src.width, rate);
  dst_max->height = UpMax(src.height, rate);
  return ombResultOk;
}

OmbResult PyramidDownRoi(OmbRoiSize src, float rate, OmbRoiSize* dst) {
  OmbRoiSize cur{DownGuess(src.width, rate), DownGuess(src.height, rate)};
  // The search: each pass evaluates the up range of the current
  // guess and moves each dimension by one toward the source; it ends with a
  // pass that changes neither. The ranges tile [1, inf) (see pyramid.hpp), so
  // each dimension moves monotonically and the loop ends.
  for (;;) {
    OmbRoiSize lo, hi;
    PyramidUpRoi(cur, rate, &lo, &hi);
    bool changed = false;
    if (src.height < lo.height) {
      --cur.height;
      changed = true;
    } else if (src.height > hi.height) {
      ++cur.height;
      changed = true;
    }
    if (src.width < lo.width) {
      --cur.width;
      changed = true;
    } else if (src.width > hi.width) {
      ++cur.width;
      changed = true;
    }
    if (!changed) break;
  }
  *dst = cur;
  return ombResultOk;
}

namespace {

// Byte offsets of the record block's parts for a given level.
struct RecordLayout {
  std::int64_t sizes, images, scales, steps, total;
  explicit RecordLayout(std::int64_t level) {
    const std::int64_t n = level + 1;
    sizes = sizeof(OmbPyramidRecord);
    images = sizes + n * static_cast<std::int64_t>(sizeof(OmbRoiSize));
    scales = images + n * static_cast<std::int64_t>(sizeof(void*));
    steps = scales + n * static_cast<std::int64_t>(sizeof(double));
    total = steps + n * static_cast<std::int64_t>(sizeof(int));
  }
};

static_assert(sizeof(OmbPyramidRecord) % alignof(OmbRoiSize) == 0, "sizes alignment");
static_assert(alignof(OmbRoiSize) <= 8 && alignof(void*) <= 8 && alignof(double) <= 8,
              "element alignment");

}  // namespace
}  // namespace omb

extern "C" {

OMB_API OmbResult ombiGetPyramidDownROI(OmbRoiSize srcRoi, OmbRoiSize* pDstRoi, Omb32f rate) {
  if (pDstRoi == nullptr) return ombResultNullPointer;
  if (srcRoi.width < 1 || srcRoi.height < 1) return ombResultBadSize;
  if (!omb::RateOk(rate)) return ombResultBadArgument;
  return omb::PyramidDownRoi(srcRoi, rate, pDstRoi);
}

OMB_API OmbResult ombiGetPyramidUpROI(OmbRoiSize srcRoi, OmbRoiSize* pDstRoiMin, OmbRoiSize* pDstRoiMax,
                                      Omb32f rate) {
  if (pDstRoiMin == nullptr || pDstRoiMax == nullptr) return ombResultNullPointer;
  if (srcRoi.width < 1 || srcRoi.height < 1) return ombResultBadSize;
  if (!omb::RateOk(rate)) return ombResultBadArgument;
  return omb::PyramidUpRoi(srcRoi, rate, pDstRoiMin, pDstRoiMax);
}

OMB_API OmbResult ombiPyramidInitAlloc(OmbPyramidRecord** ppPyramid, int level, OmbRoiSize roiSize,
                                       Omb32f rate) {
  if (ppPyramid == nullptr) return ombResultNullPointer;
  if (roiSize.width < 1 || roiSize.height < 1) return ombResultBadSize;
  if (!omb::RateOk(rate) || level < 1) return ombResultBadArgument;

  // The levels go down until 1 x 1 or the requested level, whichever comes
  // first. A first walk counts them, so the record is sized exactly and the
  // sizes are written straight into it; no temporary list is needed, which
  // keeps a wide base with a huge level request from asking for memory it
  // never uses.
  int top = 0;
  for (OmbRoiSize cur = roiSize; top < level && (cur.width != 1 || cur.height != 1); ++top)
    omb::PyramidDownRoi(cur, rate, &cur);

  const omb::RecordLayout lay(top);
  auto* block = lay.total <= INT_MAX
                    ? static_cast<unsigned char*>(omb::ombAlignedAlloc(static_cast<int>(lay.total)))
                    : nullptr;
  if (block == nullptr) return ombResultNoMemory;
  auto* rec = reinterpret_cast<OmbPyramidRecord*>(block);
  rec->sizes = reinterpret_cast<OmbRoiSize*>(block + lay.sizes);
  rec->images = reinterpret_cast<void**>(block + lay.images);
  rec->scales = reinterpret_cast<Omb64f*>(block + lay.scales);
  rec->steps = reinterpret_cast<int*>(block + lay.steps);
  rec->state = nullptr;
  rec->level = top;
  const double inv = 1.0 / static_cast<double>(rate);
  double scale = 1.0;
  OmbRoiSize cur = roiSize;
  for (int i = 0; i <= top; ++i) {
    if (i > 0) omb::PyramidDownRoi(cur, rate, &cur);
    rec->sizes[i] = cur;
    rec->images[i] = nullptr;
    rec->scales[i] = scale;
    rec->steps[i] = 0;
    scale *= inv;
  }
  *ppPyramid = rec;
  return ombResultOk;
}

OMB_API OmbResult ombiPyramidFree(OmbPyramidRecord* pPyramid) {
  if (pPyramid == nullptr) return ombResultNullPointer;
  omb::ombAlignedFree(pPyramid);
  return ombResultOk;
}

}  // extern "C"
