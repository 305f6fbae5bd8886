// Plain evaluation of one candidate window. The vector kernels use it for
// the windows right of the last full vector and for images narrower than
// one vector; it is the arithmetic they must reproduce lane for lane.
#pragma once

#include <cstddef>
#include <cstdint>

#include "detection/haar_state.hpp"

namespace omb {
namespace ref {

inline std::uint32_t U32(std::int32_t v) { return static_cast<std::uint32_t>(v); }

// The corner term of one rectangle. Float tables: D - C - B + A, left to
// right. Integer tables: (D - C) + (A - B), wrapping in 32 bits.
template <HaarArith A, class Tab>
inline auto HaarCorners(const Tab* b, const std::ptrdiff_t* o) {
  if constexpr (A == HaarArith::kFloat) {
    return b[o[0]] - b[o[1]] - b[o[2]] + b[o[3]];
  } else {
    return (U32(b[o[0]]) - U32(b[o[1]])) + (U32(b[o[3]]) - U32(b[o[2]]));
  }
}

// True when the window whose table views are `up` (upright classifiers)
// and `tilt` (tilted classifiers of the mixed forms; `up` otherwise)
// passes the stage. `off` holds four offsets per rectangle, stored order.
template <HaarArith A, class Tab, class V, class N>
inline bool HaarWindowPasses(const HaarStage<V>& st, const std::ptrdiff_t* off,
                             const Tab* up, const Tab* tilt, N n, N stage_threshold) {
  const HaarClassifier<V>* cls = st.classifiers;
  if constexpr (A == HaarArith::kInt) {
    std::uint32_t s = 0;
    for (int c = 0; c < st.length; ++c) {
      const HaarClassifier<V>& k = cls[c];
      const Tab* b = (k.origin & kHaarTiltedBit) ? tilt : up;
      std::uint32_t t = 0;
      for (int r = 0; r < k.count; ++r, off += 4)
        t += HaarCorners<A>(b, off) * U32(k.rects[r].weight);
      const auto limit = static_cast<std::int32_t>(U32(k.threshold) * U32(n));
      s += static_cast<std::int32_t>(t) < limit ? U32(k.val1) : U32(k.val2);
    }
    return static_cast<std::int32_t>(s) >= stage_threshold;
  } else {
    float s = 0.0f;
    for (int c = 0; c < st.length; ++c) {
      const HaarClassifier<V>& k = cls[c];
      const Tab* b = (k.origin & kHaarTiltedBit) ? tilt : up;
      float t = 0.0f;
      for (int r = 0; r < k.count; ++r, off += 4) {
        float e;
        if constexpr (A == HaarArith::kFloat) {
          e = HaarCorners<A>(b, off);
        } else {
          e = static_cast<float>(static_cast<std::int32_t>(HaarCorners<A>(b, off)));
        }
        t = t + e * k.rects[r].weight;
      }
      s = s + (t >= k.threshold * n ? k.val2 : k.val1);
    }
    return s >= stage_threshold;
  }
}

}  // namespace ref
}  // namespace omb
