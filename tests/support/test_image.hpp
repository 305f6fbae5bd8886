// Test images with guard bytes, seeded random data, bitwise comparison and
// helpers that repeat a check at several thread counts or SIMD targets.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "ombtypes.h"

namespace omb_test {

enum class Elem { k8u, k8s, k16u, k16s, k32s, k32f, k64f };
int ElemBytes(Elem e);

template <class T> constexpr Elem ElemOf();
template <> constexpr Elem ElemOf<Omb8u>() { return Elem::k8u; }
template <> constexpr Elem ElemOf<Omb8s>() { return Elem::k8s; }
template <> constexpr Elem ElemOf<Omb16u>() { return Elem::k16u; }
template <> constexpr Elem ElemOf<Omb16s>() { return Elem::k16s; }
template <> constexpr Elem ElemOf<Omb32s>() { return Elem::k32s; }
template <> constexpr Elem ElemOf<Omb32f>() { return Elem::k32f; }
template <> constexpr Elem ElemOf<Omb64f>() { return Elem::k64f; }

// Where the ROI sits in its block. Everything but the ROI is guard bytes:
// a 64-byte margin before and after, whole rows above and below, the
// columns left of the ROI and the padding at the end of every row.
struct Layout {
  int pad_bytes = 0;   // row step = (off_x + width) * elem + pad_bytes
  int off_x = 0;       // ROI column offset, in elements
  int off_y = 0;       // rows above the ROI
  int rows_below = 1;  // rows below the ROI
  int shift = 0;       // block start = 64-byte boundary + shift bytes
};

class ImageBytes {
 public:
  static constexpr int kMargin = 64;
  ImageBytes(int width, int height, Elem elem, const Layout& layout = {});
  ImageBytes(const ImageBytes& other);
  ImageBytes(ImageBytes&&) noexcept = default;
  ImageBytes& operator=(const ImageBytes&) = delete;

  Elem elem() const { return elem_; }
  int Width() const { return width_; }
  int Height() const { return height_; }
  int Step() const { return step_; }
  OmbRoiSize Size() const { return {width_, height_}; }
  std::uint8_t* RoiBytes() const { return Block() + roi_off_; }
  std::uint8_t* PixelBytes(int x, int y) const {
    return RoiBytes() + static_cast<std::ptrdiff_t>(step_) * y +
           static_cast<std::ptrdiff_t>(x) * ElemBytes(elem_);
  }
  bool InRoi(std::size_t offset) const;

  // Remembers every byte of the block (done by the constructor and by the
  // random fills); Unchanged compares all of them, GuardsIntact all bytes
  // outside the ROI.
  void Snapshot();
  ::testing::AssertionResult Unchanged() const;
  ::testing::AssertionResult GuardsIntact() const;

 private:
  struct Free { void operator()(std::uint8_t* p) const { std::free(p); } };
  std::uint8_t* Block() const { return alloc_.get() + shift_; }
  ::testing::AssertionResult Compare(bool roi_too) const;

  int width_, height_;
  Elem elem_;
  int step_, shift_;
  std::size_t bytes_, roi_off_;
  Layout layout_;
  std::unique_ptr<std::uint8_t, Free> alloc_;
  std::vector<std::uint8_t> snap_;

