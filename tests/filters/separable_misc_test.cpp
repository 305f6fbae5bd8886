// Buffer-size queries, the Sobel kernel generator, and the row and column
// pass behaviours that single calls show: null destination rows, missing
// C3 border values, wrap-around of the `_Low` forms.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <vector>

#include "ombcv.h"

namespace {

using SizeFn = OmbResult (*)(OmbRoiSize, int, int*);

struct SizeCase {
  SizeFn fn;
  int a, b;  // per-thread area a * K + b
};

const SizeCase kSizes[] = {
    {ombiFilterRowBorderPipelineGetBufferSize_8u16s_C1R, 4, 32},
    {ombiFilterRowBorderPipelineGetBufferSize_8u16s_C3R, 12, 32},
    {ombiFilterRowBorderPipelineGetBufferSize_16s_C1R, 48, 80},
    {ombiFilterRowBorderPipelineGetBufferSize_16s_C3R, 28, 32},
    {ombiFilterRowBorderPipelineGetBufferSize_Low_16s_C1R, 24, 64},
    {ombiFilterRowBorderPipelineGetBufferSize_Low_16s_C3R, 208, 64},
    {ombiFilterRowBorderPipelineGetBufferSize_32f_C1R, 16, 32},
    {ombiFilterRowBorderPipelineGetBufferSize_32f_C3R, 192, 32},
    {ombiFilterColumnPipelineGetBufferSize_16s_C1R, 4, 32},
    {ombiFilterColumnPipelineGetBufferSize_16s_C3R, 4, 32},
    {ombiFilterColumnPipelineGetBufferSize_Low_16s_C1R, 0, 32},
    {ombiFilterColumnPipelineGetBufferSize_Low_16s_C3R, 0, 32},
    {ombiFilterColumnPipelineGetBufferSize_16s8u_C1R, 4, 32},
    {ombiFilterColumnPipelineGetBufferSize_16s8u_C3R, 4, 32},
    {ombiFilterColumnPipelineGetBufferSize_16s8s_C1R, 4, 32},
    {ombiFilterColumnPipelineGetBufferSize_16s8s_C3R, 4, 32},
    {ombiFilterColumnPipelineGetBufferSize_32f_C1R, 0, 0},
    {ombiFilterColumnPipelineGetBufferSize_32f_C3R, 0, 0},
};

// With a library thread count above the machine's, T is that count.
TEST(SeparableBufferSize, FormulaAndChecks) {
  int saved = 1;
  ombGetNumThreads(&saved);
  for (int t : {17, 40}) {
    ombSetNumThreads(t);
    for (const SizeCase& c : kSizes) {
      for (int k : {1, 3, 8}) {
        int size = -1;
        ASSERT_EQ(c.fn({5, 100}, k, &size), ombResultOk);
        EXPECT_EQ(size, t * 32 + (100 + k) * t * 4 + t * (c.a * k + c.b));
      }
      int size = 7;
      EXPECT_EQ(c.fn({5, 100}, 3, nullptr), ombResultNullPointer);
      EXPECT_EQ(c.fn({0, 0}, 0, nullptr), ombResultNullPointer);
      EXPECT_EQ(c.fn({0, 100}, 3, &size), ombResultBadSize);
      EXPECT_EQ(c.fn({5, 0}, 3, &size), ombResultBadSize);
      EXPECT_EQ(c.fn({5, 100}, 0, &size), ombResultBadSize);
      EXPECT_EQ(c.fn({5, INT_MAX}, 3, &size), ombResultBadSize);  // beyond 32 bits
      EXPECT_EQ(size, 7);
    }
  }
  ombSetNumThreads(saved);
}

// Binomial smoothing convolved with `order` differences [-1, 1], modulo
// 2^16 for the 16-bit form.
std::vector<std::int64_t> SobelModel(int n, int order) {
  std::vector<std::int64_t> k{1};
  for (int i = 0; i < n - 1; ++i) {
    const std::int64_t d = i < n - 1 - order ? 1 : -1;
    std::vector<std::int64_t> next(k.size() + 1, 0);
    for (std::size_t j = 0; j < k.size(); ++j) {
      next[j] += d * k[j];
      next[j + 1] += k[j];
    }
    k = next;
  }
  return k;
}

TEST(SeparableSobelKernel, MatchesBinomialModel) {
  for (int n = 1; n <= 33; n += 2) {
    for (int order = 0; order < n; ++order) {
      for (int sign : {1, 0, -1}) {
        std::vector<Omb16s> k16(n + 1, 99);
        std::vector<Omb32f> k32(n + 1, 99);
        ASSERT_EQ(ombiGenSobelKernel_16s(k16.data(), n, order, sign), ombResultOk);
        ASSERT_EQ(ombiGenSobelKernel_32f(k32.data(), n, order, sign), ombResultOk);
        const std::vector<std::int64_t> want = SobelModel(n, order);
        for (int j = 0; j < n; ++j) {
          const std::int64_t v = sign < 0 ? -want[j] : want[j];
          EXPECT_EQ(k16[j], static_cast<Omb16s>(static_cast<std::uint16_t>(v & 0xffff)))
              << n << " " << order << " " << j;
          if (n <= 25) {
            EXPECT_EQ(k32[j], static_cast<float>(v)) << n << " " << order;
          }
        }
        EXPECT_EQ(k16[n], 99);
        EXPECT_EQ(k32[n], 99.0f);
      }
    }
  }
  Omb16s k[3] = {};
  EXPECT_EQ(ombiGenSobelKernel_16s(k, 3, 1, 1), ombResultOk);
  EXPECT_EQ(k[0], -1);
  EXPECT_EQ(k[2], 1);
  Omb32f f[2];
  EXPECT_EQ(ombiGenSobelKernel_32f(nullptr, 0, -1, 1), ombResultNullPointer);
  for (auto [n, order] : {std::pair{0, 0}, {2, 0}, {3, 3}, {3, -1}, {-1, 0}}) {
    EXPECT_EQ(ombiGenSobelKernel_32f(f, n, order, 1), ombResultBadSize);
    EXPECT_EQ(ombiGenSobelKernel_16s(k, n, order, 1), ombResultBadSize);
  }
}

// Single calls: rows before the first null destination pointer are written
// (the float form then reports it); a missing C3 border array is refused
// for the constant border only; `_Low` sums wrap (40000 / 1 gives
// 40000 - 65536), and the column form's scaled sum may be exactly 2^31 (a
// sum just below it rounds up in float), whose low 16 bits are 0.
TEST(SeparablePass, SingleCallBehaviours) {
  std::vector<Omb8u> buf(1 << 16);
  std::vector<Omb16s> src(20, 100), dst(20, 7);
  std::vector<Omb32f> srcf(20, 100), dstf(20, 7);
  Omb16s* rows[4] = {&dst[0], &dst[5], nullptr, &dst[15]};
  Omb32f* rowsf[4] = {&dstf[0], &dstf[5], nullptr, &dstf[15]};
  const Omb16s k[3] = {1, 1, 1};
  const Omb32f kf[3] = {1, 1, 1};
  EXPECT_EQ(ombiFilterRowBorderPipeline_16s_C1R(src.data(), 10, rows, {5, 4}, k, 3, 1, ombBorderReplicate, 0, 1, buf.data()), ombResultOk);
  EXPECT_EQ(ombiFilterRowBorderPipeline_32f_C1R(srcf.data(), 20, rowsf, {5, 4}, kf, 3, 1, ombBorderReplicate, 0, buf.data()), ombResultNullPointer);
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(dst[i], i < 10 ? 300 : 7) << i;
    EXPECT_EQ(dstf[i], i < 10 ? 300.0f : 7.0f) << i;
  }
  const Omb8u bytes[12] = {10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10};
  EXPECT_EQ(ombiFilterRowBorderPipeline_8u16s_C3R(bytes, 12, rows, {4, 1}, k, 3, 1, ombBorderConstant, nullptr, 1, buf.data()), ombResultNullPointer);
  EXPECT_EQ(dst[0], 300);
  EXPECT_EQ(ombiFilterRowBorderPipeline_8u16s_C3R(bytes, 12, rows, {4, 1}, k, 3, 1, ombBorderConstant, nullptr, 0, buf.data()), ombResultBadArgument);
  EXPECT_EQ(ombiFilterRowBorderPipeline_8u16s_C3R(bytes, 12, rows, {4, 1}, k, 3, 1, ombBorderWrap, nullptr, 1, buf.data()), ombResultOk);
  EXPECT_EQ(dst[0], 30);

  std::vector<Omb16s> half(16, 20000), big(16, 32767);
  const Omb16s k2[2] = {1, 1};
  ASSERT_EQ(ombiFilterRowBorderPipeline_Low_16s_C1R(half.data(), 32, rows, {16, 1}, k2, 2, 0, ombBorderReplicate, 0, 1, buf.data()), ombResultOk);
  EXPECT_EQ(rows[0][3], 40000 - 65536);
  const Omb16s* crows[3] = {big.data(), big.data(), big.data()};
  const Omb16s k3[3] = {32767, 32767, 4};  // sum 2^31 - 2
  for (int divisor : {1, -1}) {
    ASSERT_EQ(ombiFilterColumnPipeline_Low_16s_C1R(crows, half.data(), 32, {16, 1}, k3, 3, divisor, buf.data()), ombResultOk);
    for (int x = 0; x < 16; ++x) EXPECT_EQ(half[x], 0) << x;
  }
  ASSERT_EQ(ombiFilterColumnPipeline_16s_C1R(crows, half.data(), 32, {16, 1}, k3, 3, 1, buf.data()), ombResultOk);
  EXPECT_EQ(half[15], 32767);
}

}  // namespace
