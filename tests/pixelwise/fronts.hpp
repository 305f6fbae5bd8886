// The 40 pixel-wise fronts as table rows: argument description, the values
// of their family parameters to try, and a scalar model of one pixel.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/arg_check.hpp"

namespace omb_test {

// New value of one output pixel from the source pixels (call order) and the
// old output pixel, given the family parameters.
using PixelModel = std::function<void(const std::uint8_t* const* in,
                                      std::uint8_t* out, const double* p)>;

struct PixFront {
  ArgFront arg;  // the output (or accumulator) image comes last
  std::vector<std::vector<double>> param_sets;
  PixelModel model;
  // Whether inputs may hold NaNs of several signs and payloads. The
  // accumulators add commutatively, and which of two NaN operands an
  // addition returns depends on the operand order the compiler picked, so
  // they get a single NaN pattern (NaNs made by inf - inf still appear).
  bool nan_payloads = true;
};

const std::vector<PixFront>& PixelwiseFronts();
const PixFront& FindFront(const std::string& name);

// ROI size, row padding in bytes, ROI offset inside the block, whether
// every image start is moved off alignment by one element, and how many
// padding bytes each further image adds (so that the steps differ).
struct Shape {
  int w, h, pad, off_x, off_y;
  bool shift;
  int pad_spread = 3;
};

// Fills every image of the front with seeded random data laid out as
// `shape`, runs the front with parameters p and expects status 0, the output
// bitwise equal to the model (guards included) and the inputs untouched.
void ExpectMatchesModel(const PixFront& f, const Shape& shape,
                        const std::vector<double>& p, std::uint64_t seed);

}  // namespace omb_test
