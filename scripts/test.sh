#!/usr/bin/env bash
# Builds the library and runs every test.  Usage: scripts/test.sh [preset]
# Presets: ci (default: optimised, warnings are errors), dev, asan, clang, tsan.
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-ci}"
scripts/install-deps.sh
cmake --preset "$preset"
cmake --build --preset "$preset" -j "$(nproc)"
ctest --preset "$preset" -j "$(nproc)"
