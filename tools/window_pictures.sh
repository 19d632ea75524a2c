#!/usr/bin/env bash
# Takes pictures of each window, light and dark, at 100 and 200 %, on a private desktop with a
# library of drawn captures: window_pictures.sh PROGRAM FOLDER. With more arguments, only of the
# combinations named, such as "dark@2". FONT="DejaVu Sans 20" and ARGUMENTS=-reverse try a large
# font and the other direction.
set -euo pipefail
program=$(realpath "$1")
mkdir -p "$2"
pictures=$(realpath "$2")
tools=$(realpath "$(dirname "$0")")
shift 2
[ $# -gt 0 ] || set -- light@1 dark@1 light@2 dark@2

for combination in "$@"; do
  (
    theme=${combination%@*} scale=${combination#*@}
    screen=$(python3 -c 'import sys; s = float(sys.argv[1]); print(f"{int(1400*s)}x{int(900*s)}x24")' "$scale")
    . "$tools/../bench/private_desktop.sh"
    export QT_SCALE_FACTOR=$scale
    openbox &
    children+=($!)
    xsetroot -solid '#3d5a78'
    mkdir -p "$folder/library"
    printf '{"hasCompletedOnboarding":true,"thumbnailIdleSeconds":0}\n' >"$folder/library/settings.json"
    "$tools/draw_samples.py" "$folder/library/Captures"
    vantorel() { "$program" --root "$folder/library" "$@"; }
    vantorel library verify --repair >/dev/null || true
    mapfile -t ids < <(vantorel library list | cut -f 1)
    names=("Sales by month" "Draft of the letter" "Build log" "New member" "Rent, 3rd quarter" "Cover letter" "Server log" "Order form")
    for i in "${!names[@]}"; do vantorel library title "${ids[$i]}" "${names[$i]}" >/dev/null; done
    vantorel library star "${ids[1]}" "${ids[4]}" >/dev/null
    vantorel library collect "${ids[0]}" "${ids[4]}" --collection Accounts >/dev/null 2>&1 || true
    "$program" --root "$folder/library" 2>/dev/null &
    tray=$!
    until dbus-send --session --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.ListNames |
      grep -q hollen; do sleep 0.1; done

    desktop_says() {
      dbus-send --session --type=signal /org/freedesktop/portal/desktop \
        org.freedesktop.portal.Settings.SettingChanged "$@"
    }
    # Still for a moment: previews are drawn and animations are over.
    settled() {
      local before= now=
      for _ in $(seq 40); do
        sleep 0.25
        now=$(xwd -root -silent | md5sum)
        [ "$now" = "$before" ] && return
        before=$now
      done
    }
    take() {
      settled
      xwd -silent -id "$(xdotool getactivewindow)" | "$tools/xwd_to_png.py" "$pictures/$1-$theme@$scale.png"
    }
    show() {
      vantorel show "$1"
      until xdotool search --onlyvisible --name "^$2\$" >/dev/null; do sleep 0.05; done
      if [ "$theme" = dark ]; then
        desktop_says string:org.freedesktop.appearance string:color-scheme variant:uint32:1
      fi
      if [ -n "${FONT:-}" ]; then
        desktop_says string:org.gnome.desktop.interface string:font-name "variant:string:$FONT"
      fi
    }
    keys() { xdotool key --delay 60 "$@"; }

    show history History
    settled
    keys Right
    take history
    keys ctrl+2
    take history-list
    keys ctrl+1 space
    take history-preview
    keys Escape ctrl+w
    show settings Settings
    take settings-general
    for pane in capture after shortcuts library; do
      keys shift+F6 F6 Down
      take "settings-$pane"
    done
    keys ctrl+w
    show help Help
    take help
    keys ctrl+w
    show welcome Vantorel
    take first-start
    keys ctrl+w
    vantorel capture window --window "$(xwininfo -root | awk '/Window id/ {print $4}')" >/dev/null 2>&1 ||
      vantorel capture display >/dev/null
    settled
    xwd -root -silent | "$tools/xwd_to_png.py" "$pictures/card-$theme@$scale.png"
    vantorel quit
    wait "$tray" || true
  )
done
