// Fixed-kernel derivative, Laplacian and low-pass filters, replicate border.
//
// Content: sources uniform over 0..255 (float sources hold the same range).
// A call reads the source once and writes the destination once (the rings
// of row-filtered rows stay in cache), so bytes moved per pixel = source
// element + destination element. The work buffer is sized by the matching
// query at the benchmark's thread count.
#include "filters/newconvol_bench.hpp"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "ombcv.h"
#include "support/image.hpp"
#include "support/random.hpp"
#include "support/registry.hpp"

namespace ombbench {
namespace {

template <class S, class D>
KernelEntry Entry(const char* name, int mask, std::function<OmbResult(const S*, int, D*, int, OmbRoiSize, Omb8u*)> fn,
                  std::function<OmbResult(OmbRoiSize, int*)> size_fn) {
  KernelEntry e;
  e.function = name;
  e.moved_bytes_per_pixel = static_cast<int>(sizeof(S) + sizeof(D));
  e.image_bytes_per_pixel = e.moved_bytes_per_pixel;
  e.variant = mask == 5 ? "5x5" : "3x3";
  e.setup = [fn, size_fn](BenchSize size) -> KernelCall {
    auto src = std::make_shared<Image<S>>(size.width, size.height);
    auto dst = std::make_shared<Image<D>>(size.width, size.height);
    FillUniform(*src, 0, 255, 7);
    FillConstant(*dst, D(0));
    int bytes = 0;
    size_fn({size.width, size.height}, &bytes);
    auto buf = std::make_shared<std::vector<Omb8u>>(static_cast<std::size_t>(bytes) + 1);
    return [fn, src, dst, buf, size] {
      return fn(src->data(), src->step(), dst->data(), dst->step(), {size.width, size.height},
                buf->data());
    };
  };
  return e;
}

// Forms with a mask-size code, without a divisor.
template <class S, class D>
KernelEntry Masked(const char* name, int mask,
                   OmbResult (*fn)(const S*, int, D*, int, OmbRoiSize, int, OmbBorderType, S, Omb8u*),
                   OmbResult (*size_fn)(OmbRoiSize, int, int*)) {
  return Entry<S, D>(
      name, mask,
      [fn, mask](const S* s, int ss, D* d, int ds, OmbRoiSize r, Omb8u* b) {
        return fn(s, ss, d, ds, r, mask * 11, ombBorderReplicate, S(0), b);
      },
      [size_fn, mask](OmbRoiSize r, int* n) { return size_fn(r, mask * 11, n); });
}

// 8u8s forms with a mask-size code and divisor 4.
KernelEntry Divided(const char* name, int mask,
                    OmbResult (*fn)(const Omb8u*, int, Omb8s*, int, OmbRoiSize, int, OmbBorderType, Omb8u,
                                    int, Omb8u*),
                    OmbResult (*size_fn)(OmbRoiSize, int, int*)) {
  return Entry<Omb8u, Omb8s>(
      name, mask,
      [fn, mask](const Omb8u* s, int ss, Omb8s* d, int ds, OmbRoiSize r, Omb8u* b) {
        return fn(s, ss, d, ds, r, mask * 11, ombBorderReplicate, 0, 4, b);
      },
      [size_fn, mask](OmbRoiSize r, int* n) { return size_fn(r, mask * 11, n); });
}

// Scharr forms (3x3, no mask-size code).
template <class S, class D>
KernelEntry Scharr(const char* name,
                   OmbResult (*fn)(const S*, int, D*, int, OmbRoiSize, OmbBorderType, S, Omb8u*),
                   OmbResult (*size_fn)(OmbRoiSize, int*)) {
  return Entry<S, D>(
      name, 3,
      [fn](const S* s, int ss, D* d, int ds, OmbRoiSize r, Omb8u* b) {
        return fn(s, ss, d, ds, r, ombBorderReplicate, S(0), b);
      },
      size_fn);
}

}  // namespace

void AddNewConvolBenchmarks() {
  std::vector<KernelEntry> e;
  for (int m : {3, 5}) {
    e.push_back(Masked("ombiFilterSobelHorizBorder_8u16s_C1R", m, ombiFilterSobelHorizBorder_8u16s_C1R, ombiFilterSobelHorizGetBufferSize_8u16s_C1R));
    e.push_back(Masked("ombiFilterSobelVertBorder_8u16s_C1R", m, ombiFilterSobelVertBorder_8u16s_C1R, ombiFilterSobelVertGetBufferSize_8u16s_C1R));
    e.push_back(Masked("ombiFilterSobelNegVertBorder_8u16s_C1R", m, ombiFilterSobelNegVertBorder_8u16s_C1R, ombiFilterSobelNegVertGetBufferSize_8u16s_C1R));
    e.push_back(Masked("ombiFilterSobelHorizSecondBorder_8u16s_C1R", m, ombiFilterSobelHorizSecondBorder_8u16s_C1R, ombiFilterSobelHorizSecondGetBufferSize_8u16s_C1R));
    e.push_back(Masked("ombiFilterSobelVertSecondBorder_8u16s_C1R", m, ombiFilterSobelVertSecondBorder_8u16s_C1R, ombiFilterSobelVertSecondGetBufferSize_8u16s_C1R));
    e.push_back(Masked("ombiFilterSobelCrossBorder_8u16s_C1R", m, ombiFilterSobelCrossBorder_8u16s_C1R, ombiFilterSobelCrossGetBufferSize_8u16s_C1R));
    e.push_back(Masked("ombiFilterLaplacianBorder_8u16s_C1R", m, ombiFilterLaplacianBorder_8u16s_C1R, ombiFilterLaplacianGetBufferSize_8u16s_C1R));
    e.push_back(Divided("ombiFilterSobelHorizBorder_8u8s_C1R", m, ombiFilterSobelHorizBorder_8u8s_C1R, ombiFilterSobelHorizGetBufferSize_8u8s_C1R));
    e.push_back(Masked("ombiFilterLowpassBorder_8u_C1R", m, ombiFilterLowpassBorder_8u_C1R, ombiFilterLowpassGetBufferSize_8u_C1R));
    e.push_back(Masked("ombiFilterLowpassBorder_32f_C1R", m, ombiFilterLowpassBorder_32f_C1R, ombiFilterLowpassGetBufferSize_32f_C1R));
    e.push_back(Masked("ombiFilterSobelHorizBorder_32f_C1R", m, ombiFilterSobelHorizBorder_32f_C1R, ombiFilterSobelHorizGetBufferSize_32f_C1R));
    e.push_back(Masked("ombiFilterSobelVertBorder_32f_C1R", m, ombiFilterSobelVertBorder_32f_C1R, ombiFilterSobelVertGetBufferSize_32f_C1R));
  }
  e.push_back(Scharr("ombiFilterScharrHorizBorder_8u16s_C1R", ombiFilterScharrHorizBorder_8u16s_C1R, ombiFilterScharrHorizGetBufferSize_8u16s_C1R));
  e.push_back(Scharr("ombiFilterScharrVertBorder_8u16s_C1R", ombiFilterScharrVertBorder_8u16s_C1R, ombiFilterScharrVertGetBufferSize_8u16s_C1R));
  e.push_back(Scharr("ombiFilterScharrHorizBorder_32f_C1R", ombiFilterScharrHorizBorder_32f_C1R, ombiFilterScharrHorizGetBufferSize_32f_C1R));
  e.push_back(Scharr("ombiFilterScharrVertBorder_32f_C1R", ombiFilterScharrVertBorder_32f_C1R, ombiFilterScharrVertGetBufferSize_32f_C1R));
  AddKernels(std::move(e));
}

}  // namespace ombbench
