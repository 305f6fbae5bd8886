// Benchmarks of the fixed Gaussian pyramid operators and the layer operators.
#pragma once

namespace ombbench {

// Queues the family's table (see support/registry.hpp).
void AddPyramidBenchmarks();

}  // namespace ombbench
