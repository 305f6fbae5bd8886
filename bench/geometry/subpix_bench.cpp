// Sub-pixel copies table.
//
// Windows: one call of the benchmark samples 4096 windows of 21x21 pixels
// (the optical flow's window size) at random sub-pixel centres of a
// 1920x1080 image, one after the other into one 21x21 destination, as the
// tracker does; items_per_second is then windows per second (variant
// "win21x21"). The Intersect member uses the tracker's scale factor -7 and
// centres over the whole image, so a few windows cross its border; the
// plain members take centres whose window and its extra column and row lie
// inside. Whole images: ombiCopySubpix_8u_C1R and _32f_C1R over a
// 1920x1080 ROI of a 1921x1081 source, in pixels per second.
#include "geometry/subpix_bench.hpp"

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

constexpr int kW = 1920, kH = 1080, kWin = 21, kWindows = 4096;

template <class T>
std::shared_ptr<Image<T>> Source(int width, int height) {
  auto img = std::make_shared<Image<T>>(width, height);
  if constexpr (std::is_floating_point_v<T>) {
    FillUniform(*img, 0.0, 255.0, 11);
  } else {
    FillUniform(*img, 0, 255, 11);
  }
  return img;
}

// Random sub-pixel centres; with `inside`, every window (and the column
// and row after it) lies in the image.
std::shared_ptr<std::vector<OmbPoint32f>> Centres(bool inside) {
  auto c = std::make_shared<std::vector<OmbPoint32f>>();
  Rng rng(12);
  const double lo = inside ? kWin / 2 + 1 : 0.0;
  for (int i = 0; i < kWindows; ++i) {
    const double x = lo + rng.Unit() * (kW - 2 * lo);
    const double y = lo + rng.Unit() * (kH - 2 * lo);
    c->push_back({static_cast<float>(x), static_cast<float>(y)});
  }
  return c;
}

KernelEntry WindowEntry(const char* name, int moved, std::function<KernelCall()> make) {
  KernelEntry e{name, moved, 1, [make](BenchSize) { return make(); }};
  e.sizes = {{kW, kH}};
  e.variant = "win21x21";
  e.items_per_pixel = double(kWindows) / (double(kW) * kH);
  return e;
}

// Bytes per image pixel that one call reads and writes: per window 21x21
// samples plus the destination.
int MovedPerPixel(int dst_bytes) {
  return static_cast<int>(double(kWindows) * kWin * kWin * (1 + dst_bytes) / (double(kW) * kH) +
                          0.5);
}

KernelEntry IntersectWindows() {
  return WindowEntry("ombiCopySubpixIntersect_8u16u_C1R_Sfs", MovedPerPixel(2), [] {
    auto src = Source<Omb8u>(kW, kH);
    auto dst = std::make_shared<Image<Omb16u>>(kWin, kWin);
    auto centres = Centres(false);
    return KernelCall([src, dst, centres] {
      OmbPoint mn, mx;
      OmbResult st = ombResultOk;
      for (const OmbPoint32f& c : *centres) {
        st = static_cast<OmbResult>(
            st | ombiCopySubpixIntersect_8u16u_C1R_Sfs(src->data(), src->step(), src->roi(),
                                                       dst->data(), dst->step(), {kWin, kWin}, c,
                                                       &mn, &mx, -7));
      }
      return st;
    });
  });
}

template <class T>
KernelEntry PlainWindows(const char* name,
                         OmbResult (*fn)(const T*, int, T*, int, OmbRoiSize, Omb32f, Omb32f)) {
  return WindowEntry(name, MovedPerPixel(sizeof(T)), [fn] {
    auto src = Source<T>(kW, kH);
    auto dst = std::make_shared<Image<T>>(kWin, kWin);
    auto centres = Centres(true);
    return KernelCall([fn, src, dst, centres] {
      OmbResult st = ombResultOk;
      for (const OmbPoint32f& c : *centres) {
        // Top-left source pixel of the window and the fractions of its
        // origin, as a caller of the plain copy computes them.
        const float ox = c.x - (kWin - 1) * 0.5f, oy = c.y - (kWin - 1) * 0.5f;
        const int ix = static_cast<int>(ox), iy = static_cast<int>(oy);
        const T* s = src->Row(iy) + ix;
        st = static_cast<OmbResult>(st | fn(s, src->step(), dst->data(), dst->step(),
                                            {kWin, kWin}, ox - ix, oy - iy));
      }
      return st;
    });
  });
}

template <class T>
KernelEntry WholeImage(const char* name,
                       OmbResult (*fn)(const T*, int, T*, int, OmbRoiSize, Omb32f, Omb32f)) {
  constexpr int kB = static_cast<int>(sizeof(T));
  KernelEntry e{name, 2 * kB, 2 * kB, [fn](BenchSize size) -> KernelCall {
                  auto src = Source<T>(size.width + 1, size.height + 1);
                  auto dst = std::make_shared<Image<T>>(size.width, size.height);
                  return [fn, src, dst] {
                    return fn(src->data(), src->step(), dst->data(), dst->step(), dst->roi(),
                              0.375f, 0.625f);
                  };
                }};
  e.sizes = {{kW, kH}};
  return e;
}

}  // namespace

void AddSubpixBenchmarks() {
  AddKernels({IntersectWindows(),
              PlainWindows<Omb8u>("ombiCopySubpix_8u_C1R", ombiCopySubpix_8u_C1R),
              PlainWindows<Omb32f>("ombiCopySubpix_32f_C1R", ombiCopySubpix_32f_C1R),
              WholeImage<Omb8u>("ombiCopySubpix_8u_C1R", ombiCopySubpix_8u_C1R),
              WholeImage<Omb32f>("ombiCopySubpix_32f_C1R", ombiCopySubpix_32f_C1R)});
}

}  // namespace ombbench
