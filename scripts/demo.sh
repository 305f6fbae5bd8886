#!/usr/bin/env bash
# Sets up a fresh machine, builds the library and the omb tool, and runs the
# main pipelines on the bundled pictures: cat-face and human-face detection
# with stock cascades, edges, tracking against a known motion, and a
# pyramid. Result images go to out/.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j2 --target omb
omb=./build/tools/omb
mkdir -p out

run() {
  echo
  echo "\$ omb $*"
  "$omb" "$@"
}

run info
run detect --cascade data/haarcascade_frontalcatface_extended.xml \
  data/chelsea_framed.png out/detect.png --verbose
run detect --cascade data/haarcascade_frontalface_default.xml \
  data/faces/astronaut.jpg out/detect_face.png
run edges data/camera_a.png out/edges.png
run track data/camera_a.png data/camera_b.png out/track.png \
  --truth data/camera_motion.txt
run pyramid data/chelsea_framed.png out/pyramid --levels 4
echo
echo "result images:"
find out -type f | sort | sed "s/^/  /"
