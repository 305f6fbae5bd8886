// Canny edge detector, vectorised scan and scalar hysteresis.
//
// Work buffer (carved here, sized by CannyBufferBytes): a 32-byte aligned
// ring of three magnitude rows (previous, current, next), each width + 2
// elements with a zero element at both ends and padded to 8 elements; then
// the candidate map of (width + 2) x (height + 2) bytes whose outer frame
// is kept 0; then the tracking stack of (row, column) pairs in framed
// coordinates, 16-bit or 32-bit as CannyShortStack says. Three rows padded
// to 8 elements never exceed the 4 x width + 24 elements the size formula
// reserves, and the 32-byte ring alignment plus the stack's entry alignment
// stay within its 64 bytes of slack.
//
// Scan. Per image row, the magnitude of the row below is computed into the
// ring first (the row above the first and below the last are all zero), then
// the current row is classified and suppressed a vector at a time: the
// direction masks pick the behind and ahead magnitudes from the three ring
// rows, the survivors become 128 in the map and the seeds among them (rare)
// are pushed by a scalar loop over the seed mask bits. Vectors whose
// magnitudes are all zero (most of a photograph) skip the classification.
// Row tails narrower than a vector use the scalar rules of canny_ref.hpp.
//
// Float magnitudes: the double sum of two floats rounded to float equals
// the float sum, since double carries more than twice float's precision
// (double rounding is then harmless for a single addition); the lanes can
// therefore add in float. The direction products are not single float
// operations (the constants are doubles), so they are formed in double lanes.
//
// Hysteresis pops the stack until empty; the output byte doubles as the
// "already tracked" mark, and the map's zero frame removes all bounds tests.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "edges/canny_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "edges/canny.hpp"
#include "edges/canny_ref.hpp"
#include "frame/image.hpp"

