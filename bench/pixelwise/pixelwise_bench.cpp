// Pixel-wise family table. Each entry names an exported function and an
// argument shape; the shape allocates and fills the images for one run,
// knows how many bytes a call moves per pixel, and binds the call.
//
// Content: sources are uniform over (most of) their type's range and never
// zero for the accumulating shapes; masks and silhouettes are set at a
// random 50% of pixels. Accumulators start at 0 and are updated in place
// on every iteration without being reset. With non-zero sources they stay
// well away from denormals (squares and products of 16-bit data may grow
// towards infinity over a long run, which does not change the timing).
#include "pixelwise/pixelwise_bench.hpp"

#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>

#include "ombcv.h"
#include "support/image.hpp"
#include "support/random.hpp"
#include "support/registry.hpp"

namespace ombbench {
namespace {

constexpr float kAlpha = 0.05f;
constexpr float kTimestamp = 1000.0f;
constexpr float kDuration = 500.0f;

template <class T>
using Shared = std::shared_ptr<Image<T>>;

template <class T>
Shared<T> NewImage(BenchSize size) {
  return std::make_shared<Image<T>>(size.width, size.height);
}

// Full-range content for differences.
template <class T>
Shared<T> RangeImage(BenchSize size, std::uint64_t seed) {
  Shared<T> img = NewImage<T>(size);
  if constexpr (std::is_floating_point_v<T>) {
    FillUniform(*img, -1000.0, 1000.0, seed);
  } else {
    FillUniform(*img, std::numeric_limits<T>::min(),
                std::numeric_limits<T>::max(), seed);
  }
  return img;
}

// Non-zero content for accumulation.
template <class T>
Shared<T> SourceImage(BenchSize size, std::uint64_t seed) {
  Shared<T> img = NewImage<T>(size);
  if constexpr (std::is_floating_point_v<T>) {
    FillNonZero(*img, 1.0, 256.0, seed);
  } else {
    FillNonZero(*img, std::numeric_limits<T>::min(),
                std::numeric_limits<T>::max(), seed);
  }
  return img;
}

Shared<Omb8u> MaskImage(BenchSize size, std::uint64_t seed) {
  Shared<Omb8u> img = NewImage<Omb8u>(size);
  FillBinary<Omb8u>(*img, 0.5, 255, seed);
  return img;
}

Shared<Omb32f> Accumulator(BenchSize size) {
  Shared<Omb32f> img = NewImage<Omb32f>(size);
  FillConstant(*img, 0.0f);
  return img;
}

template <class T>
Shared<T> Output(BenchSize size) {
  Shared<T> img = NewImage<T>(size);
  FillConstant(*img, T(0));
  return img;
}

// A constant inside the pixel range, for the difference-with-constant forms.
template <class T>
auto MidConstant() {
  if constexpr (std::is_floating_point_v<T>) {
    return T(0.5);
  } else {
    return static_cast<int>(std::numeric_limits<T>::max() / 2);
  }
}

// Bytes per pixel: what a call moves, and what its images occupy. An
// in-place accumulator is read and written, so it counts twice in the
// first and once in the second.
constexpr int kAccMoved = 2 * static_cast<int>(sizeof(Omb32f));
constexpr int kAccImage = static_cast<int>(sizeof(Omb32f));
constexpr int kMask = 1;
template <class T>
constexpr int kPix = static_cast<int>(sizeof(T));

// ---- argument shapes --------------------------------------------------------

template <class T>
KernelEntry AbsDiff(const char* name,
                    OmbResult (*fn)(const T*, int, const T*, int, T*, int,
                                    OmbRoiSize)) {
  return {name, 3 * kPix<T>, 3 * kPix<T>, [fn](BenchSize size) -> KernelCall {
            auto a = RangeImage<T>(size, 1), b = RangeImage<T>(size, 2);
            auto d = Output<T>(size);
            return [fn, a, b, d] {
              return fn(a->data(), a->step(), b->data(), b->step(), d->data(),
                        d->step(), d->roi());
            };
          }};
}

template <class T, class V>
KernelEntry AbsDiffC(const char* name,
                     OmbResult (*fn)(const T*, int, T*, int, OmbRoiSize, V)) {
  return {name, 2 * kPix<T>, 2 * kPix<T>, [fn](BenchSize size) -> KernelCall {
            auto s = RangeImage<T>(size, 3);
            auto d = Output<T>(size);
            const V value = static_cast<V>(MidConstant<T>());
            return [fn, s, d, value] {
              return fn(s->data(), s->step(), d->data(), d->step(), d->roi(),
                        value);
            };
          }};
}

template <class T>
KernelEntry AccIR(const char* name,
                  OmbResult (*fn)(const T*, int, Omb32f*, int, OmbRoiSize)) {
  return {name, kPix<T> + kAccMoved, kPix<T> + kAccImage,
          [fn](BenchSize size) -> KernelCall {
            auto s = SourceImage<T>(size, 4);
            auto acc = Accumulator(size);
            return [fn, s, acc] {
              return fn(s->data(), s->step(), acc->data(), acc->step(),
                        acc->roi());
            };
          }};
}

template <class T>
KernelEntry AccIMR(const char* name,
                   OmbResult (*fn)(const T*, int, const Omb8u*, int, Omb32f*,
                                   int, OmbRoiSize)) {
  return {name, kPix<T> + kMask + kAccMoved, kPix<T> + kMask + kAccImage,
          [fn](BenchSize size) -> KernelCall {
            auto s = SourceImage<T>(size, 5);
            auto m = MaskImage(size, 6);
            auto acc = Accumulator(size);
            return [fn, s, m, acc] {
              return fn(s->data(), s->step(), m->data(), m->step(), acc->data(),
                        acc->step(), acc->roi());
            };
          }};
}

template <class T>
KernelEntry ProductIR(const char* name,
                      OmbResult (*fn)(const T*, int, const T*, int, Omb32f*,
                                      int, OmbRoiSize)) {
  return {name, 2 * kPix<T> + kAccMoved, 2 * kPix<T> + kAccImage,
          [fn](BenchSize size) -> KernelCall {
            auto a = SourceImage<T>(size, 7), b = SourceImage<T>(size, 8);
            auto acc = Accumulator(size);
            return [fn, a, b, acc] {
              return fn(a->data(), a->step(), b->data(), b->step(), acc->data(),
                        acc->step(), acc->roi());
            };
          }};
}

template <class T>
KernelEntry ProductIMR(const char* name,
                       OmbResult (*fn)(const T*, int, const T*, int,
                                       const Omb8u*, int, Omb32f*, int,
                                       OmbRoiSize)) {
  return {name, 2 * kPix<T> + kMask + kAccMoved,
          2 * kPix<T> + kMask + kAccImage, [fn](BenchSize size) -> KernelCall {
            auto a = SourceImage<T>(size, 9), b = SourceImage<T>(size, 10);
            auto m = MaskImage(size, 11);
            auto acc = Accumulator(size);
            return [fn, a, b, m, acc] {
              return fn(a->data(), a->step(), b->data(), b->step(), m->data(),
                        m->step(), acc->data(), acc->step(), acc->roi());
            };
          }};
}

template <class T>
KernelEntry WeightedIR(const char* name,
                       OmbResult (*fn)(const T*, int, Omb32f*, int, OmbRoiSize,
                                       Omb32f)) {
  return {name, kPix<T> + kAccMoved, kPix<T> + kAccImage,
          [fn](BenchSize size) -> KernelCall {
            auto s = SourceImage<T>(size, 12);
            auto acc = Accumulator(size);
            return [fn, s, acc] {
              return fn(s->data(), s->step(), acc->data(), acc->step(),
                        acc->roi(), kAlpha);
            };
          }};
}

template <class T>
KernelEntry WeightedIMR(const char* name,
                        OmbResult (*fn)(const T*, int, const Omb8u*, int,
                                        Omb32f*, int, OmbRoiSize, Omb32f)) {
  return {name, kPix<T> + kMask + kAccMoved, kPix<T> + kMask + kAccImage,
          [fn](BenchSize size) -> KernelCall {
            auto s = SourceImage<T>(size, 13);
            auto m = MaskImage(size, 14);
            auto acc = Accumulator(size);
            return [fn, s, m, acc] {
              return fn(s->data(), s->step(), m->data(), m->step(), acc->data(),
                        acc->step(), acc->roi(), kAlpha);
            };
          }};
}

template <class T>
KernelEntry MotionHistory(const char* name,
                          OmbResult (*fn)(const T*, int, Omb32f*, int,
                                          OmbRoiSize, Omb32f, Omb32f)) {
  return {name, kPix<T> + kAccMoved, kPix<T> + kAccImage,
          [fn](BenchSize size) -> KernelCall {
            auto sil = NewImage<T>(size);
            FillBinary<T>(*sil, 0.5, T(1), 15);
            // History spread over [0, timestamp): some pixels are kept, some
            // cleared on the first pass.
            auto mhi = NewImage<Omb32f>(size);
            FillUniform(*mhi, 0.0, kTimestamp, 16);
            return [fn, sil, mhi] {
              return fn(sil->data(), sil->step(), mhi->data(), mhi->step(),
                        mhi->roi(), kTimestamp, kDuration);
            };
          }};
}

// The benchmark name is the function's own name.
#define OMB_BENCH_ENTRY(shape, fn) shape(#fn, fn)

}  // namespace

void AddPixelwiseBenchmarks() {
  AddKernels({
      OMB_BENCH_ENTRY(AbsDiff, ombiAbsDiff_8u_C1R),
      OMB_BENCH_ENTRY(AbsDiff, ombiAbsDiff_16u_C1R),
      OMB_BENCH_ENTRY(AbsDiff, ombiAbsDiff_32f_C1R),
      OMB_BENCH_ENTRY(AbsDiffC, ombiAbsDiffC_8u_C1R),
      OMB_BENCH_ENTRY(AbsDiffC, ombiAbsDiffC_16u_C1R),
      OMB_BENCH_ENTRY(AbsDiffC, ombiAbsDiffC_32f_C1R),

      OMB_BENCH_ENTRY(AccIR, ombiAdd_8u32f_C1IR),
      OMB_BENCH_ENTRY(AccIR, ombiAdd_8s32f_C1IR),
      OMB_BENCH_ENTRY(AccIR, ombiAdd_16u32f_C1IR),
      OMB_BENCH_ENTRY(AccIMR, ombiAdd_8u32f_C1IMR),
      OMB_BENCH_ENTRY(AccIMR, ombiAdd_8s32f_C1IMR),
      OMB_BENCH_ENTRY(AccIMR, ombiAdd_16u32f_C1IMR),
      OMB_BENCH_ENTRY(AccIMR, ombiAdd_32f_C1IMR),

      OMB_BENCH_ENTRY(AccIR, ombiAddSquare_8u32f_C1IR),
      OMB_BENCH_ENTRY(AccIR, ombiAddSquare_8s32f_C1IR),
      OMB_BENCH_ENTRY(AccIR, ombiAddSquare_16u32f_C1IR),
      OMB_BENCH_ENTRY(AccIR, ombiAddSquare_32f_C1IR),
      OMB_BENCH_ENTRY(AccIMR, ombiAddSquare_8u32f_C1IMR),
      OMB_BENCH_ENTRY(AccIMR, ombiAddSquare_8s32f_C1IMR),
      OMB_BENCH_ENTRY(AccIMR, ombiAddSquare_16u32f_C1IMR),
      OMB_BENCH_ENTRY(AccIMR, ombiAddSquare_32f_C1IMR),

      OMB_BENCH_ENTRY(ProductIR, ombiAddProduct_8u32f_C1IR),
      OMB_BENCH_ENTRY(ProductIR, ombiAddProduct_8s32f_C1IR),
      OMB_BENCH_ENTRY(ProductIR, ombiAddProduct_16u32f_C1IR),
      OMB_BENCH_ENTRY(ProductIR, ombiAddProduct_32f_C1IR),
      OMB_BENCH_ENTRY(ProductIMR, ombiAddProduct_8u32f_C1IMR),
      OMB_BENCH_ENTRY(ProductIMR, ombiAddProduct_8s32f_C1IMR),
      OMB_BENCH_ENTRY(ProductIMR, ombiAddProduct_16u32f_C1IMR),
      OMB_BENCH_ENTRY(ProductIMR, ombiAddProduct_32f_C1IMR),

      OMB_BENCH_ENTRY(WeightedIR, ombiAddWeighted_8u32f_C1IR),
      OMB_BENCH_ENTRY(WeightedIR, ombiAddWeighted_8s32f_C1IR),
      OMB_BENCH_ENTRY(WeightedIR, ombiAddWeighted_16u32f_C1IR),
      OMB_BENCH_ENTRY(WeightedIR, ombiAddWeighted_32f_C1IR),
      OMB_BENCH_ENTRY(WeightedIMR, ombiAddWeighted_8u32f_C1IMR),
      OMB_BENCH_ENTRY(WeightedIMR, ombiAddWeighted_8s32f_C1IMR),
      OMB_BENCH_ENTRY(WeightedIMR, ombiAddWeighted_16u32f_C1IMR),
      OMB_BENCH_ENTRY(WeightedIMR, ombiAddWeighted_32f_C1IMR),

      OMB_BENCH_ENTRY(MotionHistory, ombiUpdateMotionHistory_8u32f_C1IR),
      OMB_BENCH_ENTRY(MotionHistory, ombiUpdateMotionHistory_16u32f_C1IR),
      OMB_BENCH_ENTRY(MotionHistory, ombiUpdateMotionHistory_32f_C1IR),
  });
}

}  // namespace ombbench
