#include "edges/gradient_bench.hpp"

namespace ombbench {

void AddGradientBenchmarks() {}

}  // namespace ombbench
