#!/usr/bin/env bash
# Sets up a fresh machine and runs every test: a Release build under CTest,
# an install check, then the whole suite again with ASan and UBSan.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh

jobs=2

echo "== Release build and tests"
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release -DOMB_BUILD_BENCHMARKS=ON >/dev/null
cmake --build build -j"$jobs"
ctest --test-dir build --output-on-failure -j"$jobs"

echo "== Install and link a consumer"
bash scripts/check-install.sh build

echo "== Sanitizer build (ASan, UBSan) and tests"
cmake -S . -B build-sanitize -DCMAKE_BUILD_TYPE=RelWithDebInfo -DOMB_SANITIZE=ON \
  -DOMB_BUILD_BENCHMARKS=OFF -DOMB_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build-sanitize -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build-sanitize --output-on-failure -j"$jobs"
