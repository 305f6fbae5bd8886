// Every pixel-wise front, row by row of the table in fronts.cpp: argument
// check order, bitwise agreement with the plain per-pixel reference over many shapes on
// every SIMD target, and at every thread count.
#include <gtest/gtest.h>

#include "pixelwise/fronts.hpp"

namespace omb_test {
namespace {

// Widths 1..70 reach every vector tail up to 64-byte vectors; the wider
// ones run the two-vector interior loops, the tall ones many rows.
std::vector<Shape> SweepShapes() {
  std::vector<Shape> v;
  for (int w = 1; w <= 70; ++w) v.push_back({w, 1 + w % 5, (w * 5) % 19, w % 3, w % 2, w % 4 == 1});
  for (const Shape& s : {Shape{129, 3, 7, 1, 1, true}, Shape{255, 2, 0, 0, 0, false},
                         Shape{257, 2, 13, 2, 1, true}, Shape{1031, 1, 5, 3, 0, false},
                         Shape{1, 37, 3, 0, 2, true}, Shape{3, 64, 0, 1, 0, false}})
    v.push_back(s);
  return v;
}

using Pixelwise = FrontSuite<PixFront, PixelwiseFronts>;

TEST_P(Pixelwise, ChecksArgumentsInOrder) { ExpectCheckOrder(front().arg); }

TEST_P(Pixelwise, MatchesModelOnEveryTarget) {
  const std::vector<Shape> shapes = SweepShapes();
  ForEachSimdTarget([&] {
    for (std::size_t i = 0; i < shapes.size() && !HasFailure(); ++i) {
      const auto& sets = front().param_sets;
      ExpectMatchesModel(front(), shapes[i], sets[i % sets.size()], 1000 + i);
    }
  });
}

TEST_P(Pixelwise, MatchesModelAtEveryThreadCount) {
  ForEachThreadCount([&](int) {
    ExpectMatchesModel(front(), {257, 67, 9, 1, 1, true}, front().param_sets[0], 77);
  });
}

INSTANTIATE_TEST_SUITE_P(All, Pixelwise, Pixelwise::All(), Pixelwise::Name);

}  // namespace
}  // namespace omb_test
