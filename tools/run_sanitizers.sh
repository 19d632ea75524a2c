#!/usr/bin/env bash
# The tests under the address, undefined-behaviour and thread sanitizers, then some seconds of each
# fuzz target.
set -euo pipefail
cd "$(dirname "$0")/.."

for preset in asan tsan; do
  printf '\n== %s (%ss)\n' "$preset" "$SECONDS"
  cmake --preset "$preset" --log-level=WARNING
  cmake --build --preset "$preset"
  ctest --preset "$preset"
done

printf '\n== fuzzers (%ss)\n' "$SECONDS"
cmake --preset clang --log-level=WARNING
cmake --build --preset clang --target fuzzers
tools/run_fuzzers.sh "${VANTOREL_FUZZ_SECONDS:-5}"
