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
wakes() { cat /proc/"$tray"/task/*/status | awk '/^voluntary/ { all += $2 } END { print all }'; }
rest() {
  sleep "$2"
  local before
  before=$(wakes)
  sleep 30
  echo "$1: $(memory) $(($(wakes) - before)) wake-ups in 30 s"
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
for thread in /proc/"$tray"/task/*; do
  echo "  $(awk '/^Name|^voluntary/ { printf "%s ", $2 }' "$thread/status")"
done | sort | uniq -c | sort -rn | head -n 20
"${command[@]}" quit >/dev/null
wait "$tray"
