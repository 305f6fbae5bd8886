// Aligned allocation and the shared argument checks.
#include <gtest/gtest.h>
#include <malloc.h>

#include <climits>
#include <cstdint>
#include <cstring>

#include "frame/alloc.hpp"
#include "frame/check.hpp"
#include "support/arg_check.hpp"

namespace omb_test {
namespace {

TEST(Alloc, RefusesSizesBelowOne) {
  for (int n : {0, -1, INT_MIN}) {
    EXPECT_EQ(omb::ombAlignedAlloc(n), nullptr) << n;
    EXPECT_EQ(omb::ombAlignedAllocDoubles(n), nullptr) << n;
  }
  omb::ombAlignedFree(nullptr);
}

TEST(Alloc, AlignedBlockAfterItsRawAddress) {
  for (int size : {1, 7, 31, 32, 33, 4096, 100001}) {
    for (bool doubles : {false, true}) {
      const std::size_t bytes = doubles ? size * sizeof(double) : size;
      auto* p = static_cast<std::uint8_t*>(
          doubles ? static_cast<void*>(omb::ombAlignedAllocDoubles(size)) : omb::ombAlignedAlloc(size));
      ASSERT_NE(p, nullptr);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 32, 0u);
      // The word before the block is the heap's own address, and the heap
      // block it names holds the word and the whole aligned block.
      void* raw;
      std::memcpy(&raw, p - sizeof(void*), sizeof raw);
      const std::ptrdiff_t gap = p - static_cast<std::uint8_t*>(raw);
      EXPECT_GE(gap, static_cast<std::ptrdiff_t>(sizeof(void*)));
      EXPECT_LT(gap, static_cast<std::ptrdiff_t>(32 + sizeof(void*)));
      EXPECT_GE(malloc_usable_size(raw), gap + bytes);
      std::memset(p, 0xab, bytes);
      omb::ombAlignedFree(p);
    }
  }
}

// The checks themselves, described like a front with every kind of
// argument: an aligned float input, a mask, a 3-channel 16-bit output, an
// input whose alignment is not tested, a channel of interest and two
// family parameters.
TEST(Checks, OrderOfEveryStage) {
  ArgFront f;
  f.name = "Checks";
  f.images = {{Elem::k32f}, {Elem::k8u, false, false, true},
              {Elem::k16u, true, true, false, 3}, {Elem::k16s, false, false}};
  f.params = {{0, {-1.0, -5.0}, ombResultOutOfRange}, {1, {7.0}, ombResultBadArgument}};
  f.defaults = {1.0, 0.0};
  f.has_coi = true;
  f.call = [](const CallArgs& a) {
    return omb::Checks(a.roi)
        .In(a.P<const float>(0), a.step[0])
        .Mask(a.P<const std::uint8_t>(1), a.step[1])
        .Out(a.P<std::uint16_t>(2), a.step[2], 3)
        .InUnaligned(a.P<const std::int16_t>(3), a.step[3])
        .Coi(a.coi)
        .ParamIf(a.p[0] < 0, ombResultOutOfRange)
        .ParamIf(a.p[1] > 5, ombResultBadArgument)
        .Status();
  };
  ExpectCheckOrder(f);
}

TEST(Checks, PointerAndExtraSizeConditions) {
  float x = 0;
  const OmbRoiSize roi{4, 4};
  EXPECT_EQ(omb::Checks(roi).SizeIf(true).Ptr(nullptr).Status(), ombResultNullPointer);
  EXPECT_EQ(omb::Checks(roi).Ptr(&x).In(&x, 1).SizeIf(true).Status(), ombResultBadSize);
  EXPECT_EQ(omb::Checks(roi).Ptr(&x).In(&x, 16).SizeIf(false).Status(), ombResultOk);
}

}  // namespace
}  // namespace omb_test
