// Plain model of the pyramidal Lucas-Kanade tracker, one point at a time.
// It takes the library's sub-pixel copies and Scharr filters as building
// blocks (they are tested on their own) and spells out everything else:
// the level groups, template gradients, normal equations and stop rules.
#pragma once

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "ombcv.h"

namespace optflow_model {

// A level image owned by the test: tightly packed rows of `step` bytes.
template <class T>
struct Level {
  int w = 0, h = 0, step = 0;
  std::vector<T> px;
  Level() = default;
  Level(int w_, int h_) : w(w_), h(h_), step(w_ * int(sizeof(T))), px(std::size_t(w_) * h_) {}
  T& at(int x, int y) { return px[std::size_t(y) * w + x]; }
  T at(int x, int y) const { return px[std::size_t(y) * w + x]; }
};

struct Result {
  std::vector<OmbPoint32f> next;
  std::vector<Omb8s> status;
  std::vector<Omb32f> error;
};

inline OmbPoint32f Scaled(OmbPoint32f p, double k) {
  return {float(double(p.x) * k), float(double(p.y) * k)};
}

inline int16_t Limit16(int32_t v) { return v < -32767 ? -32768 : v >= 32767 ? 32767 : int16_t(v); }

template <class Pix>
struct Model {
  static constexpr bool kInt = sizeof(Pix) == 1;
  using Win = std::conditional_t<kInt, Omb16u, float>;
  using Grad = std::conditional_t<kInt, int16_t, float>;

  std::vector<const Level<Pix>*> a, b;  // the two pyramids, level 0 first
  std::vector<double> scales;
  int n = 0, roi_w = 0, roi_h = 0;
  // Scharr planes of the upper-group levels (empty for the others).
  std::vector<std::vector<Grad>> gxp, gyp;

  OmbResult Sample(const Level<Pix>& img, Win* dst, int side, OmbPoint32f c, OmbPoint* lo, OmbPoint* hi) const {
    const OmbRoiSize s{img.w, img.h}, d{side, side};
    if constexpr (kInt)
      return ombiCopySubpixIntersect_8u16u_C1R_Sfs(img.px.data(), img.step, s, dst, side * 2, d, c, lo, hi, -7);
    else if constexpr (sizeof(Pix) == 2)
      return ombiCopySubpixIntersect_16u32f_C1R(img.px.data(), img.step, s, dst, side * 4, d, c, lo, hi);
    else
      return ombiCopySubpixIntersect_32f_C1R(img.px.data(), img.step, s, dst, side * 4, d, c, lo, hi);
  }

  void Planes(int L) {
    const Level<Pix>& img = *a[L];
    const OmbRoiSize roi{img.w, img.h};
    int bytes = 0, b2 = 0;
    std::vector<Grad> gx(std::size_t(img.w) * img.h), gy(gx.size());
    if constexpr (kInt) {
      ombiFilterScharrVertGetBufferSize_8u16s_C1R(roi, &bytes);
      ombiFilterScharrHorizGetBufferSize_8u16s_C1R(roi, &b2);
      std::vector<Omb8u> buf(std::size_t(std::max(bytes, b2)));
      ombiFilterScharrVertBorder_8u16s_C1R(img.px.data(), img.step, gx.data(), img.w * 2, roi, ombBorderReplicate, 0, buf.data());
      ombiFilterScharrHorizBorder_8u16s_C1R(img.px.data(), img.step, gy.data(), img.w * 2, roi, ombBorderReplicate, 0, buf.data());
    } else {
      std::vector<float> f(gx.size());
      for (std::size_t i = 0; i < f.size(); ++i) f[i] = float(img.px[i]);
      ombiFilterScharrVertGetBufferSize_32f_C1R(roi, &bytes);
      ombiFilterScharrHorizGetBufferSize_32f_C1R(roi, &b2);
      std::vector<Omb8u> buf(std::size_t(std::max(bytes, b2)));
      ombiFilterScharrVertBorder_32f_C1R(f.data(), img.w * 4, gx.data(), img.w * 4, roi, ombBorderReplicate, 0, buf.data());
      ombiFilterScharrHorizBorder_32f_C1R(f.data(), img.w * 4, gy.data(), img.w * 4, roi, ombBorderReplicate, 0, buf.data());
    }
    gxp[L] = std::move(gx);
    gyp[L] = std::move(gy);
  }

