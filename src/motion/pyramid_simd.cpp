// Fixed 5x5 Gaussian pyramid operators, vectorised.
//
// Work buffer (sized by PyrDownBufferBytes / PyrUpBufferBytes, the
// GetBufSize formulas, carved by PyrRows). Its start is rounded up to 16
// bytes (the +32 slack) and it is cut into rows of R = roundup16(4 x C x w) bytes (reduction, six
// rows) or R = roundup16(8 x C x w) bytes (expansion, three rows).
//
// Reduction. Rows 0-4 are a ring of horizontally filtered source rows: source
// row i lives in slot i % 5, each of the five rows that an output row needs
// lies in the window [2y - 2, 2y + 2] even after mirroring, and every source
// row is filtered once, just before the first output row that needs it. A
// filtered row holds, per channel, the dw = (w + 1) / 2 even-column outputs
// (the channels one after the other, dw elements each). Row 5 receives, for
// C3, the source row split into three channel planes (LoadInterleaved3), so
// that the horizontal filter always runs on consecutive samples of one
// channel. The even columns come from a deinterleave: 8-bit samples are read
// as 16-bit lanes (low byte = even column, high byte = odd column), floats
// are split with ConcatEven / ConcatOdd; three such reads at columns 2x - 2,
// 2x and 2x + 2 give every tap. The vertical pass combines the five ring
// rows a vector at a time and, for C3, re-interleaves the three channel
// results with StoreInterleaved3.
//
// Expansion. The three slots hold horizontally expanded rows y - 1, y, y + 1
// (slot i % 3), each as an even-output row and an odd-output row of C x w
// elements in the source's interleaved order (a tap moves by C elements, so
// no deinterleave is needed). Each source row y yields output rows 2y and
// 2y + 1; the even and odd outputs are interleaved again on the store: 8-bit
// results are paired into one 16-bit lane (even | odd << 8), floats use
// StoreInterleaved2; for C3 the paired channel planes go through
// StoreInterleaved3.
//
// Integer rows are 16-bit (exact, see pyramid_ref.hpp), float rows 32-bit
// with the operation order of pyramid_ref.hpp. Outputs whose taps leave the
// row (the first and last one or two columns) and rows too short for a
// vector use the scalar formulas; a last partial vector is replaced by one
// overlapping the previous (the values are recomputed identically).
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "motion/pyramid_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/border.hpp"
#include "frame/carve.hpp"
#include "frame/image.hpp"
#include "motion/pyramid.hpp"
#include "motion/pyramid_ref.hpp"

