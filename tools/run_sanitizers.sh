#!/usr/bin/env bash
# The tests under the thread sanitizer, then under the address and undefined-behaviour sanitizers
# in the build that also has the fuzz targets, and last some seconds of each of those.
set -euo pipefail
cd "$(dirname "$0")/.."

export LSAN_OPTIONS="suppressions=$PWD/tools/leaks_of_libraries.txt:print_suppressions=0"
export TSAN_OPTIONS="suppressions=$PWD/tools/races_of_libraries.txt:print_suppressions=0"
for preset in tsan clang; do
  printf '\n== %s (%ss)\n' "$preset" "$SECONDS"
  cmake --preset "$preset" --log-level=WARNING
  cmake --build --preset "$preset"
  ctest --preset "$preset"
done

printf '\n== fuzzers (%ss)\n' "$SECONDS"
tools/run_fuzzers.sh "${VANTOREL_FUZZ_SECONDS:-5}"
