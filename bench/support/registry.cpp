#include "support/registry.hpp"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <set>
#include <string>
#include <utility>

#include "ombcore.h"
#include "support/copy_reference.hpp"
#include "support/threads.hpp"

namespace ombbench {
namespace {

std::vector<KernelEntry>& Queue() {
  static std::vector<KernelEntry> queue;
  return queue;
}

std::string CopyName(const CopyShape& c) {
  return "copy/" + std::to_string(c.moved_bytes) +
         "B/buffers:" + std::to_string(c.buffer_bytes) +
         "B/threads:" + std::to_string(c.threads);
}

CopyShape ReferenceFor(const KernelEntry& e, BenchSize size, int threads) {
  const std::int64_t pixels =
      static_cast<std::int64_t>(size.width) * size.height;
  return {pixels * e.moved_bytes_per_pixel, pixels * e.image_bytes_per_pixel,
          threads};
}

void SetReferenceCounters(benchmark::State& state, const CopyShape& reference,
                          double seconds) {
  const double bytes = static_cast<double>(reference.moved_bytes) *
                       static_cast<double>(state.iterations());
  const double copy_rate = CopyBytesPerSecond(reference);
  state.counters["of_copy"] = seconds > 0.0 ? bytes / seconds / copy_rate : 0.0;
  state.counters["copy_GBps"] = copy_rate * 1e-9;
}

// The copy as a benchmark of its own. Its of_copy compares the benchmark
// harness's measurement with the cached reference and so shows how well the
// two timing methods agree (about 1 on a quiet machine).
void RunCopy(benchmark::State& state, const CopyShape& shape) {
  CopyBuffers buffers(shape);
  buffers.Run();
  buffers.Run();
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    buffers.Run();
    benchmark::ClobberMemory();
  }
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
          .count();
  state.SetBytesProcessed(state.iterations() * (shape.moved_bytes / 2 * 2));
  SetReferenceCounters(state, shape, seconds);
}

void RunKernel(benchmark::State& state, const KernelEntry& entry,
               BenchSize size, int threads) {
  const ThreadScope scope(threads);
  const KernelCall call = entry.setup(size);
  const OmbResult status = call();  // untimed: warms caches, checks arguments
  if (status != ombResultOk) {
    state.SkipWithError(
        ("status " + std::to_string(status) + ": " + ombGetStatusString(status))
            .c_str());
    return;
  }
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    call();
    benchmark::ClobberMemory();
  }
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
          .count();
  const CopyShape reference = ReferenceFor(entry, size, threads);
  const std::int64_t pixels =
      static_cast<std::int64_t>(size.width) * size.height;
  state.SetItemsProcessed(static_cast<std::int64_t>(
      static_cast<double>(state.iterations() * pixels) * entry.items_per_pixel));
  state.SetBytesProcessed(state.iterations() * reference.moved_bytes);
  SetReferenceCounters(state, reference, seconds);
}

}  // namespace

const std::vector<BenchSize>& StandardSizes() {
  static const std::vector<BenchSize> sizes = {{640, 480}, {1920, 1080}};
  return sizes;
}

std::string SizeName(BenchSize size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

std::string BenchName(const std::string& function, BenchSize size,
                      int threads) {
  return function + "/" + SizeName(size) +
         "/threads:" + std::to_string(threads);
}

std::string BenchName(const KernelEntry& e, BenchSize size, int threads) {
  if (e.variant.empty()) return BenchName(e.function, size, threads);
  return e.function + "/" + SizeName(size) + "/" + e.variant +
         "/threads:" + std::to_string(threads);
}

void AddKernels(std::vector<KernelEntry> entries) {
  for (KernelEntry& e : entries) Queue().push_back(std::move(e));
}

int RegisterQueued() {
  const std::vector<int> thread_counts = BenchThreadCounts();
  int registered = 0;

  std::set<CopyShape> copies;
  for (const KernelEntry& e : Queue()) {
    for (BenchSize size : e.sizes) {
      for (int threads : thread_counts)
        copies.insert(ReferenceFor(e, size, threads));
    }
  }
  for (const CopyShape& shape : copies) {
    benchmark::RegisterBenchmark(
        CopyName(shape).c_str(),
        [shape](benchmark::State& s) { RunCopy(s, shape); })
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
    ++registered;
  }

  for (const KernelEntry& e : Queue()) {
    for (BenchSize size : e.sizes) {
      for (int threads : thread_counts) {
        benchmark::RegisterBenchmark(
            BenchName(e, size, threads).c_str(),
            [e, size, threads](benchmark::State& s) {
              RunKernel(s, e, size, threads);
            })
            ->UseRealTime()
            ->Unit(benchmark::kMicrosecond);
        ++registered;
      }
    }
  }
  return registered;
}

}  // namespace ombbench
