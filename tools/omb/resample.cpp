#include "resample.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace omb_tool {
namespace {

// Area weights along one axis: output i covers [i r, (i + 1) r) of a line
// `span` units long (r = span / to) of which the first `avail` whole units
// exist; each weight is the part of a unit covered over the covered length,
// times `unit` (1 / block area folds in here).
struct Taps {
  std::vector<int> first, count;
  std::vector<float> weight;  // count[i] weights per output, in order
};

Taps AreaTaps(double span, int avail, int to, double unit) {
  Taps t;
  const double r = span / to;
  for (int i = 0; i < to; ++i) {
    const double a = std::min(i * r, avail - 1.0);
    const double b = std::min((i + 1) * r, static_cast<double>(avail));
    const int j0 = static_cast<int>(a);
    const int j1 = std::max(j0 + 1, std::min(avail, static_cast<int>(std::ceil(b))));
    t.first.push_back(j0);
    t.count.push_back(j1 - j0);
    for (int j = j0; j < j1; ++j) {
      const double cover = std::min<double>(j + 1, b) - std::max<double>(j, a);
      t.weight.push_back(static_cast<float>(cover / (b - a) * unit));
    }
  }
  return t;
}

// Rows are reduced and rounded kRowGroup at a time and then written
// transposed, kRowGroup consecutive bytes per output row, which keeps the
// transposing writes in few cache lines.
constexpr int kRowGroup = 16;

void WriteTransposed(const float* acc, int tw, int th, int y0, int rows,
                     std::vector<std::uint8_t>* out) {
  for (int x = 0; x < tw; ++x) {
    std::uint8_t* o = out->data() + static_cast<std::size_t>(x) * (th + 1) + y0;
    for (int k = 0; k < rows; ++k)
      o[k] = static_cast<std::uint8_t>(
          std::min(255.0f, acc[static_cast<std::size_t>(k) * tw + x] + 0.5f));
  }
}

}  // namespace

void ReduceTransposed(const Image& grey, int tw, int th, std::vector<float>* scratch,
                      std::vector<std::uint8_t>* out) {
  out->assign(static_cast<std::size_t>(th + 1) * tw, 0);
  const Taps tx = AreaTaps(grey.width, grey.width, tw, 1.0);
  const Taps ty = AreaTaps(grey.height, grey.height, th, 1.0);
  // One source-wide column sum, then kRowGroup reduced rows.
  scratch->resize(static_cast<std::size_t>(grey.width) + static_cast<std::size_t>(kRowGroup) * tw);
  float* col = scratch->data();
  float* acc = col + grey.width;
  const float* wy = ty.weight.data();
  for (int y0 = 0; y0 < th; y0 += kRowGroup) {
    const int group = std::min(kRowGroup, th - y0);
    for (int g = 0; g < group; ++g) {
      const int y = y0 + g;
      std::fill(col, col + grey.width, 0.0f);
      for (int k = 0; k < ty.count[y]; ++k, ++wy) {
        const std::uint8_t* s = grey.row(ty.first[y] + k);
        const float w = *wy;
        for (int x = 0; x < grey.width; ++x) col[x] += w * static_cast<float>(s[x]);
      }
      float* a = acc + static_cast<std::size_t>(g) * tw;
      const float* wx = tx.weight.data();
      for (int x = 0; x < tw; ++x) {
        const float* c = col + tx.first[x];
        float v = 0.0f;
        for (int k = 0; k < tx.count[x]; ++k) v += *wx++ * c[k];
        a[x] = v;
      }
    }
    WriteTransposed(acc, tw, th, y0, group, out);
  }
}

}  // namespace omb_tool
