#!/usr/bin/env bash
# From the command for an area to the frozen overlay on a private 3840x2160 display without a
# compositor, with the program in the tray; seen from outside, the start of the command included.
set -euo pipefail
program=$(realpath "${1:-build/release/bin/vantorel}")
rounds=${2:-21}
watch=$(realpath "${3:-$(dirname "$program")/overlay_start}")
. "$(dirname "$0")/private_desktop.sh"
openbox >/dev/null 2>&1 &
children+=($!)
xsetroot -solid white
xdotool mousemove 1000 1000
seen_library "$folder/library"
"$program" --root "$folder/library" settings set copyToClipboardAfterCapture false >/dev/null
"$program" --root "$folder/library" &
tray=$!
until "$program" --root "$folder/library" displays >/dev/null 2>&1; do :; done
"$watch" 3 "$program" --root "$folder/library" capture area >/dev/null 2>&1
"$watch" "$rounds" "$program" --root "$folder/library" capture area 2>/dev/null
"$program" --root "$folder/library" quit
wait "$tray"
