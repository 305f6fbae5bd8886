// A plain model of the Canny detector for the differential tests: a full
// framed magnitude image, explicit directions, suppression, seeds and a
// simple flood over candidates. Slow and direct on purpose.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "support/test_image.hpp"

namespace canny_model {

inline double Mag(std::int16_t dx, std::int16_t dy, float low) {
  const double m = std::abs(int(dx)) + std::abs(int(dy));
  return m > std::trunc(double(low)) ? m : 0.0;
}
inline double Mag(float dx, float dy, float low) {
  const float m = float(std::fabs(double(dx)) + std::fabs(double(dy)));
  return m > low ? m : 0.0;
}
inline bool Neg(std::int16_t v) { return v < 0; }
inline bool Neg(float v) { return std::signbit(v); }

// Edge bytes (0/255), width x height, row-major.
template <class T>
std::vector<std::uint8_t> Edges(const T* dx, int dx_step, const T* dy, int dy_step, int w, int h,
                                float low, float high) {
  auto at = [](const T* p, int step, int x, int y) {
    T v;
    std::memcpy(&v, reinterpret_cast<const std::uint8_t*>(p) + std::ptrdiff_t(step) * y + x * int(sizeof(T)),
                sizeof v);
    return v;
  };
  std::vector<double> mag(std::size_t(w + 2) * (h + 2), 0.0);
  auto M = [&](int x, int y) -> double& { return mag[std::size_t(y + 1) * (w + 2) + (x + 1)]; };
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) M(x, y) = Mag(at(dx, dx_step, x, y), at(dy, dy_step, x, y), low);
  std::vector<std::uint8_t> cand(std::size_t(w) * h, 0), out(std::size_t(w) * h, 0);
  std::vector<int> todo;
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      const double m = M(x, y);
      if (m == 0.0) continue;
      const T gx = at(dx, dx_step, x, y), gy = at(dy, dy_step, x, y);
      const float ax = std::fabs(float(gx)), ay = std::fabs(float(gy));
      int bx, by;  // offset of the pixel "behind"; "ahead" is the opposite
      bool straight = true;
      if (ay > float(double(ax) * 2.414213562373095)) {
        bx = 0, by = -1;
      } else if (ay >= float(double(ax) * 0.41421356237309503)) {
        straight = false;
        if (Neg(gx) == Neg(gy)) bx = -1, by = -1; else bx = 1, by = -1;
      } else {
        bx = -1, by = 0;
      }
      const double b = M(x + bx, y + by), a = M(x - bx, y - by);
      if (!(m > b && (m > a || (m == a && straight)))) continue;
      cand[std::size_t(y) * w + x] = 1;
      if (float(m) > high) {
        out[std::size_t(y) * w + x] = 255;
        todo.push_back(y * w + x);
      }
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
