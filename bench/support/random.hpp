// Reproducible random image content for benchmarks. A small splitmix64
// generator keeps filling a full-HD float image to a few milliseconds, so
// setting up a benchmark run costs little next to the run itself.
#pragma once

#include <cstdint>
#include <type_traits>

#include "support/image.hpp"

namespace ombbench {

class Rng {
 public:
  explicit Rng(std::uint64_t seed) : state_(seed) {}

  std::uint64_t Next() {
    std::uint64_t z = (state_ += 0x9e3779b97f4a7c15ull);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
    return z ^ (z >> 31);
  }
  // Uniform in [0, 1).
  double Unit() { return static_cast<double>(Next() >> 11) * 0x1.0p-53; }
  // Uniform integer in [lo, hi].
  std::int64_t Between(std::int64_t lo, std::int64_t hi) {
    const std::uint64_t span = static_cast<std::uint64_t>(hi - lo) + 1;
    return lo + static_cast<std::int64_t>(Next() % span);
  }

 private:
  std::uint64_t state_;
};

// Every pixel uniform in [lo, hi] (integers) or [lo, hi) (floats).
template <class T>
void FillUniform(Image<T>& img, double lo, double hi, std::uint64_t seed) {
  Rng rng(seed);
  for (int y = 0; y < img.height(); ++y) {
    T* row = img.Row(y);
    for (int x = 0; x < img.width(); ++x) {
      if constexpr (std::is_floating_point_v<T>) {
        row[x] = static_cast<T>(lo + (hi - lo) * rng.Unit());
      } else {
        row[x] = static_cast<T>(rng.Between(static_cast<std::int64_t>(lo),
                                            static_cast<std::int64_t>(hi)));
      }
    }
  }
}

// Every pixel uniform in [lo, hi] but never zero (keeps products and
// squares away from zero and accumulators away from denormals).
template <class T>
void FillNonZero(Image<T>& img, double lo, double hi, std::uint64_t seed) {
  Rng rng(seed);
  FillUniform(img, lo, hi, seed);
  for (int y = 0; y < img.height(); ++y) {
    T* row = img.Row(y);
    for (int x = 0; x < img.width(); ++x) {
      while (row[x] == T(0)) {
        row[x] = static_cast<T>(lo + (hi - lo) * rng.Unit());
      }
    }
  }
}

// Each pixel independently `on` with probability `fraction`, else zero.
// Per-pixel randomness keeps any data-dependent branch unpredictable.
template <class T>
void FillBinary(Image<T>& img, double fraction, T on, std::uint64_t seed) {
  Rng rng(seed);
  for (int y = 0; y < img.height(); ++y) {
    T* row = img.Row(y);
    for (int x = 0; x < img.width(); ++x)
      row[x] = rng.Unit() < fraction ? on : T(0);
  }
}

// Every pixel set to `value`, padding included (so the whole block is
// touched before timing).
template <class T>
void FillConstant(Image<T>& img, T value) {
  for (int y = 0; y < img.height(); ++y) {
    T* row = img.Row(y);
    const int padded = img.step() / static_cast<int>(sizeof(T));
    for (int x = 0; x < padded; ++x) row[x] = value;
  }
}

}  // namespace ombbench
