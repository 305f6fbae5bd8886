#include "support/copy_reference.hpp"

#include <omp.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <map>
#include <mutex>
#include <tuple>

namespace ombbench {

bool CopyShape::operator<(const CopyShape& o) const {
  return std::tie(moved_bytes, buffer_bytes, threads) <
         std::tie(o.moved_bytes, o.buffer_bytes, o.threads);
}

CopyBuffers::CopyBuffers(const CopyShape& shape)
    : shape_(shape),
      half_(static_cast<std::size_t>(
          std::max<std::int64_t>(shape.buffer_bytes / 2, 1))),
      src_(half_),
      dst_(half_) {
  for (std::size_t i = 0; i < half_; ++i) {
    src_.data()[i] = static_cast<std::uint8_t>(i * 131 + 7);
  }
  std::memset(dst_.data(), 0, half_);
}

void CopyBuffers::Pass(std::size_t bytes) {
  if (shape_.threads <= 1) {
    std::memcpy(dst_.data(), src_.data(), bytes);
    return;
  }
#pragma omp parallel num_threads(shape_.threads)
  {
    const std::size_t parts = static_cast<std::size_t>(omp_get_num_threads());
    const std::size_t t = static_cast<std::size_t>(omp_get_thread_num());
    // Part boundaries on cache lines; the last part takes the remainder.
    const std::size_t per = bytes / parts / kRowAlign * kRowAlign;
    const std::size_t begin = t * per;
    const std::size_t end = t + 1 == parts ? bytes : begin + per;
    if (end > begin)
      std::memcpy(dst_.data() + begin, src_.data() + begin, end - begin);
  }
}

void CopyBuffers::Run() {
  std::size_t left = static_cast<std::size_t>(shape_.moved_bytes / 2);
  while (left > 0) {
    const std::size_t bytes = std::min(left, half_);
    Pass(bytes);
    left -= bytes;
  }
}

namespace {

double MeasureCopy(const CopyShape& shape) {
  using Clock = std::chrono::steady_clock;
  CopyBuffers buffers(shape);
  buffers.Run();
  buffers.Run();
  const double moved = static_cast<double>(shape.moved_bytes / 2 * 2);
  double best = 0.0;
  for (int w = 0; w < kCopyWindows; ++w) {
    std::int64_t copies = 0;
    const Clock::time_point start = Clock::now();
    double seconds = 0.0;
    do {
      buffers.Run();
      ++copies;
      seconds = std::chrono::duration<double>(Clock::now() - start).count();
    } while (seconds < kWindowSeconds || copies < 2);
    best = std::max(best, moved * static_cast<double>(copies) / seconds);
  }
  return best;
}

}  // namespace

double CopyBytesPerSecond(const CopyShape& shape) {
  static std::mutex mutex;
  static std::map<CopyShape, double> cache;
  const std::lock_guard<std::mutex> lock(mutex);
  auto it = cache.find(shape);
  if (it == cache.end()) it = cache.emplace(shape, MeasureCopy(shape)).first;
  return it->second;
}

void WarmUpProcessors(int threads, double seconds) {
  using Clock = std::chrono::steady_clock;
  CopyBuffers buffers({std::int64_t{1} << 20, std::int64_t{1} << 20, threads});
  const Clock::time_point start = Clock::now();
  while (std::chrono::duration<double>(Clock::now() - start).count() <
         seconds) {
    buffers.Run();
  }
}

}  // namespace ombbench
