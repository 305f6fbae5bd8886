#pragma once

namespace ombbench {

// Queues the Haar stage apply benchmarks.
void AddHaarBenchmarks();

}  // namespace ombbench
