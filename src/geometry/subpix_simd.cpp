// Sub-pixel block kernel, vectorised across each block row.
//
// Strategy. Every destination pixel is the same formula of the 2x2 source
// samples below and to the right of its own position, so a row is covered
// by whole vectors of pixels; when the row is not a multiple of the vector
// length the last vector is placed to end exactly at the row's end and
// overlaps the one before (it rewrites those pixels with the same values).
// The vector length is the widest of full, 256-, 128- and 64-bit vectors
// that fits the row, so a 21-wide window row takes two vectors; rows
// narrower than the narrowest vector use the scalar definitions of
// subpix_ref.hpp, which are the arithmetic every path reproduces.
//
// 8-bit sources with Q14 weights (8u, 8u16u Sfs): samples widened to 16
// bits; the weight pairs (w00, w10) and (w01, w11) sit in the two halves of
// each 32-bit lane, so a pairwise multiply-add of the row loaded at x gives
// w00 s(x) + w10 s(x + 1) for the even pixels x, and of the row loaded at
// x + 1 the same for the odd pixels. The 32-bit sums are exact; rounded
// and shifted, even and odd results are put back into the 16-bit lanes
// they belong to. 16-bit sources: 32-bit lanes and 32-bit products (the
// sums stay below 2^31). Float members: four products and three sums per
// pixel in the formula's order, no fused multiply-add.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/subpix_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "geometry/subpix.hpp"
#include "geometry/subpix_ref.hpp"

