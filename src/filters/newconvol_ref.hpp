// Fixed-kernel filters: the kernels as compile-time tap sets, the filters as
// traits over them, the output conversions, and a plain scalar band routine
// that the vector code uses for images narrower than one vector (and the
// single-lane target uses throughout).
//
// Arithmetic. 8-bit sources are filtered in 16-bit lanes that wrap (no sum
// of these kernels leaves the signed 16-bit range, so wrapping is exact and
// free of undefined behaviour). Float sources are filtered in float with one
// fixed order of operations, which the vector code repeats lane for lane:
// the row kernel first, then the column kernel; in each, the nonzero taps in
// tap order (left to right, topmost row first): start from the first
// nonzero tap's product and add each next product in turn. A product with
// tap +1 or -1 is the value or its exact negation (so adding a -1 product is
// a subtraction, bit for bit); other taps multiply in float, rounded before
// the addition. Every filter is written in terms of an Ops policy (Add, Sub,
// Neg, Mulc<t> for a positive constant t), which is plain arithmetic here
// and vector arithmetic in newconvol_simd.cpp.
#if defined(OMB_FILTERS_NEWCONVOL_REF_HPP_) == defined(HWY_TARGET_TOGGLE)
#ifdef OMB_FILTERS_NEWCONVOL_REF_HPP_
#undef OMB_FILTERS_NEWCONVOL_REF_HPP_
#else
#define OMB_FILTERS_NEWCONVOL_REF_HPP_
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "filters/newconvol.hpp"
#include "frame/border.hpp"
#include "frame/carve.hpp"
#include "frame/image.hpp"

