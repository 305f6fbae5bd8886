// The bit pattern of a float and back, without aliasing tricks: the scalar
// references use them for sign clearing, NaN-safe maxima and bit masks.
#pragma once

#include <cstdint>
#include <cstring>

namespace omb {

inline std::uint32_t FloatBits(float f) {
  std::uint32_t u;
  std::memcpy(&u, &f, sizeof u);
  return u;
}

inline float BitsFloat(std::uint32_t u) {
  float f;
  std::memcpy(&f, &u, sizeof f);
  return f;
}

}  // namespace omb