  // One plane sample at integer position (x, y) with fractions (fx, fy).
  Grad PlaneAt(const std::vector<Grad>& p, int w, int x, int y, float fx, float fy) const {
    if constexpr (kInt) {
      const int32_t wx = int32_t(fx * 16384.0f + 0.5f), wy = int32_t(fy * 16384.0f + 0.5f);
      const int32_t ux = 16384 - wx, uy = 16384 - wy;
      const int32_t v = ((ux * uy + 16384) >> 14) * p[y * w + x] + ((wx * uy + 16384) >> 14) * p[y * w + x + 1] +
                        ((ux * wy + 16384) >> 14) * p[(y + 1) * w + x] + ((wx * wy + 16384) >> 14) * p[(y + 1) * w + x + 1];
      return Limit16((v + 2048) >> 12);
    } else {
      float out = 0;
      ombiCopySubpix_32f_C1R(&p[std::size_t(y) * w + x], w * 4, &out, 4, {1, 1}, fx, fy);
      return out * 0.03125f;
    }
  }

  static float Frac(float c) {
    float f = c - std::trunc(c);
    return f < 0.0f ? f + 1.0f : f;
  }

  Result Run(const OmbPoint32f* prev, const OmbPoint32f* next_in, int count, int max_level, int max_iter,
             float threshold) {
    const int top = std::min<int>(max_level, int(a.size()) - 1);
    const double f = top > 1 ? 1.0 / scales[1] : 1.0;
    gxp.assign(a.size(), {});
    gyp.assign(a.size(), {});
    int split = top;  // levels above `split` use planes
    while (split >= 0 && a[split]->w < roi_w && a[split]->h < roi_h) Planes(split--);
    Result r{std::vector<OmbPoint32f>(next_in, next_in + count), std::vector<Omb8s>(count),
             std::vector<Omb32f>(count, 0.0f)};
    const int tw = n + 2;
    std::vector<Win> T(tw * tw), W(n * n);
    std::vector<Grad> Ix(n * n), Iy(n * n);
    for (int i = 0; i < count; ++i) {
      OmbPoint32f g = Scaled(next_in[i], scales[top]);
      int status = top + 1;
      double err_s = 0, err_area = 0;
      for (int L = top; L >= 0; --L) {
        status = L;
        err_s = 0, err_area = 0;
        const OmbPoint32f p = Scaled(prev[i], scales[L]);
        OmbPoint lo{}, hi{};
        bool lost = Sample(*a[L], T.data(), tw, p, &lo, &hi) != ombResultOk;
        const int tx0 = lo.x, tx1 = hi.x - 2, ty0 = lo.y, ty1 = hi.y - 2;
        for (int y = ty0; y <= ty1; ++y)
          for (int x = tx0; x <= tx1; ++x) {
            if (L > split) {
              const float ox0 = p.x - float(tw - 1) * 0.5f, oy0 = p.y - float(tw - 1) * 0.5f;
              const int ox = int(float(tw) + ox0) - tw, oy = int(float(tw) + oy0) - tw;
              const float fx = Frac(ox0 - float(ox)), fy = Frac(oy0 - float(oy));
              Ix[y * n + x] = PlaneAt(gxp[L], a[L]->w, ox + x + 1, oy + y + 1, fx, fy);
              Iy[y * n + x] = PlaneAt(gyp[L], a[L]->w, ox + x + 1, oy + y + 1, fx, fy);
              continue;
            }
            auto s = [&](int dx, int dy) { return T[(y + dy) * tw + x + dx]; };
            if constexpr (kInt) {
              auto d = [&](int r) { return int32_t(s(2, r)) - int32_t(s(0, r)); };
              auto m = [&](int r) { return 3 * int32_t(s(0, r)) + 10 * int32_t(s(1, r)) + 3 * int32_t(s(2, r)); };
              Ix[y * n + x] = Limit16((3 * d(0) + 10 * d(1) + 3 * d(2) + 16) >> 5);
              Iy[y * n + x] = Limit16((m(2) - m(0) + 16) >> 5);
            } else {
              auto d = [&](int r) { return s(2, r) - s(0, r); };
              auto m = [&](int r) { return 3.0f * s(0, r) + 10.0f * s(1, r) + 3.0f * s(2, r); };
              Ix[y * n + x] = (3.0f * d(0) + 10.0f * d(1) + 3.0f * d(2)) * 0.03125f;
              Iy[y * n + x] = (m(2) - m(0)) * 0.03125f;
            }
          }
        float pdx = float(a[L]->w + a[L]->h), pdy = pdx;
        for (int k = 0; k < max_iter && !lost; ++k) {
          if (Sample(*b[L], W.data(), n, g, &lo, &hi) != ombResultOk) { lost = true; break; }
          const int x0 = std::max(tx0, lo.x), x1 = std::min(tx1, hi.x);
          const int y0 = std::max(ty0, lo.y), y1 = std::min(ty1, hi.y);
          if (x0 > x1 || y0 > y1) { lost = true; break; }
          // Rebuilding G every iteration gives the same sums as rebuilding
          // it only when the rectangle changes.
          double xx = 0, xy = 0, yy = 0, bx = 0, by = 0;
          err_s = 0;
          err_area = double(x1 - x0 + 1) * double(y1 - y0 + 1);
          for (int y = y0; y <= y1; ++y) {
            if constexpr (kInt) {
              // Exact row sums, however strong the gradients.
              int64_t sxx = 0, sxy = 0, syy = 0, sbx = 0, sby = 0, se = 0;
              for (int x = x0; x <= x1; ++x) {
                const int64_t gx = Ix[y * n + x], gy = Iy[y * n + x];
                const int64_t e = int64_t(T[(y + 1) * tw + x + 1]) - int64_t(W[y * n + x]);
                sxx += gx * gx, sxy += gx * gy, syy += gy * gy, sbx += gx * e, sby += gy * e, se += e * e;
              }
              xx += double(sxx), xy += double(sxy), yy += double(syy);
              bx += double(sbx), by += double(sby), err_s += double(se);
            } else {
              float sxx = 0, sxy = 0, syy = 0, sbx = 0, sby = 0, se = 0;
              for (int x = x0; x <= x1; ++x) {
                const float gx = Ix[y * n + x], gy = Iy[y * n + x];
                const float e = T[(y + 1) * tw + x + 1] - W[y * n + x];
                sxx += gx * gx, sxy += gx * gy, syy += gy * gy, sbx += gx * e, sby += gy * e, se += e * e;
              }
              xx += sxx, xy += sxy, yy += syy, bx += sbx, by += sby, err_s += se;
            }
          }
          const double det = xx * yy - xy * xy;
          if (det < DBL_EPSILON) { lost = true; break; }
          const float dx = float((yy * bx - xy * by) / det), dy = float((xx * by - xy * bx) / det);
          g.x += dx, g.y += dy;
          if (dx * dx + dy * dy < threshold) break;
          if (std::fabs(dx + pdx) < 3.4526698e-4f && std::fabs(dy + pdy) < 3.4526698e-4f) {
            g.x -= 0.5f * dx, g.y -= 0.5f * dy;
            break;
          }
          pdx = dx, pdy = dy;
        }
        if (lost) {
          status = L + 1;
          g = Scaled(g, 1.0 / scales[L]);
          break;
        }
        if (L == 0) status = 0;
        else g = Scaled(g, f);
      }
      r.status[i] = Omb8s(status);
      r.next[i] = g;
      const double k = kInt ? 0.0078125 : 1.0;
      r.error[i] = err_s > 0 ? float(std::sqrt(err_s / err_area) * k) : 0.0f;
    }
    return r;
  }
};

}  // namespace optflow_model
