#!/usr/bin/env bash
# Builds the library and runs every test.  Usage: scripts/test.sh [preset]
# Presets: ci (default: optimised, warnings are errors), dev, asan, clang, tsan,
# portable, westmere (as ci, tests run under qemu emulating a processor
# without AVX2 and AVX-512), aarch64 (cross-built for 64-bit Arm, tests run
# under qemu).
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-ci}"
if [ "$preset" = aarch64 ]; then scripts/install-deps.sh aarch64; else scripts/install-deps.sh; fi
cmake --preset "$preset"
cmake --build --preset "$preset" -j "$(nproc)"
ctest --preset "$preset" -j "$(nproc)"
