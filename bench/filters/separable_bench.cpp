// Row and column pipeline passes. Items are ROI pixels.
//
// Content: sources uniform over the type's usual range (0..255 for 8u,
// -2000..2000 for 16s, -1..1 for 32f), destination rows given by an array
// of row pointers into one image. The row pass reads the source and writes
// the destination once; the column pass reads K source rows per output row
// from the cache, so bytes moved count each source row once. The pair runs
// the 8u16s row pass with a general 3-tap kernel into a full 16s
// intermediate image and the 16s column pass with a 3-tap kernel over it,
// the way a 3x3 separable filter is applied to a whole frame.
#include "filters/separable_bench.hpp"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "ombcv.h"
#include "support/image.hpp"
#include "support/random.hpp"
#include "support/registry.hpp"

namespace ombbench {
namespace {

template <class T>
std::shared_ptr<Image<T>> Source(int width, int height, double lo, double hi) {
  auto img = std::make_shared<Image<T>>(width, height);
  FillUniform(*img, lo, hi, 7);
  return img;
}

template <class T>
std::shared_ptr<std::vector<T*>> Rows(Image<T>& img) {
  auto rows = std::make_shared<std::vector<T*>>(img.height());
  for (int y = 0; y < img.height(); ++y) (*rows)[y] = img.Row(y);
  return rows;
}

// The reported size plus slack: setup may run at another thread count than
// the timed calls, and the buffer must suit the larger of the two.
std::shared_ptr<std::vector<Omb8u>> Buffer(OmbResult (*size_fn)(OmbRoiSize, int, int*),
                                           OmbRoiSize roi, int k) {
  int size = 0;
  size_fn(roi, k, &size);
  return std::make_shared<std::vector<Omb8u>>(size + (1 << 16));
}

constexpr double kLo16 = -2000, kHi16 = 2000;

template <class TS, class TD, class TK>
KernelEntry RowEntry(const char* name, const char* variant, int k,
                     OmbResult (*size_fn)(OmbRoiSize, int, int*),
                     OmbResult (*call)(const TS*, int, TD**, OmbRoiSize, const TK*, int, int,
                                       OmbBorderType, TS, int, Omb8u*),
                     OmbResult (*callf)(const TS*, int, TD**, OmbRoiSize, const TK*, int, int,
                                        OmbBorderType, TS, Omb8u*)) {
  KernelEntry e;
  e.function = name;
  e.variant = variant;
  e.moved_bytes_per_pixel = static_cast<int>(sizeof(TS) + sizeof(TD));
  e.image_bytes_per_pixel = e.moved_bytes_per_pixel;
  e.setup = [=](BenchSize size) -> KernelCall {
    const OmbRoiSize roi{size.width, size.height};
    const double hi = sizeof(TS) == 1 ? 255 : (sizeof(TS) == 2 ? kHi16 : 1);
    auto src = Source<TS>(size.width, size.height, sizeof(TS) == 1 ? 0 : -hi, hi);
    auto dst = std::make_shared<Image<TD>>(size.width, size.height);
    FillConstant(*dst, TD(0));
    auto rows = Rows(*dst);
    auto buf = Buffer(size_fn, roi, k);
    // A general kernel (not symmetric), anchor in the middle.
    auto kernel = std::make_shared<std::vector<TK>>(k);
    for (int j = 0; j < k; ++j) (*kernel)[j] = static_cast<TK>(j % 2 ? 3 : -1 - j);
    // The row pointers reach the image only through `rows`: keep it alive.
    return [=, keep = dst] {
      (void)keep;
      if (call) {
        return call(src->data(), src->step(), rows->data(), roi, kernel->data(), k, k / 2,
                    ombBorderReplicate, TS(0), 4, buf->data());
      }
      return callf(src->data(), src->step(), rows->data(), roi, kernel->data(), k, k / 2,
                   ombBorderReplicate, TS(0), buf->data());
    };
  };
  return e;
}

template <class TS, class TD, class TK>
KernelEntry ColumnEntry(const char* name, int k, OmbResult (*size_fn)(OmbRoiSize, int, int*),
                        OmbResult (*call)(const TS**, TD*, int, OmbRoiSize, const TK*, int, int,
                                          Omb8u*),
                        OmbResult (*callf)(const TS**, TD*, int, OmbRoiSize, const TK*, int,
                                           Omb8u*)) {
  KernelEntry e;
  e.function = name;
  e.moved_bytes_per_pixel = static_cast<int>(sizeof(TS) + sizeof(TD));
  e.image_bytes_per_pixel = e.moved_bytes_per_pixel;
  e.setup = [=](BenchSize size) -> KernelCall {
    const OmbRoiSize roi{size.width, size.height};
    const double hi = sizeof(TS) == 2 ? kHi16 : 1;
    auto src = Source<TS>(size.width, size.height + k - 1, -hi, hi);
    auto dst = std::make_shared<Image<TD>>(size.width, size.height);
    FillConstant(*dst, TD(0));
    auto rows = std::make_shared<std::vector<const TS*>>(size.height + k - 1);
    for (int y = 0; y < size.height + k - 1; ++y) (*rows)[y] = src->Row(y);
    auto buf = Buffer(size_fn, roi, k);
    auto kernel = std::make_shared<std::vector<TK>>(k, TK(1));
    (*kernel)[k / 2] = TK(2);
    return [=, keep = src] {
      (void)keep;
      if (call) return call(rows->data(), dst->data(), dst->step(), roi, kernel->data(), k, 4, buf->data());
      return callf(rows->data(), dst->data(), dst->step(), roi, kernel->data(), k, buf->data());
    };
  };
  return e;
}

// Row pass 8u16s (general 3 taps) into a full intermediate image, then the
// 16s column pass (3 taps) over it, with one row made up above and below.
KernelEntry PairEntry() {
  KernelEntry e;
  e.function = "ombiFilterRowBorderPipeline_8u16s_C1R+ombiFilterColumnPipeline_16s_C1R";
  e.moved_bytes_per_pixel = 1 + 2 + 2 + 2;
  e.image_bytes_per_pixel = 1 + 2 + 2;
  e.setup = [](BenchSize size) -> KernelCall {
    const OmbRoiSize roi{size.width, size.height};
    auto src = Source<Omb8u>(size.width, size.height, 0, 255);
    auto mid = std::make_shared<Image<Omb16s>>(size.width, size.height);
    FillConstant(*mid, Omb16s(0));
    auto dst = std::make_shared<Image<Omb16s>>(size.width, size.height);
    FillConstant(*dst, Omb16s(0));
    auto mid_rows = Rows(*mid);
    auto col_rows = std::make_shared<std::vector<const Omb16s*>>(size.height + 2);
    for (int y = 0; y < size.height + 2; ++y) {
      (*col_rows)[y] = mid->Row(y == 0 ? 0 : (y > size.height ? size.height - 1 : y - 1));
    }
    int row_size = 0, col_size = 0;
    ombiFilterRowBorderPipelineGetBufferSize_8u16s_C1R(roi, 3, &row_size);
    ombiFilterColumnPipelineGetBufferSize_16s_C1R(roi, 3, &col_size);
    auto buf = std::make_shared<std::vector<Omb8u>>(std::max(row_size, col_size) + (1 << 16));
    static const Omb16s kRow[3] = {-1, 3, 2};
    static const Omb16s kColumn[3] = {1, 2, 1};
    return [=, keep = mid] {
      (void)keep;
      const OmbResult st = ombiFilterRowBorderPipeline_8u16s_C1R(
          src->data(), src->step(), mid_rows->data(), roi, kRow, 3, 1, ombBorderReplicate, 0, 1,
          buf->data());
      if (st != ombResultOk) return st;
      return ombiFilterColumnPipeline_16s_C1R(col_rows->data(), dst->data(), dst->step(), roi,
                                              kColumn, 3, 4, buf->data());
    };
  };
  return e;
}

}  // namespace

void AddSeparableBenchmarks() {
  using S = Omb16s;
  using F = Omb32f;
  std::vector<KernelEntry> entries;
  for (int k : {3, 5}) {
    const char* v = k == 3 ? "k3" : "k5";
    entries.push_back(RowEntry<Omb8u, S, S>("ombiFilterRowBorderPipeline_8u16s_C1R", v, k, ombiFilterRowBorderPipelineGetBufferSize_8u16s_C1R, ombiFilterRowBorderPipeline_8u16s_C1R, nullptr));
    entries.push_back(RowEntry<S, S, S>("ombiFilterRowBorderPipeline_16s_C1R", v, k, ombiFilterRowBorderPipelineGetBufferSize_16s_C1R, ombiFilterRowBorderPipeline_16s_C1R, nullptr));
    entries.push_back(RowEntry<F, F, F>("ombiFilterRowBorderPipeline_32f_C1R", v, k, ombiFilterRowBorderPipelineGetBufferSize_32f_C1R, nullptr, ombiFilterRowBorderPipeline_32f_C1R));
  }
  entries.push_back(ColumnEntry<S, S, S>("ombiFilterColumnPipeline_16s_C1R", 3, ombiFilterColumnPipelineGetBufferSize_16s_C1R, ombiFilterColumnPipeline_16s_C1R, nullptr));
  entries.push_back(ColumnEntry<S, Omb8u, S>("ombiFilterColumnPipeline_16s8u_C1R", 3, ombiFilterColumnPipelineGetBufferSize_16s8u_C1R, ombiFilterColumnPipeline_16s8u_C1R, nullptr));
  entries.push_back(ColumnEntry<F, F, F>("ombiFilterColumnPipeline_32f_C1R", 3, ombiFilterColumnPipelineGetBufferSize_32f_C1R, nullptr, ombiFilterColumnPipeline_32f_C1R));
  entries.push_back(PairEntry());
  AddKernels(std::move(entries));
}

}  // namespace ombbench
