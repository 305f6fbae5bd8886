// Canny edge detector against the model below: hand-made plateaus and
// thresholds, tiny shapes, random images in padded and offset layouts and
// the camera photograph on every SIMD target, the buffer-size query and the
// check order.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "edges/canny_ref.hpp"
#include "ombcv.h"
#include "support/arg_check.hpp"
#include "support/test_image.hpp"

// The Canny detector for the differential tests, built from the per-pixel
// rules beside the kernel (magnitude, direction, suppression, seed) over a
// whole framed magnitude image, with a simple flood over the candidates in
// place of the library's stack and row bookkeeping. The hand-made shapes
// below pin the rules themselves.
namespace canny_model {

// Edge bytes (0/255), width x height, row-major.
template <class T>
std::vector<std::uint8_t> Edges(const T* dx, int dx_step, const T* dy, int dy_step, int w, int h,
                                float low, float high) {
  namespace ref = omb::ref;
  using M = ref::CannyMag<T>;
  auto at = [](const T* p, int step, int x, int y) {
    T v;
    std::memcpy(&v, reinterpret_cast<const std::uint8_t*>(p) + std::ptrdiff_t(step) * y + x * int(sizeof(T)),
                sizeof v);
    return v;
  };
  const M lo = ref::CannyLow(low, static_cast<M*>(nullptr));
  std::vector<M> mag(std::size_t(w + 2) * (h + 2), M(0));
  auto row = [&](int y) { return &mag[std::size_t(y + 1) * (w + 2)]; };  // column x at x + 1
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) row(y)[x + 1] = ref::CannyMagnitude(at(dx, dx_step, x, y), at(dy, dy_step, x, y), lo);
  std::vector<std::uint8_t> cand(std::size_t(w) * h, 0), out(std::size_t(w) * h, 0);
  std::vector<int> todo;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      if (!ref::CannySurvives(row(y - 1), row(y), row(y + 1), x + 1, at(dx, dx_step, x, y), at(dy, dy_step, x, y)))
        continue;
      cand[std::size_t(y) * w + x] = 1;
      if (ref::CannySeed(row(y)[x + 1], high)) {
        out[std::size_t(y) * w + x] = 255;
        todo.push_back(y * w + x);
      }
    }
  while (!todo.empty()) {
    const int p = todo.back();
    todo.pop_back();
    const int x = p % w, y = p / w;
    for (int yy = y - 1; yy <= y + 1; ++yy)
      for (int xx = x - 1; xx <= x + 1; ++xx) {
        if (xx < 0 || yy < 0 || xx >= w || yy >= h) continue;
        const std::size_t q = std::size_t(yy) * w + xx;
        if (cand[q] && !out[q]) out[q] = 255, todo.push_back(int(q));
      }
  }
  return out;
}

// The expected output image: the pre-call bytes with the cleared span (all
// rows' full steps, the last row's width only) and the edges written.
inline void Apply(omb_test::ImageBytes& want, const std::vector<std::uint8_t>& edges) {
  const int w = want.Width(), h = want.Height();
  std::memset(want.RoiBytes(), 0, std::size_t(want.Step()) * (h - 1) + w);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) *want.PixelBytes(x, y) = edges[std::size_t(y) * w + x];
}

}  // namespace canny_model

