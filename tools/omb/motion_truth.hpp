// The true motion between two frames, as an affine map read from a text
// file, and the error of tracked points against it.
#pragma once

#include <string>
#include <vector>

#include "ombtypes.h"

namespace omb_tool {

// A point (x, y) of the first frame is at (a*x + b*y + c, d*x + e*y + f)
// in the second.
struct AffineMotion {
  double a = 1, b = 0, c = 0, d = 0, e = 1, f = 0;
};

// Reads a file holding exactly one line "affine a b c d e f" of finite
// numbers; blank lines and lines starting with '#' are ignored. On failure
// returns false and a message naming the file (and the line, if malformed).
bool ReadAffineMotion(const std::string& path, AffineMotion* motion, std::string* error);

struct TrackingError {
  int count = 0;  // tracked points measured
  double mean = 0, median = 0, max = 0;
  double share_within = 0;  // fraction with error <= the given tolerance
};

// Euclidean distance of each tracked point (status 0) from where the motion
// takes its starting point.
TrackingError MeasureTrackingError(const AffineMotion& motion, const std::vector<OmbPoint32f>& prev,
                                   const std::vector<OmbPoint32f>& next,
                                   const std::vector<Omb8s>& status, double tolerance);

}  // namespace omb_tool
