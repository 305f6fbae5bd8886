#include "pixelwise/fronts.hpp"

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

#include "ombcv.h"
#include "pixelwise/pixelwise_ref.hpp"

namespace omb_test {
namespace {

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

}  // namespace
const std::vector<PixFront>& PixelwiseFronts() {
  static const std::vector<PixFront> fronts = MakeFronts();
  return fronts;
}

const PixFront& FindFront(const std::string& name) {
  for (const PixFront& f : PixelwiseFronts())
    if (f.arg.name == name) return f;
  throw std::invalid_argument(name);
}

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

}  // namespace omb_test
