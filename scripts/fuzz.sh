#!/usr/bin/env bash
# Builds the libFuzzer harnesses (Clang, with AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs each from its seed corpus for a
# bounded time.  Usage: scripts/fuzz.sh [seconds per harness, default 30]
# Findings are written next to the harnesses in build/fuzz/tests/fuzz.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-30}"
scripts/install-deps.sh
cmake --preset fuzz -DQVI_FUZZ_SECONDS="$seconds"
cmake --build --preset fuzz -j "$(nproc)"
ctest --preset fuzz -j "$(nproc)"
