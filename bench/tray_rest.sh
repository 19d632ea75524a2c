#!/usr/bin/env bash
# What the program in the tray takes at rest after History was opened and closed and a card has come
# and gone: the memory it holds, and how often its threads wake in half a minute.
set -euo pipefail
program=$(realpath "${1:-build/release/bin/vantorel}")
. "$(dirname "$0")/private_desktop.sh"
openbox >/dev/null 2>&1 &
children+=($!)
seen_library "$folder/library"
command=("$program" --root "$folder/library")
"${command[@]}" 2>/dev/null &
tray=$!
until "${command[@]}" displays >/dev/null 2>&1; do :; done
"${command[@]}" settings set thumbnailIdleSeconds 2 >/dev/null

memory() { awk '/VmRSS|RssAnon|RssShmem/ { printf "%s %.1f MB  ", $1, $2 / 1024 }' "/proc/$tray/status"; }
# Of the threads that are there before and after.
wakes() { (cd "/proc/$tray/task" && awk '/^voluntary/ { print FILENAME, $2 }' ./*/status | sort); }
rest() {
  sleep "$2"
  wakes >"$folder/before"
  sleep 30
  echo "$1: $(memory) $(wakes | join "$folder/before" - | awk '{ all += $3 - $2 } END { print all }')" \
    "wake-ups in 30 s"
}
rest "started" 12
for i in 1 2 3; do
  "${command[@]}" capture display >/dev/null
done
rest "after three cards" 12
"${command[@]}" show history
sleep 3
xdotool key ctrl+w
rest "after History" 12
"${command[@]}" quit >/dev/null
wait "$tray"
