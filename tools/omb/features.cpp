#include "features.hpp"

#include <algorithm>
#include <cmath>

#include "ombcore.h"
#include "ombcv.h"

namespace omb_tool {
namespace {

using SobelFn = OmbResult (*)(const Omb8u*, int, Omb16s*, int, OmbRoiSize, int, OmbBorderType, Omb8u,
                              Omb8u*);
using SobelSizeFn = OmbResult (*)(OmbRoiSize, int, int*);

bool Sobel(const Image& grey, int mask_code, SobelSizeFn size_fn, SobelFn fn,
           std::vector<std::int16_t>* out, std::string* error) {
  const OmbRoiSize roi{grey.width, grey.height};
  int bytes = 0;
  OmbResult st = size_fn(roi, mask_code, &bytes);
  if (st != ombResultOk) {
    *error = LibraryError("derivative buffer size", st);
    return false;
  }
  std::vector<Omb8u> buffer(static_cast<std::size_t>(bytes) + 1);
  out->assign(static_cast<std::size_t>(grey.width) * grey.height, 0);
  st = fn(grey.pixels.data(), grey.step(), out->data(),
          grey.width * static_cast<int>(sizeof(std::int16_t)), roi, mask_code, ombBorderReplicate, 0,
          buffer.data());
  if (st != ombResultOk) {
    *error = LibraryError("derivative filter", st);
    return false;
  }
  return true;
}

// Summed-area table of one product of the derivatives, (w+1) x (h+1).
template <class Product>
std::vector<std::int64_t> Integral(int w, int h, Product product) {
  std::vector<std::int64_t> s(static_cast<std::size_t>(w + 1) * (h + 1), 0);
  for (int y = 0; y < h; ++y) {
    std::int64_t row = 0;
    for (int x = 0; x < w; ++x) {
      row += product(static_cast<std::size_t>(y) * w + x);
      s[static_cast<std::size_t>(y + 1) * (w + 1) + x + 1] =
          s[static_cast<std::size_t>(y) * (w + 1) + x + 1] + row;
    }
  }
  return s;
}

struct Candidate {
  double response;
  int x, y;
};

}  // namespace

std::string LibraryError(const char* what, OmbResult status) {
  return std::string(what) + " failed: " + ombGetStatusString(status);
}

bool SobelDerivatives(const Image& grey, int mask, Derivatives* out, std::string* error) {
  const int code = mask == 5 ? 55 : 33;
  // The library's "vertical" Sobel weighs the left column positively; its
  // negated form is the derivative towards +x, which pairs with the
  // horizontal form (towards +y) in one consistent orientation.
  return Sobel(grey, code, ombiFilterSobelNegVertGetBufferSize_8u16s_C1R,
               ombiFilterSobelNegVertBorder_8u16s_C1R, &out->dx, error) &&
         Sobel(grey, code, ombiFilterSobelHorizGetBufferSize_8u16s_C1R,
               ombiFilterSobelHorizBorder_8u16s_C1R, &out->dy, error);
}

bool Reduce(const Image& src, Image* dst, std::string* error) {
  int bytes = 0;
  OmbResult st = ombiPyrDownGetBufSize_Gauss5x5(src.width, 1, src.channels, &bytes);
  if (st != ombResultOk) {
    *error = LibraryError("pyramid buffer size", st);
    return false;
  }
  std::vector<Omb8u> buffer(static_cast<std::size_t>(bytes) + 1);
  Image out((src.width + 1) / 2, (src.height + 1) / 2, src.channels);
  const auto fn = src.channels == 3 ? ombiPyrDown_Gauss5x5_8u_C3R : ombiPyrDown_Gauss5x5_8u_C1R;
  st = fn(src.pixels.data(), src.step(), out.pixels.data(), out.step(), {src.width, src.height},
          buffer.data());
  if (st != ombResultOk) {
    *error = LibraryError("Gaussian reduction", st);
    return false;
  }
  *dst = std::move(out);
  return true;
}

std::vector<OmbPoint32f> GoodPoints(const Derivatives& d, int width, int height, int count,
                                    int min_distance, int margin) {
  constexpr int kHalf = 3;  // 7x7 summing block
  margin = std::max(margin, kHalf);
  std::vector<OmbPoint32f> points;
  if (count < 1 || width <= 2 * margin || height <= 2 * margin) return points;
  const auto at = [](const std::vector<std::int16_t>& v, std::size_t i) {
    return static_cast<std::int64_t>(v[i]);
  };
  const auto sxx = Integral(width, height, [&](std::size_t i) { return at(d.dx, i) * at(d.dx, i); });
  const auto sxy = Integral(width, height, [&](std::size_t i) { return at(d.dx, i) * at(d.dy, i); });
  const auto syy = Integral(width, height, [&](std::size_t i) { return at(d.dy, i) * at(d.dy, i); });
  const auto block = [&](const std::vector<std::int64_t>& s, int x, int y) {
    const std::size_t w1 = static_cast<std::size_t>(width) + 1;
    const std::size_t x0 = x - kHalf, x1 = x + kHalf + 1, y0 = y - kHalf, y1 = y + kHalf + 1;
    return static_cast<double>(s[y1 * w1 + x1] - s[y0 * w1 + x1] - s[y1 * w1 + x0] + s[y0 * w1 + x0]);
  };

  // Corner strength (the smaller eigenvalue of the summed structure tensor)
  // at every pixel inside the margin, 0 elsewhere.
  std::vector<double> strength(static_cast<std::size_t>(width) * height, 0.0);
  double strongest = 0.0;
  for (int y = margin; y < height - margin; ++y) {
    for (int x = margin; x < width - margin; ++x) {
      const double a = block(sxx, x, y), b = block(sxy, x, y), c = block(syy, x, y);
      const double r = 0.5 * (a + c) - std::sqrt(0.25 * (a - c) * (a - c) + b * b);
      strength[static_cast<std::size_t>(y) * width + x] = std::max(r, 0.0);
      strongest = std::max(strongest, r);
    }
  }
  // Only local maxima of the strength are candidates: a corner's neighbours
  // would be rejected by the distance rule anyway, and sorting just the
  // peaks is far cheaper than sorting every pixel.
  const double floor_response = 0.01 * strongest;
  std::vector<Candidate> candidates;
  for (int y = margin; y < height - margin; ++y) {
    for (int x = margin; x < width - margin; ++x) {
      const double* r = &strength[static_cast<std::size_t>(y) * width + x];
      if (*r <= 0.0 || *r < floor_response) continue;
      bool peak = true;
      for (int dy = -1; dy <= 1 && peak; ++dy)
        for (int dx = -1; dx <= 1; ++dx)
          if (r[static_cast<std::ptrdiff_t>(dy) * width + dx] > *r) peak = false;
      if (peak) candidates.push_back({*r, x, y});
    }
  }
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const Candidate& l, const Candidate& r) { return l.response > r.response; });

  // Taken points are filed in a grid of min_distance cells, so a candidate
  // only needs the 3x3 cells around its own.
  const int cell = std::max(min_distance, 1);
  const int gw = width / cell + 1, gh = height / cell + 1;
  std::vector<std::vector<int>> grid(static_cast<std::size_t>(gw) * gh);
  for (const Candidate& c : candidates) {
    if (static_cast<int>(points.size()) >= count) break;
    const int cx = c.x / cell, cy = c.y / cell;
    bool near = false;
    for (int gy = std::max(cy - 1, 0); gy <= std::min(cy + 1, gh - 1) && !near; ++gy) {
      for (int gx = std::max(cx - 1, 0); gx <= std::min(cx + 1, gw - 1) && !near; ++gx) {
        for (int k : grid[static_cast<std::size_t>(gy) * gw + gx]) {
          const OmbPoint32f& p = points[static_cast<std::size_t>(k)];
          if (std::abs(static_cast<int>(p.x) - c.x) < min_distance &&
              std::abs(static_cast<int>(p.y) - c.y) < min_distance) {
            near = true;
            break;
          }
        }
      }
    }
    if (near) continue;
    grid[static_cast<std::size_t>(cy) * gw + cx].push_back(static_cast<int>(points.size()));
    points.push_back({static_cast<float>(c.x), static_cast<float>(c.y)});
  }
  return points;
}

}  // namespace omb_tool
