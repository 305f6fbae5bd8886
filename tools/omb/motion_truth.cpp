#include "motion_truth.hpp"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

namespace omb_tool {

bool ReadAffineMotion(const std::string& path, AffineMotion* motion, std::string* error) {
  std::ifstream in(path);
  if (!in) {
    *error = path + ": cannot open file";
    return false;
  }
  std::string line;
  int number = 0, found = 0;
  AffineMotion m;
  while (std::getline(in, line)) {
    ++number;
    std::istringstream words(line);
    std::string keyword;
    if (!(words >> keyword) || keyword[0] == '#') continue;
    double v[6];
    bool ok = keyword == "affine";
    for (int i = 0; ok && i < 6; ++i) ok = static_cast<bool>(words >> v[i]) && std::isfinite(v[i]);
    std::string rest;
    if (!ok || (words >> rest)) {
      *error = path + ":" + std::to_string(number) +
               ": expected 'affine a b c d e f' with six finite numbers";
      return false;
    }
    m = {v[0], v[1], v[2], v[3], v[4], v[5]};
    ++found;
  }
  if (in.bad()) {
    *error = path + ": read error";
    return false;
  }
  if (found != 1) {
    *error = path + (found == 0 ? ": no 'affine' line" : ": more than one 'affine' line");
    return false;
  }
  *motion = m;
  return true;
}

TrackingError MeasureTrackingError(const AffineMotion& m, const std::vector<OmbPoint32f>& prev,
                                   const std::vector<OmbPoint32f>& next,
                                   const std::vector<Omb8s>& status, double tolerance) {
  std::vector<double> errors;
  for (std::size_t i = 0; i < prev.size() && i < next.size() && i < status.size(); ++i) {
    if (status[i] != 0) continue;
    const double x = prev[i].x, y = prev[i].y;
    errors.push_back(std::hypot(next[i].x - (m.a * x + m.b * y + m.c),
                                next[i].y - (m.d * x + m.e * y + m.f)));
  }
  TrackingError r;
  r.count = static_cast<int>(errors.size());
  if (errors.empty()) return r;
  std::sort(errors.begin(), errors.end());
  double sum = 0;
  int within = 0;
  for (double e : errors) {
    sum += e;
    within += e <= tolerance;
  }
  const std::size_t n = errors.size();
  r.mean = sum / static_cast<double>(n);
  r.median = n % 2 ? errors[n / 2] : 0.5 * (errors[n / 2 - 1] + errors[n / 2]);
  r.max = errors.back();
  r.share_within = static_cast<double>(within) / static_cast<double>(n);
  return r;
}

}  // namespace omb_tool