HWY_BEFORE_NAMESPACE();
namespace omb {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class T>
using AccOf = typename ref::PyrAcc<T>::type;

template <class T>
constexpr bool kIsFloat = std::is_same<T, float>::value;

// Runs body(x) over vector starts covering [lo, hi) with n-wide vectors, the
// last one moved back to end at hi; returns the end of the covered range, or
// lo when the range is shorter than a vector.
template <class F>
HWY_INLINE int VecRange(int lo, int hi, int n, const F& body) {
  if (hi - lo < n) return lo;
  int x = lo;
  for (; x + n <= hi; x += n) body(x);
  if (x < hi) body(hi - n);
  return hi;
}

#if HWY_TARGET != HWY_SCALAR

// Accumulator lanes of a source type and the source lanes of the same count.
template <class T>
using DAcc = hn::ScalableTag<AccOf<T>>;
template <class T>
using DNarrow = hn::Rebind<T, DAcc<T>>;

template <class T>
HWY_INLINE int AccLanes() {
  return static_cast<int>(hn::Lanes(DAcc<T>()));
}

// ---- Reduction kernels -------------------------------------------------------

// Horizontal filter of N = AccLanes outputs starting at output column x0 of a
// plane; reads samples 2 x0 - 2 .. 2 x0 + 2N + 1.
template <class T>
HWY_INLINE void HDownVec(const T* s, AccOf<T>* out, int x0) {
  const DAcc<T> da;
  const T* p = s + 2 * x0;
  if constexpr (kIsFloat<T>) {
    const size_t n = hn::Lanes(da);
    const auto a0 = hn::LoadU(da, p - 2), a1 = hn::LoadU(da, p - 2 + n);
    const auto b0 = hn::LoadU(da, p), b1 = hn::LoadU(da, p + n);
    const auto c0 = hn::LoadU(da, p + 2), c1 = hn::LoadU(da, p + 2 + n);
    const auto em = hn::ConcatEven(da, a1, a0), om = hn::ConcatOdd(da, a1, a0);
    const auto e = hn::ConcatEven(da, b1, b0), o = hn::ConcatOdd(da, b1, b0);
    const auto ep = hn::ConcatEven(da, c1, c0);
    const auto h = hn::Add(hn::Add(hn::Add(em, ep), hn::Mul(hn::Add(om, o), hn::Set(da, 4.0f))),
                           hn::Mul(e, hn::Set(da, 6.0f)));
    hn::StoreU(h, da, out + x0);
  } else {
    const hn::Repartition<T, DAcc<T>> d8;
    const auto vm = hn::BitCast(da, hn::LoadU(d8, p - 2));
    const auto v = hn::BitCast(da, hn::LoadU(d8, p));
    const auto vp = hn::BitCast(da, hn::LoadU(d8, p + 2));
    // Low byte = even column, high byte = odd column (sign-extended for 8s).
    auto lo = [&](decltype(v) x) {
      if constexpr (std::is_signed<T>::value) {
        return hn::ShiftRight<8>(hn::ShiftLeft<8>(x));
      } else {
        return hn::And(x, hn::Set(da, AccOf<T>{0xFF}));
      }
    };
    const auto em = lo(vm), om = hn::ShiftRight<8>(vm);
    const auto e = lo(v), o = hn::ShiftRight<8>(v);
    const auto ep = lo(vp);
    const auto h = hn::Add(hn::Add(hn::Add(em, ep), hn::ShiftLeft<2>(hn::Add(om, o))),
                           hn::Mul(e, hn::Set(da, AccOf<T>{6})));
    hn::StoreU(h, da, out + x0);
  }
}

// Narrows integer results (within the source type's range) to source lanes;
// unsigned lanes go through the signed 16-bit to 8-bit demotion.
template <class T, class V>
HWY_INLINE auto Narrow(V v) {
  const hn::Rebind<std::int16_t, DAcc<T>> di;
  return hn::DemoteTo(DNarrow<T>(), hn::BitCast(di, v));
}

// Final results of N outputs at x from five ring rows, as source-type lanes.
template <class T>
HWY_INLINE auto VDownVec(const AccOf<T>* const* r, int x) {
  const DAcc<T> da;
  const auto v0 = hn::LoadU(da, r[0] + x), v1 = hn::LoadU(da, r[1] + x);
  const auto v2 = hn::LoadU(da, r[2] + x), v3 = hn::LoadU(da, r[3] + x);
  const auto v4 = hn::LoadU(da, r[4] + x);
  if constexpr (kIsFloat<T>) {
    const auto s = hn::Add(hn::Add(hn::Add(v0, v4), hn::Mul(hn::Add(v1, v3), hn::Set(da, 4.0f))),
                           hn::Mul(v2, hn::Set(da, 6.0f)));
    return hn::Mul(s, hn::Set(da, 0.00390625f));
  } else {
    const auto s = hn::Add(hn::Add(hn::Add(v0, v4), hn::ShiftLeft<2>(hn::Add(v1, v3))),
                           hn::Mul(v2, hn::Set(da, AccOf<T>{6})));
    return Narrow<T>(hn::ShiftRight<8>(hn::Add(s, hn::Set(da, AccOf<T>{128}))));
  }
}

template <class T>
HWY_INLINE auto VDownOneRowVec(const AccOf<T>* const* r, int x) {
  const DAcc<T> da;
  const auto s = hn::Add(hn::LoadU(da, r[0] + x), hn::LoadU(da, r[1] + x));
  if constexpr (kIsFloat<T>) {
    return hn::Mul(hn::Mul(s, hn::Set(da, 8.0f)), hn::Set(da, 0.00390625f));
  } else {
    return Narrow<T>(hn::ShiftRight<8>(hn::Add(hn::ShiftLeft<3>(s), hn::Set(da, AccOf<T>{128}))));
  }
}

// ---- Expansion kernels -------------------------------------------------------

// Even and odd horizontal outputs of N elements from element e0 of an
// interleaved row (taps C elements apart); reads e0 - C .. e0 + N - 1 + C.
template <class T>
HWY_INLINE void HUpVec(const T* s, int C, AccOf<T>* even, AccOf<T>* odd, int e0) {
  const DAcc<T> da;
  if constexpr (kIsFloat<T>) {
    const auto a = hn::LoadU(da, s + e0 - C), b = hn::LoadU(da, s + e0);
    const auto c = hn::LoadU(da, s + e0 + C);
    hn::StoreU(hn::Add(hn::Add(a, c), hn::Mul(b, hn::Set(da, 6.0f))), da, even + e0);
    hn::StoreU(hn::Mul(hn::Add(b, c), hn::Set(da, 4.0f)), da, odd + e0);
  } else {
    const DNarrow<T> dn;
    const auto a = hn::PromoteTo(da, hn::LoadU(dn, s + e0 - C));
    const auto b = hn::PromoteTo(da, hn::LoadU(dn, s + e0));
    const auto c = hn::PromoteTo(da, hn::LoadU(dn, s + e0 + C));
    hn::StoreU(hn::Add(hn::Add(a, c), hn::Mul(b, hn::Set(da, AccOf<T>{6}))), da, even + e0);
    hn::StoreU(hn::ShiftLeft<2>(hn::Add(b, c)), da, odd + e0);
  }
}

// Vertical expansion of one output row: mode 0 the even row (Hm, H0, Hp),
// mode 1 the odd row (H0, Hp), mode 2 the height-1 row (H0). Integer results
// stay in accumulator lanes (their final values), floats are final.
template <class T, int kMode, class V>
HWY_INLINE V VUpCombine(V hm, V h0, V hp) {
  const DAcc<T> da;
  if constexpr (kIsFloat<T>) {
    V s;
    if constexpr (kMode == 0) {
      s = hn::Add(hn::Add(hm, hp), hn::Mul(h0, hn::Set(da, 6.0f)));
    } else if constexpr (kMode == 1) {
      s = hn::Mul(hn::Add(h0, hp), hn::Set(da, 4.0f));
    } else {
      s = hn::Mul(h0, hn::Set(da, 8.0f));
    }
    return hn::Mul(s, hn::Set(da, 0.015625f));
  } else {
    V s;
    if constexpr (kMode == 0) {
      s = hn::Add(hn::Add(hm, hp), hn::Mul(h0, hn::Set(da, AccOf<T>{6})));
    } else if constexpr (kMode == 1) {
      s = hn::ShiftLeft<2>(hn::Add(h0, hp));
    } else {
      s = hn::ShiftLeft<3>(h0);
    }
    return hn::ShiftRight<6>(hn::Add(s, hn::Set(da, AccOf<T>{32})));
  }
}

// Pairs integer even and odd results (each within the source type's range)
// into one 16-bit lane, even in the low byte: the bytes of the output row.
template <class T, class V>
HWY_INLINE auto PairBytes(V e, V o) {
  const DAcc<T> da;
  const hn::Repartition<T, DAcc<T>> d8;
  if constexpr (std::is_signed<T>::value) {
    e = hn::And(e, hn::Set(da, AccOf<T>{0xFF}));
  }
  return hn::BitCast(d8, hn::Or(e, hn::ShiftLeft<8>(o)));
}

// One output row of N pixels from pixel x. rows[j] = {even, odd} of the
// filtered rows Hm, H0, Hp.
template <class T, int kMode>
HWY_INLINE void VUpVec(const AccOf<T>* const (*rows)[2], int C, T* out, int x) {
  const DAcc<T> da;
  using V = hn::Vec<DAcc<T>>;
  if (C == 1) {
    V r[2];
    for (int k = 0; k < 2; ++k) {
      const V hm = kMode == 0 ? hn::LoadU(da, rows[0][k] + x) : hn::Zero(da);
      const V h0 = hn::LoadU(da, rows[1][k] + x);
      const V hp = kMode == 2 ? h0 : hn::LoadU(da, rows[2][k] + x);
      r[k] = VUpCombine<T, kMode>(hm, h0, hp);
    }
    if constexpr (kIsFloat<T>) {
      hn::StoreInterleaved2(r[0], r[1], da, out + 2 * x);
    } else {
      const hn::Repartition<T, DAcc<T>> d8;
      hn::StoreU(PairBytes<T>(r[0], r[1]), d8, out + 2 * x);
    }
    return;
  }
  // C3: split each filtered row into channels, combine, pair even/odd per
  // channel and interleave the channels again.
  V res[2][3];
  for (int k = 0; k < 2; ++k) {
    V hm[3], h0[3], hp[3];
    if (kMode == 0) hn::LoadInterleaved3(da, rows[0][k] + 3 * x, hm[0], hm[1], hm[2]);
    hn::LoadInterleaved3(da, rows[1][k] + 3 * x, h0[0], h0[1], h0[2]);
    if (kMode != 2) hn::LoadInterleaved3(da, rows[2][k] + 3 * x, hp[0], hp[1], hp[2]);
    for (int c = 0; c < 3; ++c) {
      res[k][c] = VUpCombine<T, kMode>(kMode == 0 ? hm[c] : h0[c], h0[c], kMode == 2 ? h0[c] : hp[c]);
    }
  }
  if constexpr (kIsFloat<T>) {
    const size_t n = hn::Lanes(da);
    HWY_ALIGN float tmp[3][2 * hn::MaxLanes(DAcc<T>())];
    for (int c = 0; c < 3; ++c) hn::StoreInterleaved2(res[0][c], res[1][c], da, tmp[c]);
    hn::StoreInterleaved3(hn::Load(da, tmp[0]), hn::Load(da, tmp[1]), hn::Load(da, tmp[2]), da,
                          out + 6 * x);
    hn::StoreInterleaved3(hn::Load(da, tmp[0] + n), hn::Load(da, tmp[1] + n), hn::Load(da, tmp[2] + n),
                          da, out + 6 * x + 3 * n);
  } else {
    const hn::Repartition<T, DAcc<T>> d8;
    hn::StoreInterleaved3(PairBytes<T>(res[0][0], res[1][0]), PairBytes<T>(res[0][1], res[1][1]),
                          PairBytes<T>(res[0][2], res[1][2]), d8, out + 6 * x);
  }
}

#endif  // HWY_TARGET != HWY_SCALAR

// ---- Row passes ----------------------------------------------------------------

// Horizontal reduction of one plane of w samples into dw = (w + 1) / 2.
template <class T>
void HDownPlane(const T* s, int w, AccOf<T>* out) {
  const int dw = (w + 1) / 2;
  int vhi = 1;  // outputs [1, vhi) done by vectors
#if HWY_TARGET != HWY_SCALAR
  const int n = AccLanes<T>();
  // A vector at x0 needs x0 >= 1 and 2 x0 + 2n + 1 <= w - 1.
  const int last = (w - 2 - 2 * n) >= 2 ? (w - 2 - 2 * n) / 2 : 0;
  if (last >= 1) vhi = VecRange(1, last + n, n, [&](int x) { HDownVec<T>(s, out, x); });
#endif
  out[0] = ref::HDownAt(s, w, 0);
  for (int x = vhi; x < dw; ++x) out[x] = ref::HDownAt(s, w, x);
}

// Splits an interleaved C3 row into three planes of w samples.
template <class T>
void SplitPlanes3(const T* s, int w, T* planes) {
  T* p0 = planes;
  T* p1 = planes + w;
  T* p2 = planes + 2 * w;
  int done = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<T> d;
  done = VecRange(0, w, static_cast<int>(hn::Lanes(d)), [&](int x) {
    hn::Vec<decltype(d)> a, b, c;
    hn::LoadInterleaved3(d, s + 3 * x, a, b, c);
    hn::StoreU(a, d, p0 + x);
    hn::StoreU(b, d, p1 + x);
    hn::StoreU(c, d, p2 + x);
  });
#endif
  for (int x = done; x < w; ++x) {
    p0[x] = s[3 * x];
    p1[x] = s[3 * x + 1];
    p2[x] = s[3 * x + 2];
  }
}

// One destination row of the reduction from five ring rows (plane-major,
// dw elements per channel); one_row selects the heights-1-and-2 rule, which
// reads rows 0 and 1 only.
template <class T>
void VDownRow(const AccOf<T>* const* rows, int dw, int C, bool one_row, T* out) {
  int done = 0;
#if HWY_TARGET != HWY_SCALAR
  const int n = AccLanes<T>();
  const DNarrow<T> dn;
  if (C == 1) {
    done = VecRange(0, dw, n, [&](int x) {
      hn::StoreU(one_row ? VDownOneRowVec<T>(rows, x) : VDownVec<T>(rows, x), dn, out + x);
    });
  } else {
    done = VecRange(0, dw, n, [&](int x) {
      const AccOf<T>* pr[3][5];
      for (int c = 0; c < 3; ++c)
        for (int j = 0; j < 5; ++j) pr[c][j] = rows[j] + c * dw;
      if (one_row) {
        hn::StoreInterleaved3(VDownOneRowVec<T>(pr[0], x), VDownOneRowVec<T>(pr[1], x),
                              VDownOneRowVec<T>(pr[2], x), dn, out + 3 * x);
      } else {
        hn::StoreInterleaved3(VDownVec<T>(pr[0], x), VDownVec<T>(pr[1], x), VDownVec<T>(pr[2], x), dn,
                              out + 3 * x);
      }
    });
  }
#endif
  for (int x = done; x < dw; ++x) {
    for (int c = 0; c < C; ++c) {
      const int i = c * dw + x;
      out[x * C + c] = one_row ? ref::VDownOneRowAt<T>(rows[0][i], rows[1][i])
                               : ref::VDownAt<T>(rows[0][i], rows[1][i], rows[2][i], rows[3][i], rows[4][i]);
    }
  }
}

// Horizontal expansion of an interleaved row of w pixels into its even and
// odd outputs (C x w elements each).
template <class T>
void HUpRow(const T* s, int w, int C, AccOf<T>* even, AccOf<T>* odd) {
  const int len = C * w;
  int lo = 0, hi = 0;  // elements [lo, hi) done by vectors
#if HWY_TARGET != HWY_SCALAR
  if (w >= 2) {
    lo = C;
    hi = VecRange(C, len - C, AccLanes<T>(), [&](int e) { HUpVec<T>(s, C, even, odd, e); });
    if (hi == C) lo = hi = 0;
  }
#endif
  for (int e = 0; e < lo; ++e) ref::HUpAt(s, w, C, e, even + e, odd + e);
  for (int e = hi; e < len; ++e) ref::HUpAt(s, w, C, e, even + e, odd + e);
}

// One destination row of the expansion (2w pixels). rows[j] = {even, odd}
// of Hm, H0, Hp; mode as in VUpCombine.
template <class T, int kMode>
void VUpRow(const AccOf<T>* const (*rows)[2], int w, int C, T* out) {
  int done = 0;
#if HWY_TARGET != HWY_SCALAR
  done = VecRange(0, w, AccLanes<T>(), [&](int x) { VUpVec<T, kMode>(rows, C, out, x); });
#endif
  for (int x = done; x < w; ++x) {
    for (int c = 0; c < C; ++c) {
      const int i = x * C + c;
      for (int k = 0; k < 2; ++k) {
        T v;
        if constexpr (kMode == 0) {
          v = ref::VUpEvenAt<T>(rows[0][k][i], rows[1][k][i], rows[2][k][i]);
        } else if constexpr (kMode == 1) {
          v = ref::VUpOddAt<T>(rows[1][k][i], rows[2][k][i]);
        } else {
          v = ref::VUpOneRowAt<T>(rows[1][k][i]);
        }
        out[(2 * x + k) * C + c] = v;
      }
    }
  }
}

// ---- Images --------------------------------------------------------------------

template <class T>
void PyrDownTyped(const PyrJob& job) {
  using Acc = AccOf<T>;
  const int w = job.roi.width, h = job.roi.height, C = job.channels;
  const int dw = (w + 1) / 2, dh = (h + 1) / 2;
  const Plane<const T> src{static_cast<const T*>(job.src), job.src_step};
  const Plane<T> dst{static_cast<T*>(job.dst), job.dst_step};
  Carver carver(job.buffer, 16);
  std::int64_t pitch = 0;
  std::uint8_t* const base = PyrRows(carver, true, w, C, &pitch);
  const auto slot = static_cast<std::size_t>(pitch);
  Acc* ring[5];
  for (int i = 0; i < 5; ++i) ring[i] = reinterpret_cast<Acc*>(base + slot * i);
  T* planes = reinterpret_cast<T*>(base + slot * 5);

  auto filter = [&](int i, Acc* out) {
    const T* s = src.Row(i);
    if (C == 1) {
      HDownPlane(s, w, out);
    } else {
      SplitPlanes3(s, w, planes);
      for (int c = 0; c < 3; ++c) HDownPlane(planes + c * w, w, out + c * dw);
    }
  };

  if (h <= 2) {
    filter(0, ring[0]);
    const Acc* rows[5] = {ring[0], ring[0], ring[0], ring[0], ring[0]};
    if (h == 2) {
      filter(1, ring[1]);
      rows[1] = ring[1];
    }
    VDownRow<T>(rows, dw, C, true, dst.Row(0));
    return;
  }
  int next = 0;  // first source row not yet filtered
  for (int y = 0; y < dh; ++y) {
    const int need = std::min(2 * y + 2, h - 1);
    for (; next <= need; ++next) filter(next, ring[next % 5]);
    const Acc* rows[5];
    for (int j = 0; j < 5; ++j) rows[j] = ring[ref::MirrorDown(2 * y - 2 + j, h) % 5];
    VDownRow<T>(rows, dw, C, false, dst.Row(y));
  }
}

template <class T>
void PyrUpTyped(const PyrJob& job) {
  using Acc = AccOf<T>;
  const int w = job.roi.width, h = job.roi.height, C = job.channels;
  const Plane<const T> src{static_cast<const T*>(job.src), job.src_step};
  const Plane<T> dst{static_cast<T*>(job.dst), job.dst_step};
  Carver carver(job.buffer, 16);
  std::int64_t pitch = 0;
  std::uint8_t* const base = PyrRows(carver, false, w, C, &pitch);
  const auto slot = static_cast<std::size_t>(pitch);
  const std::size_t len = static_cast<std::size_t>(C) * w;
  Acc* ring[3][2];
  for (int i = 0; i < 3; ++i) {
    ring[i][0] = reinterpret_cast<Acc*>(base + slot * i);
    ring[i][1] = ring[i][0] + len;
  }
  auto filter = [&](int i) { HUpRow(src.Row(i), w, C, ring[i % 3][0], ring[i % 3][1]); };

  if (h == 1) {
    filter(0);
    const Acc* const rows[3][2] = {{ring[0][0], ring[0][1]}, {ring[0][0], ring[0][1]},
                                   {ring[0][0], ring[0][1]}};
    VUpRow<T, 2>(rows, w, C, dst.Row(0));
    std::memcpy(dst.Row(1), dst.Row(0), sizeof(T) * 2 * len);
    return;
  }
  filter(0);
  filter(1);
  for (int y = 0; y < h; ++y) {
    if (y + 1 < h && y >= 1) filter(y + 1);
    const int im = BorderIndex(y - 1, h, ombBorderMirror);
    const int ip = BorderIndex(y + 1, h, ombBorderReplicate);
    const Acc* const rows[3][2] = {{ring[im % 3][0], ring[im % 3][1]},
                                   {ring[y % 3][0], ring[y % 3][1]},
                                   {ring[ip % 3][0], ring[ip % 3][1]}};
    VUpRow<T, 0>(rows, w, C, dst.Row(2 * y));
    VUpRow<T, 1>(rows, w, C, dst.Row(2 * y + 1));
  }
}

void PyrDownDispatch(const PyrJob& job) {
  switch (job.type) {
    case PyrType::k8u: return PyrDownTyped<std::uint8_t>(job);
    case PyrType::k8s: return PyrDownTyped<std::int8_t>(job);
    case PyrType::k32f: return PyrDownTyped<float>(job);
  }
}

void PyrUpDispatch(const PyrJob& job) {
  switch (job.type) {
    case PyrType::k8u: return PyrUpTyped<std::uint8_t>(job);
    case PyrType::k8s: return PyrUpTyped<std::int8_t>(job);
    case PyrType::k32f: return PyrUpTyped<float>(job);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace omb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace omb {
HWY_EXPORT(PyrDownDispatch);
HWY_EXPORT(PyrUpDispatch);
void PyrDownImage(const PyrJob& job) { HWY_DYNAMIC_DISPATCH(PyrDownDispatch)(job); }
void PyrUpImage(const PyrJob& job) { HWY_DYNAMIC_DISPATCH(PyrUpDispatch)(job); }
}  // namespace omb
#endif  // HWY_ONCE
