#include "edges/canny_bench.hpp"

namespace ombbench {

void AddCannyBenchmarks() {}

}  // namespace ombbench