HWY_BEFORE_NAMESPACE();
namespace omb {
namespace HWY_NAMESPACE {

template <int... T>
struct Taps {
  static constexpr int kSize = sizeof...(T);
  static constexpr int kTap[kSize] = {T...};
};

// The one-dimensional kernels; row kernels meet the leftmost pixel with tap
// 0, column kernels the topmost row.
using Smooth3 = Taps<1, 2, 1>;
using Smooth5 = Taps<1, 4, 6, 4, 1>;
using ColDiff3 = Taps<-1, 0, 1>;
using ColDiff5 = Taps<-1, -2, 0, 2, 1>;
using RowDiff3 = Taps<1, 0, -1>;
using RowDiff5 = Taps<1, 2, 0, -2, -1>;
using Second3 = Taps<1, -2, 1>;
using Second5 = Taps<1, 0, -2, 0, 1>;
using ScharrSmooth = Taps<3, 10, 3>;
using ScharrDiff = Taps<-1, 0, 1>;
using Box3 = Taps<1, 1, 1>;
using Box5 = Taps<1, 1, 1, 1, 1>;
// The 3x3 Laplacian's row routine: A = left + right, B = 8 * centre.
using LapSides = Taps<1, 0, 1>;
using LapCentre = Taps<0, 8, 0>;

template <class Tp, int I = 0>
constexpr int FirstTap() {
  if constexpr (Tp::kTap[I] != 0) {
    return I;
  } else {
    return FirstTap<Tp, I + 1>();
  }
}

// t * v for a nonzero constant t: the value itself, its negation, or a
// product with |t|.
template <int t, class Ops, class V>
inline V Scaled(const Ops& o, V v) {
  if constexpr (t == 1) {
    return v;
  } else if constexpr (t == -1) {
    return o.Neg(v);
  } else if constexpr (t > 0) {
    return o.template Mulc<t>(v);
  } else {
    return o.Neg(o.template Mulc<-t>(v));
  }
}

template <class Tp, int I, class Ops, class V, class Get>
inline V AccumTaps(const Ops& o, V acc, const Get& get) {
  if constexpr (I == Tp::kSize) {
    return acc;
  } else {
    constexpr int t = Tp::kTap[I];
    if constexpr (t > 0) {
      acc = o.Add(acc, Scaled<t>(o, get(I)));
    } else if constexpr (t < 0) {
      // acc + (-(|t| v)) is acc - |t| v exactly.
      acc = o.Sub(acc, Scaled<-t>(o, get(I)));
    }
    return AccumTaps<Tp, I + 1>(o, acc, get);
  }
}

// Correlation of the tap set with get(0), get(1), ... in the fixed order.
template <class Tp, class Ops, class Get>
inline auto ApplyTaps(const Ops& o, const Get& get) {
  constexpr int f = FirstTap<Tp>();
  using V = decltype(get(0));
  return AccumTaps<Tp, f + 1, Ops, V>(o, Scaled<Tp::kTap[f]>(o, get(f)), get);
}

// ---- Filters --------------------------------------------------------------
//
// Each filter names the row kernels of its one or two intermediate planes
// (Row0, Row1) and forms the column result from the ring rows of both
// planes: a(i) and b(i) are the intermediate values of ring row i (topmost
// first) of plane 0 and plane 1.

template <class Row, class Col, bool kNegate = false>
struct Separable {
  static constexpr int kSize = Row::kSize;
  static constexpr int kPlanes = 1;
  using Row0 = Row;
  using Row1 = Row;
  template <class Ops, class GetA, class GetB>
  static auto Column(const Ops& o, const GetA& a, const GetB&) {
    const auto s = ApplyTaps<Col>(o, a);
    // Negating the column sum negates every result exactly: the 16-bit
    // sum before any conversion, the float result after its rounding.
    if constexpr (kNegate) {
      return o.Neg(s);
    } else {
      return s;
    }
  }
};

// [2 0 2; 0 -8 0; 2 0 2] = 2 * (A above + A below) - B middle.
struct Laplacian3 {
  static constexpr int kSize = 3;
  static constexpr int kPlanes = 2;
  using Row0 = LapSides;
  using Row1 = LapCentre;
  template <class Ops, class GetA, class GetB>
  static auto Column(const Ops& o, const GetA& a, const GetB& b) {
    return o.Sub(o.template Mulc<2>(o.Add(a(0), a(2))), b(1));
  }
};

// (smoothing row, second-difference column) + (second-difference row,
// smoothing column), added before the output conversion.
struct Laplacian5 {
  static constexpr int kSize = 5;
  static constexpr int kPlanes = 2;
  using Row0 = Smooth5;
  using Row1 = Second5;
  template <class Ops, class GetA, class GetB>
  static auto Column(const Ops& o, const GetA& a, const GetB& b) {
    return o.Add(ApplyTaps<Second5>(o, a), ApplyTaps<Smooth5>(o, b));
  }
};

// ---- Output conversions ---------------------------------------------------

inline std::int16_t AsSigned16(std::uint16_t v) {
  std::int16_t s;
  std::memcpy(&s, &v, sizeof s);
  return s;
}

// The 16-bit sum as it is. The destination step has no alignment rule, so
// a pixel may sit at an odd address: it is stored bytewise.
struct To16s {
  using Dst = std::int16_t;
  void Put(std::uint16_t s, Dst* d) const { std::memcpy(d, &s, sizeof s); }
};

// The 16-bit sum in float times the reciprocal of the divisor, clamped to
// [-128, 127] and truncated toward zero.
struct To8s {
  using Dst = std::int8_t;
  float scale;
  void Put(std::uint16_t s, Dst* d) const {
    float f = static_cast<float>(AsSigned16(s)) * scale;
    f = std::min(std::max(f, -128.0f), 127.0f);
    *d = static_cast<std::int8_t>(static_cast<int>(f));
  }
};

// Box average of 8-bit pixels in fixed point: 3x3 (S * 7280 + 36400) >> 16,
// 5x5 (S * 2621) >> 16, clamped to [0, 255].
template <int K>
struct ToLow8u {
  using Dst = std::uint8_t;
  void Put(std::uint16_t s, Dst* d) const {
    const std::uint32_t v = K == 3 ? (std::uint32_t{s} * 7280u + 36400u) >> 16
                                   : (std::uint32_t{s} * 2621u) >> 16;
    *d = static_cast<std::uint8_t>(std::min<std::uint32_t>(v, 255u));
  }
};

struct To32f {
  using Dst = float;
  void Put(float s, Dst* d) const { *d = s; }
};

// The box sum times the float constant 1/9 or 1/25.
template <int K>
struct ToLow32f {
  using Dst = float;
  static constexpr float kScale = K == 3 ? 1.0f / 9 : 1.0f / 25;
  void Put(float s, Dst* d) const { *d = s * kScale; }
};

// ---- Scalar arithmetic ----------------------------------------------------

struct ScalarOps16 {
  using T = std::uint16_t;
  static T Add(T a, T b) { return static_cast<T>(a + b); }
  static T Sub(T a, T b) { return static_cast<T>(a - b); }
  static T Neg(T a) { return static_cast<T>(0u - a); }
  template <int t>
  static T Mulc(T a) {
    return static_cast<T>(std::uint32_t{a} * static_cast<std::uint32_t>(t));
  }
};

struct ScalarOpsF {
  using T = float;
  static T Add(T a, T b) { return a + b; }
  static T Sub(T a, T b) { return a - b; }
  static T Neg(T a) { return -a; }
  template <int t>
  static T Mulc(T a) {
    return a * static_cast<float>(t);
  }
};

// Intermediate type of a source type: 16-bit lanes for 8-bit pixels.
template <class S>
using InterOf = std::conditional_t<std::is_same_v<S, float>, float, std::uint16_t>;

inline std::size_t Align32(std::size_t n) { return (n + 31) & ~std::size_t{31}; }

// Where a band's rows come from and go to.
template <class S, class Out>
struct BandIo {
  const S* src;
  int src_step;
  typename Out::Dst* dst;
  int dst_step;
  int width;
  int height;
  int border;
  S border_value;
  Out out;

