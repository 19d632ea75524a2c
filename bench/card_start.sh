#!/usr/bin/env bash
# From a capture being filed to its card on a private 3840x2160 display, with the program in the
# tray; seen from outside.
set -euo pipefail
program=$(realpath "${1:-build/release/bin/vantorel}")
rounds=${2:-40}
watch=$(realpath "${3:-$(dirname "$program")/card_start}")
. "$(dirname "$0")/private_desktop.sh"
openbox >/dev/null 2>&1 &
children+=($!)
seen_library "$folder/library"
printf '{"hasCompletedOnboarding":true,"thumbnailAutoDismiss":false}\n' >"$folder/library/settings.json"
mkfifo "$folder/log"
exec 4<>"$folder/log"
VANTOREL_LOG=info "$program" --root "$folder/library" 2>"$folder/log" &
tray=$!
until "$program" --root "$folder/library" displays >/dev/null 2>&1; do :; done
"$program" --root "$folder/library" capture display >/dev/null
until read -r line <&4 && [[ $line == *"] index:"* ]]; do :; done
xdotool mousemove 100 100
sleep 1
xdotool mousemove $((3840 - 156)) $((2160 - 76)) click 2
"$watch" 3 "$folder/log" "$program" --root "$folder/library" capture display >/dev/null
"$watch" "$rounds" "$folder/log" "$program" --root "$folder/library" capture display 2>/dev/null
"$program" --root "$folder/library" quit >/dev/null
wait "$tray"
