// Every pixel-wise front, row by row of one table: argument check order,
// bitwise agreement with the plain per-pixel references beside the kernels
// over many shapes on every SIMD target, and at every thread count. Then
// single cases whose outcome is worth stating on its own, independently of
// the references: signed zeros and NaN signs of the float absolute
// difference (two random images rarely pair -0 with +0), motion-history
// thresholds and the order of special values, and the large-output path of
// the float absolute difference.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "ombcv.h"
#include "pixelwise/pixelwise_ref.hpp"
#include "support/arg_check.hpp"

namespace omb_test {
namespace {

// New value of one output pixel from the source pixels (call order) and the
// old output pixel, given the family parameters.
using PixelModel = std::function<void(const std::uint8_t* const* in,
                                      std::uint8_t* out, const double* p)>;

struct PixFront {
  ArgFront arg;  // the output (or accumulator) image comes last
  std::vector<std::vector<double>> param_sets;
  PixelModel model;
  // Whether inputs may hold NaNs of several signs and payloads. The
  // accumulators add commutatively, and which of two NaN operands an
  // addition returns depends on the operand order the compiler picked, so
  // they get a single NaN pattern (NaNs made by inf - inf still appear).
  bool nan_payloads = true;
};

// ROI size, row padding in bytes, ROI offset inside the block, whether
// every image start is moved off alignment by one element, and how many
// padding bytes each further image adds (so that the steps differ).
struct Shape {
  int w, h, pad, off_x, off_y;
  bool shift;
  int pad_spread = 3;
};

// ---- Models: the plain per-pixel definitions beside the kernels ----------
// Each operation takes the source pixels, the mask byte for masked forms,
// the old output pixel and the parameters.

namespace ref = omb::ref;

struct DiffOp {
  template <class T> T operator()(T a, T b, T, const double*) const { return ref::AbsDiff(a, b); }
};
struct DiffConstOp {  // integer constants clamp to the pixel range
  template <class T> T operator()(T s, T, const double* p) const {
    if constexpr (std::is_integral_v<T>) {
      return ref::AbsDiff(s, static_cast<T>(std::clamp<double>(p[0], 0, std::numeric_limits<T>::max())));
    } else {
      return ref::AbsDiff(s, static_cast<float>(p[0]));
    }
  }
};
struct AddOp {
  template <class T> float operator()(T s, float d, const double*) const { return ref::Add(d, s, true); }
  template <class T> float operator()(T s, Omb8u m, float d, const double*) const { return ref::Add(d, s, m != 0); }
};
struct SquareOp {
  template <class T> float operator()(T s, float d, const double*) const { return ref::AddSquare<false>(d, s, true); }
  template <class T> float operator()(T s, Omb8u m, float d, const double*) const {
    return ref::AddSquare<true>(d, s, m != 0);
  }
};
struct ProductOp {
  template <class T> float operator()(T a, T b, float d, const double*) const {
    return ref::AddProduct<false>(d, a, b, true);
  }
  template <class T> float operator()(T a, T b, Omb8u m, float d, const double*) const {
    return ref::AddProduct<true>(d, a, b, m != 0);
  }
};
struct WeightedOp {
  template <class T> float operator()(T s, float d, const double* p) const { return (*this)(s, 1, d, p); }
  template <class T> float operator()(T s, Omb8u m, float d, const double* p) const {
    return ref::AddWeighted(d, s, static_cast<float>(p[0]), m != 0);
  }
};
struct HistoryOp {  // p = {timestamp, duration}
  template <class T> float operator()(T s, float mhi, const double* p) const {
    const float ts = static_cast<float>(p[0]);
    return ref::MotionHistory(s, mhi, ts, ts - static_cast<float>(p[1]));
  }
};

// ---- Generic plumbing from an exported signature ------------------------
// Every front takes (pointer, step) pairs, the ROI size, then parameters;
// const pointers are sources, the one non-const pointer is the output.

template <class A>
constexpr bool kIsImage = std::is_pointer_v<A>;
template <class A>
using SourceOf = std::conditional_t<kIsImage<A> && std::is_const_v<std::remove_pointer_t<A>>,
                                    std::tuple<std::remove_const_t<std::remove_pointer_t<A>>>,
                                    std::tuple<>>;
template <class A>
using OutputOf = std::conditional_t<kIsImage<A> && !std::is_const_v<std::remove_pointer_t<A>>,
                                    std::tuple<std::remove_pointer_t<A>>, std::tuple<>>;

// Argument i of the call: image pointers, steps (the int after a pointer),
// the ROI, and the parameters in order.
template <class A>
A Pick(const CallArgs& a, std::size_t i, const bool* image, const bool* roi) {
  const std::size_t images = std::count(image, image + i, true);
  std::size_t params = 0;
  for (std::size_t k = 0; k < i; ++k) params += !image[k] && !roi[k] && !(k > 0 && image[k - 1]);
  if constexpr (std::is_pointer_v<A>) {
    return static_cast<A>(a.ptr[images]);
  } else if constexpr (std::is_same_v<A, OmbRoiSize>) {
    return a.roi;
  } else {
    if (i > 0 && image[i - 1]) return static_cast<A>(a.step[images - 1]);
    return static_cast<A>(a.p[params]);
  }
}

template <class... Args, std::size_t... I>
OmbResult Invoke(OmbResult (*fn)(Args...), const CallArgs& a, std::index_sequence<I...>) {
  static constexpr bool image[] = {kIsImage<Args>...};
  static constexpr bool roi[] = {std::is_same_v<Args, OmbRoiSize>...};
  return fn(Pick<Args>(a, I, image, roi)...);
}

template <class Out, class Sources, class Op, std::size_t... I>
PixelModel ModelOf(Op op, std::index_sequence<I...>) {
  return [op](const std::uint8_t* const* in, std::uint8_t* out, const double* p) {
    auto load = [](const std::uint8_t* q, auto v) {
      std::memcpy(&v, q, sizeof v);
      return v;
    };
    const Out r = static_cast<Out>(op(load(in[I], std::tuple_element_t<I, Sources>{})...,
                                      load(out, Out{}), p));
    std::memcpy(out, &r, sizeof r);
  };
}

template <class A>
void AddImage(std::vector<ArgImage>& images) {
  if constexpr (kIsImage<A>) {
    using P = std::remove_pointer_t<A>;
    images.push_back({ElemOf<std::remove_const_t<P>>(), !std::is_const_v<P>});
  }
}

template <class... Args, class Op>
PixFront Front(const std::string& name, OmbResult (*fn)(Args...), Op op,
               std::vector<std::vector<double>> sets = {{}}, std::vector<ArgParam> bad = {}) {
  using Sources = decltype(std::tuple_cat(std::declval<SourceOf<Args>>()...));
  using Out = std::tuple_element_t<0, decltype(std::tuple_cat(std::declval<OutputOf<Args>>()...))>;
  PixFront f;
  f.arg.name = name;
  (AddImage<Args>(f.arg.images), ...);
  const bool masked = name.size() > 3 && name.compare(name.size() - 3, 3, "IMR") == 0;
  if (masked) f.arg.images[f.arg.images.size() - 2] = {Elem::k8u, false, false, true};
  f.arg.params = std::move(bad);
  f.arg.defaults = sets[0];
  f.arg.call = [fn](const CallArgs& a) { return Invoke(fn, a, std::index_sequence_for<Args...>{}); };
  f.param_sets = std::move(sets);
  f.model = ModelOf<Out, Sources>(op, std::make_index_sequence<std::tuple_size_v<Sources>>{});
  f.nan_payloads = name.rfind("ombiAdd", 0) != 0;
  return f;
}

#define OMB_FN(fn) #fn, fn

std::vector<PixFront> MakeFronts() {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::vector<std::vector<double>> c8 = {{-5}, {0}, {1}, {200}, {255}, {256}, {300}, {INT_MIN}, {INT_MAX}};
  const std::vector<std::vector<double>> c16 = {{-1}, {0}, {1}, {40000}, {65535}, {65536}, {100000}, {INT_MIN}, {INT_MAX}};
  const std::vector<std::vector<double>> c32 = {{0}, {-0.0}, {1.5}, {-3.25}, {100.75}, {inf}, {-inf}, {nan}, {1e-40}, {FLT_MAX}};
  const std::vector<std::vector<double>> alphas = {{0.25}, {1}, {0}, {-0.0}, {1.0 / 3}, {0.1}, {-0.5}, {2.5}, {inf}, {nan}};
  const std::vector<std::vector<double>> times = {  // {timestamp, duration}
      {5, 2}, {5, 0}, {0, 0}, {16777216, 1}, {3e7, 1.5}, {-3, 1.5}, {0.1, 0.3},
      {100, inf}, {inf, 1}, {inf, inf}, {-inf, 0}, {5, -0.0}};
  const std::vector<ArgParam> duration = {{1, {-1, -1e-45, -inf, nan}, ombResultOutOfRange}};
  return {
      Front(OMB_FN(ombiAbsDiff_8u_C1R), DiffOp{}),
      Front(OMB_FN(ombiAbsDiff_16u_C1R), DiffOp{}),
      Front(OMB_FN(ombiAbsDiff_32f_C1R), DiffOp{}),
      Front(OMB_FN(ombiAbsDiffC_8u_C1R), DiffConstOp{}, c8),
      Front(OMB_FN(ombiAbsDiffC_16u_C1R), DiffConstOp{}, c16),
      Front(OMB_FN(ombiAbsDiffC_32f_C1R), DiffConstOp{}, c32),
      Front(OMB_FN(ombiAdd_8u32f_C1IR), AddOp{}),
      Front(OMB_FN(ombiAdd_8s32f_C1IR), AddOp{}),
      Front(OMB_FN(ombiAdd_16u32f_C1IR), AddOp{}),
      Front(OMB_FN(ombiAdd_8u32f_C1IMR), AddOp{}),
      Front(OMB_FN(ombiAdd_8s32f_C1IMR), AddOp{}),
      Front(OMB_FN(ombiAdd_16u32f_C1IMR), AddOp{}),
      Front(OMB_FN(ombiAdd_32f_C1IMR), AddOp{}),
      Front(OMB_FN(ombiAddSquare_8u32f_C1IR), SquareOp{}),
      Front(OMB_FN(ombiAddSquare_8s32f_C1IR), SquareOp{}),
      Front(OMB_FN(ombiAddSquare_16u32f_C1IR), SquareOp{}),
      Front(OMB_FN(ombiAddSquare_32f_C1IR), SquareOp{}),
      Front(OMB_FN(ombiAddSquare_8u32f_C1IMR), SquareOp{}),
      Front(OMB_FN(ombiAddSquare_8s32f_C1IMR), SquareOp{}),
      Front(OMB_FN(ombiAddSquare_16u32f_C1IMR), SquareOp{}),
      Front(OMB_FN(ombiAddSquare_32f_C1IMR), SquareOp{}),
      Front(OMB_FN(ombiAddProduct_8u32f_C1IR), ProductOp{}),
      Front(OMB_FN(ombiAddProduct_8s32f_C1IR), ProductOp{}),
      Front(OMB_FN(ombiAddProduct_16u32f_C1IR), ProductOp{}),
      Front(OMB_FN(ombiAddProduct_32f_C1IR), ProductOp{}),
      Front(OMB_FN(ombiAddProduct_8u32f_C1IMR), ProductOp{}),
      Front(OMB_FN(ombiAddProduct_8s32f_C1IMR), ProductOp{}),
      Front(OMB_FN(ombiAddProduct_16u32f_C1IMR), ProductOp{}),
      Front(OMB_FN(ombiAddProduct_32f_C1IMR), ProductOp{}),
      Front(OMB_FN(ombiAddWeighted_8u32f_C1IR), WeightedOp{}, alphas),
      Front(OMB_FN(ombiAddWeighted_8s32f_C1IR), WeightedOp{}, alphas),
      Front(OMB_FN(ombiAddWeighted_16u32f_C1IR), WeightedOp{}, alphas),
      Front(OMB_FN(ombiAddWeighted_32f_C1IR), WeightedOp{}, alphas),
      Front(OMB_FN(ombiAddWeighted_8u32f_C1IMR), WeightedOp{}, alphas),
      Front(OMB_FN(ombiAddWeighted_8s32f_C1IMR), WeightedOp{}, alphas),
      Front(OMB_FN(ombiAddWeighted_16u32f_C1IMR), WeightedOp{}, alphas),
      Front(OMB_FN(ombiAddWeighted_32f_C1IMR), WeightedOp{}, alphas),
      Front(OMB_FN(ombiUpdateMotionHistory_8u32f_C1IR), HistoryOp{}, times, duration),
      Front(OMB_FN(ombiUpdateMotionHistory_16u32f_C1IR), HistoryOp{}, times, duration),
      Front(OMB_FN(ombiUpdateMotionHistory_32f_C1IR), HistoryOp{}, times, duration),
  };
}

const std::vector<PixFront>& PixelwiseFronts() {
  static const std::vector<PixFront> fronts = MakeFronts();
  return fronts;
}

const PixFront& FindFront(const std::string& name) {
  for (const PixFront& f : PixelwiseFronts())
    if (f.arg.name == name) return f;
  throw std::invalid_argument(name);
}

// Fills every image of the front with seeded random data laid out as
// `shape`, runs the front with parameters p and expects status 0, the output
// bitwise equal to the model (guards included) and the inputs untouched.
void ExpectMatchesModel(const PixFront& f, const Shape& s,
                        const std::vector<double>& p, std::uint64_t seed) {
  SCOPED_TRACE(::testing::Message()
               << s.w << "x" << s.h << " pad " << s.pad << " at (" << s.off_x
               << ", " << s.off_y << ")" << (s.shift ? " shifted" : "")
               << ", seed " << seed);
  Rng rng(seed);
  // The parameters, their neighbours and the motion-history threshold are
  // likely data values too, so that equality cases are met.
  std::vector<float> extra;
  auto near = [&extra](float v) {
    extra.insert(extra.end(), {v, std::nextafter(v, HUGE_VALF), std::nextafter(v, -HUGE_VALF)});
  };
  for (double v : p) near(static_cast<float>(v));
  if (p.size() == 2) near(static_cast<float>(p[0]) - static_cast<float>(p[1]));

  const std::size_t n = f.arg.images.size();
  std::vector<ImageBytes> imgs;
  imgs.reserve(n);
  CallArgs a;
  for (std::size_t i = 0; i < n; ++i) {
    const ArgImage& im = f.arg.images[i];
    const int eb = ElemBytes(im.elem);
    Layout l;
    l.pad_bytes = s.pad + s.pad_spread * static_cast<int>(i);
    l.pad_bytes -= l.pad_bytes % eb;
    l.off_x = s.off_x;
    l.off_y = s.off_y;
    l.shift = s.shift ? eb : 0;
    imgs.emplace_back(s.w, s.h, im.elem, l);
    FillRandom(imgs.back(), rng, im.mask ? 0.6 : 0.15, extra, f.nan_payloads);
    a.ptr.push_back(imgs.back().RoiBytes());
    a.step.push_back(imgs.back().Step());
  }
  a.roi = {s.w, s.h};
  a.p = p;

  ImageBytes want(imgs.back());
  std::vector<const std::uint8_t*> in(n - 1);
  for (int y = 0; y < s.h; ++y) {
    for (int x = 0; x < s.w; ++x) {
      for (std::size_t i = 0; i + 1 < n; ++i) in[i] = imgs[i].PixelBytes(x, y);
      f.model(in.data(), want.PixelBytes(x, y), p.data());
    }
  }
  ASSERT_EQ(f.arg.call(a), ombResultOk);
  EXPECT_TRUE(SameBytes(imgs.back(), want));
  for (std::size_t i = 0; i + 1 < n; ++i) EXPECT_TRUE(imgs[i].Unchanged()) << "input " << i;
}


// ---- the table, every shape and thread count --------------------------------

// Widths 1..70 reach every vector tail up to 64-byte vectors; the wider
// ones run the two-vector interior loops, the tall ones many rows.
std::vector<Shape> SweepShapes() {
  std::vector<Shape> v;
  for (int w = 1; w <= 70; ++w) v.push_back({w, 1 + w % 5, (w * 5) % 19, w % 3, w % 2, w % 4 == 1});
  for (const Shape& s : {Shape{129, 3, 7, 1, 1, true}, Shape{255, 2, 0, 0, 0, false},
                         Shape{257, 2, 13, 2, 1, true}, Shape{1031, 1, 5, 3, 0, false},
                         Shape{1, 37, 3, 0, 2, true}, Shape{3, 64, 0, 1, 0, false}})
    v.push_back(s);
  return v;
}

using Pixelwise = FrontSuite<PixFront, PixelwiseFronts>;

TEST_P(Pixelwise, ChecksArgumentsInOrder) { ExpectCheckOrder(front().arg); }

TEST_P(Pixelwise, MatchesModelOnEveryTarget) {
  const std::vector<Shape> shapes = SweepShapes();
  ForEachSimdTarget([&] {
    for (std::size_t i = 0; i < shapes.size() && !HasFailure(); ++i) {
      const auto& sets = front().param_sets;
      ExpectMatchesModel(front(), shapes[i], sets[i % sets.size()], 1000 + i);
    }
  });
}

TEST_P(Pixelwise, MatchesModelAtEveryThreadCount) {
  ForEachThreadCount([&](int) {
    ExpectMatchesModel(front(), {257, 67, 9, 1, 1, true}, front().param_sets[0], 77);
  });
}

INSTANTIATE_TEST_SUITE_P(All, Pixelwise, Pixelwise::All(), Pixelwise::Name);

// ---- single cases ------------------------------------------------------------

const float kInf = HUGE_VALF;
const float kNaN = BitsFloat(0x7fc00000u);

// A w x 1 image whose pixels repeat `values`, wide enough for the vector
// loops and a tail on every target.
template <class T>
TestImage<T> Repeat(const std::vector<T>& values, int w = 67) {
  TestImage<T> img(w, 1, {3 * static_cast<int>(sizeof(T)), 1, 1});
  for (int x = 0; x < w; ++x) img.Set(x, 0, values[x % values.size()]);
  img.Snapshot();
  return img;
}

// Expects pixel x of `img` to hold the bits of want[x % want.size()];
// where that is a NaN, any NaN will do.
void ExpectRepeats(const TestImage<float>& img, const std::vector<float>& want) {
  EXPECT_TRUE(img.GuardsIntact());
  for (int x = 0; x < img.Width(); ++x) {
    const float got = img.Get(x, 0), w = want[x % want.size()];
    ASSERT_TRUE(std::isnan(w) ? std::isnan(got) : FloatBits(got) == FloatBits(w))
        << "pixel " << x << ": got " << got << ", want " << w;
  }
}

TEST(PixelwiseEdge, AbsDiff32fClearsTheSign) {
  const float pz = 0.0f, nz = -0.0f, nnan = BitsFloat(0xffc00000u);
  ForEachSimdTarget([&] {
    auto a = Repeat<float>({pz, nz, pz, nz, nnan, -kInf});
    auto b = Repeat<float>({nz, pz, pz, nz, 1.0f, 3.0f});
    TestImage<float> d(67, 1);
    ASSERT_EQ(ombiAbsDiff_32f_C1R(a.Roi(), a.Step(), b.Roi(), b.Step(), d.Roi(), d.Step(), d.Size()), 0);
    ExpectRepeats(d, {pz, pz, pz, pz, kNaN, kInf});
    EXPECT_EQ(FloatBits(d.Get(4, 0)), 0x7fc00000u);
  });
}

// Runs one motion-history front on a 67 x 1 silhouette and history.
template <class T>
using HistoryFn = OmbResult (*)(const T*, int, float*, int, OmbRoiSize, float, float);
template <class T>
TestImage<float> History(HistoryFn<T> fn, const std::vector<T>& sil,
                         const std::vector<float>& mhi, float ts, float duration) {
  auto s = Repeat(sil);
  auto h = Repeat(mhi);
  EXPECT_EQ(fn(s.Roi(), s.Step(), h.Roi(), h.Step(), h.Size(), ts, duration), 0);
  EXPECT_TRUE(s.Unchanged());
  return h;
}

TEST(PixelwiseEdge, MotionHistoryZeroDuration) {
  // Nothing moves; history below the timestamp is cleared, equal or above kept.
  const float ts = 5.0f, below = std::nextafter(ts, 0.0f), above = std::nextafter(ts, 9.0f);
  const std::vector<float> mhi = {ts, below, above, 0.0f, -1.0f, 9.0f};
  const std::vector<float> want = {ts, 0.0f, above, 0.0f, 0.0f, 9.0f};
  ForEachSimdTarget([&] {
    ExpectRepeats(History<Omb8u>(ombiUpdateMotionHistory_8u32f_C1IR, {0}, mhi, ts, 0.0f), want);
    ExpectRepeats(History<Omb16u>(ombiUpdateMotionHistory_16u32f_C1IR, {0}, mhi, ts, -0.0f), want);
    ExpectRepeats(History<float>(ombiUpdateMotionHistory_32f_C1IR, {0.0f, -0.0f, kNaN}, mhi, ts, 0.0f), want);
  });
}

TEST(PixelwiseEdge, MotionHistoryOrderOfSpecialValues) {
  // Threshold +0. Integer silhouettes order the history as keys: -0 lies
  // below +0 and is cleared, +NaN lies above everything and stays, -NaN
  // below everything. Float silhouettes compare floats: -0 >= +0 stays,
  // NaNs are cleared.
  const float nnan = BitsFloat(0xffc00000u);
  const std::vector<float> mhi = {-0.0f, kNaN, nnan, 0.0f, 1e-45f, -1e-45f, kInf, -kInf};
  ForEachSimdTarget([&] {
    auto h8 = History<Omb8u>(ombiUpdateMotionHistory_8u32f_C1IR, {0}, mhi, 2.0f, 2.0f);
    ExpectRepeats(h8, {0.0f, kNaN, 0.0f, 0.0f, 1e-45f, 0.0f, kInf, 0.0f});
    EXPECT_EQ(FloatBits(h8.Get(1, 0)), 0x7fc00000u);
    ExpectRepeats(History<float>(ombiUpdateMotionHistory_32f_C1IR, {0.0f}, mhi, 2.0f, 2.0f),
                  {-0.0f, 0.0f, 0.0f, 0.0f, 1e-45f, 0.0f, kInf, 0.0f});
    // Moving float silhouettes: any value ordered-unequal to zero.
    ExpectRepeats(History<float>(ombiUpdateMotionHistory_32f_C1IR,
                                 {1e-45f, -1e-45f, -kInf, kNaN, -0.0f, 0.0f, 3.0f}, {-1.0f}, 7.0f, 1.0f),
                  {7.0f, 7.0f, 7.0f, 0.0f, 0.0f, 0.0f, 7.0f});
  });
}

TEST(PixelwiseEdge, AbsDiff32fLargeAlignedOutput) {
  // 4100 rows of 16448 bytes (a multiple of 64) on 64-byte aligned blocks:
  // a destination of more than 64 MiB on vector boundaries, which the
  // library writes with non-temporal stores.
  ExpectMatchesModel(FindFront("ombiAbsDiff_32f_C1R"), {4100, 4100, 48, 0, 0, false, 0}, {}, 4100);
}

}  // namespace
}  // namespace omb_test
