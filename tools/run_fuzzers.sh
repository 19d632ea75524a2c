#!/usr/bin/env bash
# Runs every fuzz target for some seconds (5 unless told) from its corpus.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-5}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
found=0
for target in build/clang/bin/*_fuzz; do
  [ -x "$target" ] || continue
  found=1
  name=$(basename "$target" _fuzz)
  mkdir -p "$scratch/$name"
  corpus=()
  [ -d "fuzz/corpus/$name" ] && corpus=("fuzz/corpus/$name")
  printf 'fuzzing %s for %s s\n' "$name" "$seconds"
  if ! "$target" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -max_len=65536 \
    -artifact_prefix="$scratch/" "$scratch/$name" "${corpus[@]}" >"$scratch/log" 2>&1; then
    tail -40 "$scratch/log"
    for artifact in "$scratch"/crash-* "$scratch"/timeout-* "$scratch"/oom-* "$scratch"/leak-*; do
      [ -f "$artifact" ] && { printf '%s:\n' "$(basename "$artifact")"; base64 "$artifact" | head -20; }
    done
    exit 1
  fi
done
[ "$found" -eq 1 ] || { echo "no fuzz target was built" >&2; exit 1; }
