// The carver: a plan measures at least what any start of the block takes,
// and the areas land at the same offsets either way.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "frame/border.hpp"
#include "frame/carve.hpp"

namespace omb_test {
namespace {

TEST(Carver, PlanCoversEveryBlockStart) {
  // Areas of 3 bytes, 5 floats, 7 int16 at 32 bytes and three 45-byte slots
  // at 16 bytes; their addresses relative to the block start.
  auto carve = [](omb::Carver& c) {
    std::vector<std::uintptr_t> at;
    at.push_back(reinterpret_cast<std::uintptr_t>(c.Take<std::uint8_t>(3, 1)));
    at.push_back(reinterpret_cast<std::uintptr_t>(c.Take<float>(5)));
    at.push_back(reinterpret_cast<std::uintptr_t>(c.Take<std::int16_t>(7, 32)));
    at.push_back(reinterpret_cast<std::uintptr_t>(c.TakeSlots(3, 45, 16)));
    return at;
  };
  omb::Carver plan = omb::Carver::Plan(32);
  carve(plan);
  EXPECT_EQ(omb::Carver::Stride(45, 16), 48);
  std::vector<std::uint8_t> block(plan.Bytes() + 64);
  for (int start = 0; start < 32; ++start) {
    omb::Carver c(block.data() + start, 32);
    const std::vector<std::uintptr_t> at = carve(c);
    EXPECT_LE(c.Bytes(), plan.Bytes()) << start;
    EXPECT_EQ(at[0] % 32, 0u);
    EXPECT_EQ(at[2] % 32, 0u);
    EXPECT_EQ(at[3] % 16, 0u);
    EXPECT_EQ(at[3] + 3 * 48, reinterpret_cast<std::uintptr_t>(block.data() + start + c.Bytes()));
  }
  EXPECT_EQ(omb::ReportedBytes(plan.Bytes() + 1, plan), plan.Bytes() + 1);
  EXPECT_EQ(omb::ReportedBytes(plan.Bytes() - 1, plan), plan.Bytes());
}

// The strips of a bordered row hold exactly the positions BorderFill gives,
// for rows inside and outside the image.
TEST(BorderRows, StripsAndMadeUpRows) {
  const int w = 5, h = 3;
  const std::uint8_t img[h][w] = {{1, 2, 3, 4, 5}, {6, 7, 8, 9, 10}, {11, 12, 13, 14, 15}};
  const std::uint8_t value = 99;
  for (int border = ombBorderConstant; border <= ombBorderMirrorEdge; ++border) {
    const omb::BorderRows<std::uint8_t>::Shape shape{w, h, 1, border, {3, 4, 2, 3}, 2, true, 32};
    std::vector<std::uint8_t> storage(omb::BorderRows<std::uint8_t>::Bytes(shape) + 32);
    auto* aligned = reinterpret_cast<std::uint8_t*>(
        (reinterpret_cast<std::uintptr_t>(storage.data()) + 31) & ~std::uintptr_t{31});
    omb::BorderRows<std::uint8_t> rows({&img[0][0], w}, shape, &value, aligned);
    for (int j = -4; j < h + 4; ++j) {
      const omb::BorderedRow<std::uint8_t> r = rows.Row(j);
      const int k = omb::BorderIndex(j, h, border);
      const std::uint8_t* line = k < 0 ? nullptr : img[k];
      std::uint8_t want[w + 7];
      omb::BorderFill(line, w, 1, border, &value, -3, w + 7, want);
      for (int x = -3; x < 2; ++x) EXPECT_EQ(*r.Left(x), want[x + 3]) << border << " " << j << " " << x;
      for (int x = 0; x < w; ++x) EXPECT_EQ(*r.Mid(x), want[x + 3]) << border << " " << j << " " << x;
      for (int x = w - 3; x < w + 4; ++x) EXPECT_EQ(*r.Right(x), want[x + 3]) << border << " " << j << " " << x;
    }
  }
}

}  // namespace
}  // namespace omb_test
