// Canny on a real photograph: Sobel derivatives (3x3, replicate) of the
// camera image from tests/data, then both detector variants, compared bit
// for bit with the plain model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "edges/canny_model.hpp"
#include "ombcv.h"
#include "support/test_image.hpp"

namespace {

using namespace omb_test;

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
