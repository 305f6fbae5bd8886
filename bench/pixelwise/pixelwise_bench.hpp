// Benchmarks of the pixel-wise family: absolute differences, accumulation
// and motion history.
#pragma once

namespace ombbench {

// Queues the family's table (see support/registry.hpp).
void AddPixelwiseBenchmarks();

}  // namespace ombbench
