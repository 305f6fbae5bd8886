#include "support/test_image.hpp"

#include <hwy/targets.h>

#include <cmath>
#include <cinttypes>
#include <cstdio>
#include <limits>
#include <fstream>
#include <string>

#include "ombcore.h"

namespace omb_test {

int ElemBytes(Elem e) {
  switch (e) {
    case Elem::k8u: case Elem::k8s: return 1;
    case Elem::k16u: case Elem::k16s: return 2;
    case Elem::k32s: case Elem::k32f: return 4;
    case Elem::k64f: return 8;
  }
  return 1;
}

std::uint32_t FloatBits(float f) {
  std::uint32_t u;
  std::memcpy(&u, &f, sizeof u);
  return u;
}
float BitsFloat(std::uint32_t u) {
  float f;
  std::memcpy(&f, &u, sizeof f);
  return f;
}

ImageBytes::ImageBytes(int width, int height, Elem elem, const Layout& layout)
    : width_(width), height_(height), elem_(elem), shift_(layout.shift),
      layout_(layout) {
  const int eb = ElemBytes(elem);
  step_ = (layout.off_x + width) * eb + layout.pad_bytes;
  bytes_ = 2 * kMargin + static_cast<std::size_t>(step_) *
                             (layout.off_y + height + layout.rows_below);
  roi_off_ = kMargin + static_cast<std::size_t>(step_) * layout.off_y +
             static_cast<std::size_t>(layout.off_x) * eb;
  void* p = nullptr;
  if (posix_memalign(&p, 64, bytes_ + shift_) != 0) throw std::bad_alloc();
  alloc_.reset(static_cast<std::uint8_t*>(p));
  // A pattern no kernel produces by accident (and never all-zero rows).
  for (std::size_t k = 0; k < bytes_; ++k)
    Block()[k] = static_cast<std::uint8_t>(0xA5 ^ (k * 29));
  Snapshot();
}

ImageBytes::ImageBytes(const ImageBytes& o)
    : ImageBytes(o.width_, o.height_, o.elem_, o.layout_) {
  std::memcpy(Block(), o.Block(), bytes_);
  snap_ = o.snap_;
}

bool ImageBytes::InRoi(std::size_t k) const {
  if (k < kMargin) return false;
  const std::size_t r = (k - kMargin) / step_, c = (k - kMargin) % step_;
  const std::size_t eb = ElemBytes(elem_);
  return r >= static_cast<std::size_t>(layout_.off_y) &&
         r < static_cast<std::size_t>(layout_.off_y + height_) &&
         c >= layout_.off_x * eb && c < (layout_.off_x + width_) * eb;
}

void ImageBytes::Snapshot() { snap_.assign(Block(), Block() + bytes_); }

::testing::AssertionResult ImageBytes::Compare(bool roi_too) const {
  for (std::size_t k = 0; k < bytes_; ++k) {
    if (Block()[k] != snap_[k] && (roi_too || !InRoi(k))) {
      return ::testing::AssertionFailure()
             << (InRoi(k) ? "ROI" : "guard") << " byte at block offset " << k
             << " (row step " << step_ << ") changed from "
             << int{snap_[k]} << " to " << int{Block()[k]};
    }
  }
  return ::testing::AssertionSuccess();
}
::testing::AssertionResult ImageBytes::Unchanged() const { return Compare(true); }
::testing::AssertionResult ImageBytes::GuardsIntact() const { return Compare(false); }

namespace {

std::string Format(Elem e, const std::uint8_t* p) {
  char buf[64];
  switch (e) {
    case Elem::k8u: return std::to_string(*p);
    case Elem::k8s: return std::to_string(static_cast<std::int8_t>(*p));
    case Elem::k16u: { Omb16u v; std::memcpy(&v, p, 2); return std::to_string(v); }
    case Elem::k16s: { Omb16s v; std::memcpy(&v, p, 2); return std::to_string(v); }
    case Elem::k32s: { Omb32s v; std::memcpy(&v, p, 4); return std::to_string(v); }
    case Elem::k32f: {
      float v;
      std::memcpy(&v, p, 4);
      std::snprintf(buf, sizeof buf, "%.9g (bits 0x%08" PRIx32 ")", v, FloatBits(v));
      return buf;
    }
    case Elem::k64f: {
      double v;
      std::memcpy(&v, p, 8);
      std::snprintf(buf, sizeof buf, "%.17g", v);
      return buf;
    }
  }
  return "?";
}

template <class T>
T RandomInt(Rng& rng, double special) {
  using L = std::numeric_limits<T>;
  if (std::uniform_real_distribution<double>(0, 1)(rng) < special) {
    const T pool[] = {0, 1, static_cast<T>(-1), L::min(), L::max()};
    return pool[rng() % 5];
  }
  return static_cast<T>(std::uniform_int_distribution<long long>(L::min(), L::max())(rng));
}

float RandomFloat(Rng& rng, double special, const std::vector<float>& extra,
                  bool nan_payloads) {
  if (std::uniform_real_distribution<double>(0, 1)(rng) < special) {
    static const std::uint32_t pool[] = {
        0x7fc00000u, 0x7f800000u, 0xff800000u, 0x00000000u, 0x80000000u,
        0x00000001u, 0x80000001u, 0x00345678u, 0x807fffffu, 0x00800000u,
        0x7f7fffffu, 0xff7fffffu,
        // further NaNs: negative, with payloads, signalling
        0xffc00000u, 0x7fc12345u, 0xfff00001u, 0x7f800001u};
    const std::size_t plain = 12, total = nan_payloads ? 16 : plain;
    const std::size_t pick = rng() % (total + extra.size());
    return pick < total ? BitsFloat(pool[pick]) : extra[pick - total];
  }
  if (rng() % 4 == 0)
    return static_cast<float>(std::uniform_int_distribution<int>(-300, 300)(rng));
  const float m = std::uniform_real_distribution<float>(-1.0f, 1.0f)(rng);
  return std::ldexp(m, std::uniform_int_distribution<int>(-12, 14)(rng));
}

}  // namespace

void FillRandom(ImageBytes& img, Rng& rng, double special,
                const std::vector<float>& extra, bool nan_payloads) {
  for (int y = 0; y < img.Height(); ++y) {
    for (int x = 0; x < img.Width(); ++x) {
      std::uint8_t* p = img.PixelBytes(x, y);
      auto put = [p](auto v) { std::memcpy(p, &v, sizeof v); };
      switch (img.elem()) {
        case Elem::k8u: put(RandomInt<Omb8u>(rng, special)); break;
        case Elem::k8s: put(RandomInt<Omb8s>(rng, special)); break;
        case Elem::k16u: put(RandomInt<Omb16u>(rng, special)); break;
        case Elem::k16s: put(RandomInt<Omb16s>(rng, special)); break;
        case Elem::k32s: put(RandomInt<Omb32s>(rng, special)); break;
        case Elem::k32f: put(RandomFloat(rng, special, extra, nan_payloads)); break;
        case Elem::k64f: {
          const double v = static_cast<double>(rng() >> 24);
          put(std::uniform_real_distribution<double>(0, 1)(rng) < special ? -v : v);
          break;
        }
      }
    }
  }
  img.Snapshot();
}

::testing::AssertionResult SameBytes(const ImageBytes& got, const ImageBytes& want) {
  if (got.bytes_ != want.bytes_ || got.step_ != want.step_)
    return ::testing::AssertionFailure() << "images of different layout";
  const std::uint8_t* g = got.Block();
  const std::uint8_t* w = want.Block();
  for (std::size_t k = 0; k < got.bytes_; ++k) {
    if (g[k] == w[k]) continue;
    if (!got.InRoi(k)) {
      return ::testing::AssertionFailure()
             << "guard byte at block offset " << k << " is " << int{g[k]}
             << ", was " << int{w[k]};
    }
    const std::size_t eb = ElemBytes(got.elem());
    const std::size_t rel = k - got.roi_off_;
    const int y = static_cast<int>(rel / got.step_);
    const int x = static_cast<int>(rel % got.step_ / eb);
    int count = 0;
    for (int yy = 0; yy < got.height_; ++yy)
      count += std::memcmp(got.PixelBytes(0, yy), want.PixelBytes(0, yy),
                           eb * got.width_) != 0;
    return ::testing::AssertionFailure()
           << "first mismatch at pixel (" << x << ", " << y << ") of "
           << got.width_ << "x" << got.height_ << ": got "
           << Format(got.elem(), got.PixelBytes(x, y)) << ", want "
           << Format(got.elem(), want.PixelBytes(x, y)) << " (" << count
           << " rows differ)";
  }
  return ::testing::AssertionSuccess();
}

ScopedThreadCount::ScopedThreadCount(int n) {
  ombGetNumThreads(&saved_);
  ombSetNumThreads(n);
}
ScopedThreadCount::~ScopedThreadCount() { ombSetNumThreads(saved_); }

ScopedSimdTarget::ScopedSimdTarget(std::int64_t target) {
  hwy::SetSupportedTargetsForTest(target);
}
ScopedSimdTarget::~ScopedSimdTarget() { hwy::SetSupportedTargetsForTest(0); }

void ForEachThreadCount(const std::function<void(int)>& fn) {
  for (int n : kThreadCounts) {
    const ScopedThreadCount threads(n);
    SCOPED_TRACE(::testing::Message() << "thread count " << n);
    fn(n);
  }
}

void ForEachSimdTarget(const std::function<void()>& fn) {
  for (std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    const ScopedSimdTarget pin(target);
    SCOPED_TRACE(::testing::Message() << "SIMD target " << hwy::TargetName(target));
    fn();
  }
}

int BorderModel(int i, int n, int border) {
  while (i < 0 || i >= n) {
    switch (border) {
      case ombBorderConstant: return -1;
      case ombBorderReplicate: i = i < 0 ? 0 : n - 1; break;
      case ombBorderWrap: i = i < 0 ? i + n : i - n; break;
      case ombBorderMirror: i = n == 1 ? 0 : i < 0 ? -i : 2 * (n - 1) - i; break;
      default: i = i < 0 ? -1 - i : 2 * n - 1 - i; break;  // mirror with edge
    }
  }
  return i;
}

GuardedBuffer::GuardedBuffer(int size, int shift)
    : shift_(shift), size_(size), bytes_(std::size_t(size) + 2 * kGuard + 64, 0xA5) {
  std::memset(Data(), 0x5A, std::size_t(size_));  // stale content
}

Omb8u* GuardedBuffer::Data() {
  const auto a = reinterpret_cast<std::uintptr_t>(bytes_.data()) + kGuard;
  return bytes_.data() + (kGuard + (32 - a % 32) % 32 + shift_);
}

bool GuardedBuffer::GuardsIntact() {
  const Omb8u* d = Data();
  for (const Omb8u* p = bytes_.data(); p < d; ++p)
    if (*p != 0xA5) return false;
  for (const Omb8u* p = d + size_; p < bytes_.data() + bytes_.size(); ++p)
    if (*p != 0xA5) return false;
  return true;
}

std::vector<Omb8u> ReadPgm(const std::string& path, int* width, int* height) {
  std::ifstream f(path, std::ios::binary);
  std::string magic;
  int w = 0, h = 0, maxval = 0;
  f >> magic >> w >> h >> maxval;
  f.get();
  EXPECT_TRUE(f && magic == "P5" && maxval == 255 && w > 0 && h > 0) << path;
  std::vector<Omb8u> px(f ? std::size_t(w) * std::size_t(h) : 0);
  f.read(reinterpret_cast<char*>(px.data()), std::streamsize(px.size()));
  EXPECT_TRUE(f) << "short read of " << path;
  *width = f ? w : 0;
  *height = f ? h : 0;
  return px;
}

}  // namespace omb_test
