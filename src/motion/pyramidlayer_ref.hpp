// Scalar kernels of the pyramid layer operators: kernel normalisation,
// separable filtering with replicated borders, linear resampling.
//
// Arithmetic, per pixel type:
//  - 8u/16u: the Q13 kernel k is applied as the outer product k x k. Row
//    sums are exact 64-bit integers, the column pass sums the row sums with
//    the same weights, so the filtered value is the exact Q26 sum
//    sum_i sum_j k[i] k[j] s[y+i-c][x+j-c]. It is rounded half up by an
//    arithmetic shift, (sum + 2^25) >> 26, and saturated. Because the sum is
//    exact, filtering the rows first and the columns second gives the same
//    value as a direct two-dimensional pass with the kernel's outer
//    product, so the direct case (kernel not shorter than the image) runs
//    the same code. The sums wrap in unsigned 64-bit arithmetic: for every
//    kernel whose weights keep the true sum inside 64 bits (all normalised
//    kernels shorter than several hundred taps) the result is exact, and no
//    kernel can cause undefined behaviour.
//  - 32f: the row pass and then the column pass each sum k[j] * v in float,
//    in tap order j = 0 .. K-1 (products rounded, no fused operations).
//  - Samples outside the image replicate the nearest edge sample.
//  - Resampling is linear, rows first (along x), then columns (along y).
//    For output index i with source position p, k = trunc(p), f = p - k,
//    both in float; integer data take trunc(S[k+1]*f + 0.5 + S[k]*(1-f))
//    evaluated left to right in float, float data S[k+1]*f + S[k]*(1-f).
//    k and k+1 are clamped to the last sample.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace omb {
namespace layer {

// Per element type: the accumulator of the row pass, the element of the
// intermediate images and the kernel weight.
template <class T> struct Traits;
template <> struct Traits<std::uint8_t> {
  using Acc = std::int64_t; using Mid = std::uint16_t; using Kern = std::int16_t;
};
template <> struct Traits<std::uint16_t> {
  using Acc = std::int64_t; using Mid = std::uint16_t; using Kern = std::int16_t;
};
template <> struct Traits<float> {
  using Acc = float; using Mid = float; using Kern = float;
};

// Caller rows carry no alignment promise (the operators do not test step
// alignment), so caller pixels are read and written bytewise.
template <class T>
inline T LoadAt(const std::uint8_t* row, std::int64_t elem) {
  T v;
  std::memcpy(&v, row + elem * static_cast<std::int64_t>(sizeof(T)), sizeof v);
  return v;
}
template <class T>
inline void StoreAt(std::uint8_t* row, std::int64_t elem, T v) {
  std::memcpy(row + elem * static_cast<std::int64_t>(sizeof(T)), &v, sizeof v);
}

inline int Clamp(int v, int lo, int hi) { return v < lo ? lo : (v > hi ? hi : v); }

// ---- kernel normalisation ----------------------------------------------------

// Float kernel. The sum is taken from the left half and the centre, and the
// stored kernel is the left half divided by it, mirrored onto the right.
// Below the smallest normal float the kernel is kept as given.
inline void NormaliseKernel(const float* k, int K, float* out) {
  const int c = K / 2;
  float left = 0.0f;
  for (int i = 0; i < c; ++i) left = left + k[i];
  const float sum = k[c] + 2.0f * left;
  if (std::fabs(sum) > std::numeric_limits<float>::min()) {
    for (int i = 0; i < c; ++i) {
      const float w = k[i] / sum;
      out[i] = w;
      out[K - 1 - i] = w;
    }
    out[c] = k[c] / sum;
  } else {
    std::memcpy(out, k, static_cast<std::size_t>(K) * sizeof(float));
  }
}

// 16-bit kernel to Q13. S = 4 k[c] + 8 (k[0] + .. + k[c-1]) is four times
// the left-half sum; each weight k[i] (every position, from its own value)
// is first rounded to Q14 as trunc(4 k[i] / (S/2) * 8192 + 0.5), taken
// modulo 2^16 as a signed 16-bit value, and then shifted right
// arithmetically by one to Q13. Below the smallest normal float the kernel
// is kept as given.
inline void NormaliseKernel(const std::int16_t* k, int K, std::int16_t* out) {
  const int c = K / 2;
  std::int64_t left = 0;
  for (int i = 0; i < c; ++i) left += k[i];
  const float S = static_cast<float>(4 * static_cast<std::int64_t>(k[c]) + 8 * left);
  if (std::fabs(S) > std::numeric_limits<float>::min()) {
    const float half = S / 2.0f;
    for (int i = 0; i < K; ++i) {
      float q = static_cast<float>(4 * k[i]) / half * 8192.0f + 0.5f;
      // Kernels whose sum nearly cancels give huge quotients; keep the
      // conversion to an integer defined.
      q = std::max(-2147483520.0f, std::min(2147483520.0f, q));
      const auto q14 = static_cast<std::uint16_t>(static_cast<std::uint32_t>(
          static_cast<std::int32_t>(q)));
      const auto s16 = static_cast<std::int16_t>(q14);
      out[i] = static_cast<std::int16_t>(s16 >> 1);
    }
  } else {
    std::memcpy(out, k, static_cast<std::size_t>(K) * sizeof(std::int16_t));
  }
}

template <class Kern>
inline bool KernelSymmetric(const Kern* k, int K) {
  const int c = K / 2;
  for (int i = 1; i <= c; ++i)
    if (!(k[c - i] == k[c + i])) return false;
  return true;
}

// ---- filtering ---------------------------------------------------------------

// Saturating conversion of a finished integer sum to the element range.
template <class Out>
inline Out SaturateInt(std::int64_t v) {
  constexpr std::int64_t hi = std::numeric_limits<Out>::max();
  return static_cast<Out>(v < 0 ? 0 : (v > hi ? hi : v));
}

// Filters a width x height image with `channels` interleaved elements per
// pixel, read through in(y, e) (e the element index in the row), with the
// kernel along rows and then columns; out(y, e, value) receives the finished
// value. acc holds height x (width * channels) row sums.
template <class T, class Out, class In, class Put>
void FilterSeparable(int width, int height, int channels,
                     const typename Traits<T>::Kern* k, int K,
                     typename Traits<T>::Acc* acc, In in, Put out) {
  using Acc = typename Traits<T>::Acc;
  const int c = K / 2;
  const std::int64_t row_elems = static_cast<std::int64_t>(width) * channels;
  for (int y = 0; y < height; ++y) {
    Acc* arow = acc + row_elems * y;
    for (int x = 0; x < width; ++x) {
      for (int ch = 0; ch < channels; ++ch) {
        if constexpr (std::is_same_v<Acc, float>) {
          float s = 0.0f;
          for (int j = 0; j < K; ++j) {
            const int xs = Clamp(x + j - c, 0, width - 1);
            s = s + k[j] * static_cast<float>(in(y, static_cast<std::int64_t>(xs) * channels + ch));
          }
          arow[x * channels + ch] = s;
        } else {
          std::uint64_t s = 0;
          for (int j = 0; j < K; ++j) {
            const int xs = Clamp(x + j - c, 0, width - 1);
            s += static_cast<std::uint64_t>(static_cast<std::int64_t>(k[j])) *
                 static_cast<std::uint64_t>(in(y, static_cast<std::int64_t>(xs) * channels + ch));
          }
          arow[x * channels + ch] = static_cast<std::int64_t>(s);
        }
      }
    }
  }
  for (int y = 0; y < height; ++y) {
    for (std::int64_t e = 0; e < row_elems; ++e) {
      if constexpr (std::is_same_v<Acc, float>) {
        float s = 0.0f;
        for (int i = 0; i < K; ++i) {
          const int ys = Clamp(y + i - c, 0, height - 1);
          s = s + k[i] * acc[row_elems * ys + e];
        }
        out(y, e, static_cast<Out>(s));
      } else {
        std::uint64_t s = 0;
        for (int i = 0; i < K; ++i) {
          const int ys = Clamp(y + i - c, 0, height - 1);
          s += static_cast<std::uint64_t>(static_cast<std::int64_t>(k[i])) *
               static_cast<std::uint64_t>(acc[row_elems * ys + e]);
        }
        const auto rounded = static_cast<std::int64_t>(s + (std::uint64_t{1} << 25)) >> 26;
        out(y, e, SaturateInt<Out>(rounded));
      }
    }
  }
}

// ---- resampling --------------------------------------------------------------

// One interpolated value from neighbours s0 = S[k], s1 = S[k+1].
template <class Mid>
inline Mid Lerp(Mid s0, Mid s1, float f) {
  if constexpr (std::is_same_v<Mid, float>) {
    return s1 * f + s0 * (1.0f - f);
  } else {
    float v = static_cast<float>(s1) * f + 0.5f + static_cast<float>(s0) * (1.0f - f);
    v = std::max(0.0f, std::min(65535.0f, v));
    return static_cast<Mid>(v);  // truncation toward zero
  }
}

// Source position of output index i: i * rate going down, i / rate going up.
struct Position {
  float rate;
  bool up;
  float operator()(int i) const {
    return up ? static_cast<float>(i) / rate : static_cast<float>(i) * rate;
  }
};

// Resamples a line of n samples read through get(k) to m samples written
// through put(i, v). Going down at a rate within [1.99998, 2.00002] every
// second sample is taken unchanged.
template <class Mid, class Get, class Put>
void ResampleLine(int n, int m, Position pos, Get get, Put put) {
  const bool halve = !pos.up && pos.rate >= 1.99998f && pos.rate <= 2.00002f;
  for (int i = 0; i < m; ++i) {
    if (halve) {
      put(i, get(std::min(2 * static_cast<std::int64_t>(i), static_cast<std::int64_t>(n - 1))));
      continue;
    }
    const float p = pos(i);
    const float t = std::trunc(p);
    const float f = p - t;
    const int k = t >= static_cast<float>(n - 1) ? n - 1 : static_cast<int>(t);
    const int k1 = std::min(k + 1, n - 1);
    put(i, Lerp<Mid>(get(k), get(k1), f));
  }
}

}  // namespace layer
}  // namespace omb
