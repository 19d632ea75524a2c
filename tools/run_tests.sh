#!/usr/bin/env bash
# The whole check. The tests of the program as it is shipped, optimised, come last, so that their
# summary closes the output; a debug build has its preset, "dev", and is not needed here.
set -euo pipefail
cd "$(dirname "$0")/.."

step() { printf '\n== %s (%ss)\n' "$1" "$SECONDS"; }

step "build"
cmake --preset release --log-level=WARNING
cmake --build --preset release

step "format and tidy"
tools/check_style.sh

step "sanitizers and fuzzers"
tools/run_sanitizers.sh

step "tests"
ctest --preset release
