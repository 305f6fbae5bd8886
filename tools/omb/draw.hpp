// Drawing results onto RGB images: rectangles, lines and dots, clipped to
// the image.
#pragma once

#include <cstdint>

#include "image_io.hpp"

namespace omb_tool {

struct Rgb {
  std::uint8_t r, g, b;
};

// Outline of the rectangle [x, x+w) x [y, y+h), `thickness` pixels inward.
void DrawRect(Image* image, int x, int y, int w, int h, Rgb colour, int thickness);

// Straight line between two points, one pixel wide.
void DrawLine(Image* image, double x0, double y0, double x1, double y1, Rgb colour);

// Filled disc of the given radius around (x, y).
void DrawDot(Image* image, double x, double y, int radius, Rgb colour);

}  // namespace omb_tool
