#!/usr/bin/env bash
# The main job on a built-in capture: installs what is missing, builds the
# library and the qvi tool in release mode, and runs `qvi demo`, which writes
# its TIFF files to out/demo (or the folder given as the first argument) and
# prints what it wrote with each step's speed.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target qvi_cli qvi_example_grey12 >/dev/null
build/release/tools/qvi demo --out "${1:-out/demo}"
