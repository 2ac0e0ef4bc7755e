#!/usr/bin/env bash
# Runs every test program of a build under valgrind's memcheck: an invalid
# read or write, a use of uninitialised memory or a leak fails the run.
# Each GoogleTest program runs whole (all its tests in one process), the
# fuzz harnesses replay their seed corpus.  The Python package's tests are not
# run here (the interpreter under valgrind is slow and needs suppressions of
# its own); the asan preset runs them under AddressSanitizer instead.
# Usage: scripts/memcheck.sh [preset, default ci]  (configured and built first)
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-ci}"
build="build/$preset"
scripts/install-deps.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j "$(nproc)"

programs=()
for p in "$build"/tests/*/qvi_*_tests "$build"/tests/api/qvi_*_test; do programs+=("$p"); done
for p in "$build"/tests/fuzz/qvi_fuzz_*; do programs+=("$p tests/fuzz/corpus/${p##*/qvi_fuzz_}"); done

export GTEST_BRIEF=1
printf '%s\n' "${programs[@]}" | xargs -P "$(nproc)" -I{} sh -c '
  log=$(mktemp)
  if valgrind --tool=memcheck --error-exitcode=99 --leak-check=full \
       --errors-for-leak-kinds=definite,indirect --show-leak-kinds=definite,indirect -q {} >"$log" 2>&1; then
    echo "memcheck clean: {}"; rm -f "$log"
  else
    cat "$log"; echo "memcheck FAILED: {}"; rm -f "$log"; exit 255
  fi'
echo "memcheck: ${#programs[@]} programs, no errors"
