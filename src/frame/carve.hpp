// Cutting a caller's work block into named areas.
//
// A family writes its carving once, as a function of a Carver, and runs it
// twice: on a planning carver to measure the bytes it needs, and on the
// caller's block to hand out the areas. Both runs take the same offsets, so
// the one statement that a block of the reported size holds the carving is
// ReportedBytes(formula, plan), which every buffer-size query returns.
//
// The block's start is rounded up to the block alignment first; a planning
// carver counts the most that rounding can cost (align - 1 bytes), since
// the caller's block may start anywhere. Areas are then placed at offsets
// that are multiples of their own alignment, which is an address alignment
// as long as it divides the block alignment.
#pragma once

#include <algorithm>
#include <cstdint>

namespace omb {

class Carver {
 public:
  // Carves `block` after rounding its start up to `align` bytes (a power of
  // two).
  Carver(void* block, int align) : align_(align) {
    const auto a = reinterpret_cast<std::uintptr_t>(block);
    const auto mask = static_cast<std::uintptr_t>(align - 1);
    slack_ = static_cast<std::int64_t>(((a + mask) & ~mask) - a);
    base_ = static_cast<std::uint8_t*>(block) + slack_;
  }
  // Measures only; Take returns null.
  static Carver Plan(int align) {
    Carver c(nullptr, align);
    c.slack_ = align - 1;
    c.base_ = nullptr;
    return c;
  }

  // `count` elements of T at the next multiple of `align` bytes.
  template <class T>
  T* Take(std::int64_t count, int align = static_cast<int>(alignof(T))) {
    at_ = (at_ + align - 1) / align * align;
    T* p = base_ != nullptr ? reinterpret_cast<T*>(base_ + at_) : nullptr;
    at_ += std::max<std::int64_t>(count, 0) * static_cast<std::int64_t>(sizeof(T));
    return p;
  }

  // `count` per-thread slots of `bytes` each, `align`-aligned, one after
  // the other: slot t starts t * Stride(bytes, align) bytes after the first.
  std::uint8_t* TakeSlots(int count, std::int64_t bytes, int align) {
    return Take<std::uint8_t>(std::int64_t{count} * Stride(bytes, align), align);
  }
  static std::int64_t Stride(std::int64_t bytes, int align) {
    return (bytes + align - 1) / align * align;
  }

  // Bytes of the block used so far, the start's rounding included (for a
  // planning carver the most any start needs).
  std::int64_t Bytes() const { return slack_ + at_; }
  int align() const { return align_; }

 private:
  std::uint8_t* base_ = nullptr;
  std::int64_t slack_ = 0;
  std::int64_t at_ = 0;
  int align_ = 1;
};

// What a buffer-size query reports: its published formula, and never less
// than the carving needs. The formulas are an interface and stay as they
// are; the carvings are drawn up to fit within them, which the tests check,
// so the second term never decides a reported size.
inline std::int64_t ReportedBytes(std::int64_t formula, const Carver& plan) {
  return std::max(formula, plan.Bytes());
}

}  // namespace omb
