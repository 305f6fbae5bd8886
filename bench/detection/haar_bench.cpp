// Haar stage apply: one stage of 20 classifiers (ten two-rectangle and ten
// three-rectangle features inside a 24 x 24 window, the usual edge and line
// shapes) evaluated at every window position of a 640x480 ROI ("dense") or
// at a random 10% of them ("sparse").
//
// The integral tables are built here with plain loops from a random 8-bit
// image one window larger than the ROI, and the norm image holds plausible
// per-window deviations. The stage threshold is far below any reachable
// sum, so every candidate passes and the mask is the same on every
// iteration: each call evaluates exactly the same windows. Items are the
// windows evaluated per call (all ROI pixels dense, exactly 10% sparse).
#include "detection/haar_bench.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <numeric>
#include <vector>

#include "ombcv.h"
#include "support/image.hpp"
#include "support/random.hpp"
#include "support/registry.hpp"

namespace ombbench {
namespace {

constexpr int kWindow = 24;
constexpr int kClassifiers = 20;
constexpr double kSparse = 0.1;

template <class V>
struct StageArrays {
  std::vector<OmbRect> rects;
  std::vector<V> weights, thresholds, val1, val2;
  std::vector<int> counts;
};

// Two-rectangle edges (whole minus twice one half) and three-rectangle
// lines (whole minus three times the middle third) at random places.
template <class V>
StageArrays<V> StageShapes() {
  StageArrays<V> s;
  Rng rng(0x4a42);
  for (int c = 0; c < kClassifiers; ++c) {
    const int parts = c % 2 == 0 ? 2 : 3;
    const int w = parts * static_cast<int>(rng.Between(1, 7 / parts + 1));
    const int h = static_cast<int>(rng.Between(2, 8));
    const int x = static_cast<int>(rng.Between(0, kWindow - w));
    const int y = static_cast<int>(rng.Between(0, kWindow - h));
    s.rects.push_back({x, y, w, h});
    s.weights.push_back(V(-1));
    s.rects.push_back({x + w / parts, y, w / parts, h});
    s.weights.push_back(V(parts));
    if (parts == 3) {  // a third rectangle of weight 0 keeps the line shape's count
      s.rects.push_back({x, y, w / parts, h});
      s.weights.push_back(V(0));
    }
    s.counts.push_back(parts);
    s.thresholds.push_back(static_cast<V>(rng.Between(-3, 3)));
    s.val1.push_back(static_cast<V>(rng.Between(-5, 5)));
    s.val2.push_back(static_cast<V>(rng.Between(-5, 5)));
  }
  return s;
}

// Upright integral table of a random image covering every window of the ROI.
template <class T>
std::shared_ptr<Image<T>> IntegralTable(BenchSize size) {
  const int w = size.width + kWindow, h = size.height + kWindow;
  Image<std::uint8_t> src(w, h);
  FillUniform(src, 0, 255, 21);
  auto table = std::make_shared<Image<T>>(w + 1, h + 1);
  for (int x = 0; x <= w; ++x) table->Row(0)[x] = T(0);
  for (int y = 1; y <= h; ++y) {
    std::int64_t run = 0;
    table->Row(y)[0] = T(0);
    for (int x = 1; x <= w; ++x) {
      run += src.Row(y - 1)[x - 1];
      table->Row(y)[x] = static_cast<T>(table->Row(y - 1)[x] + static_cast<T>(run));
    }
  }
  return table;
}

// Exactly round(fraction x pixels) candidates at random places.
std::shared_ptr<Image<Omb8u>> Candidates(BenchSize size, double fraction) {
  auto mask = std::make_shared<Image<Omb8u>>(size.width, size.height);
  FillConstant(*mask, Omb8u(0));
  const int pixels = size.width * size.height;
  std::vector<int> order(pixels);
  std::iota(order.begin(), order.end(), 0);
  Rng rng(33);
  for (int i = pixels - 1; i > 0; --i) std::swap(order[i], order[rng.Between(0, i)]);
  const int set = static_cast<int>(fraction * pixels + 0.5);
  for (int i = 0; i < set; ++i)
    mask->Row(order[i] / size.width)[order[i] % size.width] = 255;
  return mask;
}

template <class N>
std::shared_ptr<Image<N>> Norms(BenchSize size) {
  auto norm = std::make_shared<Image<N>>(size.width, size.height);
  FillUniform(*norm, 20, 60, 22);
  return norm;
}

struct StageFree {
  void operator()(OmbHaarStage_32f* s) const { ombiHaarClassifierFree_32f(s); }
  void operator()(OmbHaarStage_32s* s) const { ombiHaarClassifierFree_32s(s); }
};

// The stage state type and its builder for each weight type.
template <class W>
struct StageOf;
template <>
struct StageOf<Omb32f> {
  using Type = OmbHaarStage_32f;
  static constexpr auto kInitAlloc = ombiHaarClassifierInitAlloc_32f;
};
template <>
struct StageOf<Omb32s> {
  using Type = OmbHaarStage_32s;
  static constexpr auto kInitAlloc = ombiHaarClassifierInitAlloc_32s;
};

template <class W>
std::shared_ptr<typename StageOf<W>::Type> Stage() {
  const StageArrays<W> a = StageShapes<W>();
  typename StageOf<W>::Type* s = nullptr;
  StageOf<W>::kInitAlloc(&s, a.rects.data(), a.weights.data(), a.thresholds.data(),
                         a.val1.data(), a.val2.data(), a.counts.data(), kClassifiers);
  return std::shared_ptr<typename StageOf<W>::Type>(s, StageFree{});
}

// Table, norm and mask read, mask written; what the images occupy.
constexpr int kMoved = 4 + 4 + 2;
constexpr int kImages = 4 + 4 + 1;

// One apply form: integral element T, norm element N, weights W. The stage
// threshold lets every candidate pass, so the mask, and with it the work,
// is the same on every iteration.
template <class T, class N, class W>
using ApplyFn = OmbResult (*)(const T*, int, const N*, int, Omb8u*, int, OmbRoiSize, int*, W,
                              typename StageOf<W>::Type*);

template <class T, class N, class W>
KernelEntry Apply(const char* name, ApplyFn<T, N, W> apply, const char* variant,
                  double fraction) {
  KernelEntry e{name, kMoved, kImages,
                [apply, fraction](BenchSize size) -> KernelCall {
                  auto table = IntegralTable<T>(size);
                  auto norm = Norms<N>(size);
                  auto mask = Candidates(size, fraction);
                  auto stage = Stage<W>();
                  return [=] {
                    int count = 0;
                    return apply(table->data(), table->step(), norm->data(), norm->step(),
                                 mask->data(), mask->step(), mask->roi(), &count,
                                 std::numeric_limits<W>::lowest(), stage.get());
                  };
                },
                {{640, 480}}};
  e.variant = variant;
  e.items_per_pixel = fraction;
  return e;
}

// The integer form carries a scale factor it does not apply.
OmbResult Apply32sNoScale(const Omb32s* t, int ts, const Omb32s* n, int ns, Omb8u* m, int ms,
                          OmbRoiSize roi, int* count, Omb32s threshold, OmbHaarStage_32s* st) {
  return ombiApplyHaarClassifier_32s_C1RSfs(t, ts, n, ns, m, ms, roi, count, threshold, st, 0);
}

}  // namespace

void AddHaarBenchmarks() {
  AddKernels({
      Apply<Omb32f, Omb32f, Omb32f>("ombiApplyHaarClassifier_32f_C1R",
                                    ombiApplyHaarClassifier_32f_C1R, "dense", 1.0),
      Apply<Omb32f, Omb32f, Omb32f>("ombiApplyHaarClassifier_32f_C1R",
                                    ombiApplyHaarClassifier_32f_C1R, "sparse", kSparse),
      Apply<Omb32s, Omb32f, Omb32f>("ombiApplyHaarClassifier_32s32f_C1R",
                                    ombiApplyHaarClassifier_32s32f_C1R, "dense", 1.0),
      Apply<Omb32s, Omb32s, Omb32s>("ombiApplyHaarClassifier_32s_C1RSfs", Apply32sNoScale,
                                    "dense", 1.0),
  });
}

}  // namespace ombbench
