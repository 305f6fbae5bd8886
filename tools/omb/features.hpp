// Image quantities the edges, track and pyramid commands share, computed
// with the library: first derivatives, one Gaussian reduction step, and the
// well-textured points the tracker starts from.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image_io.hpp"
#include "ombtypes.h"

namespace omb_tool {

// First derivatives of a grey image with the fixed 3x3 (mask 3) or 5x5
// (mask 5) Sobel kernels, replicated border: dx grows to the right, dy
// downwards, both width x height, rows packed.
struct Derivatives {
  std::vector<std::int16_t> dx, dy;
};
bool SobelDerivatives(const Image& grey, int mask, Derivatives* out, std::string* error);

// One 5x5 Gaussian reduction of a grey or RGB image to ((w+1)/2, (h+1)/2).
bool Reduce(const Image& src, Image* dst, std::string* error);

// Up to `count` points of a grey image with the strongest corner response
// (smaller eigenvalue of the gradient structure tensor summed over a 7x7
// block), strongest first, no two closer than `min_distance` pixels in
// either axis and none within `margin` pixels of the border. Points weaker
// than 1% of the strongest response are not taken.
std::vector<OmbPoint32f> GoodPoints(const Derivatives& d, int width, int height, int count,
                                    int min_distance, int margin);

// "<what> failed: <library message>" for a library status.
std::string LibraryError(const char* what, OmbResult status);

}  // namespace omb_tool
