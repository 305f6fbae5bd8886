// Benchmark images: owned pixel buffers whose base address and every row
// start lie on a cache-line boundary, described the way the library takes
// them (pointer to the first pixel, step in bytes, ROI size).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "ombtypes.h"

namespace ombbench {

// Row starts and block starts are multiples of this many bytes.
inline constexpr std::size_t kRowAlign = 64;

// A block of bytes aligned to kRowAlign. Freshly allocated memory is left
// untouched; callers fill it (and so fault its pages in) before timing.
class AlignedBytes {
 public:
  AlignedBytes() = default;
  explicit AlignedBytes(std::size_t bytes);

  std::uint8_t* data() { return data_.get(); }
  const std::uint8_t* data() const { return data_.get(); }
  std::size_t size() const { return size_; }

 private:
  struct Free {
    void operator()(std::uint8_t* p) const;
  };
  std::unique_ptr<std::uint8_t, Free> data_;
  std::size_t size_ = 0;
};

// A single-channel image of element type T with aligned rows.
template <class T>
class Image {
 public:
  Image(int width, int height)
      : width_(width),
        height_(height),
        step_(RowBytes(width)),
        bytes_(static_cast<std::size_t>(step_) *
               static_cast<std::size_t>(height)) {}

  T* data() { return reinterpret_cast<T*>(bytes_.data()); }
  const T* data() const { return reinterpret_cast<const T*>(bytes_.data()); }
  T* Row(int y) {
    return reinterpret_cast<T*>(bytes_.data() +
                                static_cast<std::size_t>(step_) * y);
  }
  int step() const { return step_; }
  int width() const { return width_; }
  int height() const { return height_; }
  OmbRoiSize roi() const { return {width_, height_}; }

 private:
  static int RowBytes(int width) {
    const std::size_t raw = static_cast<std::size_t>(width) * sizeof(T);
    return static_cast<int>((raw + kRowAlign - 1) / kRowAlign * kRowAlign);
  }

  int width_;
  int height_;
  int step_;
  AlignedBytes bytes_;
};

}  // namespace ombbench
