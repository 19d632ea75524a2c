# Sourced: a private display and session bus, gone with the shell. Sets `folder`, a scratch folder
# on a real disk, and `children`, which end with it. `screen` may say how large the display is.
folder=$(mktemp -d "${TMPDIR:-/var/tmp}/vantorel-bench.XXXXXX")
mkdir -p "$folder/run" "$folder/home" && chmod 700 "$folder/run"
export HOME=$folder/home XDG_RUNTIME_DIR=$folder/run XDG_DATA_HOME=$folder/data LC_ALL=C.UTF-8
unset XDG_CONFIG_HOME XDG_CACHE_HOME XDG_PICTURES_DIR
children=()
finish() {
  for child in "${children[@]}"; do kill "$child" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$folder"
}
trap finish EXIT

mkfifo "$folder/display"
Xvfb -displayfd 3 -screen 0 "${screen:-3840x2160x24}" -nolisten tcp -noreset 3>"$folder/display" 2>/dev/null &
children+=($!)
read -r number <"$folder/display"
export DISPLAY=:$number
dbus-daemon --session --fork --print-address=1 --print-pid=1 >"$folder/bus"
{ read -r DBUS_SESSION_BUS_ADDRESS && read -r bus; } <"$folder/bus"
children+=("$bus")
export DBUS_SESSION_BUS_ADDRESS

# A library in which the window of the first start has been seen: it would be measured too.
seen_library() {
  mkdir -p "$1"
  printf '{"hasCompletedOnboarding":true}\n' >"$1/settings.json"
}