namespace {

using namespace omb_test;

int BufferSize(OmbRoiSize roi) {
  int size = 0;
  EXPECT_EQ(ombiCannyGetSize(roi, &size), ombResultOk);
  return size;
}

// The one place that picks the front of element type T.
template <class T>
OmbResult CallCanny(const T* dx, int dx_step, const T* dy, int dy_step, Omb8u* dst, int dst_step,
                    OmbRoiSize roi, float low, float high, Omb8u* buf) {
  if constexpr (std::is_same<T, Omb16s>::value) {
    return ombiCanny_16s8u_C1R(dx, dx_step, dy, dy_step, dst, dst_step, roi, low, high, buf);
  } else {
    return ombiCanny_32f8u_C1R(dx, dx_step, dy, dy_step, dst, dst_step, roi, low, high, buf);
  }
}

// Runs the detector and the model on the same derivatives; the output (its
// guards included), the inputs and the work-buffer guards must all match.
template <class T>
void ExpectModel(const TestImage<T>& dx, const TestImage<T>& dy, const Layout& out_layout, float low,
                 float high, int buf_shift = 0) {
  SCOPED_TRACE(::testing::Message() << dx.Width() << "x" << dx.Height() << " low " << low << " high "
                                    << high);
  TestImage<Omb8u> dst(dx.Width(), dx.Height(), out_layout);
  Rng rng(5);
  FillRandom(dst, rng, 0.0);
  ImageBytes want(dst);
  canny_model::Apply(want, canny_model::Edges(dx.Roi(), dx.Step(), dy.Roi(), dy.Step(), dx.Width(),
                                              dx.Height(), low, high));
  // A work buffer of exactly the reported size, guarded on both sides.
  GuardedBuffer buf(BufferSize(dst.Size()), buf_shift);
  ASSERT_EQ(CallCanny(dx.Roi(), dx.Step(), dy.Roi(), dy.Step(), dst.Roi(), dst.Step(), dst.Size(),
                      low, high, buf.Data()),
            ombResultOk);
  EXPECT_TRUE(SameBytes(dst, want));
  EXPECT_TRUE(dx.Unchanged());
  EXPECT_TRUE(dy.Unchanged());
  EXPECT_TRUE(buf.GuardsIntact()) << "work buffer overrun";
}

// Derivative images from two strings of small integers, one row per string.
template <class T>
std::pair<TestImage<T>, TestImage<T>> FromRows(const std::vector<std::vector<int>>& gx,
                                               const std::vector<std::vector<int>>& gy) {
  const int w = int(gx[0].size()), h = int(gx.size());
  TestImage<T> dx(w, h), dy(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      dx.Set(x, y, T(gx[y][x]));
      dy.Set(x, y, T(gy[y][x]));
    }
  dx.Snapshot();
  dy.Snapshot();
  return {std::move(dx), std::move(dy)};
}

std::vector<std::vector<int>> Grid(int w, int h, std::vector<std::pair<int, int>> at, int v) {
  std::vector<std::vector<int>> g(h, std::vector<int>(w, 0));
  for (auto [x, y] : at) g[y][x] = v;
  return g;
}

// Hand-made cases with the expected edge pixels spelled out.
struct Shape {
  const char* what;
  std::vector<std::vector<int>> gx, gy;
  float low, high;
  std::vector<std::pair<int, int>> edges;  // (x, y)
};

std::vector<Shape> Shapes() {
  const auto none = Grid(6, 6, {}, 0);
  return {
      {"2-wide horizontal ridge keeps the upper row", none,
       Grid(6, 6, {{1, 2}, {2, 2}, {3, 2}, {1, 3}, {2, 3}, {3, 3}}, 100), 10, 50,
       {{1, 2}, {2, 2}, {3, 2}}},
      {"2-wide vertical ridge keeps the left column",
       Grid(6, 6, {{2, 1}, {3, 1}, {2, 2}, {3, 2}}, -100), none, 10, 50, {{2, 1}, {2, 2}}},
      {"equal pair along up-left/down-right keeps neither", Grid(6, 6, {{2, 2}, {3, 3}}, 100),
       Grid(6, 6, {{2, 2}, {3, 3}}, 100), 10, 50, {}},
      {"equal pair along up-right/down-left keeps neither", Grid(6, 6, {{3, 2}, {2, 3}}, 100),
       Grid(6, 6, {{3, 2}, {2, 3}}, -100), 10, 50, {}},
      {"single diagonal pixel survives", Grid(6, 6, {{2, 2}}, -7), Grid(6, 6, {{2, 2}}, -7), 0, 13,
       {{2, 2}}},
      {"magnitude equal to high is no seed", Grid(6, 6, {{2, 2}}, 50), none, 10, 50, {}},
      {"magnitude equal to low is no candidate",
       {{0, 0, 0, 0}}, {{0, 60, 10, 0}}, 10, 50, {{1, 0}}},
      {"low = high: only m > low survives", {{0, 0, 0, 0}}, {{0, 60, 51, 50}}, 50, 50,
       {{1, 0}, {2, 0}}},
      {"low 9.9 truncates to 9 and keeps 10", {{0, 0, 0}}, {{10, 100, 9}}, 9.9f, 50,
       {{0, 0}, {1, 0}}},
      {"low = 0: any non-zero magnitude is a candidate", {{0, 0, 0}}, {{1, 100, 0}}, 0, 50,
       {{0, 0}, {1, 0}}},
      {"1x1 above high", {{3}}, {{-3}}, 1, 5, {{0, 0}}},
      {"1x1 at high", {{3}}, {{-3}}, 1, 6, {}},
      {"one column", {{0}, {0}, {0}, {0}}, {{5}, {80}, {5}, {0}}, 1, 50, {{0, 1}}},
  };
}

template <class T>
void RunShapes() {
  for (const Shape& s : Shapes()) {
    SCOPED_TRACE(s.what);
    auto [dx, dy] = FromRows<T>(s.gx, s.gy);
    ExpectModel(dx, dy, {}, s.low, s.high);
    // The spelled-out expectation, independent of the model.
    std::vector<std::uint8_t> want(std::size_t(dx.Width()) * dx.Height(), 0);
    for (auto [x, y] : s.edges) want[std::size_t(y) * dx.Width() + x] = 255;
    EXPECT_EQ(canny_model::Edges(dx.Roi(), dx.Step(), dy.Roi(), dy.Step(), dx.Width(), dx.Height(),
                                 s.low, s.high),
              want);
  }
}

TEST(Canny, HandMadeShapes) {
  RunShapes<Omb16s>();
  RunShapes<Omb32f>();
}

// Random derivatives: small values (many ties and plateaus) or the full
// range with special values, in padded, offset layouts.
template <class T>
void FillDerivative(TestImage<T>& img, Rng& rng, int range) {
  if (range == 0) {
    FillRandom(img, rng, 0.05);
    return;
  }
  std::uniform_int_distribution<int> v(-range, range);
  for (int y = 0; y < img.Height(); ++y)
    for (int x = 0; x < img.Width(); ++x) img.Set(x, y, T(v(rng)));
  img.Snapshot();
}

template <class T>
void RunRandom() {
  struct Case { int w, h, range; float low, high; };
  const Case cases[] = {{1, 1, 9, 2, 5},      {1, 37, 9, 2, 5},    {53, 1, 9, 0, 5},
                        {7, 5, 9, 3, 3},      {33, 19, 12, 4, 14}, {67, 23, 30, 9.5f, 40},
                        {129, 31, 200, 60, 180}, {75, 9, 0, 1000, 20000}, {31, 17, 3, 0, 0},
                        // One row or column of 65533: 32-bit stack entries.
                        {65533, 1, 40, 10, 30},  {1, 65533, 40, 10, 30}};
  Rng rng(11);
  int k = 0;
  for (const Case& c : cases) {
    const Layout l{int(sizeof(T)) * (k % 3) * 5, k % 4, k % 2, 1, (k % 2) * int(sizeof(T))};
    const Layout lo{3 + k % 5, (k + 1) % 3, 1};
    TestImage<T> dx(c.w, c.h, l), dy(c.w, c.h, l);
    FillDerivative(dx, rng, c.range);
    FillDerivative(dy, rng, c.range);
    ExpectModel(dx, dy, lo, c.low, c.high, k % 7);
    ++k;
  }
}

TEST(Canny, RandomMatchesModelOnEverySimdTarget) {
  ForEachSimdTarget([] {
    RunRandom<Omb16s>();
    RunRandom<Omb32f>();
  });
}

TEST(Canny, GetSize) {
  struct Case { OmbRoiSize roi; OmbResult st; long long size; };
  const Case cases[] = {
      {{1, 1}, ombResultOk, 5LL * 3 * 3 + (4 + 24) * 4 + 64},
      {{640, 480}, ombResultOk, 5LL * 642 * 482 + (4 * 640 + 24) * 4 + 64},
      {{65532, 1}, ombResultOk, 5LL * 65534 * 3 + (4LL * 65532 + 24) * 4 + 64},
      {{65533, 1}, ombResultOk, 9LL * 65535 * 3 + (4LL * 65533 + 24) * 4 + 64},
      {{1, 65533}, ombResultOk, 9LL * 3 * 65535 + (4 + 24) * 4 + 64},
      {{30000, 30000}, ombResultBadSize, 0},  // more than INT_MAX bytes
      {{0, 5}, ombResultBadSize, 0},
      {{5, -1}, ombResultBadSize, 0},
  };
  for (const Case& c : cases) {
    int size = -1;
    EXPECT_EQ(ombiCannyGetSize(c.roi, &size), c.st) << c.roi.width << "x" << c.roi.height;
    EXPECT_EQ(size, c.st == ombResultOk ? c.size : -1);
  }
  EXPECT_EQ(ombiCannyGetSize({0, 0}, nullptr), ombResultNullPointer);
}

template <class T>
void CheckOrder(const char* name) {
  static std::vector<Omb8u> buffer(1 << 16);
  ArgFront a;
  a.name = name;
  const Elem e = ElemOf<T>();
  a.images = {{e}, {e}, {Elem::k8u, true, false}};
  a.defaults = {1, 2};  // low, high
  a.params.push_back({0, {-1, std::nan("")}, ombResultBadArgument});
  a.params.push_back({1, {0.5, std::nan("")}, ombResultBadArgument});
  a.call = [](const CallArgs& c) {
    // The detector clears the output's row padding between rows by design
    // (see the model); it is restored here so that the harness's rule
    // "writes only inside the ROI" covers everything else.
    std::vector<Omb8u> saved;
    Omb8u* out = c.P<Omb8u>(2);
    const bool plausible = out && c.roi.width > 0 && c.roi.height > 0 && c.roi.width < 4096 &&
                           c.step[2] >= c.roi.width;
    const std::size_t span = plausible ? std::size_t(c.step[2]) * (c.roi.height - 1) + c.roi.width : 0;
    if (plausible) saved.assign(out, out + span);
    const OmbResult st = CallCanny(c.P<T>(0), c.step[0], c.P<T>(1), c.step[1], out, c.step[2],
                                   c.roi, float(c.p[0]), float(c.p[1]), buffer.data());
    if (st == ombResultOk) {
      for (int y = 0; y < c.roi.height; ++y)
        std::memcpy(saved.data() + std::size_t(c.step[2]) * y, out + std::size_t(c.step[2]) * y,
                    std::size_t(c.roi.width));
      std::memcpy(out, saved.data(), span);
    }
    return st;
  };
  ExpectCheckOrder(a);
  // A null work buffer is a null pointer and wins over bad thresholds.
  TestImage<T> dx(4, 2), dy(4, 2);
  TestImage<Omb8u> dst(4, 2);
  EXPECT_EQ(CallCanny(dx.Roi(), dx.Step(), dy.Roi(), dy.Step(), dst.Roi(), dst.Step(), {4, 2}, -1, 2,
                      nullptr),
            ombResultNullPointer);
  EXPECT_TRUE(dst.Unchanged());
}

TEST(Canny, ChecksArgumentsInOrder) {
  CheckOrder<Omb16s>("ombiCanny_16s8u_C1R");
  CheckOrder<Omb32f>("ombiCanny_32f8u_C1R");
}

// ---- the camera photograph ----------------------------------------------------

// Binary PGM (P5, maxval 255) into an 8-bit test image; no comments in
// the header are expected beyond what the converter writes.
TestImage<Omb8u> LoadPgm(const std::string& path) {
  int w = 0, h = 0;
  const std::vector<Omb8u> px = ReadPgm(path, &w, &h);
  TestImage<Omb8u> img(std::max(w, 1), std::max(h, 1));
  for (int y = 0; y < h; ++y)
    std::memcpy(img.Roi() + std::size_t(img.Step()) * y, px.data() + std::size_t(w) * y, std::size_t(w));
  img.Snapshot();
  return img;
}

// dx from the row first difference (Vert), dy from the column one (Horiz).
template <class S, class D, class SizeFn, class Fn>
TestImage<D> Sobel(const TestImage<S>& src, SizeFn size_fn, Fn fn) {
  TestImage<D> out(src.Width(), src.Height());
  int bytes = 0;
  EXPECT_EQ(size_fn(src.Size(), 33, &bytes), ombResultOk);
  std::vector<Omb8u> buf(std::size_t(bytes) + 1);
  EXPECT_EQ(fn(src.Roi(), src.Step(), out.Roi(), out.Step(), src.Size(), 33, ombBorderReplicate, S(0),
               buf.data()),
            ombResultOk);
  out.Snapshot();
  return out;
}

template <class T, class Fn>
void Detect(const TestImage<T>& dx, const TestImage<T>& dy, Fn fn, float low, float high) {
  SCOPED_TRACE(::testing::Message() << "thresholds " << low << "/" << high);
  TestImage<Omb8u> dst(dx.Width(), dx.Height());
  ImageBytes want(dst);
  const auto edges = canny_model::Edges(dx.Roi(), dx.Step(), dy.Roi(), dy.Step(), dx.Width(),
                                        dx.Height(), low, high);
  canny_model::Apply(want, edges);
  int bytes = 0;
  ASSERT_EQ(ombiCannyGetSize(dst.Size(), &bytes), ombResultOk);
  std::vector<Omb8u> buf(static_cast<std::size_t>(bytes));
  ASSERT_EQ(fn(dx.Roi(), dx.Step(), dy.Roi(), dy.Step(), dst.Roi(), dst.Step(), dst.Size(), low, high,
               buf.data()),
            ombResultOk);
  EXPECT_TRUE(SameBytes(dst, want));
  // A photograph at these thresholds: edges are neither absent nor everywhere.
  std::size_t n = 0;
  for (auto e : edges) n += e != 0;
  const double frac = double(n) / double(edges.size());
  EXPECT_GT(frac, 0.02);
  EXPECT_LT(frac, 0.25);
}

TEST(CannyPhoto, CameraMatchesModel) {
  const TestImage<Omb8u> img = LoadPgm(std::string(OMB_TEST_DATA_DIR) + "/camera.pgm");
  ASSERT_EQ(img.Width(), 512);
  const auto dx = Sobel<Omb8u, Omb16s>(img, ombiFilterSobelVertGetBufferSize_8u16s_C1R,
                                       ombiFilterSobelVertBorder_8u16s_C1R);
  const auto dy = Sobel<Omb8u, Omb16s>(img, ombiFilterSobelHorizGetBufferSize_8u16s_C1R,
                                       ombiFilterSobelHorizBorder_8u16s_C1R);
  TestImage<Omb32f> img32(img.Width(), img.Height());
  for (int y = 0; y < img.Height(); ++y)
    for (int x = 0; x < img.Width(); ++x) img32.Set(x, y, float(img.Get(x, y)));
  const auto fx = Sobel<Omb32f, Omb32f>(img32, ombiFilterSobelVertGetBufferSize_32f_C1R,
                                        ombiFilterSobelVertBorder_32f_C1R);
  const auto fy = Sobel<Omb32f, Omb32f>(img32, ombiFilterSobelHorizGetBufferSize_32f_C1R,
                                        ombiFilterSobelHorizBorder_32f_C1R);
  // dx must be the difference along a row: compare with a direct 3x3
  // computation at an interior pixel, so that the pair cannot be swapped.
  const int x0 = 200, y0 = 200;
  const int direct = 2 * (img.Get(x0 + 1, y0) - img.Get(x0 - 1, y0)) + img.Get(x0 + 1, y0 - 1) -
                     img.Get(x0 - 1, y0 - 1) + img.Get(x0 + 1, y0 + 1) - img.Get(x0 - 1, y0 + 1);
  EXPECT_EQ(std::abs(int(dx.Get(x0, y0))), std::abs(direct));
  ForEachSimdTarget([&] {
    for (auto [lo, hi] : {std::pair{50.0f, 150.0f}, std::pair{100.0f, 300.0f}}) {
      Detect(dx, dy, ombiCanny_16s8u_C1R, lo, hi);
      Detect(fx, fy, ombiCanny_32f8u_C1R, lo, hi);
    }
  });
}

}  // namespace
