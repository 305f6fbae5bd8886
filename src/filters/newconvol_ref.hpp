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

#include "filters/border.hpp"
#include "filters/newconvol.hpp"

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

  // Source row of extended row index j (the border rule applied to the row
  // index), or null for a row of the constant border value.
  const S* SourceRow(int j) const {
    const int k = BorderIndex(j, height, border);
    if (k < 0) return nullptr;
    return reinterpret_cast<const S*>(reinterpret_cast<const std::uint8_t*>(src) +
                                      static_cast<std::ptrdiff_t>(src_step) * k);
  }
  typename Out::Dst* DestRow(int y) const {
    return reinterpret_cast<typename Out::Dst*>(
        reinterpret_cast<std::uint8_t*>(dst) + static_cast<std::ptrdiff_t>(dst_step) * y);
  }
  // Pixel i of a row extended by the border rule (row null: constant row).
  S Ext(const S* row, int i) const {
    if (row != nullptr && static_cast<unsigned>(i) < static_cast<unsigned>(width)) return row[i];
    const int k = row == nullptr ? -1 : BorderIndex(i, width, border);
    return k < 0 ? border_value : row[k];
  }
};

namespace ref {

// Bytes the scalar band routine takes from its slice.
template <class F, class S>
std::size_t SliceBytes(int width) {
  return F::kPlanes * F::kSize * Align32(sizeof(InterOf<S>) * width) +
         Align32(sizeof(S) * (width + F::kSize - 1));
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
  const std::size_t row_bytes = Align32(sizeof(I) * w);
  I* const ring = reinterpret_cast<I*>(slice);
  const std::size_t plane_elems = K * row_bytes / sizeof(I);
  S* const ext = reinterpret_cast<S*>(slice + F::kPlanes * K * row_bytes);
  auto slot = [&](int plane, int j) {
    return ring + plane * plane_elems + FloorMod(j, K) * (row_bytes / sizeof(I));
  };
  auto filter_row = [&](int j) {
    const S* src = io.SourceRow(j);
    for (int i = 0; i < w + 2 * r; ++i) ext[i] = io.Ext(src, i - r);
    I* a = slot(0, j);
    I* b = slot(1, j);
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
      pa[i] = slot(0, y - r + i);
      pb[i] = slot(1, y - r + i);
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
