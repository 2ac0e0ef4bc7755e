#!/usr/bin/env bash
# Builds the library in release mode and runs its main job on a built-in
# capture.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" >/dev/null
build/release/examples/qvi_example_grey12
