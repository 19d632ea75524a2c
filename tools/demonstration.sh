#!/usr/bin/env bash
# Takes a display, a window and a region of a private virtual display through the everyday
# commands, and prints the files and their entries.
set -euo pipefail
program=$(realpath "$1")
folder=$(mktemp -d "${TMPDIR:-/tmp}/vantorel-demonstration.XXXXXX")
home=$folder/home
mkdir -p "$home/.run" && chmod 700 "$home/.run"
export HOME=$home XDG_RUNTIME_DIR=$home/.run XDG_CONFIG_HOME=$home/.config \
  XDG_DATA_HOME=$home/.local/share LC_ALL=C.UTF-8
unset DBUS_SESSION_BUS_ADDRESS

children=()
finish() {
  for child in "${children[@]}"; do kill "$child" 2>/dev/null || true; done
  wait 2>/dev/null || true
}
trap finish EXIT

# The server writes its number when it is ready, so nothing has to be guessed or slept for.
mkfifo "$folder/display"
Xvfb -displayfd 3 -screen 0 1920x1080x24 -nolisten tcp -noreset 3>"$folder/display" 2>/dev/null &
children+=($!)
read -r number <"$folder/display"
rm "$folder/display"
export DISPLAY=:$number
xsetroot -solid '#2d4a66'
# While it starts, the window manager may drop what windows ask of it: they wait for its start-up
# command.
mkfifo "$folder/managed"
MANAGED=$folder/managed openbox --startup "sh -c 'echo >\"\$MANAGED\"'" >/dev/null 2>&1 &
children+=($!)
if ! read -r -t 30 <>"$folder/managed"; then
  echo "The window manager of the virtual display did not start." >&2
  exit 1
fi
rm "$folder/managed"
xmessage -fn fixed -geometry 620x160+200+150 -title "A window to look at" \
  -buttons "Capture,Annotate,Share" "Vantorel takes pictures of the screen and keeps them." \
  >/dev/null 2>&1 &
children+=($!)
xev -geometry 500x300+900+500 >/dev/null 2>&1 &
children+=($!)

vantorel() { "$program" --root "$folder/library" "$@"; }

# The window list tells when the window manager has placed the windows.
for _ in $(seq 200); do
  window=$(vantorel windows 2>/dev/null | awk -F '\t' '/A window to look at/ {print $1}')
  [ -n "$window" ] && break
  sleep 0.05
done

show() {
  printf '\n$ vantorel'
  printf ' %q' "$@"
  printf '\n'
  vantorel "$@"
}
echo "No display here, so this is Vantorel on a virtual one (DISPLAY=$DISPLAY)."
show displays
show windows
show capture display
show capture window --window "$window"
show capture area --rect 180,120,700,240
show --json library show latest
printf '\nThe pictures are in %s\n' "$folder/library"
