// Borders: where a pixel outside an image comes from, and the one source of
// bordered rows that every neighbourhood kernel reads.
//
// The rules are defined by one reflection or one wrap of the line; a kernel
// wider than the line reaches further out, and there the same rule is
// applied again (the line is folded or wrapped as often as needed), so that
// every made-up pixel still names a pixel of the line. Rows above and below
// the image follow the same rules applied to the row index.
//
// A bordered row is read in place wherever it is the source row itself and
// from two short strips at its ends, which hold the made-up pixels together
// with the first and last few pixels of the row: a read that straddles an
// edge then finds one contiguous run, and no row is copied whole unless a
// kernel asks for runs that span the row (a strip as long as the row). The
// strips of the last K rows asked for are kept in a ring, so a kernel with
// K rows in its window builds every row's strips once. A row made up by the
// constant border is a row of the border value, kept with the ring.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/carve.hpp"
#include "frame/image.hpp"
#include "ombtypes.h"

namespace omb {

inline bool IsBorderType(int border) {
  return border >= ombBorderConstant && border <= ombBorderMirrorEdge;
}

// Non-negative remainder of i modulo m (m > 0).
inline int FloorMod(int i, int m) {
  const int r = i % m;
  return r < 0 ? r + m : r;
}

// Index in [0, n) of the pixel that position i of a line of n pixels reads
// under `border`; -1 for a constant-border pixel outside the line.
inline int BorderIndex(int i, int n, int border) {
  if (i >= 0 && i < n) return i;
  switch (border) {
    case ombBorderReplicate:
      return i < 0 ? 0 : n - 1;
    case ombBorderWrap:
      return FloorMod(i, n);
    case ombBorderMirror: {
      if (n == 1) return 0;  // no pixel besides the edge: as mirror-edge
      const int period = 2 * n - 2;
      const int m = FloorMod(i, period);
      return m < n ? m : period - m;
    }
    case ombBorderMirrorEdge: {
      const int period = 2 * n;
      const int m = FloorMod(i, period);
      return m < n ? m : period - 1 - m;
    }
    default:
      return -1;
  }
}

// Positions [first, first + count) of a line of `width` pixels of `channels`
// elements, extended by the border rule, into out. A null line is a line
// made up by the constant border: every position reads `value`, as does
// every constant-border position outside a real line.
template <class T>
void BorderFill(const T* line, int width, int channels, int border, const T* value, int first,
                int count, T* out) {
  // The positions inside the line form one run, copied as it is; only the
  // made-up ones go through the rule.
  int in_lo = 0, in_hi = 0;  // out positions [in_lo, in_hi) lie inside the line
  if (line != nullptr) {
    in_lo = std::min(std::max(-first, 0), count);
    in_hi = std::max(std::min(width - first, count), in_lo);
  }
  auto made_up = [&](int i) {
    const int x = line == nullptr ? -1 : BorderIndex(first + i, width, border);
    for (int c = 0; c < channels; ++c) {
      out[i * channels + c] = x < 0 ? value[c] : line[x * channels + c];
    }
  };
  for (int i = 0; i < in_lo; ++i) made_up(i);
  if (in_hi > in_lo) {
    std::memcpy(out + static_cast<std::ptrdiff_t>(in_lo) * channels,
                line + static_cast<std::ptrdiff_t>(first + in_lo) * channels,
                sizeof(T) * static_cast<std::size_t>(in_hi - in_lo) * channels);
  }
  for (int i = in_hi; i < count; ++i) made_up(i);
}

// How far a kernel reads around a row. Runs that start left of pixel 0 end
// before position left_run; runs that end right of the last pixel start at
// or after width - right_run; every other run lies inside the row.
struct BorderReach {
  int before;     // positions made up left of pixel 0
  int after;      // positions made up right of the last pixel
  int left_run;   // end (exclusive) of the left strip
  int right_run;  // the right strip starts right_run pixels before the end
};

// One bordered row as a kernel reads it; positions are in pixels, the
// pointers address the first element of that pixel.
template <class T>
struct BorderedRow {
  const T* row;    // pixel 0 of the row in place (source or constant row)
  const T* left;   // position -before
  const T* right;  // position width - right_run
  int before;
  int right_first;  // width - right_run
  int channels;
  const T* Mid(int x) const { return row + static_cast<std::ptrdiff_t>(x) * channels; }
  const T* Left(int x) const {
    return left + static_cast<std::ptrdiff_t>(x + before) * channels;
  }
  const T* Right(int x) const {
    return right + static_cast<std::ptrdiff_t>(x - right_first) * channels;
  }
};

// The bordered-row source: rows j of an image (any j; rows outside the
// image are made up by the border rule on the row index) as BorderedRow
// views, the strips of the last `ring` rows kept in the caller's storage.
template <class T>
class BorderRows {
 public:
  struct Shape {
    int width;
    int height;
    int channels;
    int border;
    BorderReach reach;
    int ring;           // rows whose strips are kept (the kernel's window)
    bool rows_outside;  // rows outside the image may be asked for
    int align;          // byte alignment of every strip and the constant row
  };

