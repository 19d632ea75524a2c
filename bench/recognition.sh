#!/usr/bin/env bash
# Reading pictures of 1920 x 1080 pixels that are full of interface text, beside the `tesseract`
# command on the same files, once with one thread and once with as many as it likes: seconds, seconds
# of processor work, and the words that were read as they were drawn. A module is loaded and an
# engine started each time, as the command's is.
set -euo pipefail
tool=$(realpath "${1:-build/release/bin/recognition}")
rounds=${2:-3}
folder=$(mktemp -d "${TMPDIR:-/var/tmp}/vantorel-bench.XXXXXX")
trap 'rm -rf "$folder"' EXIT
TIMEFORMAT="%R s, %U s of work"

command_on() { # LABEL LIMIT KIND
  for ((round = 0; round < rounds; ++round)); do
    { time OMP_THREAD_LIMIT=$2 tesseract "$folder/$3.png" "$folder/read" >/dev/null 2>&1; } 2>&1
  done | sort -n | head -1 | { printf '  %-22s' "$1" && tr '\n' ' '; }
  "$tool" score "$folder" "$3" "$folder/read.txt"
}

for kind in $("$tool" draw "$folder"); do
  echo "$kind"
  for ((round = 0; round < rounds; ++round)); do "$tool" read "$folder" "$kind"; done |
    sort -n | head -1 | { printf '  %-22s' vantorel && cat; }
  command_on "tesseract, one thread" 1 "$kind"
  command_on "tesseract" "$(nproc)" "$kind"
done
