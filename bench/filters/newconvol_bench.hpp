// Benchmarks of the fixed-kernel Sobel, Scharr, Laplacian and low-pass filters.
#pragma once

namespace ombbench {

// Queues the family's table (see support/registry.hpp).
void AddNewConvolBenchmarks();

}  // namespace ombbench
