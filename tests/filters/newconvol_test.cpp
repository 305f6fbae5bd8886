// Fixed-kernel derivative, Laplacian and low-pass filters: argument check
// order, buffer sizes, and bitwise agreement with a plain 2-D model that
// reads the bordered image through the shared border model (folding as
// often as a tiny image needs) and convolves it in the documented order of
// operations, on every SIMD target and at several thread counts. The model
// stays here rather than calling the scalar band routine: that routine is
// the ring-buffer design under test, and this model is the check order of
// the operations.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "ombcore.h"
#include "ombcv.h"
#include "support/arg_check.hpp"

namespace omb_test {
namespace {

enum class Model { kSobelH, kSobelV, kSobelNV, kSobelH2, kSobelV2, kCross, kLap, kScharrH, kScharrV, kLow };
enum class Rule { kSobel8u, kLap16s, kLap8s, kScharr8u, kScharr32f, kSobel32f, kLap32f };

using Call = std::function<OmbResult(const void*, int, void*, int, OmbRoiSize, int mask, int border,
                                     float value, int divisor, Omb8u* buf)>;
using SizeCall = std::function<OmbResult(OmbRoiSize, int mask, int*)>;

// The fronts differ in whether they take a mask code (Sobel, Laplacian and
// low-pass) and a divisor (8s results); everything else is the same.
template <class S, class D, class... A>
Call Bind(OmbResult (*f)(const S*, int, D*, int, OmbRoiSize, A...)) {
  return [f](const void* s, int ss, void* d, int ds, OmbRoiSize r, int m, int b, float v, int q,
             Omb8u* buf) {
    const auto* src = static_cast<const S*>(s);
    auto* dst = static_cast<D*>(d);
    const S val = static_cast<S>(v);
    using Tail = std::tuple<A...>;
    if constexpr (sizeof...(A) == 5) {
      return f(src, ss, dst, ds, r, m, b, val, q, buf);
    } else if constexpr (sizeof...(A) == 3) {
      return f(src, ss, dst, ds, r, b, val, buf);
    } else if constexpr (std::is_same_v<std::tuple_element_t<2, Tail>, int>) {
      return f(src, ss, dst, ds, r, b, val, q, buf);  // border, value, divisor
    } else {
      return f(src, ss, dst, ds, r, m, b, val, buf);  // mask, border, value
    }
  };
}
SizeCall BindSize(OmbResult (*f)(OmbRoiSize, int, int*)) { return f; }
SizeCall BindSize(OmbResult (*f)(OmbRoiSize, int*)) {
  return [f](OmbRoiSize r, int, int* s) { return f(r, s); };
}

struct Front {
  std::string name;
  Model model;
  Elem src, dst;
  bool mask, divisor;
  Call call;
  SizeCall size;
  Rule rule;
};

template <class F, class G>
Front Make(const char* name, Model m, F f, G g, Rule rule) {
  Front fr{name, m, Elem::k8u, Elem::k16s, false, false, Bind(f), BindSize(g), rule};
  const std::string n = name;
  fr.src = n.find("_32f_") != std::string::npos ? Elem::k32f : Elem::k8u;
  fr.dst = n.find("_8u16s_") != std::string::npos ? Elem::k16s
           : n.find("_8u8s_") != std::string::npos ? Elem::k8s
           : n.find("_8u_") != std::string::npos   ? Elem::k8u
                                                   : Elem::k32f;
  fr.mask = n.find("Scharr") == std::string::npos;
  fr.divisor = fr.dst == Elem::k8s;
  return fr;
}

const std::vector<Front>& Fronts() {
  using M = Model;
  using R = Rule;
// Each front with its buffer-size query; the name is the stringised function.
#define OMB_FRONT(filter, size, model, rule) Make(#filter, model, filter, size, rule)
  static const std::vector<Front> fronts = {
      OMB_FRONT(ombiFilterSobelHorizBorder_8u16s_C1R, ombiFilterSobelHorizGetBufferSize_8u16s_C1R, M::kSobelH, R::kSobel8u),
      OMB_FRONT(ombiFilterSobelHorizBorder_8u8s_C1R, ombiFilterSobelHorizGetBufferSize_8u8s_C1R, M::kSobelH, R::kSobel8u),
      OMB_FRONT(ombiFilterSobelHorizBorder_32f_C1R, ombiFilterSobelHorizGetBufferSize_32f_C1R, M::kSobelH, R::kSobel32f),
      OMB_FRONT(ombiFilterSobelVertBorder_8u16s_C1R, ombiFilterSobelVertGetBufferSize_8u16s_C1R, M::kSobelV, R::kSobel8u),
      OMB_FRONT(ombiFilterSobelVertBorder_8u8s_C1R, ombiFilterSobelVertGetBufferSize_8u8s_C1R, M::kSobelV, R::kSobel8u),
      OMB_FRONT(ombiFilterSobelVertBorder_32f_C1R, ombiFilterSobelVertGetBufferSize_32f_C1R, M::kSobelV, R::kSobel32f),
      OMB_FRONT(ombiFilterSobelNegVertBorder_8u16s_C1R, ombiFilterSobelNegVertGetBufferSize_8u16s_C1R, M::kSobelNV, R::kSobel8u),
      OMB_FRONT(ombiFilterSobelNegVertBorder_8u8s_C1R, ombiFilterSobelNegVertGetBufferSize_8u8s_C1R, M::kSobelNV, R::kSobel8u),
      OMB_FRONT(ombiFilterSobelNegVertBorder_32f_C1R, ombiFilterSobelNegVertGetBufferSize_32f_C1R, M::kSobelNV, R::kSobel32f),
      OMB_FRONT(ombiFilterSobelHorizSecondBorder_8u16s_C1R, ombiFilterSobelHorizSecondGetBufferSize_8u16s_C1R, M::kSobelH2, R::kSobel8u),
      OMB_FRONT(ombiFilterSobelHorizSecondBorder_8u8s_C1R, ombiFilterSobelHorizSecondGetBufferSize_8u8s_C1R, M::kSobelH2, R::kSobel8u),
      OMB_FRONT(ombiFilterSobelHorizSecondBorder_32f_C1R, ombiFilterSobelHorizSecondGetBufferSize_32f_C1R, M::kSobelH2, R::kSobel32f),
      OMB_FRONT(ombiFilterSobelVertSecondBorder_8u16s_C1R, ombiFilterSobelVertSecondGetBufferSize_8u16s_C1R, M::kSobelV2, R::kSobel8u),
      OMB_FRONT(ombiFilterSobelVertSecondBorder_8u8s_C1R, ombiFilterSobelVertSecondGetBufferSize_8u8s_C1R, M::kSobelV2, R::kSobel8u),
      OMB_FRONT(ombiFilterSobelVertSecondBorder_32f_C1R, ombiFilterSobelVertSecondGetBufferSize_32f_C1R, M::kSobelV2, R::kSobel32f),
      OMB_FRONT(ombiFilterSobelCrossBorder_8u16s_C1R, ombiFilterSobelCrossGetBufferSize_8u16s_C1R, M::kCross, R::kSobel8u),
      OMB_FRONT(ombiFilterSobelCrossBorder_8u8s_C1R, ombiFilterSobelCrossGetBufferSize_8u8s_C1R, M::kCross, R::kSobel8u),
      OMB_FRONT(ombiFilterSobelCrossBorder_32f_C1R, ombiFilterSobelCrossGetBufferSize_32f_C1R, M::kCross, R::kSobel32f),
      OMB_FRONT(ombiFilterLaplacianBorder_8u16s_C1R, ombiFilterLaplacianGetBufferSize_8u16s_C1R, M::kLap, R::kLap16s),
      OMB_FRONT(ombiFilterLaplacianBorder_8u8s_C1R, ombiFilterLaplacianGetBufferSize_8u8s_C1R, M::kLap, R::kLap8s),
      OMB_FRONT(ombiFilterLaplacianBorder_32f_C1R, ombiFilterLaplacianGetBufferSize_32f_C1R, M::kLap, R::kLap32f),
      OMB_FRONT(ombiFilterScharrHorizBorder_8u16s_C1R, ombiFilterScharrHorizGetBufferSize_8u16s_C1R, M::kScharrH, R::kScharr8u),
      OMB_FRONT(ombiFilterScharrHorizBorder_8u8s_C1R, ombiFilterScharrHorizGetBufferSize_8u8s_C1R, M::kScharrH, R::kScharr8u),
      OMB_FRONT(ombiFilterScharrHorizBorder_32f_C1R, ombiFilterScharrHorizGetBufferSize_32f_C1R, M::kScharrH, R::kScharr32f),
      OMB_FRONT(ombiFilterScharrVertBorder_8u16s_C1R, ombiFilterScharrVertGetBufferSize_8u16s_C1R, M::kScharrV, R::kScharr8u),
      OMB_FRONT(ombiFilterScharrVertBorder_8u8s_C1R, ombiFilterScharrVertGetBufferSize_8u8s_C1R, M::kScharrV, R::kScharr8u),
      OMB_FRONT(ombiFilterScharrVertBorder_32f_C1R, ombiFilterScharrVertGetBufferSize_32f_C1R, M::kScharrV, R::kScharr32f),
      OMB_FRONT(ombiFilterLowpassBorder_8u_C1R, ombiFilterLowpassGetBufferSize_8u_C1R, M::kLow, R::kSobel8u),
      OMB_FRONT(ombiFilterLowpassBorder_32f_C1R, ombiFilterLowpassGetBufferSize_32f_C1R, M::kLow, R::kSobel32f),
  };
#undef OMB_FRONT
  return fronts;
}

// ---- Model ----------------------------------------------------------------

struct Kern {
  int n;
  int t[5];
};
Kern Smooth(int k) { return k == 3 ? Kern{3, {1, 2, 1}} : Kern{5, {1, 4, 6, 4, 1}}; }
Kern ColDiff(int k) { return k == 3 ? Kern{3, {-1, 0, 1}} : Kern{5, {-1, -2, 0, 2, 1}}; }
Kern RowDiff(int k) { return k == 3 ? Kern{3, {1, 0, -1}} : Kern{5, {1, 2, 0, -2, -1}}; }
Kern Second(int k) { return k == 3 ? Kern{3, {1, -2, 1}} : Kern{5, {1, 0, -2, 0, 1}}; }
Kern Box(int k) { return k == 3 ? Kern{3, {1, 1, 1}} : Kern{5, {1, 1, 1, 1, 1}}; }

// Products and sums in the documented order: the first nonzero tap's
// product, then each next product added; a +-1 tap is the value or its
// negation. V is int (8-bit sources) or float.
template <class V>
V Prod(int t, V v) { return t == 1 ? v : t == -1 ? -v : static_cast<V>(t) * v; }
template <class V, class Get>
V Corr(const Kern& k, const Get& get) {
  V acc{};
  bool started = false;
  for (int i = 0; i < k.n; ++i) {
    if (k.t[i] == 0) continue;
    const V p = Prod(k.t[i], get(i));
    acc = started ? acc + p : p;
    started = true;
  }
  return acc;
}

struct Source {
  const ImageBytes& img;
  int border;
  float value;
  template <class V>
  V At(int x, int y) const {
    const int xx = BorderModel(x, img.Width(), border), yy = BorderModel(y, img.Height(), border);
    if (xx < 0 || yy < 0) return static_cast<V>(value);
    if (img.elem() == Elem::k32f) return static_cast<V>(static_cast<const TestImage<float>&>(img).Get(xx, yy));
    return static_cast<V>(static_cast<const TestImage<Omb8u>&>(img).Get(xx, yy));
  }
};

// Row kernel, then column kernel, at output pixel (x, y).
template <class V>
V Sep(const Source& s, const Kern& row, const Kern& col, int x, int y) {
  const int r = row.n / 2;
  return Corr<V>(col, [&](int i) {
    return Corr<V>(row, [&](int j) { return s.At<V>(x - r + j, y - r + i); });
  });
}

template <class V>
V Value(Model m, int k, const Source& s, int x, int y) {
  switch (m) {
    case Model::kSobelH: return Sep<V>(s, Smooth(k), ColDiff(k), x, y);
    case Model::kSobelV: return Sep<V>(s, RowDiff(k), Smooth(k), x, y);
    case Model::kSobelNV: return -Sep<V>(s, RowDiff(k), Smooth(k), x, y);
    case Model::kSobelH2: return Sep<V>(s, Smooth(k), Second(k), x, y);
    case Model::kSobelV2: return Sep<V>(s, Second(k), Smooth(k), x, y);
    case Model::kCross: return Sep<V>(s, RowDiff(k), ColDiff(k), x, y);
    case Model::kScharrH: return Sep<V>(s, Kern{3, {3, 10, 3}}, Kern{3, {-1, 0, 1}}, x, y);
    case Model::kScharrV: return Sep<V>(s, Kern{3, {-1, 0, 1}}, Kern{3, {3, 10, 3}}, x, y);
    case Model::kLow: return Sep<V>(s, Box(k), Box(k), x, y);
    case Model::kLap:
      if (k == 5) return Sep<V>(s, Smooth(5), Second(5), x, y) + Sep<V>(s, Second(5), Smooth(5), x, y);
      {
        auto a = [&](int dy) { return s.At<V>(x - 1, y + dy) + s.At<V>(x + 1, y + dy); };
        return static_cast<V>(2) * (a(-1) + a(1)) - static_cast<V>(8) * s.At<V>(x, y);
      }
  }
  return V{};
}

// Writes the model's output of front f into `want` (same layout as the
// destination, guards included).
void ModelOutput(const Front& f, int k, const Source& s, int divisor, ImageBytes& want) {
  for (int y = 0; y < want.Height(); ++y) {
    for (int x = 0; x < want.Width(); ++x) {
      std::uint8_t* p = want.PixelBytes(x, y);
      if (f.src == Elem::k32f) {
        float v = Value<float>(f.model, k, s, x, y);
        if (f.model == Model::kLow) v *= k == 3 ? 1.0f / 9 : 1.0f / 25;
        std::memcpy(p, &v, 4);
        continue;
      }
      const int sum = Value<int>(f.model, k, s, x, y);
      const auto s16 = static_cast<std::int16_t>(static_cast<std::uint16_t>(sum));
      if (f.dst == Elem::k16s) {
        std::memcpy(p, &s16, 2);
      } else if (f.dst == Elem::k8s) {
        const float v = std::fmin(std::fmax(static_cast<float>(s16) * (1.0f / divisor), -128.0f), 127.0f);
        *p = static_cast<std::uint8_t>(static_cast<std::int8_t>(static_cast<int>(v)));
      } else {
        const int v = k == 3 ? (sum * 7280 + 36400) >> 16 : (sum * 2621) >> 16;
        *p = static_cast<std::uint8_t>(std::min(v, 255));
      }
    }
  }
}

// Any NaN equals any NaN: both images get one canonical NaN.
void CanonicalNans(ImageBytes& img) {
  if (img.elem() != Elem::k32f) return;
  const float nan = std::nanf("");
  for (int y = 0; y < img.Height(); ++y)
    for (int x = 0; x < img.Width(); ++x) {
      float v;
      std::memcpy(&v, img.PixelBytes(x, y), 4);
      if (std::isnan(v)) std::memcpy(img.PixelBytes(x, y), &nan, 4);
    }
}

// ---- Expected buffer sizes --------------------------------------------------

// Buffers are sized for the larger of the library thread count and the
// OpenMP maximum, read from the runtime the library loaded.
int OmpMaxThreads() {
  using Fn = int (*)();
  static const Fn fn = reinterpret_cast<Fn>(dlsym(RTLD_DEFAULT, "omp_get_max_threads"));
  return fn != nullptr ? fn() : 1;
}

long long Pipeline(int t, OmbRoiSize r, int k, long long per_thread) {
  return t * 32LL + (r.height + k) * 4LL * t + t * per_thread;
}
long long ExpectedSize(Rule rule, OmbRoiSize r, int k, int t) {
  const long long w = r.width, f = k == 3 ? 21 : 25, small = k == 3 ? 156 : 180;
  const long long c16 = Pipeline(t, r, k, 4 * k + 32);
  const long long f32 = Pipeline(t, r, k, 16 * k + 32) + Pipeline(t, r, k, 0);
  const long long w16 = (w + 15) / 16 * 16, w4 = (w + 3) / 4 * 4;
  long long b = 0;
  switch (rule) {
    case Rule::kSobel8u: b = w16 * 2 * f + small + 64 + 2 * c16; break;
    case Rule::kLap16s: b = w16 * 4 * f + 2 * small + 96 + 2 * c16; break;
    case Rule::kLap8s: b = w16 * 4 * f + 2 * small + 96 + 2 * c16 + (k == 5 ? w16 * r.height * 2 + 32 : 0); break;
    case Rule::kScharr8u: b = w16 * 42 + 220 + 2 * c16; break;
    case Rule::kScharr32f: b = w4 * 84 + 220 + f32; break;
    case Rule::kSobel32f: b = w4 * 4 * f + small + 64 + f32; break;
    case Rule::kLap32f: b = w16 * 8 * f + 2 * small + 96 + f32; break;
  }
  return t * (b + 32);
}

// ---- Running a front --------------------------------------------------------

struct Case {
  int w, h, k, border, divisor;
  Layout src_layout, dst_layout;
  int buf_shift;
};

// A work buffer of exactly the size the front reports, with guard bytes.
GuardedBuffer Buffer(const Front& f, OmbRoiSize r, int k, int shift) {
  int size = 0;
  EXPECT_EQ(f.size(r, k * 11, &size), ombResultOk);
  return GuardedBuffer(size, shift);
}

void RunCase(const Front& f, const Case& c, Rng& rng) {
  SCOPED_TRACE(::testing::Message() << c.w << "x" << c.h << " mask " << c.k << " border " << c.border
                                    << " divisor " << c.divisor);
  // Padding in whole elements: float steps must stay multiples of 4, and
  // float images start on float boundaries; 16-bit ones may start anywhere.
  Layout sl = c.src_layout, dl = c.dst_layout;
  sl.pad_bytes *= ElemBytes(f.src);
  sl.shift *= ElemBytes(f.src);
  dl.pad_bytes *= ElemBytes(f.dst);
  dl.shift *= f.dst == Elem::k32f ? 4 : 1;
  ImageBytes src(c.w, c.h, f.src, sl);
  FillRandom(src, rng, 0.05);
  ImageBytes dst(c.w, c.h, f.dst, dl);
  ImageBytes want(dst);
  const float value = f.src == Elem::k32f ? static_cast<float>(rng() % 2001) * 0.25f - 250.0f
                                          : static_cast<float>(rng() % 256);
  const OmbRoiSize roi{c.w, c.h};
  GuardedBuffer buf = Buffer(f, roi, c.k, c.buf_shift);
  ModelOutput(f, c.k, Source{src, c.border, value}, c.divisor, want);
  ASSERT_EQ(f.call(src.RoiBytes(), src.Step(), dst.RoiBytes(), dst.Step(), roi, c.k * 11, c.border,
                   value, c.divisor, buf.Data()),
            ombResultOk);
  CanonicalNans(dst);
  CanonicalNans(want);
  EXPECT_TRUE(SameBytes(dst, want));
  EXPECT_TRUE(src.Unchanged());
  EXPECT_TRUE(buf.GuardsIntact()) << "work buffer overrun";
}

using NewConvol = FrontSuite<Front, Fronts>;

TEST_P(NewConvol, ChecksArgumentsInOrder) {
  const Front& f = front();
  static std::vector<Omb8u> buffer(1 << 16);
  ArgFront a;
  a.name = f.name;
  const bool fl = f.src == Elem::k32f;
  a.images = {{f.src, false, fl}, {f.dst, true, fl}};
  // p: border, divisor, mask code.
  a.defaults = {1, 3, 33};
  a.params.push_back({0, {-1, 5, 1000}, ombResultBadArgument});
  if (f.divisor) a.params.push_back({1, {0}, ombResultBadArgument});
  if (f.mask) a.params.push_back({2, {0, 3, 34, 53, -33}, ombResultBadMaskSize});
  const Call call = f.call;
  a.call = [call](const CallArgs& c) {
    return call(c.ptr[0], c.step[0], c.ptr[1], c.step[1], c.roi, static_cast<int>(c.p[2]),
                static_cast<int>(c.p[0]), 7, static_cast<int>(c.p[1]), buffer.data());
  };
  ExpectCheckOrder(a);

  // A null work buffer is a null pointer: it wins over every later fault
  // and writes nothing.
  TestImage<Omb8u> src(16, 4);
  ImageBytes dst(16, 4, f.dst);
  struct Fault { OmbRoiSize roi; int step, border, divisor, mask; };
  for (const Fault& x : {Fault{{16, 4}, 64, 1, 3, 33}, Fault{{0, 4}, 64, 1, 3, 33},
                         Fault{{16, 4}, 1, 1, 3, 33}, Fault{{16, 4}, 64, 9, 0, 33},
                         Fault{{16, 4}, 64, 1, 3, 44}}) {
    EXPECT_EQ(f.call(src.Roi(), x.step, dst.RoiBytes(), x.step, x.roi, x.mask, x.border, 0,
                     x.divisor, nullptr),
              ombResultNullPointer);
  }
  EXPECT_TRUE(dst.Unchanged());
}

TEST_P(NewConvol, ReportsBufferSizes) {
  const Front& f = front();
  int size = -1;
  EXPECT_EQ(f.size({5, 5}, 33, nullptr), ombResultNullPointer);
  EXPECT_EQ(f.size({0, 5}, 44, nullptr), ombResultNullPointer);
  EXPECT_EQ(f.size({0, 5}, 44, &size), ombResultBadSize);
  EXPECT_EQ(f.size({5, -1}, 33, &size), ombResultBadSize);
  if (f.mask) {
    EXPECT_EQ(f.size({5, 5}, 35, &size), ombResultBadMaskSize);
  }
  EXPECT_EQ(f.size({INT_MAX, 1000}, 33, &size), ombResultBadSize);
  EXPECT_EQ(size, -1);
  ForEachThreadCount([&](int t) {
    for (OmbRoiSize r : {OmbRoiSize{1, 1}, OmbRoiSize{17, 3}, OmbRoiSize{640, 480}, OmbRoiSize{1921, 1081}}) {
      for (int k : {3, 5}) {
        if (!f.mask && k == 5) continue;
        ASSERT_EQ(f.size(r, k * 11, &size), ombResultOk);
        EXPECT_EQ(size, ExpectedSize(f.rule, r, k, std::max(t, OmpMaxThreads())))
            << r.width << "x" << r.height << " mask " << k;
      }
    }
  });
}

// Every border kind and mask size, widths and heights 1 to 40, ROIs inside
// larger images with padded steps, a buffer of exactly the reported size at
// every misalignment, divisors of both signs including 1.
TEST_P(NewConvol, MatchesModelOnEveryTarget) {
  const Front& f = front();
  Rng rng(GetParam() * 977 + 1);
  const int divisors[] = {1, -1, 3, -7, 2, 100};
  int n = 0;
  ForEachSimdTarget([&] {
    for (int border = 0; border < 5; ++border) {
      for (int k : {3, 5}) {
        if (!f.mask && k == 5) continue;
        for (int w : {1, 2, 3, 4, 5, 7, 8, 9, 12, 15, 16, 17, 24, 31, 32, 33, 40}) {
          const int h = 1 + (w * 5 + border) % 7;
          ++n;
          const int pad = n % 5, off = n % 3;
          RunCase(f, {w, h, k, border, divisors[n % 6], {pad, off, off, 1, n % 4}, {pad * 2 + 1, 1 - off % 2, 1, 1, 0}, n % 32}, rng);
        }
        for (int h : {2, 3, 4, 6, 9, 13, 22, 40}) {
          ++n;
          RunCase(f, {19 + h % 5, h, k, border, divisors[n % 6], {3, 2, 1, 1, 0}, {0, 0, 0, 1, 1}, 0}, rng);
        }
        if (HasFailure()) return;
      }
    }
  });
}

// Bands at 1, 2, 3 and 16 threads (every count splits this image) give the
// same bytes as one thread.
TEST_P(NewConvol, SameResultAtEveryThreadCount) {
  const Front& f = front();
  Rng rng(GetParam());
  const OmbRoiSize roi{264, 16 * 256 + 3};
  ImageBytes src(roi.width, roi.height, f.src);
  FillRandom(src, rng, 0.01);
  for (int k : {3, 5}) {
    if (!f.mask && k == 5) continue;
    std::vector<ImageBytes> out;
    for (int t : {1, 2, 3, 16}) {
      const ScopedThreadCount threads(t);
      GuardedBuffer buf = Buffer(f, roi, k, 0);
      out.emplace_back(roi.width, roi.height, f.dst);
      ASSERT_EQ(f.call(src.RoiBytes(), src.Step(), out.back().RoiBytes(), out.back().Step(), roi, k * 11,
                       ombBorderMirror, 3, -3, buf.Data()),
                ombResultOk);
      EXPECT_TRUE(buf.GuardsIntact());
      CanonicalNans(out.back());
      EXPECT_TRUE(SameBytes(out.back(), out.front())) << "mask " << k << ", " << t << " threads";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, NewConvol, NewConvol::All(), NewConvol::Name);

// NegVert is the exact negation of Vert, bit for bit, for every border: the
// model run compares NaNs only as NaNs, this compares their sign too.
// (Integer results are compared bit for bit by the model run.)
TEST(NewConvolEdge, NegVertNegatesVert) {
  Rng rng(5);
  TestImage<float> src(37, 6);
  FillRandom(src, rng, 0.1);
  std::vector<Omb8u> buf(1 << 16);
  for (int border = 0; border < 5; ++border) {
    for (int mask : {33, 55}) {
      TestImage<float> a(37, 6), b(37, 6);
      ombiFilterSobelVertBorder_32f_C1R(src.Roi(), src.Step(), a.Roi(), a.Step(), {37, 6}, mask, border, 2.5f, buf.data());
      ombiFilterSobelNegVertBorder_32f_C1R(src.Roi(), src.Step(), b.Roi(), b.Step(), {37, 6}, mask, border, 2.5f, buf.data());
      for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 37; ++x) ASSERT_EQ(FloatBits(a.Get(x, y)), FloatBits(b.Get(x, y)) ^ 0x80000000u);
    }
  }
}

}  // namespace
}  // namespace omb_test