  // The storage, carved (or measured, on a planning carver) from `c`.
  struct Areas {
    T* strips;
    T* constant_row;
    int* held;
  };
  static Areas Carve(Carver& c, const Shape& s) {
    Areas a{};
    const std::int64_t strip = StripElems(s);
    const int align = s.align > 0 ? s.align : static_cast<int>(alignof(T));
    a.strips = c.Take<T>(s.ring * RoundElems(strip, align), align);
    a.constant_row = NeedsConstantRow(s)
                         ? c.Take<T>(std::int64_t{s.width} * s.channels, align)
                         : nullptr;
    a.held = c.Take<int>(s.ring);
    return a;
  }
  // Bytes of storage, for storage starting at a multiple of Shape::align.
  static std::int64_t Bytes(const Shape& s) {
    Carver plan = Carver::Plan(1);
    Carve(plan, s);
    return plan.Bytes();
  }

  // `value`: `channels` elements, read only under the constant border.
  BorderRows(Plane<const T> src, const Shape& s, const T* value, std::uint8_t* storage)
      : src_(src), s_(s) {
    Carver c(storage, 1);
    const Areas a = Carve(c, s);
    strips_ = a.strips;
    constant_row_ = a.constant_row;
    held_ = a.held;
    const int align = s.align > 0 ? s.align : static_cast<int>(alignof(T));
    strip_pitch_ = RoundElems(StripElems(s), align);
    left_elems_ = std::int64_t{s.reach.before + s.reach.left_run} * s.channels;
    for (int c = 0; c < s.channels; ++c) value_[c] = s.border == ombBorderConstant ? value[c] : T{};
    if (constant_row_ != nullptr) {
      BorderFill<T>(nullptr, s.width, s.channels, s.border, value_, 0, s.width, constant_row_);
    }
    for (int i = 0; i < s.ring; ++i) held_[i] = kNone;
  }

  // Image row of row index j, or null for a row of the border value.
  const T* SourceRow(int j) const {
    const int k = BorderIndex(j, s_.height, s_.border);
    return k < 0 ? nullptr : src_.Row(k);
  }

  // Row j, its strips built unless the ring still holds them.
  BorderedRow<T> Row(int j) {
    const T* src = SourceRow(j);
    const int slot = FloorMod(j, s_.ring);
    T* left = strips_ + slot * strip_pitch_;
    T* right = left + left_elems_;
    const BorderReach& r = s_.reach;
    const int right_first = s_.width - r.right_run;
    if (held_[slot] != j) {
      BorderFill(src, s_.width, s_.channels, s_.border, value_, -r.before, r.before + r.left_run,
                 left);
      BorderFill(src, s_.width, s_.channels, s_.border, value_, right_first,
                 r.right_run + r.after, right);
      held_[slot] = j;
    }
    return {src != nullptr ? src : constant_row_, left, right, r.before, right_first, s_.channels};
  }

 private:
  static constexpr int kNone = -2147483647 - 1;

  static std::int64_t StripElems(const Shape& s) {
    const BorderReach& r = s.reach;
    return (std::int64_t{r.before} + r.left_run + r.right_run + r.after) * s.channels;
  }
  static std::int64_t RoundElems(std::int64_t elems, int align) {
    const std::int64_t per = align > static_cast<int>(sizeof(T)) ? align / sizeof(T) : 1;
    return (elems + per - 1) / per * per;
  }
  static bool NeedsConstantRow(const Shape& s) {
    return s.rows_outside && s.border == ombBorderConstant;
  }

  Plane<const T> src_;
  Shape s_;
  T* strips_ = nullptr;
  T* constant_row_ = nullptr;
  int* held_ = nullptr;
  std::int64_t strip_pitch_ = 0;
  std::int64_t left_elems_ = 0;
  T value_[4] = {};
};

}  // namespace omb
