#include "geometry/subpix_bench.hpp"

namespace ombbench {

void AddSubpixBenchmarks() {}

}  // namespace ombbench