HWY_BEFORE_NAMESPACE();
namespace omb {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

namespace {

// Rows of one block: row y of the source (s00 row), the row below it, and
// the destination row.
struct Rows {
  Plane<const std::uint8_t> src;
  Plane<std::uint8_t> dst;
  const std::uint8_t* S0(int y) const { return src.Row(y); }
  const std::uint8_t* S1(int y) const { return src.Row(y + 1); }
  std::uint8_t* D(int y) const { return dst.Row(y); }
};

template <class S, class D>
void ScalarBlock(const SubpixBlock& job, const Rows& r) {
  for (int y = 0; y < job.height; ++y) {
    if constexpr (std::is_same<D, float>::value) {
      ref::SubpixRowFloat<S>(r.S0(y), r.S1(y), r.D(y), 0, job.width, job.wf);
    } else {
      ref::SubpixRowQ14<S, D>(r.S0(y), r.S1(y), r.D(y), 0, job.width, job.w, job.shift);
    }
  }
}

#if HWY_TARGET != HWY_SCALAR

// Calls f(d) with the widest tag for T whose vector fits `width` lanes, or
// returns false when even a 64-bit vector is wider than the row.
template <class T, class F>
HWY_INLINE bool WithTagFor(int width, F&& f) {
  const hn::ScalableTag<T> full;
  if (width >= static_cast<int>(hn::Lanes(full))) return f(full), true;
  const hn::CappedTag<T, 32 / sizeof(T)> d256;
  if (width >= static_cast<int>(hn::Lanes(d256))) return f(d256), true;
  const hn::CappedTag<T, 16 / sizeof(T)> d128;
  if (width >= static_cast<int>(hn::Lanes(d128))) return f(d128), true;
  const hn::CappedTag<T, 8 / sizeof(T)> d64;
  if (width >= static_cast<int>(hn::Lanes(d64))) return f(d64), true;
  return false;
}

// f(x) for vectors of n pixels covering [0, width), width >= n; the last
// one ends at width.
template <class F>
HWY_INLINE void Cover(int width, int n, F&& f) {
  int x = 0;
  for (; x + n <= width; x += n) f(x);
  if (x < width) f(width - n);
}

// The scaling of the Q14 sums, as vector constants: k > 0 rounds and
// shifts right (k above 24 gives 0 for every sum these kernels form, so
// it is capped there); k <= 0 shifts left, with sums that would pass
// 65535 held at the first value that does (capped at a shift of 16, where
// every nonzero sum does).
struct Scaling {
  int right;            // 1 .. 24, or 0 for a left shift
  int left;             // 0 .. 16
  std::int32_t round;   // 2^(right - 1)
  std::int32_t hold;    // (65535 >> left) + 1
};

Scaling MakeScaling(int shift) {
  Scaling s{};
  if (shift > 0) {
    s.right = std::min(shift, 24);
    s.round = std::int32_t{1} << (s.right - 1);
  } else {
    s.left = std::min(-shift, 16);
    s.hold = (65535 >> s.left) + 1;
  }
  return s;
}

template <class D32>
HWY_INLINE hn::Vec<D32> Scale(D32 d32, hn::Vec<D32> sum, const Scaling& s) {
  if (s.right > 0) return hn::ShiftRightSame(hn::Add(sum, hn::Set(d32, s.round)), s.right);
  return hn::ShiftLeftSame(hn::Min(sum, hn::Set(d32, s.hold)), s.left);
}

// 8-bit source, Q14 weights, 8- or 16-bit destination.
template <class D, class D16>
void Block8u(D16 d16, const SubpixBlock& job, const Rows& r) {
  const hn::Rebind<std::uint8_t, D16> d8;
  const hn::RepartitionToWide<D16> d32;
  const hn::RebindToUnsigned<D16> du16;
  const hn::RebindToUnsigned<decltype(d32)> du32;
  const auto top = hn::BitCast(
      d16, hn::Set(d32, static_cast<std::int32_t>((static_cast<std::uint32_t>(job.w[1]) << 16) |
                                                  static_cast<std::uint32_t>(job.w[0]))));
  const auto bot = hn::BitCast(
      d16, hn::Set(d32, static_cast<std::int32_t>((static_cast<std::uint32_t>(job.w[3]) << 16) |
                                                  static_cast<std::uint32_t>(job.w[2]))));
  const Scaling sc = MakeScaling(job.shift);
  const auto top16 = hn::Set(d32, 65535);
  const int n = static_cast<int>(hn::Lanes(d16));
  // Pixels x, x + 2, ... (lane pairs of the rows loaded at x) or x + 1,
  // x + 3, ... (loaded at x + 1).
  auto sums = [&](const std::uint8_t* r0, const std::uint8_t* r1) {
    auto s1 = hn::Zero(d32);
    auto s0 = hn::ReorderWidenMulAccumulate(d32, hn::PromoteTo(d16, hn::LoadU(d8, r0)), top,
                                            hn::Zero(d32), s1);
    s0 = hn::ReorderWidenMulAccumulate(d32, hn::PromoteTo(d16, hn::LoadU(d8, r1)), bot, s0, s1);
    return Scale(d32, hn::RearrangeToOddPlusEven(s0, s1), sc);
  };
  for (int y = 0; y < job.height; ++y) {
    const std::uint8_t* r0 = r.S0(y);
    const std::uint8_t* r1 = r.S1(y);
    D* dst = reinterpret_cast<D*>(r.D(y));
    Cover(job.width, n, [&](int x) {
      auto even = sums(r0 + x, r1 + x);
      auto odd = sums(r0 + x + 1, r1 + x + 1);
      if constexpr (sizeof(D) == 2) {
        even = hn::Min(even, top16);
        odd = hn::Min(odd, top16);
      }
      // Even results in the low halves, odd ones in the high halves: the
      // 16-bit lanes in pixel order.
      const auto packed = hn::BitCast(
          du16, hn::Or(hn::BitCast(du32, even), hn::ShiftLeft<16>(hn::BitCast(du32, odd))));
      if constexpr (sizeof(D) == 2) {
        hn::StoreU(packed, du16, reinterpret_cast<std::uint16_t*>(dst) + x);
      } else {
        // Values are at most 255 here.
        hn::StoreU(hn::DemoteTo(d8, hn::BitCast(d16, packed)), d8,
                   reinterpret_cast<std::uint8_t*>(dst) + x);
      }
    });
  }
}

// 16-bit source, Q14 weights, 16-bit destination: 32-bit lanes.
template <class D32>
void Block16u(D32 d32, const SubpixBlock& job, const Rows& r) {
  const hn::Rebind<std::uint16_t, D32> du16;
  const auto w00 = hn::Set(d32, job.w[0]), w10 = hn::Set(d32, job.w[1]);
  const auto w01 = hn::Set(d32, job.w[2]), w11 = hn::Set(d32, job.w[3]);
  const Scaling sc = MakeScaling(job.shift);
  const int n = static_cast<int>(hn::Lanes(d32));
  auto load = [&](const std::uint8_t* row, int x) {
    return hn::PromoteTo(d32, hn::LoadU(du16, reinterpret_cast<const std::uint16_t*>(row) + x));
  };
  for (int y = 0; y < job.height; ++y) {
    const std::uint8_t* r0 = r.S0(y);
    const std::uint8_t* r1 = r.S1(y);
    auto* dst = reinterpret_cast<std::uint16_t*>(r.D(y));
    Cover(job.width, n, [&](int x) {
      auto sum = hn::Mul(w00, load(r0, x));
      sum = hn::Add(sum, hn::Mul(w10, load(r0, x + 1)));
      sum = hn::Add(sum, hn::Mul(w01, load(r1, x)));
      sum = hn::Add(sum, hn::Mul(w11, load(r1, x + 1)));
      // The demotion limits to 65535.
      hn::StoreU(hn::DemoteTo(du16, Scale(d32, sum, sc)), du16, dst + x);
    });
  }
}

// Float weights, float destination; S is the source element.
template <class S, class DF>
HWY_INLINE hn::Vec<DF> LoadAsFloat(DF df, const std::uint8_t* row, int x) {
  if constexpr (std::is_same<S, float>::value) {
    return hn::LoadU(df, reinterpret_cast<const float*>(row) + x);
  } else {
    const hn::RebindToSigned<DF> di;
    const hn::Rebind<S, DF> ds;
    return hn::ConvertTo(df, hn::PromoteTo(di, hn::LoadU(ds, reinterpret_cast<const S*>(row) + x)));
  }
}

template <class S, class DF>
void BlockFloat(DF df, const SubpixBlock& job, const Rows& r) {
  const auto w00 = hn::Set(df, job.wf[0]), w10 = hn::Set(df, job.wf[1]);
  const auto w01 = hn::Set(df, job.wf[2]), w11 = hn::Set(df, job.wf[3]);
  const int n = static_cast<int>(hn::Lanes(df));
  for (int y = 0; y < job.height; ++y) {
    const std::uint8_t* r0 = r.S0(y);
    const std::uint8_t* r1 = r.S1(y);
    auto* dst = reinterpret_cast<float*>(r.D(y));
    Cover(job.width, n, [&](int x) {
      auto d = hn::Mul(w00, LoadAsFloat<S>(df, r0, x));
      d = hn::Add(d, hn::Mul(w10, LoadAsFloat<S>(df, r0, x + 1)));
      d = hn::Add(d, hn::Mul(w01, LoadAsFloat<S>(df, r1, x)));
      d = hn::Add(d, hn::Mul(w11, LoadAsFloat<S>(df, r1, x + 1)));
      hn::StoreU(d, df, dst + x);
    });
  }
}

template <class S, class D>
void RunKind(const SubpixBlock& job, const Rows& r) {
  bool done;
  if constexpr (std::is_same<D, float>::value) {
    done = WithTagFor<float>(job.width, [&](auto df) { BlockFloat<S>(df, job, r); });
  } else if constexpr (sizeof(S) == 1) {
    done = WithTagFor<std::int16_t>(job.width, [&](auto d16) { Block8u<D>(d16, job, r); });
  } else {
    done = WithTagFor<std::int32_t>(job.width, [&](auto d32) { Block16u(d32, job, r); });
  }
  if (!done) ScalarBlock<S, D>(job, r);
}

#else  // HWY_SCALAR: the plain definitions.

template <class S, class D>
void RunKind(const SubpixBlock& job, const Rows& r) {
  ScalarBlock<S, D>(job, r);
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace

void SubpixBlockDispatch(const SubpixBlock& job) {
  const Rows r{.src = job.src.As<const std::uint8_t>(), .dst = job.dst.As<std::uint8_t>()};
  switch (job.kind) {
    case SubpixKind::k8u: return RunKind<std::uint8_t, std::uint8_t>(job, r);
    case SubpixKind::k8u16u: return RunKind<std::uint8_t, std::uint16_t>(job, r);
    case SubpixKind::k8u32f: return RunKind<std::uint8_t, float>(job, r);
    case SubpixKind::k16u: return RunKind<std::uint16_t, std::uint16_t>(job, r);
    case SubpixKind::k16u32f: return RunKind<std::uint16_t, float>(job, r);
    case SubpixKind::k32f: return RunKind<float, float>(job, r);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace omb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace omb {
HWY_EXPORT(SubpixBlockDispatch);
void SubpixBlockRun(const SubpixBlock& job) {
  HWY_DYNAMIC_DISPATCH(SubpixBlockDispatch)(job);
}
}  // namespace omb
#endif
