#include "filters/separable_bench.hpp"

namespace ombbench {

void AddSeparableBenchmarks() {}

}  // namespace ombbench
