// Internal interface of the sub-pixel copies.
//
// Both exported families reduce to one job: a block of destination pixels,
// each the bilinear blend of the 2x2 source samples whose top-left sample
// sits at the same offset from the block's source origin. The fronts check
// arguments, work out the weights and the block, and hand it to
// SubpixBlockRun, which picks the best SIMD target at run time.
#pragma once

#include <cstdint>

#include "frame/image.hpp"
#include "ombtypes.h"

namespace omb {

// Source and destination element types of the six members.
enum class SubpixKind { k8u, k8u16u, k8u32f, k16u, k16u32f, k32f };

struct SubpixBlock {
  SubpixKind kind;
  Plane<const void> src;  // s00 of the block's first pixel; any step (16- and
                          // 32-bit sources unaligned)
  Plane<void> dst;        // the block's first destination pixel
  int width;              // >= 1
  int height;             // >= 1
  // Integer kinds: Q14 weights w00, w10, w01, w11 (each 0 .. 16385) and the
  // shift 14 + scaleFactor (14 for the members without a scale factor).
  int w[4] = {};
  int shift = 0;
  // Float kinds: w00, w10, w01, w11.
  float wf[4] = {};
};

void SubpixBlockRun(const SubpixBlock& job);

// The two families on arguments their caller has checked (as the fronts
// check them). SubpixCopy fills the roi-sized destination from the source at
// the fractions of dx, dy; SubpixIntersect fills the part of the win-sized
// window centred on `point` that lies inside the source and reports it in
// *lo and *hi (lo > hi: nothing filled). `scale` is the scale factor of the
// 16u results of 8u sources, 0 elsewhere.
void SubpixCopy(SubpixKind kind, const void* src, int src_step, void* dst, int dst_step,
                OmbRoiSize roi, float dx, float dy, int scale);
void SubpixIntersect(SubpixKind kind, const void* src, int src_step, OmbRoiSize src_roi,
                     void* dst, int dst_step, OmbRoiSize win, OmbPoint32f point, OmbPoint* lo,
                     OmbPoint* hi, int scale);

}  // namespace omb
