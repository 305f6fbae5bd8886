// Pyramidal Lucas-Kanade tracking on a real photograph.
//
// Content: the camera photograph of tests/data, stretched bilinearly to
// 640x480 and smoothed with the 5-tap binomial kernel; the second frame is
// the first moved by (1.3, -0.7) plus a smooth warp of up to 0.35 pixel,
// resampled bilinearly in double. Points: the 500 (or 1000) positions with
// the largest smaller eigenvalue of the 21x21 structure tensor, at least 8
// (or 6) pixels apart. Both rate-2 pyramids with three levels above the base
// are built before timing; a call tracks every point with 21x21 windows,
// maxLevel 3, at most 30 iterations and threshold 0.0001 (steps below 0.01
// pixel), from a state made for the frame size.
//
// items_per_second counts tracked points. The byte counters are nominal:
// one read of both base frames per call.
#include "motion/optflow_bench.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "ombcv.h"
#include "support/registry.hpp"

namespace ombbench {
namespace {

constexpr int kW = 640, kH = 480, kWin = 21, kLevels = 3;

struct Frames {
  std::vector<Omb8u> a, b;
  std::vector<OmbPoint32f> best;  // candidates, best first, unthinned
};

std::vector<double> Photo() {
  std::string path = __FILE__;
  path = path.substr(0, path.rfind('/')) + "/../../tests/data/camera.pgm";
  std::ifstream f(path, std::ios::binary);
  std::string magic;
  int w = 0, h = 0, maxval = 0;
  f >> magic >> w >> h >> maxval;
  f.get();
  std::vector<unsigned char> px(std::size_t(std::max(w, 1)) * std::max(h, 1));
  f.read(reinterpret_cast<char*>(px.data()), std::streamsize(px.size()));
  if (!f || magic != "P5") {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    w = h = 1;
    px.assign(1, 0);
  }
  // Stretch to the frame size, then smooth with [1 4 6 4 1] / 16 both ways.
  std::vector<double> s(std::size_t(kW) * kH), t(s.size());
  for (int y = 0; y < kH; ++y)
    for (int x = 0; x < kW; ++x) {
      const double fx = double(x) * (w - 1) / (kW - 1), fy = double(y) * (h - 1) / (kH - 1);
      const int x0 = int(fx), y0 = int(fy), x1 = std::min(x0 + 1, w - 1), y1 = std::min(y0 + 1, h - 1);
      const double ax = fx - x0, ay = fy - y0;
      auto p = [&](int xx, int yy) { return double(px[std::size_t(yy) * w + xx]); };
      s[std::size_t(y) * kW + x] =
          (p(x0, y0) * (1 - ax) + p(x1, y0) * ax) * (1 - ay) + (p(x0, y1) * (1 - ax) + p(x1, y1) * ax) * ay;
    }
  const double k[5] = {1 / 16.0, 4 / 16.0, 6 / 16.0, 4 / 16.0, 1 / 16.0};
  for (int y = 0; y < kH; ++y)
    for (int x = 0; x < kW; ++x) {
      double v = 0;
      for (int i = -2; i <= 2; ++i) v += k[i + 2] * s[std::size_t(y) * kW + std::clamp(x + i, 0, kW - 1)];
      t[std::size_t(y) * kW + x] = v;
    }
  for (int y = 0; y < kH; ++y)
    for (int x = 0; x < kW; ++x) {
      double v = 0;
      for (int i = -2; i <= 2; ++i) v += k[i + 2] * t[std::size_t(std::clamp(y + i, 0, kH - 1)) * kW + x];
      s[std::size_t(y) * kW + x] = v;
    }
  return s;
}

const Frames& Pair() {
  static const Frames fr = [] {
    const std::vector<double> s = Photo();
    Frames r;
    r.a.resize(s.size());
    r.b.resize(s.size());
    auto px = [&](int x, int y) { return s[std::size_t(std::clamp(y, 0, kH - 1)) * kW + std::clamp(x, 0, kW - 1)]; };
    for (int y = 0; y < kH; ++y)
      for (int x = 0; x < kW; ++x) {
        r.a[std::size_t(y) * kW + x] = Omb8u(std::lround(px(x, y)));
        const double mx = 1.3 + 0.35 * std::sin(y / 70.0) * std::cos(x / 110.0);
        const double my = -0.7 + 0.3 * std::cos(x / 85.0 + 0.4);
        const double sx = x - mx, sy = y - my, fx = std::floor(sx), fy = std::floor(sy);
        const int ix = int(fx), iy = int(fy);
        const double ax = sx - fx, ay = sy - fy;
        const double v = (px(ix, iy) * (1 - ax) + px(ix + 1, iy) * ax) * (1 - ay) +
                         (px(ix, iy + 1) * (1 - ax) + px(ix + 1, iy + 1) * ax) * ay;
        r.b[std::size_t(y) * kW + x] = Omb8u(std::lround(v));
      }
    // Smaller eigenvalue of the 21x21 structure tensor on a 2-pixel grid,
    // from box sums of the central-difference products.
    struct Cand {
      double eig;
      int x, y;
    };
    std::vector<Cand> c;
    auto at = [&](int x, int y) { return double(r.a[std::size_t(y) * kW + x]); };
    for (int y = 24; y < kH - 24; y += 2)
      for (int x = 24; x < kW - 24; x += 2) {
        double a = 0, b = 0, d = 0;
        for (int v = -10; v <= 10; v += 2)
          for (int u = -10; u <= 10; u += 2) {
            const double gx = at(x + u + 1, y + v) - at(x + u - 1, y + v);
            const double gy = at(x + u, y + v + 1) - at(x + u, y + v - 1);
            a += gx * gx, b += gx * gy, d += gy * gy;
          }
        c.push_back({(a + d) * 0.5 - std::sqrt((a - d) * (a - d) * 0.25 + b * b), x, y});
      }
    std::sort(c.begin(), c.end(), [](const Cand& l, const Cand& q) { return l.eig > q.eig; });
    for (const Cand& k : c) r.best.push_back({float(k.x), float(k.y)});
    return r;
  }();
  return fr;
}

std::vector<OmbPoint32f> Points(int count, int spacing) {
  std::vector<OmbPoint32f> out;
  for (const OmbPoint32f& p : Pair().best) {
    bool near = false;
    for (const auto& o : out) near = near || (std::fabs(o.x - p.x) < spacing && std::fabs(o.y - p.y) < spacing);
    if (!near) out.push_back(p);
    if (int(out.size()) == count) break;
  }
  return out;
}

// Everything one benchmark run owns.
struct Setup {
  std::vector<std::vector<Omb8u>> la, lb;
  OmbPyramidRecord *pa = nullptr, *pb = nullptr;
  OmbOptFlowPyrLKState_8u_C1R* st = nullptr;
  std::vector<OmbPoint32f> prev, next;
  std::vector<Omb8s> status;
  std::vector<Omb32f> error;
  ~Setup() {
    ombiOpticalFlowPyrLKFree_8u_C1R(st);
    ombiPyramidFree(pa);
    ombiPyramidFree(pb);
  }
};

OmbPyramidRecord* Build(const std::vector<Omb8u>& base, std::vector<std::vector<Omb8u>>& levels) {
  OmbPyramidRecord* p = nullptr;
  ombiPyramidInitAlloc(&p, kLevels, {kW, kH}, 2.0f);
  levels.assign(1, base);
  for (int L = 1; L <= p->level; ++L) {
    const OmbRoiSize s = p->sizes[L - 1], d = p->sizes[L];
    int bytes = 0;
    ombiPyrDownGetBufSize_Gauss5x5(s.width, 1, 1, &bytes);
    std::vector<Omb8u> buf(static_cast<std::size_t>(bytes));
    levels.emplace_back(std::size_t(d.width) * d.height);
    ombiPyrDown_Gauss5x5_8u_C1R(levels[L - 1].data(), s.width, levels[L].data(), d.width, s, buf.data());
  }
  for (int L = 0; L <= p->level; ++L) {
    p->images[L] = levels[L].data();
    p->steps[L] = p->sizes[L].width;
  }
  return p;
}

KernelEntry Entry(int count, int spacing) {
  KernelEntry e;
  e.function = "ombiOpticalFlowPyrLK_8u_C1R";
  e.moved_bytes_per_pixel = 2;
  e.image_bytes_per_pixel = 2;
  e.sizes = {{kW, kH}};
  e.variant = "photo-" + std::to_string(count) + "pts";
  e.items_per_pixel = double(count) / (double(kW) * kH);
  e.setup = [count, spacing](BenchSize) -> KernelCall {
    auto s = std::make_shared<Setup>();
    s->pa = Build(Pair().a, s->la);
    s->pb = Build(Pair().b, s->lb);
    ombiOpticalFlowPyrLKInitAlloc_8u_C1R(&s->st, {kW, kH}, kWin, 0);
    s->prev = Points(count, spacing);
    s->next.resize(s->prev.size());
    s->status.resize(s->prev.size());
    s->error.resize(s->prev.size());
    return [s] {
      std::copy(s->prev.begin(), s->prev.end(), s->next.begin());
      return ombiOpticalFlowPyrLK_8u_C1R(s->pa, s->pb, s->prev.data(), s->next.data(), s->status.data(),
                                         s->error.data(), int(s->prev.size()), kWin, kLevels, 30, 1e-4f, s->st);
    };
  };
  return e;
}

}  // namespace

void AddOptFlowBenchmarks() {
  std::vector<KernelEntry> e;
  e.push_back(Entry(500, 8));
  e.push_back(Entry(1000, 6));
  AddKernels(std::move(e));
}

}  // namespace ombbench