HWY_BEFORE_NAMESPACE();
namespace omb {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Stack of (row, column) pairs carved from the work buffer; capacity is one
// entry per framed pixel and every pixel is pushed at most once.
template <class E>
struct CannyStack {
  E* base;
  E* top;
  HWY_INLINE void Push(std::uint32_t r, std::uint32_t c) {
    top[0] = static_cast<E>(r);
    top[1] = static_cast<E>(c);
    top += 2;
  }
};

template <class T>
struct CannyRows {
  using M = ref::CannyMag<T>;
  const T* dx;
  const T* dy;
  int width;
  M low;
};

// Scalar magnitude of columns [x0, width) into ring[1 + x].
template <class T, class M>
HWY_INLINE void MagTail(const CannyRows<T>& r, M* ring, int x0) {
  for (int x = x0; x < r.width; ++x) ring[1 + x] = ref::CannyMagnitude(r.dx[x], r.dy[x], r.low);
}

#if HWY_TARGET != HWY_SCALAR

// Float lanes of a*K with the product formed in double and rounded to float.
template <class DF>
HWY_INLINE hn::Vec<DF> MulDoubleRound(DF df, hn::Vec<DF> a, double k) {
  const hn::Half<DF> dh;
  const hn::Rebind<double, decltype(dh)> dd;
  const auto kv = hn::Set(dd, k);
  const auto lo = hn::DemoteTo(dh, hn::Mul(hn::PromoteTo(dd, hn::LowerHalf(dh, a)), kv));
  const auto hi = hn::DemoteTo(dh, hn::Mul(hn::PromoteTo(dd, hn::UpperHalf(dh, a)), kv));
  return hn::Combine(df, hi, lo);
}

template <class T, class M>
void MagRow(const CannyRows<T>& r, M* ring) {
  const hn::ScalableTag<float> df;
  const hn::RebindToSigned<decltype(df)> di;
  const int n = static_cast<int>(hn::Lanes(df));
  int x = 0;
  if constexpr (std::is_same<T, float>::value) {
    const auto low = hn::Set(df, r.low);
    for (; x + n <= r.width; x += n) {
      const auto m = hn::Add(hn::Abs(hn::LoadU(df, r.dx + x)), hn::Abs(hn::LoadU(df, r.dy + x)));
      hn::StoreU(hn::IfThenElseZero(hn::Gt(m, low), m), df, ring + 1 + x);
    }
  } else {
    const hn::Rebind<std::int16_t, decltype(di)> d16;
    const auto low = hn::Set(di, r.low);
    for (; x + n <= r.width; x += n) {
      const auto ax = hn::Abs(hn::PromoteTo(di, hn::LoadU(d16, r.dx + x)));
      const auto ay = hn::Abs(hn::PromoteTo(di, hn::LoadU(d16, r.dy + x)));
      const auto m = hn::Add(ax, ay);
      hn::StoreU(hn::IfThenElseZero(hn::Gt(m, low), m), di, ring + 1 + x);
    }
  }
  MagTail(r, ring, x);
}

// Suppression of one row: map row and seeds for columns [0, width).
template <class T, class M, class E>
void NmsRow(const CannyRows<T>& r, const M* prev, const M* cur, const M* next,
            std::uint8_t* map_row, std::uint8_t* out_row, std::uint32_t frow, float high,
            CannyStack<E>& stack) {
  const hn::ScalableTag<float> df;
  const hn::RebindToSigned<decltype(df)> di;
  using DM = std::conditional_t<std::is_same<M, float>::value, decltype(df), decltype(di)>;
  const DM dm;
  const hn::Rebind<std::uint8_t, decltype(di)> d8;
  const int n = static_cast<int>(hn::Lanes(df));
  const auto zero_m = hn::Zero(dm);
  const auto high_v = hn::Set(df, high);
  const auto v128 = hn::Set(di, 128);
  int x = 1;  // framed column
  for (; x + n - 1 <= r.width; x += n) {
    const auto m = hn::LoadU(dm, cur + x);
    const auto nz = hn::Gt(m, zero_m);
    if (hn::AllFalse(dm, nz)) {
      hn::StoreU(hn::Zero(d8), d8, map_row + x);
      continue;
    }
    hn::Vec<decltype(df)> ax, ay;
    hn::Mask<decltype(di)> diff_sign;
    if constexpr (std::is_same<T, float>::value) {
      const auto vx = hn::LoadU(df, r.dx + x - 1);
      const auto vy = hn::LoadU(df, r.dy + x - 1);
      ax = hn::Abs(vx);
      ay = hn::Abs(vy);
      diff_sign = hn::Lt(hn::Xor(hn::BitCast(di, vx), hn::BitCast(di, vy)), hn::Zero(di));
    } else {
      const hn::Rebind<std::int16_t, decltype(di)> d16;
      const auto vx = hn::PromoteTo(di, hn::LoadU(d16, r.dx + x - 1));
      const auto vy = hn::PromoteTo(di, hn::LoadU(d16, r.dy + x - 1));
      ax = hn::ConvertTo(df, hn::Abs(vx));
      ay = hn::ConvertTo(df, hn::Abs(vy));
      diff_sign = hn::Lt(hn::Xor(vx, vy), hn::Zero(di));
    }
    const auto vert_f = hn::Gt(ay, MulDoubleRound(df, ax, ref::kTan67));
    const auto diag_f = hn::AndNot(vert_f, hn::Ge(ay, MulDoubleRound(df, ax, ref::kTan22)));
    const auto vert = hn::RebindMask(dm, vert_f);
    const auto diag = hn::RebindMask(dm, diag_f);
    const auto d2 = hn::And(diag, hn::RebindMask(dm, diff_sign));
    const auto d4 = hn::AndNot(hn::RebindMask(dm, diff_sign), diag);
    auto b = hn::LoadU(dm, cur + x - 1);
    auto a = hn::LoadU(dm, cur + x + 1);
    b = hn::IfThenElse(vert, hn::LoadU(dm, prev + x), b);
    a = hn::IfThenElse(vert, hn::LoadU(dm, next + x), a);
    b = hn::IfThenElse(d2, hn::LoadU(dm, prev + x + 1), b);
    a = hn::IfThenElse(d2, hn::LoadU(dm, next + x - 1), a);
    b = hn::IfThenElse(d4, hn::LoadU(dm, prev + x - 1), b);
    a = hn::IfThenElse(d4, hn::LoadU(dm, next + x + 1), a);
    // Equal-ahead survives only off the diagonals (see ref::CannySurvives).
    const auto ahead_ok = hn::Or(hn::Gt(m, a), hn::AndNot(diag, hn::Eq(m, a)));
    const auto surv = hn::And(hn::Gt(m, b), ahead_ok);
    const auto surv_i = hn::RebindMask(di, surv);
    hn::StoreU(hn::DemoteTo(d8, hn::IfThenElseZero(surv_i, v128)), d8, map_row + x);
    hn::Vec<decltype(df)> mf;
    if constexpr (std::is_same<M, float>::value) {
      mf = m;
    } else {
      mf = hn::ConvertTo(df, m);
    }
    const auto seeds = hn::And(hn::RebindMask(df, surv), hn::Gt(mf, high_v));
    if (!hn::AllFalse(df, seeds)) {
      std::uint8_t bits[64];
      hn::StoreMaskBits(df, seeds, bits);
      for (int i = 0; i < n; ++i) {
        if ((bits[i >> 3] >> (i & 7)) & 1) {
          out_row[x + i - 1] = 255;
          stack.Push(frow, static_cast<std::uint32_t>(x + i));
        }
      }
    }
  }
  for (; x <= r.width; ++x) {
    const bool surv = ref::CannySurvives(prev, cur, next, x, r.dx[x - 1], r.dy[x - 1]);
    map_row[x] = surv ? 128 : 0;
    if (surv && ref::CannySeed(cur[x], high)) {
      out_row[x - 1] = 255;
      stack.Push(frow, static_cast<std::uint32_t>(x));
    }
  }
}

#else  // The single-lane target: the scalar rules throughout.

template <class T, class M>
void MagRow(const CannyRows<T>& r, M* ring) {
  MagTail(r, ring, 0);
}

template <class T, class M, class E>
void NmsRow(const CannyRows<T>& r, const M* prev, const M* cur, const M* next,
            std::uint8_t* map_row, std::uint8_t* out_row, std::uint32_t frow, float high,
            CannyStack<E>& stack) {
  for (int x = 1; x <= r.width; ++x) {
    const bool surv = ref::CannySurvives(prev, cur, next, x, r.dx[x - 1], r.dy[x - 1]);
    map_row[x] = surv ? 128 : 0;
    if (surv && ref::CannySeed(cur[x], high)) {
      out_row[x - 1] = 255;
      stack.Push(frow, static_cast<std::uint32_t>(x));
    }
  }
}

#endif  // HWY_TARGET != HWY_SCALAR

// 8-connected tracking from the seeds, in the fixed neighbour order.
template <class E>
void Track(CannyStack<E>& stack, const std::uint8_t* map, std::ptrdiff_t map_step,
           std::uint8_t* dst, std::ptrdiff_t dst_step) {
  static constexpr int kDr[8] = {-1, -1, -1, 0, 0, 1, 1, 1};
  static constexpr int kDc[8] = {-1, 0, 1, -1, 1, -1, 0, 1};
  while (stack.top != stack.base) {
    stack.top -= 2;
    const std::ptrdiff_t r = stack.top[0], c = stack.top[1];
    for (int k = 0; k < 8; ++k) {
      const std::ptrdiff_t rr = r + kDr[k], cc = c + kDc[k];
      if (map[rr * map_step + cc] < 128) continue;  // the frame is 0
      std::uint8_t& o = dst[(rr - 1) * dst_step + (cc - 1)];
      if (o != 0) continue;
      o = 255;
      stack.Push(static_cast<std::uint32_t>(rr), static_cast<std::uint32_t>(cc));
    }
  }
}

template <class T, class E>
void CannyTyped(const CannyJob& job) {
  using M = ref::CannyMag<T>;
  const int w = job.roi.width, h = job.roi.height;
  const std::ptrdiff_t map_step = w + 2;
  const std::ptrdiff_t stride = (map_step + 7) & ~std::ptrdiff_t{7};

  // Carving (see the file comment for why it fits the reported size).
  std::uintptr_t p = reinterpret_cast<std::uintptr_t>(job.buffer);
  p = (p + 31) & ~std::uintptr_t{31};
  M* ring = reinterpret_cast<M*>(p);
  std::uint8_t* map = reinterpret_cast<std::uint8_t*>(ring + 3 * stride);
  std::uintptr_t s = reinterpret_cast<std::uintptr_t>(map + map_step * (h + 2));
  s = (s + sizeof(E) - 1) & ~std::uintptr_t{sizeof(E) - 1};
  E* stack_base = reinterpret_cast<E*>(s);
  CannyStack<E> stack{stack_base, stack_base};

  // The output is cleared as one span from the first pixel: every full row
  // step but the last, where only the ROI width is cleared, since a caller
  // may own no bytes past the last pixel of a tight image.
  std::memset(job.dst.data, 0,
              static_cast<std::size_t>(job.dst.step) * static_cast<std::size_t>(h - 1) +
                  static_cast<std::size_t>(w));

  const auto dxp = job.dx.As<const T>();
  const auto dyp = job.dy.As<const T>();
  M* nil = nullptr;
  const M low = ref::CannyLow(job.low, nil);
  auto rows = [&](int y) {
    return CannyRows<T>{.dx = dxp.Row(y), .dy = dyp.Row(y), .width = w, .low = low};
  };

  M* prev = ring;
  M* cur = ring + stride;
  M* next = ring + 2 * stride;
  std::memset(ring, 0, sizeof(M) * static_cast<std::size_t>(3 * stride));
  MagRow(rows(0), cur);
  if (h > 1) MagRow(rows(1), next);

  std::memset(map, 0, static_cast<std::size_t>(map_step));
  std::memset(map + map_step * (h + 1), 0, static_cast<std::size_t>(map_step));
  for (int y = 0; y < h; ++y) {
    std::uint8_t* map_row = map + map_step * (y + 1);
    map_row[0] = 0;
    map_row[w + 1] = 0;
    NmsRow(rows(y), prev, cur, next, map_row, job.dst.Row(y),
           static_cast<std::uint32_t>(y + 1), job.high, stack);
    M* const old = prev;
    prev = cur;
    cur = next;
    next = old;
    if (y + 2 < h) {
      MagRow(rows(y + 2), next);  // its end elements are still 0
    } else {
      std::memset(next, 0, sizeof(M) * static_cast<std::size_t>(map_step));
    }
  }
  Track(stack, map, map_step, job.dst.data, job.dst.step);
}

void CannyDispatch(const CannyJob& job) {
  const bool short_stack = CannyShortStack(job.roi);
  if (job.is_float) {
    return short_stack ? CannyTyped<float, std::uint16_t>(job)
                       : CannyTyped<float, std::uint32_t>(job);
  }
  return short_stack ? CannyTyped<std::int16_t, std::uint16_t>(job)
                     : CannyTyped<std::int16_t, std::uint32_t>(job);
}

}  // namespace HWY_NAMESPACE
}  // namespace omb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace omb {
HWY_EXPORT(CannyDispatch);
void CannyImage(const CannyJob& job) { HWY_DYNAMIC_DISPATCH(CannyDispatch)(job); }
}  // namespace omb
#endif  // HWY_ONCE
