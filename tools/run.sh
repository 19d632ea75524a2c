#!/usr/bin/env bash
# Starts the program on this desktop; where there is none, shows what it does on a virtual display.
set -euo pipefail
program=$(realpath "$1")
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  exec "$program"
fi
exec "$(dirname "$0")/demonstration.sh" "$program"
