#!/usr/bin/env bash
# Sets up, builds, and runs the main job on the simulated instrument: find the instrument, put a
# carrier on its output, and show what the instrument is doing. The wire trace goes to
# build/demo-trace.txt.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake -S . -B build -G Ninja >/dev/null
cmake --build build -j2 --target synthor
build/synthor --sim --trace build/demo-trace.txt --script examples/demo.txt
echo "(wire trace: build/demo-trace.txt, $(wc -l < build/demo-trace.txt) driver calls)"
