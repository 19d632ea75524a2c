#!/usr/bin/env bash
# Annotate windows on captures of `picture` pixels, at least 1000 x 1600, on a private display of
# `size`, no wider than the picture twice, with the program in the tray: from a command or an event to the pixels. `closing` says how
# many milliseconds a capture may take to be given back once its window has gone.
set -euo pipefail
program=$(realpath "${1:-build/release/bin/vantorel}")
tools=$(realpath "${2:-$(dirname "$program")}")
size=${size:-3840x2160}
export picture=${picture:-3840x2160}
rounds=${3:-10}
screen=${size}x24
. "$(dirname "$0")/private_desktop.sh"
openbox >/dev/null 2>&1 &
children+=($!)
xsetroot -solid magenta
seen_library "$folder/library"
# Text that is read meanwhile would be measured too.
printf '{"hasCompletedOnboarding":true,"indexScreenshotText":false}\n' >"$folder/library/settings.json"
printf '{"version":1,"places":[{"window":"annotate","displays":"screen %s+0+0@1","x":40,"y":40,"width":1120,"height":760,"isMaximized":true}]}' \
  "$size" >"$folder/library/windows.json"

python3 - "$folder/library" <<'PYTHON'
import json, os, random, struct, sys, time, zlib

root = sys.argv[1]
captures = f"{root}/Captures"
os.makedirs(captures)
random.seed(7)
WIDTH, HEIGHT, CELL = *(int(side) for side in os.environ["picture"].split("x")), 8

def picture():
    part = lambda name, data: (struct.pack(">I", len(data)) + name + data +
                               struct.pack(">I", zlib.crc32(name + data)))
    rows = []
    for _ in range(HEIGHT // CELL):
        row = b"".join(bytes(random.randrange(8, 248) for _ in range(3)) * CELL
                       for _ in range(WIDTH // CELL))
        rows.append((b"\0" + row) * CELL)
    return (b"\x89PNG\r\n\x1a\n" + part(b"IHDR", struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 2, 0, 0, 0))
            + part(b"IDAT", zlib.compress(b"".join(rows), 1)) + part(b"IEND", b""))

COLORS = ["#ff3b30", "#007aff", "#ffcc00", "#af52de"]
KINDS = ["pen", "highlighter", "arrow", "rect", "ellipse", "polygon", "text", "redact",
         "highlightRect", "counter", "emoji", "measure"]

def shape(i, kind, x, y, w, h, **more):
    one = {"id": f"s{i}", "type": kind, "color": COLORS[i % 4], "width": 6, "points": [], "x1": x,
           "y1": y, "x2": x + w, "y2": y + h, "x": x, "y": y, "text": "", "fontSize": 32}
    if kind in ("pen", "highlighter"):
        one["points"] = [{"x": x + 4 * k, "y": y + (k * k) % 37} for k in range(40)]
    if kind == "text": one["text"] = "Look here"
    if kind == "emoji": one["text"] = "👍"
    if kind == "counter": one["number"] = i
    if kind == "redact": one["redactStyle"] = "pixelate"
    return one | more

def mixed(count):
    return [shape(i, KINDS[i % 12], random.randrange(60, WIDTH - 340),
                  random.randrange(60, HEIGHT - 260),
                  random.randrange(40, 300), random.randrange(40, 200)) for i in range(count)]

# In the middle, which is what 100 % shows of what was seen whole.
PROBE_X, PROBE_Y = min(WIDTH // 2 - 120, WIDTH - 760), HEIGHT // 2 - 80
marker = shape(900001, "rect", PROBE_X - 200, PROBE_Y - 300, 30, 30, color="#00ff00", fill="solid",
               width=1)
probe = shape(900002, "rect", PROBE_X, PROBE_Y, 240, 160, color="#0000ff", fill="solid")
def close_redactions():
    return [shape(i, "redact", PROBE_X - 500 + i % 10 * 110, PROBE_Y - 240 + i // 10 * 90, 240, 160,
                  redactStyle="gaussianBlur") for i in range(59)]
documents = {
    "plain": [marker],
    "many": mixed(198) + [marker, probe],
    "redacted": close_redactions() + [marker, shape(900003, "redact", PROBE_X, PROBE_Y, 240, 160,
                                                    redactStyle="gaussianBlur")],
    "crowded": mixed(9998) + [marker, probe],
}
with open(f"{root}/picture.png", "wb") as file:
    file.write(picture())
entries = []
for number, (name, shapes) in enumerate(documents.items()):
    path = f"{captures}/{name}.png"
    entries.append({"id": f"{name}-0000-4000-8000-000000000000", "title": name,
                    "capturedAt": time.time() - 600 * number, "path": path, "shapes": shapes,
                    "medium": "image", "pixelWidth": WIDTH, "pixelHeight": HEIGHT,
                    "captureScale": 1, "isTallCapture": HEIGHT > 3 * WIDTH})
with open(f"{root}/history.json", "w") as index:
    json.dump({"version": 4, "entries": entries, "collections": []}, index)
PYTHON

# The files are as captures are filed: written by the program itself.
"$program" --root "$folder/library" render "$folder/library/picture.png" \
  --output "$folder/written.png" >/dev/null
for name in plain many redacted crowded; do
  cp "$folder/written.png" "$folder/library/Captures/$name.png"
done

"$program" --root "$folder/library" 2>"$folder/log" &
tray=$!
until "$program" --root "$folder/library" displays >/dev/null 2>&1; do :; done
sleep "${wait:-10}" # what is done once after the start
echo "Annotate at $size, captures of $picture"
"$tools/annotate_window" "$tray" "$rounds" "$program" --root "$folder/library" edit
"$program" --root "$folder/library" quit >/dev/null
wait "$tray"