  typename Out::Dst* DestRow(int y) const { return RowPtr(dst, dst_step, y); }
  // The band's bordered source rows: `reach` around each row, rows above
  // and below made up by the border rule.
  typename BorderRows<S>::Shape Border(BorderReach reach) const {
    return {width, height, 1, border, reach, 1, true, 32};
  }
};

// A band's slice of the work buffer: the ring of K row-filtered rows per
// plane, then the storage of the bordered source rows. `border` is null on
// a planning carver.
template <class F, class S>
struct Slice {
  using I = InterOf<S>;
  I* ring;
  std::size_t row_elems;  // ring row pitch in elements
  std::uint8_t* border;

  Slice(Carver& c, int width, const typename BorderRows<S>::Shape& shape) {
    row_elems = Align32(sizeof(I) * width) / sizeof(I);
    ring = c.Take<I>(F::kPlanes * F::kSize * static_cast<std::int64_t>(row_elems), 32);
    border = c.Take<std::uint8_t>(BorderRows<S>::Bytes(shape), 32);
  }
  I* Slot(int plane, int j) const { return ring + (plane * F::kSize + FloorMod(j, F::kSize)) * row_elems; }
};

namespace ref {

// The scalar routine reads every source row whole: its left strip spans
// the row and the right strip (the last r made-up pixels) follows it.
template <class F>
constexpr BorderReach WholeRow(int width) {
  return {F::kSize / 2, F::kSize / 2, width, 0};
}

// Bytes the scalar band routine takes from its slice.
template <class F, class S>
std::size_t SliceBytes(int width) {
  Carver plan = Carver::Plan(1);
  const BandIo<S, To32f> io{nullptr, 0, nullptr, 0, width, 1, ombBorderConstant, S{}, To32f{}};
  Slice<F, S>(plan, width, io.Border(WholeRow<F>(width)));
  return static_cast<std::size_t>(plan.Bytes());
}

// Output rows [y0, y0 + rows): every needed source row is bordered into a
// full extended row, row-filtered into the ring, and each output row is
// formed from the ring.
template <class F, class S, class Out>
void Band(const BandIo<S, Out>& io, int y0, int rows, std::uint8_t* slice) {
  using I = InterOf<S>;
  using Ops = std::conditional_t<std::is_same_v<S, float>, ScalarOpsF, ScalarOps16>;
  constexpr int K = F::kSize, r = K / 2;
  const Ops o;
  const int w = io.width;
  Carver carver(slice, 1);
  const auto shape = io.Border(WholeRow<F>(w));
  const Slice<F, S> sl(carver, w, shape);
  BorderRows<S> src({io.src, io.src_step}, shape, &io.border_value, sl.border);
  auto filter_row = [&](int j) {
    const S* ext = src.Row(j).Left(-r);
    I* a = sl.Slot(0, j);
    I* b = sl.Slot(1, j);
    for (int x = 0; x < w; ++x) {
      auto get = [&](int i) { return static_cast<I>(ext[x + i]); };
      a[x] = ApplyTaps<typename F::Row0>(o, get);
      if constexpr (F::kPlanes == 2) b[x] = ApplyTaps<typename F::Row1>(o, get);
    }
  };
  for (int j = y0 - r; j < y0 + r; ++j) filter_row(j);
  for (int y = y0; y < y0 + rows; ++y) {
    filter_row(y + r);
    const I* pa[K];
    const I* pb[K];
    for (int i = 0; i < K; ++i) {
      pa[i] = sl.Slot(0, y - r + i);
      pb[i] = sl.Slot(1, y - r + i);
    }
    typename Out::Dst* d = io.DestRow(y);
    for (int x = 0; x < w; ++x) {
      io.out.Put(F::Column(o, [&](int i) { return pa[i][x]; },
                           [&](int i) { return pb[i][x]; }),
                 d + x);
    }
  }
}

}  // namespace ref
}  // namespace HWY_NAMESPACE
}  // namespace omb
HWY_AFTER_NAMESPACE();

#endif  // include guard toggled per target
