// Fast arctangent and colour gradient reduction table.
//
// The arctangent is one-dimensional: its entry is a 2000x1000 "image" whose
// two million elements are handed over as one array, so pixels per second
// read as elements per second. Components are uniform in [-1000, 1000),
// reaching every quadrant. The colour reduction runs at 1920x1080 for each
// norm (variants "norm:C", "norm:L1", "norm:L2") on channels uniform over
// the type's range (floats in [-1000, 1000)).
#include "edges/gradient_bench.hpp"

#include <limits>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "ombcv.h"
#include "support/image.hpp"
#include "support/random.hpp"
#include "support/registry.hpp"

namespace ombbench {
namespace {

template <class T>
std::shared_ptr<Image<T>> RangeImage(int width, int height, std::uint64_t seed) {
  auto img = std::make_shared<Image<T>>(width, height);
  if constexpr (std::is_floating_point_v<T>) {
    FillUniform(*img, -1000.0, 1000.0, seed);
  } else {
    FillUniform(*img, 0, std::numeric_limits<T>::max(), seed);
  }
  return img;
}

KernelEntry Arctan(const char* name,
                   OmbResult (*fn)(const Omb32f*, const Omb32f*, Omb32f*, int)) {
  constexpr int kF = static_cast<int>(sizeof(Omb32f));
  KernelEntry e{name, 3 * kF, 3 * kF, [fn](BenchSize size) -> KernelCall {
                  const int n = size.width * size.height;
                  auto y = RangeImage<Omb32f>(n, 1, 1), x = RangeImage<Omb32f>(n, 1, 2);
                  auto d = std::make_shared<Image<Omb32f>>(n, 1);
                  FillConstant(*d, 0.0f);
                  return [fn, y, x, d, n] { return fn(y->data(), x->data(), d->data(), n); };
                }};
  e.sizes = {{2000, 1000}};
  return e;
}

// One entry per norm code.
template <class T>
std::vector<KernelEntry> ColorToGray(const char* name,
                                     OmbResult (*fn)(const T*, int, T*, int, OmbRoiSize, int)) {
  constexpr int kPix = static_cast<int>(sizeof(T));
  static const char* const kNorms[] = {"norm:C", "norm:L1", "norm:L2"};
  std::vector<KernelEntry> out;
  for (int norm : {0, 1, 2}) {
    KernelEntry e{name, 4 * kPix, 4 * kPix, [fn, norm](BenchSize size) -> KernelCall {
                    auto s = RangeImage<T>(3 * size.width, size.height, 3);
                    auto d = std::make_shared<Image<T>>(size.width, size.height);
                    FillConstant(*d, T(0));
                    return [fn, s, d, norm] {
                      return fn(s->data(), s->step(), d->data(), d->step(), d->roi(), norm);
                    };
                  }};
    e.sizes = {{1920, 1080}};
    e.variant = kNorms[norm];
    out.push_back(std::move(e));
  }
  return out;
}

// The benchmark name is the function's own name.
#define OMB_BENCH_ENTRY(shape, fn) shape(#fn, fn)

}  // namespace

void AddGradientBenchmarks() {
  std::vector<KernelEntry> entries = {OMB_BENCH_ENTRY(Arctan, ombibFastArctan_32f)};
  for (auto&& group : {OMB_BENCH_ENTRY(ColorToGray, ombiGradientColorToGray_8u_C3C1R),
                       OMB_BENCH_ENTRY(ColorToGray, ombiGradientColorToGray_16u_C3C1R),
                       OMB_BENCH_ENTRY(ColorToGray, ombiGradientColorToGray_32f_C3C1R)}) {
    entries.insert(entries.end(), group.begin(), group.end());
  }
  AddKernels(std::move(entries));
}

}  // namespace ombbench
