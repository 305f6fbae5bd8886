#!/usr/bin/env bash
# Sets up a fresh machine, builds the library and runs the example program.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j2 --target omb_example
./build/examples/omb_example
