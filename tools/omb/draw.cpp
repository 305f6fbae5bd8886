#include "draw.hpp"

#include <algorithm>
#include <cmath>

namespace omb_tool {
namespace {

void Put(Image* image, long x, long y, Rgb c) {
  if (image->channels != 3 || x < 0 || y < 0 || x >= image->width || y >= image->height) return;
  std::uint8_t* p = image->row(static_cast<int>(y)) + 3 * x;
  p[0] = c.r;
  p[1] = c.g;
  p[2] = c.b;
}

void FillRect(Image* image, long x0, long y0, long x1, long y1, Rgb c) {
  x0 = std::max(x0, 0L);
  y0 = std::max(y0, 0L);
  x1 = std::min(x1, static_cast<long>(image->width));
  y1 = std::min(y1, static_cast<long>(image->height));
  for (long y = y0; y < y1; ++y) {
    for (long x = x0; x < x1; ++x) Put(image, x, y, c);
  }
}

}  // namespace

void DrawRect(Image* image, int x, int y, int w, int h, Rgb colour, int thickness) {
  const long t = std::max(1, thickness);
  const long x0 = x, y0 = y, x1 = static_cast<long>(x) + w, y1 = static_cast<long>(y) + h;
  FillRect(image, x0, y0, x1, y0 + t, colour);
  FillRect(image, x0, y1 - t, x1, y1, colour);
  FillRect(image, x0, y0, x0 + t, y1, colour);
  FillRect(image, x1 - t, y0, x1, y1, colour);
}

void DrawLine(Image* image, double x0, double y0, double x1, double y1, Rgb colour) {
  if (!std::isfinite(x0) || !std::isfinite(y0) || !std::isfinite(x1) || !std::isfinite(y1)) {
    return;
  }
  // Lines far outside the image are clamped so the step count stays small.
  const double lim = 4.0 * (image->width + image->height) + 16.0;
  x0 = std::clamp(x0, -lim, lim);
  y0 = std::clamp(y0, -lim, lim);
  x1 = std::clamp(x1, -lim, lim);
  y1 = std::clamp(y1, -lim, lim);
  const double len = std::max(std::fabs(x1 - x0), std::fabs(y1 - y0));
  const long steps = static_cast<long>(std::ceil(len));
  for (long i = 0; i <= steps; ++i) {
    const double t = steps == 0 ? 0.0 : static_cast<double>(i) / steps;
    Put(image, std::lround(x0 + t * (x1 - x0)), std::lround(y0 + t * (y1 - y0)), colour);
  }
}

void DrawDot(Image* image, double x, double y, int radius, Rgb colour) {
  if (!std::isfinite(x) || !std::isfinite(y) || std::fabs(x) > 1e6 || std::fabs(y) > 1e6) return;
  const long cx = std::lround(x), cy = std::lround(y);
  for (long dy = -radius; dy <= radius; ++dy) {
    for (long dx = -radius; dx <= radius; ++dx) {
      if (dx * dx + dy * dy <= static_cast<long>(radius) * radius) Put(image, cx + dx, cy + dy, colour);
    }
  }
}

}  // namespace omb_tool
