#!/usr/bin/env bash
# Every benchmark: the programs built from bench/, then whole commands.
set -euo pipefail
cd "$(dirname "$0")/.."
for program in build/release/bin/*_bench; do
  [ -x "$program" ] && "$program"
done
bench/capture_command.sh build/release/bin/vantorel
bench/tray_start.sh build/release/bin/vantorel
bench/overlay_start.sh build/release/bin/vantorel
bench/card_start.sh build/release/bin/vantorel
for size in 1920x1080 3840x2160; do
  size=$size bench/history_window.sh build/release/bin/vantorel
done
bench/agent_ping.sh
bench/tray_rest.sh build/release/bin/vantorel
bench/scroll_page.py --brief
