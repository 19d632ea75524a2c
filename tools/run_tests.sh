#!/usr/bin/env bash
# The whole check. The plain tests come last, so that their summary closes the output.
set -euo pipefail
cd "$(dirname "$0")/.."

step() { printf '\n== %s (%ss)\n' "$1" "$SECONDS"; }

step "build"
cmake --preset dev --log-level=WARNING
cmake --build --preset dev

step "format and tidy"
tools/check_style.sh

step "sanitizers and fuzzers"
tools/run_sanitizers.sh

step "tests"
ctest --preset dev
