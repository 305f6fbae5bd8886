// Canny edge detector on a real photograph.
//
// Content: the camera photograph of tests/data, stretched bilinearly to the
// benchmark size, then 3x3 Sobel derivatives with replicated borders (16-bit
// from the 8-bit image, float from its float copy); thresholds 50 and 150.
// A call reads both derivative images once and writes the edge image once;
// the magnitude ring, candidate map and stack live in the work buffer and
// are not counted. The detector is single-threaded, so every thread count
// measures the same serial call.
#include "edges/canny_bench.hpp"

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ombcv.h"
#include "support/image.hpp"
#include "support/registry.hpp"

namespace ombbench {
namespace {

struct Gray {
  int w = 0, h = 0;
  std::vector<Omb8u> px;
};

// The photograph, found relative to this source file.
const Gray& Photo() {
  static const Gray g = [] {
    std::string path = __FILE__;
    path = path.substr(0, path.rfind('/')) + "/../../tests/data/camera.pgm";
    Gray img;
    std::ifstream f(path, std::ios::binary);
    std::string magic;
    int maxval = 0;
    f >> magic >> img.w >> img.h >> maxval;
    f.get();
    img.px.resize(static_cast<std::size_t>(img.w) * img.h);
    f.read(reinterpret_cast<char*>(img.px.data()), static_cast<std::streamsize>(img.px.size()));
    if (!f || magic != "P5") {
      std::fprintf(stderr, "cannot read %s\n", path.c_str());
      img = Gray{1, 1, {0}};
    }
    return img;
  }();
  return g;
}

// Bilinear stretch of the photograph to the benchmark size (16.16 fixed point).
void Stretch(Image<Omb8u>& dst) {
  const Gray& g = Photo();
  for (int y = 0; y < dst.height(); ++y) {
    const long long fy = dst.height() > 1 ? (long long)y * (g.h - 1) * 65536 / (dst.height() - 1) : 0;
    const int y0 = int(fy >> 16), y1 = y0 + 1 < g.h ? y0 + 1 : y0;
    const long long wy = fy & 65535;
    for (int x = 0; x < dst.width(); ++x) {
      const long long fx = dst.width() > 1 ? (long long)x * (g.w - 1) * 65536 / (dst.width() - 1) : 0;
      const int x0 = int(fx >> 16), x1 = x0 + 1 < g.w ? x0 + 1 : x0;
      const long long wx = fx & 65535;
      auto p = [&](int xx, int yy) { return (long long)g.px[std::size_t(yy) * g.w + xx]; };
      const long long top = p(x0, y0) * (65536 - wx) + p(x1, y0) * wx;
      const long long bot = p(x0, y1) * (65536 - wx) + p(x1, y1) * wx;
      dst.Row(y)[x] = Omb8u((top * (65536 - wy) + bot * wy + (1LL << 31)) >> 32);
    }
  }
}

template <class T, class SizeFn, class Fn>
std::shared_ptr<Image<T>> Sobel(const Image<T>& src, SizeFn size_fn, Fn fn) {
  auto out = std::make_shared<Image<T>>(src.width(), src.height());
  int bytes = 0;
  size_fn(src.roi(), 33, &bytes);
  std::vector<Omb8u> buf(static_cast<std::size_t>(bytes) + 1);
  fn(src.data(), src.step(), out->data(), out->step(), src.roi(), 33, ombBorderReplicate, T(0), buf.data());
  return out;
}

// Derivative pair of the stretched photograph: 16-bit from the 8-bit image.
std::pair<std::shared_ptr<Image<Omb16s>>, std::shared_ptr<Image<Omb16s>>> Derivatives16s(BenchSize s) {
  Image<Omb8u> img(s.width, s.height);
  Stretch(img);
  int bytes = 0;
  auto dx = std::make_shared<Image<Omb16s>>(s.width, s.height);
  auto dy = std::make_shared<Image<Omb16s>>(s.width, s.height);
  ombiFilterSobelVertGetBufferSize_8u16s_C1R(img.roi(), 33, &bytes);
  std::vector<Omb8u> buf(static_cast<std::size_t>(bytes) + 1);
  ombiFilterSobelVertBorder_8u16s_C1R(img.data(), img.step(), dx->data(), dx->step(), img.roi(), 33,
                                      ombBorderReplicate, 0, buf.data());
  ombiFilterSobelHorizGetBufferSize_8u16s_C1R(img.roi(), 33, &bytes);
  buf.resize(static_cast<std::size_t>(bytes) + 1);
  ombiFilterSobelHorizBorder_8u16s_C1R(img.data(), img.step(), dy->data(), dy->step(), img.roi(), 33,
                                       ombBorderReplicate, 0, buf.data());
  return {dx, dy};
}

// Float pair: the same photograph as float, float Sobel.
std::pair<std::shared_ptr<Image<Omb32f>>, std::shared_ptr<Image<Omb32f>>> Derivatives32f(BenchSize s) {
  Image<Omb8u> img(s.width, s.height);
  Stretch(img);
  Image<Omb32f> f(s.width, s.height);
  for (int y = 0; y < s.height; ++y)
    for (int x = 0; x < s.width; ++x) f.Row(y)[x] = img.Row(y)[x];
  return {Sobel(f, ombiFilterSobelVertGetBufferSize_32f_C1R, ombiFilterSobelVertBorder_32f_C1R),
          Sobel(f, ombiFilterSobelHorizGetBufferSize_32f_C1R, ombiFilterSobelHorizBorder_32f_C1R)};
}

template <class T, class MakeDerivatives>
KernelEntry Entry(const char* name,
                  OmbResult (*fn)(const T*, int, const T*, int, Omb8u*, int, OmbRoiSize, Omb32f, Omb32f, Omb8u*),
                  MakeDerivatives make) {
  KernelEntry e;
  e.function = name;
  e.moved_bytes_per_pixel = static_cast<int>(2 * sizeof(T) + 1);
  e.image_bytes_per_pixel = e.moved_bytes_per_pixel;
  e.variant = "photo";
  e.setup = [fn, make](BenchSize size) -> KernelCall {
    auto d = make(size);
    auto dst = std::make_shared<Image<Omb8u>>(size.width, size.height);
    int bytes = 0;
    ombiCannyGetSize({size.width, size.height}, &bytes);
    auto buf = std::make_shared<std::vector<Omb8u>>(static_cast<std::size_t>(bytes));
    return [fn, d, dst, buf, size] {
      return fn(d.first->data(), d.first->step(), d.second->data(), d.second->step(), dst->data(),
                dst->step(), {size.width, size.height}, 50.0f, 150.0f, buf->data());
    };
  };
  return e;
}

}  // namespace

void AddCannyBenchmarks() {
  std::vector<KernelEntry> e;
  e.push_back(Entry<Omb16s>("ombiCanny_16s8u_C1R", ombiCanny_16s8u_C1R, Derivatives16s));
  e.push_back(Entry<Omb32f>("ombiCanny_32f8u_C1R", ombiCanny_32f8u_C1R, Derivatives32f));
  AddKernels(std::move(e));
}

}  // namespace ombbench
