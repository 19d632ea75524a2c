#!/usr/bin/env bash
# Takes pictures of each window, light and dark, at 100 and 200 %, on a private desktop with a
# library of drawn captures: window_pictures.sh PROGRAM FOLDER. With more arguments, only of the
# combinations named, such as "dark@2". FONT="DejaVu Sans 20" tries a large font.
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
    scaled() { python3 -c 'import sys; print(round(float(sys.argv[1]) * float(sys.argv[2])))' "$1" "$scale"; }
    screen=$(scaled 1400)x$(scaled 900)x24
    . "$tools/../bench/private_desktop.sh"
    export QT_SCALE_FACTOR=$scale
    # No keys of its own, which the settings would name as taken, and no notifications over it all.
    printf '<openbox_config xmlns="http://openbox.org/3.4/rc"><theme><name>Clearlooks</name></theme></openbox_config>' \
      >"$folder/openbox.xml"
    openbox --config-file "$folder/openbox.xml" &
    children+=($!)
    mkdir -p "$folder/run/dbus-1/services"
    printf '[D-BUS Service]\nName=org.freedesktop.Notifications\nExec=/bin/false\n' \
      >"$folder/run/dbus-1/services/org.freedesktop.Notifications.service"
    dbus-send --session --dest=org.freedesktop.DBus / org.freedesktop.DBus.ReloadConfig
    xsetroot -mod 24 24 -fg '#46658a' -bg '#3d5a78'
    mkdir -p "$folder/library"
    printf '{"hasCompletedOnboarding":true}\n' >"$folder/library/settings.json"
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
      xwd -silent -id "$window" | "$tools/xwd_to_png.py" "$pictures/$1-$theme@$scale.png"
    }
    show() { # the words of a command that opens a window, and its title
      # shellcheck disable=SC2086
      vantorel $1
      until window=$(xdotool search --onlyvisible --name "^$2\$" | tail -1) && [ -n "$window" ]; do sleep 0.05; done
      xdotool windowmove --sync "$window" 40 40
      # After what a portal, where there is one, has to say of it.
      settled
      sleep 1
      if [ "$theme" = dark ]; then
        desktop_says string:org.freedesktop.appearance string:color-scheme variant:uint32:1
      fi
      if [ -n "${FONT:-}" ]; then
        desktop_says string:org.gnome.desktop.interface string:font-name "variant:string:$FONT"
      fi
    }
    keys() { xdotool key --delay 60 "$@"; }

    show "show history" History
    settled
    keys Right
    take history
    keys ctrl+2
    take history-list
    keys ctrl+1 space
    take history-preview
    keys Escape ctrl+w
    vantorel annotate "${ids[0]}" --apply "$tools/sample_annotations.json" >/dev/null
    show "edit ${ids[0]}" "${names[0]} — Annotate"
    keys Tab
    take annotate
    keys c
    take annotate-crop
    keys Escape ctrl+w
    show "show settings" Settings
    take settings-general
    keys Tab
    for pane in capture after shortcuts library; do
      keys Down
      take "settings-$pane"
    done
    keys ctrl+w
    show "show help" Help
    take help
    keys ctrl+w
    show "show welcome" Vantorel
    take first-start
    keys ctrl+w
    # The card in its corner, with its actions and what it offers beside it,
    # without a compositor.
    xmessage -geometry "$(scaled 560)x$(scaled 300)+60+60" \
      -title Reminder "The meeting is at ten, in the small room." &
    children+=($!)
    until xdotool search --onlyvisible --name "^Reminder\$" >/dev/null; do sleep 0.05; done
    settled
    vantorel capture area --rect 40,40,640,400 >/dev/null
    settled
    xdotool mousemove "$(scaled 1250)" "$(scaled 800)"
    sleep 0.4
    settled
    xwd -root -silent |
      "$tools/xwd_to_png.py" "$pictures/card-$theme@$scale.png" "$(scaled 760),$(scaled 600)"
    vantorel quit
    wait "$tray" || true
  )
done
