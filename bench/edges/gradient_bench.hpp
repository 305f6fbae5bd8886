// Benchmarks of the fast arctangent and the colour gradient reduction.
#pragma once

namespace ombbench {

// Queues the family's table (see support/registry.hpp).
void AddGradientBenchmarks();

}  // namespace ombbench
