#!/usr/bin/env bash
# Installs a build into a scratch prefix and links a small consumer twice:
# through the CMake package and through pkg-config.
set -euo pipefail
build=${1:-build}
prefix=$(mktemp -d)
work=$(mktemp -d)
trap 'rm -rf "$prefix" "$work"' EXIT

cmake --install "$build" --prefix "$prefix" >/dev/null

cat > "$work/consumer.c" <<'C'
#include <ombcv.h>
#include <stdio.h>
int main(void) {
  Omb8u a[4] = {1, 9, 200, 0}, b[4] = {5, 2, 100, 255}, d[4];
  OmbRoiSize roi = {4, 1};
  if (ombiAbsDiff_8u_C1R(a, 4, b, 4, d, 4, roi) != ombResultOk) return 1;
  printf("%s: %d %d %d %d\n", ombcvGetLibVersion()->versionText, d[0], d[1], d[2], d[3]);
  return !(d[0] == 4 && d[1] == 7 && d[2] == 100 && d[3] == 255);
}
C
cat > "$work/CMakeLists.txt" <<'C'
cmake_minimum_required(VERSION 3.18)
project(consumer C)
find_package(ombcv 5 REQUIRED)
add_executable(consumer consumer.c)
target_link_libraries(consumer PRIVATE ombcv::ombcv)
C
cmake -S "$work" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/build" >/dev/null
LD_LIBRARY_PATH="$prefix/lib" "$work/build/consumer"

libdir=$(find "$prefix" -name ombcv.pc -printf '%h\n' | head -n1)
PKG_CONFIG_PATH="$libdir" cc -std=c99 "$work/consumer.c" -o "$work/consumer-pc" \
  $(PKG_CONFIG_PATH="$libdir" pkg-config --cflags --libs ombcv)
LD_LIBRARY_PATH="$(dirname "$libdir")" "$work/consumer-pc"
# The omb tool is installed beside the library and finds it by itself.
if [ -x "$prefix/bin/omb" ]; then
  "$prefix/bin/omb" info | head -n 3
fi
echo "install check passed"