  friend ::testing::AssertionResult SameBytes(const ImageBytes&, const ImageBytes&);
};

template <class T>
class TestImage : public ImageBytes {
 public:
  TestImage(int width, int height, const Layout& layout = {})
      : ImageBytes(width, height, ElemOf<T>(), layout) {}
  T* Roi() const { return reinterpret_cast<T*>(RoiBytes()); }
  T Get(int x, int y) const {
    T v;
    std::memcpy(&v, PixelBytes(x, y), sizeof v);
    return v;
  }
  void Set(int x, int y, T v) { std::memcpy(PixelBytes(x, y), &v, sizeof v); }
};

using Rng = std::mt19937_64;

// Fills the ROI and takes a new snapshot. Integers: the full range, with
// probability `special` one of 0, 1, -1, min, max. Floats: with probability
// `special` one of NaN (both signs, several payloads when nan_payloads),
// +-inf, +-0, denormals, FLT_MIN, +-FLT_MAX or a value of `extra`;
// otherwise an ordinary value (some of them whole numbers). Doubles: whole
// numbers below 2^40, with probability `special` negative.
void FillRandom(ImageBytes& img, Rng& rng, double special,
                const std::vector<float>& extra = {}, bool nan_payloads = true);

// Bitwise equality of two images of the same layout: every byte, guards
// included. A mismatch names the first pixel (x, y) with both values, or
// the first guard byte.
::testing::AssertionResult SameBytes(const ImageBytes& got, const ImageBytes& want);

std::uint32_t FloatBits(float f);
float BitsFloat(std::uint32_t u);

// Sets the library thread count (or the SIMD target the dispatch may pick,
// 0 for every supported one) for one scope and puts back what was there
// before on every way out, a failed assertion included.
class ScopedThreadCount {
 public:
  explicit ScopedThreadCount(int n);
  ~ScopedThreadCount();
  ScopedThreadCount(const ScopedThreadCount&) = delete;
  ScopedThreadCount& operator=(const ScopedThreadCount&) = delete;

 private:
  int saved_ = 1;
};
class ScopedSimdTarget {
 public:
  explicit ScopedSimdTarget(std::int64_t target);
  ~ScopedSimdTarget();
  ScopedSimdTarget(const ScopedSimdTarget&) = delete;
  ScopedSimdTarget& operator=(const ScopedSimdTarget&) = delete;
};

// Runs fn(n) with the library thread count set to each of these.
inline constexpr int kThreadCounts[] = {1, 2, 3, 17, 40};
void ForEachThreadCount(const std::function<void(int)>& fn);

// Runs fn once for every SIMD target that this machine supports and
// the library was built for, forcing run-time dispatch onto it.
void ForEachSimdTarget(const std::function<void()>& fn);

// The border rule written as its definition: one reflection or wrap at a
// time, repeated until position i of a line of n pixels lands inside.
// Returns the pixel read, or -1 for the constant border.
int BorderModel(int i, int n, int border);

// A value-parameterised suite over one table of fronts (anything with a
// `name`, or an `arg.name`), each case named after its front:
//   using Pass = FrontSuite<PassFront, Fronts>;
//   TEST_P(Pass, ...) { front() ... }
//   INSTANTIATE_TEST_SUITE_P(All, Pass, Pass::All(), Pass::Name);
template <class Front, const std::vector<Front>& (*kTable)()>
class FrontSuite : public ::testing::TestWithParam<std::size_t> {
 public:
  static auto All() { return ::testing::Range<std::size_t>(0, kTable().size()); }
  static std::string Name(const ::testing::TestParamInfo<std::size_t>& i) {
    return NameOf(kTable()[i.param], 0);
  }

 protected:
  const Front& front() const { return kTable()[GetParam()]; }

 private:
  template <class F>
  static auto NameOf(const F& f, int) -> decltype(f.name) { return f.name; }
  template <class F>
  static auto NameOf(const F& f, long) -> decltype(f.arg.name) { return f.arg.name; }
};

// A work buffer of exactly `size` bytes starting `shift` bytes past a 32-byte
// boundary, filled with stale bytes, with guard bytes on both sides.
class GuardedBuffer {
 public:
  static constexpr int kGuard = 64;
  GuardedBuffer(int size, int shift);
  Omb8u* Data();
  bool GuardsIntact();

 private:
  int shift_, size_;
  std::vector<Omb8u> bytes_;
};

// An 8-bit binary PGM (P5, maxval 255) as rows of width bytes; a failed or
// short read is reported as a test failure.
std::vector<Omb8u> ReadPgm(const std::string& path, int* width, int* height);

}  // namespace omb_test
