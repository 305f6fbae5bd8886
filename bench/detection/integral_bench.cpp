// Integral-table family. Items are source pixels (for the tables) or
// destination pixels (for the rectangle deviations).
//
// Content: sources uniform over 0..255, one column wider than the ROI
// (tilted tables read the byte right of it). Tables are one or two rows and
// columns larger than the source; a call reads the source and writes every
// table element, so bytes moved per pixel = 1 + the table element sizes.
// The deviations read tables made from a random image by the library's own
// integral functions, with a 24 x 24 window (upright) or a 12 x 12 tilted
// one, as a detector would use, and write one 32-bit result per pixel.
#include "detection/integral_bench.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

#include "ombcv.h"
#include "support/image.hpp"
#include "support/random.hpp"
#include "support/registry.hpp"

namespace ombbench {
namespace {

template <class T>
using Shared = std::shared_ptr<Image<T>>;

template <class T>
Shared<T> Table(int width, int height) {
  auto img = std::make_shared<Image<T>>(width, height);
  FillConstant(*img, T(0));
  return img;
}

Shared<Omb8u> Source(int width, int height, std::uint64_t seed) {
  auto img = std::make_shared<Image<Omb8u>>(width, height);
  FillUniform(*img, 0, 255, seed);
  return img;
}

template <class T>
constexpr int kBytes = static_cast<int>(sizeof(T));

// Every image is read or written once per call: bytes moved = image bytes.
// Fields are set by name so that later optional fields keep their defaults.
KernelEntry Entry(const char* name, int bytes, std::function<KernelCall(BenchSize)> setup) {
  KernelEntry e;
  e.function = name;
  e.moved_bytes_per_pixel = bytes;
  e.image_bytes_per_pixel = bytes;
  e.setup = std::move(setup);
  return e;
}

template <class TS>
KernelEntry Plain(const char* name,
                  OmbResult (*fn)(const Omb8u*, int, TS*, int, OmbRoiSize, TS)) {
  return Entry(name, 1 + kBytes<TS>, [fn](BenchSize size) -> KernelCall {
            auto src = Source(size.width + 1, size.height, 1);
            auto sum = Table<TS>(size.width + 2, size.height + 2);
            return [fn, src, sum, size] {
              return fn(src->data(), src->step(), sum->data(), sum->step(),
                        {size.width, size.height}, TS(0));
            };
          });
}

template <class TS, class TQ>
KernelEntry Squares(const char* name, OmbResult (*fn)(const Omb8u*, int, TS*, int, TQ*, int,
                                                      OmbRoiSize, TS, TQ)) {
  constexpr int kMoved = 1 + kBytes<TS> + kBytes<TQ>;
  return Entry(name, kMoved, [fn](BenchSize size) -> KernelCall {
            auto src = Source(size.width + 1, size.height, 2);
            auto sum = Table<TS>(size.width + 2, size.height + 2);
            auto sqr = Table<TQ>(size.width + 2, size.height + 2);
            return [fn, src, sum, sqr, size] {
              return fn(src->data(), src->step(), sum->data(), sum->step(), sqr->data(),
                        sqr->step(), {size.width, size.height}, TS(0), TQ(0));
            };
          });
}

void FillTables(bool tilted, Image<Omb8u>& s, Image<Omb32f>& t, Image<Omb64f>& q, OmbRoiSize roi) {
  (tilted ? ombiTiltedSqrIntegral_8u32f64f_C1R : ombiSqrIntegral_8u32f64f_C1R)(
      s.data(), s.step(), t.data(), t.step(), q.data(), q.step(), roi, 0, 0);
}
void FillTables(bool tilted, Image<Omb8u>& s, Image<Omb32s>& t, Image<Omb64f>& q, OmbRoiSize roi) {
  (tilted ? ombiTiltedSqrIntegral_8u32s64f_C1R : ombiSqrIntegral_8u32s64f_C1R)(
      s.data(), s.step(), t.data(), t.step(), q.data(), q.step(), roi, 0, 0);
}
void FillTables(bool tilted, Image<Omb8u>& s, Image<Omb32s>& t, Image<Omb32s>& q, OmbRoiSize roi) {
  (tilted ? ombiTiltedSqrIntegral_8u32s_C1R : ombiSqrIntegral_8u32s_C1R)(
      s.data(), s.step(), t.data(), t.step(), q.data(), q.step(), roi, 0, 0);
}

template <class F>
struct DeviationTypes;
template <class TS, class TQ, class TD, class... Scale>
struct DeviationTypes<OmbResult (*)(const TS*, int, const TQ*, int, TD*, int, OmbRoiSize,
                                    OmbRect, Scale...)> {
  using S = TS;
  using Q = TQ;
  using D = TD;
};

// Tables for a destination of `size` and the window, filled by the
// library's own integral functions (tilted or upright layout). The scaled
// form runs with scale factor 0.
template <auto kFn>
KernelEntry Deviation(const char* name, bool tilted) {
  using Types = DeviationTypes<decltype(kFn)>;
  using TS = typename Types::S;
  using TQ = typename Types::Q;
  using TD = typename Types::D;
  constexpr int kMoved = kBytes<TS> + kBytes<TQ> + kBytes<TD>;
  return Entry(name, kMoved, [tilted](BenchSize size) -> KernelCall {
            const OmbRect r = tilted ? OmbRect{12, 0, 12, 12} : OmbRect{0, 0, 24, 24};
            const int reach = tilted ? r.x + r.y + r.width + r.height : r.width;
            const int w = size.width + reach, h = size.height + reach;
            auto src = Source(w + 1, h, 3);
            auto sum = Table<TS>(w + 2, h + 2);
            auto sqr = Table<TQ>(w + 2, h + 2);
            auto dst = Table<TD>(size.width, size.height);
            FillTables(tilted, *src, *sum, *sqr, {w, h});
            return [sum, sqr, dst, size, r]() -> OmbResult {
              const OmbRoiSize roi{size.width, size.height};
              if constexpr (std::is_same_v<TD, Omb32s>) {
                return kFn(sum->data(), sum->step(), sqr->data(), sqr->step(), dst->data(),
                           dst->step(), roi, r, 0);
              } else {
                return kFn(sum->data(), sum->step(), sqr->data(), sqr->step(), dst->data(),
                           dst->step(), roi, r);
              }
            };
          });
}

// The benchmark name is the function's own name.
#define OMB_TABLE_ENTRY(shape, fn) shape(#fn, fn)
#define OMB_DEVIATION_ENTRY(tilted, fn) Deviation<fn>(#fn, tilted)

}  // namespace

void AddIntegralBenchmarks() {
  AddKernels({
      OMB_TABLE_ENTRY(Plain, ombiIntegral_8u32s_C1R),
      OMB_TABLE_ENTRY(Plain, ombiIntegral_8u32f_C1R),
      OMB_TABLE_ENTRY(Squares, ombiSqrIntegral_8u32s_C1R),
      OMB_TABLE_ENTRY(Squares, ombiSqrIntegral_8u32s64f_C1R),
      OMB_TABLE_ENTRY(Squares, ombiSqrIntegral_8u32f64f_C1R),
      OMB_TABLE_ENTRY(Plain, ombiTiltedIntegral_8u32s_C1R),
      OMB_TABLE_ENTRY(Plain, ombiTiltedIntegral_8u32f_C1R),
      OMB_TABLE_ENTRY(Squares, ombiTiltedSqrIntegral_8u32s_C1R),
      OMB_TABLE_ENTRY(Squares, ombiTiltedSqrIntegral_8u32s64f_C1R),
      OMB_TABLE_ENTRY(Squares, ombiTiltedSqrIntegral_8u32f64f_C1R),
      OMB_DEVIATION_ENTRY(false, ombiRectStdDev_32f_C1R),
      OMB_DEVIATION_ENTRY(false, ombiRectStdDev_32s32f_C1R),
      OMB_DEVIATION_ENTRY(false, ombiRectStdDev_32s_C1RSfs),
      OMB_DEVIATION_ENTRY(true, ombiTiltedRectStdDev_32f_C1R),
      OMB_DEVIATION_ENTRY(true, ombiTiltedRectStdDev_32s32f_C1R),
      OMB_DEVIATION_ENTRY(true, ombiTiltedRectStdDev_32s_C1RSfs),
  });
}

}  // namespace ombbench
