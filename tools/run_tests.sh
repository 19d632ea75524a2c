#!/usr/bin/env bash
# The whole check. The everyday tests come last, so that their summary closes the output.
set -euo pipefail
cd "$(dirname "$0")/.."

step() { printf '\n== %s (%ss)\n' "$1" "$SECONDS"; }
configure() { cmake --preset "$1" --log-level=WARNING; }

step "build"
configure dev
cmake --build --preset dev

step "format and tidy"
tools/check_style.sh

step "address and undefined behaviour"
configure asan
cmake --build --preset asan
ctest --preset asan --quiet || ctest --preset asan --rerun-failed

step "threads"
configure tsan
cmake --build --preset tsan
ctest --preset tsan --quiet || ctest --preset tsan --rerun-failed

step "fuzzers"
configure clang
cmake --build --preset clang --target fuzzers
tools/run_fuzzers.sh "${VANTOREL_FUZZ_SECONDS:-5}"

step "tests"
ctest --preset dev
