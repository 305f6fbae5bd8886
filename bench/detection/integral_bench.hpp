// Benchmarks of the integral tables and the rectangle standard deviation.
#pragma once

namespace ombbench {

// Queues the family's table (see support/registry.hpp).
void AddIntegralBenchmarks();

}  // namespace ombbench
